// SPDX-License-Identifier: Apache-2.0
#include "HevcConfiguration.h"

#include <string.h>

#include <algorithm>
#include <bitset>
#include <random>

#include "TestSupport.h"

using namespace android;
using Size = std::pair<int, int>;

static const Bytes kStart = hex("00 00 00 01");
static const Bytes kPps = hex("44 01 C1 72 B4 62 40");
static const Bytes kVps = hex("40 01 0C 01 FF FF 02 20 00 00 03 00 90 00 00 03 00 00 03 00 3C 95 98 09");
static const Bytes kSps720 = hex("42 01 01 01 60 00 00 03 00 90 00 00 03 00 00 03 00 5D A0 02 80 80 2D 16");
// As x265 writes it for a picture of 322 x 182 in 10 bits.
static const Bytes kSps10 =
        hex("42 01 01 02 20 00 00 03 00 90 00 00 03 00 00 03 00 3C A0 0A 48 0B 9C 94 D9 65 66 "
            "92 4C AF 01 68 08 00 00 03 00 08 00 00 03 00 28 40");

static sp<ABuffer> buffer(const Bytes& bytes) {
    sp<ABuffer> result = new ABuffer(bytes.size());
    memcpy(result->data(), bytes.data(), bytes.size());
    return result;
}

static Bytes content(const sp<ABuffer>& nal) {
    return Bytes(nal->data(), nal->data() + nal->size());
}

static Size dimensions(const sp<ABuffer>& sps) {
    Size size(7, 7);
    FindHEVCDimensions(sps, &size.first, &size.second);
    return size;
}

// The record and size of the format made from the data; an empty record stands for a null format.
static std::pair<Bytes, Size> make(const Bytes& csd) {
    const sp<MetaData> format = MakeHEVCCodecSpecificDataOv(buffer(csd));
    if (format == nullptr) return {};
    const char* mime = "";
    uint32_t type = 0;
    const void* data = nullptr;
    size_t n = 0;
    Size size;
    EXPECT_TRUE(format->findCString(kKeyMIMEType, &mime) && format->findData(kKeyHVCC, &type, &data, &n) &&
                format->findInt32(kKeyWidth, &size.first) && format->findInt32(kKeyHeight, &size.second));
    EXPECT_EQ(mime + std::to_string(type), "video/hevc1752589155");  // 'hvcc'
    return {Bytes(static_cast<const uint8_t*>(data), static_cast<const uint8_t*>(data) + n), size};
}

TEST(FindHEVCNAL, FindsTheFirstUnitOfAType) {
    const char* const kThree = "00 00 00 01 40 01 0C 01 00 00 00 01 42 01 01 01 00 00 01 44 01 C1";
    const std::tuple<const char*, unsigned, const char*> cases[] = {
            {kThree, 32, "40 01 0C 01"},
            {kThree, 33, "42 01 01 01"},
            {kThree, 34, "44 01 C1"},
            {kThree, 35, ""},
            {"00 00 01 42 07 00 00 00 00 00 01 42 08", 33, "42 07"},
            {"00 00 01 00 00 01 42 08", 33, "42 08"},
            {"00 00 01 40 01 00 00 01 42", 33, ""},  // less than a unit header behind the last start code
            {"40 01 00 00 01", 32, ""}};
    for (const auto& [data, type, unit] : cases) {
        const sp<ABuffer> nal = FindHEVCNAL(hex(data).data(), hex(data).size(), type, nullptr);
        EXPECT_EQ(nal == nullptr ? Bytes() : content(nal), hex(unit)) << data << ", type " << type;
    }
}

TEST(FindHEVCDimensions, RemovesEmulationPreventionAsIfByteByByte) {
    std::mt19937 random(20);
    const uint8_t alphabet[] = {0, 0, 0, 0, 3, 3, 1};
    const LogCapture log;
    for (int round = 0; round < 20000; ++round) {
        Bytes model(random() % 24);
        std::generate(model.begin(), model.end(), [&] { return alphabet[random() % sizeof(alphabet)]; });
        const sp<ABuffer> nal = buffer(hex("42 01") + model);
        dimensions(nal);
        size_t length = model.size();
        for (size_t p = 0; p + 2 < length; ++p) {
            if (model[p] != 0 || model[p + 1] != 0 || model[p + 2] != 3) continue;
            memmove(&model[p + 2], &model[p + 2] + 1, length-- - (p + 3));
            ++p;
        }
        ASSERT_EQ(content(nal), hex("42 01") + model) << "round " << round;
    }
    const sp<ABuffer> hostile = buffer(Bytes(6000000));  // takes hours in quadratic time
    for (size_t i = 2; i < hostile->size(); i += 3)
        hostile->data()[i] = 3;
    EXPECT_EQ(dimensions(hostile), Size(0, 0));
}

TEST(FindHEVCDimensions, CropsByTheChromaFormat) {
    struct Case {
        std::vector<unsigned> subLayers;  // profile and level flag (2 and 1) of each but the highest
        uint32_t chroma, width, height;
        std::vector<uint32_t> window;  // left, right, top, bottom
        Size size;
    };
    const Case cases[] = {{{}, 1, 1920, 1088, {0, 0, 0, 4}, {1920, 1080}},
                          {{3, 1, 2}, 0, 100, 60, {1, 2, 3, 5}, {97, 52}},
                          {{1, 2, 3, 0, 3, 2}, 2, 100, 60, {1, 2, 3, 5}, {94, 52}},
                          {{3, 3, 3, 3, 3, 3, 3}, 3, 100, 60, {1, 2, 3, 5}, {97, 52}},
                          {{}, 4, 100, 60, {}, {100, 60}},
                          {{}, 4, 100, 60, {0, 0, 0, 1}, {0, 0}},
                          {{}, 1, 100, 60, {50, 0, 0, 0}, {0, 0}},
                          {{}, 1, 100, 60, {0x80000000, 0x80000000, 0, 0}, {0, 0}},
                          {{}, 1, 100, 60, {0, 0, 0x80000000, 0x80000000}, {0, 0}},
                          {{}, 1, 0x80000000, 16, {}, {0, 0}},
                          {{}, 1, 0xFFFFFFFE, 16, {0x40000000, 0x3FFFFFFA, 0, 0}, {10, 16}}};
    for (const Case& c : cases) {
        std::string bits = "0100001000000001";
        const auto u = [&](size_t n, uint64_t value) {
            bits += std::bitset<64>(value).to_string().substr(64 - n);
        };
        const auto ue = [&](uint64_t value) {
            u(2 * static_cast<size_t>(64 - __builtin_clzll(value + 1)) - 1, value + 1);
        };
        u(8, c.subLayers.size() << 1), u(32, 0x01FFFFFF), u(64, 0x5A5A5A5AA5A5A5A5);
        for (unsigned flags : c.subLayers)
            u(2, flags);
        bits.append(c.subLayers.empty() ? 0 : 16 - 2 * c.subLayers.size(), '0');
        for (unsigned flags : c.subLayers)
            bits.append(flags / 2 * 88 + flags % 2 * 8, '1');
        ue(0), ue(c.chroma), u(c.chroma == 3 ? 1 : 0, 0);
        ue(c.width), ue(c.height), u(1, c.window.empty() ? 0 : 1);
        for (uint32_t offset : c.window)
            ue(offset);
        ue(2), ue(3), u(8, 0x80);
        Bytes sps;
        for (size_t at = 0; at + 8 <= bits.size(); at += 8) {
            sps.push_back(static_cast<uint8_t>(std::bitset<8>(bits, at, 8).to_ulong()));
        }
        EXPECT_EQ(dimensions(buffer(sps)), c.size) << "case " << &c - cases;
    }
}

TEST(MakeHEVCCodecSpecificData, WritesTheRecordAndTheLog) {
    const LogCapture log;
    const auto format = make(kStart + kPps + kStart + kSps720 + kStart + kVps + kStart + hex("42 01 FF"));
    EXPECT_EQ(format.second, Size(1280, 720));
    // Three emulation-prevention bytes are gone, and the last byte stands there three times more.
    const Bytes spsArray =
            hex("21 00 01 00 18 42 01 01 01 60 00 00 00 90 00 00 00 00 00 5D A0 02 80 80 2D 16 16 16 16");
    EXPECT_EQ(format.first,
              hex("01 01 60 00 00 00 90 00 00 00 00 00 5D F0 00 FC FD F8 F8 00 00 03 03 20 00 01 00 18") +
                      kVps + spsArray + hex("22 00 01 00 07") + kPps);
    EXPECT_EQ(log.lines(),
              each("I/Utils: ",
                   {"MakeHEVCCodecSpecificDataOv ++", "find vps, size =24", "find sps, size =24",
                    "FindHEVCDimensions ++", "sps_max_sub_layers_minus1 =0", "general_profile_idc =1",
                    "general_level_idc =93", "chroma_format_idc=1", "pic_width_in_luma_samples =1280",
                    "pic_height_in_luma_samples =720", "conformance_window_flag =0",
                    "bit_depth_luma_minus8 =0, bit_depth_chroma_minus8 =0", "FindHEVCDimensions --",
                    "find pps, size =7", "MakeHEVCCodecSpecificDataOv codec config data size =93",
                    "found HEVC codec config (1280 x 720, Main Profile-profile level 3.1)",
                    "MakeHEVCCodecSpecificDataOv --"}));
}

TEST(MakeHEVCCodecSpecificData, ReadsWhatAnEncoderWritesCutAnywhere) {
    const LogCapture log;
    // The fields that are read end within the 25th byte.
    for (size_t size = 0; size <= kSps10.size(); ++size) {
        const auto format = make(kStart + Bytes(kSps10.data(), &kSps10[0] + size) + kStart + kPps);
        EXPECT_EQ(format.second, size < 25 ? Size(0, 0) : Size(322, 182)) << size;
        EXPECT_EQ(format.first.empty(), size < 25) << size;
    }
    EXPECT_THAT(log.lines(),
                testing::IsSupersetOf(each(
                        "I/Utils: ",
                        {"frame_crop = (0, 3, 0, 1)", "bit_depth_luma_minus8 =2, bit_depth_chroma_minus8 =2",
                         "found HEVC codec config (322 x 182, Main 10 profile-profile level 2.0)"})));
}

TEST(MakeHEVCCodecSpecificData, NeedsSpsAndPpsOfAnyLength) {
    const LogCapture log;
    EXPECT_TRUE(make(kStart + kSps720).first.empty());
    EXPECT_TRUE(make(kStart + kPps).first.empty());
    EXPECT_EQ(log.lines()[log.lines().size() - 2], "W/Utils: no vps found !!!");
    EXPECT_EQ(log.lines().back(), "W/Utils: no sps found !!!");
    const Bytes pps = kPps + Bytes(0x12345, 0x55);  // its length field holds the low 16 bits
    const Bytes record = make(kStart + kSps720 + kStart + pps).first;
    EXPECT_TRUE(Bytes(record.begin() + 23 + 5 + 24, record.end()) == hex("22 00 01 23 4C") + pps);
}
