// SPDX-License-Identifier: Apache-2.0
// Another component of the device: it knows nothing of this system but Utils.h and the library.
#include <Utils.h>
#include <stdio.h>
#include <string.h>

using namespace android;

static int gFailures = 0;

static void expect(bool condition, const char* what) {
    if (condition) return;
    fprintf(stderr, "failed: %s\n", what);
    ++gFailures;
}
#define EXPECT(condition) expect(condition, #condition)

static void useRegistry() {
    unsigned int codecId = 0;
    EXPECT(strcmp(GetMimeType(0x31637661, &codecId), ORVEL_MEDIA_MIMETYPE_VIDEO_AVC) == 0 && codecId == 28);
    EXPECT(strcmp(ORVEL_MEDIA_MIMETYPE_DATA_TIMED_ID3, "application/x-id3v4") == 0);
    EXPECT(isNeedExtra(ORVEL_MEDIA_MIMETYPE_AUDIO_WMA) && !isNeedExtra(ORVEL_MEDIA_MIMETYPE_AUDIO_AAC));
    EXPECT(getCodecIDFromFourCC(0x34363248) == -1);
}

static void configureCodecs() {
    uint8_t sets[] = {0,    0,    1,    0x42, 0x01, 0x01, 0x01, 0x60, 0,    0,    3,    0,
                      0x90, 0,    0,    3,    0,    0,    3,    0,    0x5D, 0xA0, 0x02, 0x80,
                      0x80, 0x2D, 0x16, 0,    0,    1,    0x44, 0x01, 0xC1, 0x72, 0xB4, 0x62};
    const sp<MetaData> format = MakeHEVCCodecSpecificDataOv(new ABuffer(sets, sizeof(sets)));
    int32_t width = 0;
    EXPECT(format != nullptr && format->findInt32(kKeyWidth, &width) && width == 1280);
    const sp<ABuffer> sps = FindHEVCNAL(sets, sizeof(sets), 33, nullptr);
    int w = 0;
    int h = 0;
    FindHEVCDimensions(sps, &w, &h);
    EXPECT(w == 1280 && h == 720);

    const sp<MetaData> audio = new MetaData;
    AddESDSFromSpecificInfo(audio, "\x12\x10", 2);
    audio->setInt32(kKeyCodecId, 22);
    uint32_t type = 1;
    const void* data = nullptr;
    size_t size = 0;
    EXPECT(audio->findData(kKeyESDS, &type, &data, &size) && type == 0 && size == 24);

    uint8_t avc[] = {0, 0, 0, 2, 0x65, 0x88};
    EXPECT(CheckH264Type(avc, 6) == 1 && H264DataPreprocess_AVC(avc, 6) == 6 && CheckH264Type(avc, 6) == 0);
    EXPECT(H264DataPreprocess_IEC(avc, 6) == 6);
    uint8_t m4v[] = {0, 0, 1, 0xB0, 1, 0, 0, 1, 0xB6, 0x10};
    EXPECT(PreProcessM4vExtraData(m4v, sizeof(m4v)) == 5);
}

static void moveBytes() {
    const uint8_t bytes[] = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT(U16_AT(bytes) == 0x0102 && U32_AT(bytes) == 0x01020304 && U64_AT(bytes) == 0x0102030405060708);
    EXPECT(U16LE_AT(bytes) == 0x0201 && U32LE_AT(bytes) == 0x04030201);
    EXPECT(U64LE_AT(bytes) == ntoh64(U64_AT(bytes)) && hton64(1) == UINT64_C(1) << 56);

    unsigned char luma[32];
    unsigned char chroma[2][8] = {{'u'}, {'v'}};
    unsigned char* planes[] = {luma, chroma[0], chroma[1]};
    unsigned char picture[48] = {};
    memset(luma, 'y', sizeof(luma));
    copyDataYUV420(picture, planes, 16, 16, 2);
    EXPECT(picture[31] == 'y' && picture[32] == 'u' && picture[40] == 'v');

    const sp<AMessage> message = new AMessage;
    message->setInt64("segmentStartTimeUs", 7);
    EXPECT(HLSTime(message).getSegmentTimeUs() == 7 && !(HLSTime(message) < HLSTime(nullptr)));
}

static void diagnose() {
    char label[] = "outside";
    PrintContent(label, "some bytes", 10);
    hexdump(label, reinterpret_cast<const unsigned char*>("some bytes"), 10);
    showBacktrace();
    dumpFrame("/dev/null", "frame", 5);
    MeasureTime timer("outside");
    timer.resetStartTime();
    timer.PrintCostTime("diagnose");
    timeval later;
    gettimeofday(&later, nullptr);
    EXPECT(timer.measure(&later) < 60000);
}

int main() {
    useRegistry();
    configureCodecs();
    moveBytes();
    diagnose();
    puts(gFailures == 0 ? "outside program: everything works" : "outside program: failed");
    return gFailures == 0 ? 0 : 1;
}
