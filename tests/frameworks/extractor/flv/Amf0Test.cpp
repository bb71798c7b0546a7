// SPDX-License-Identifier: Apache-2.0
#include <math.h>

#include "FlvLimits.h"
#include "platform/CapturedLog.h"
#include "support/OpenedReader.h"

using namespace orvel;
using namespace orvel::amf;

// Parses the value at the start of the bytes: the result, the duration (7 before) and the index; of a good
// parse also the bytes left. The maximum position is that many bytes in front of their end.
static std::string Parse(const Bytes& value, size_t beforeEnd = 0, size_t chunk = 4096, size_t failAt = 0) {
    OpenedReader reader(HeaderWithoutTags() + value);
    FlvReader::CFlv& flv = reader.flv;
    reader.Rewind(kBehindHeader, chunk, failAt);
    flv.mDuration = 7;
    const int64_t maximum = flv.mFile->mFileSize - static_cast<int64_t>(beforeEnd);
    std::ostringstream text;
    text << flv.amf_parse_object("onMetaData", maximum, 0) << ' ' << flv.mDuration;
    for (double position : flv.mKeyFramePositions)
        text << " @" << position;
    for (double time : flv.mKeyFrameTimes)
        text << " t" << time;
    if (text.str()[0] == '0' && flv.mFile->Remaining() > 0) text << " left " << flv.mFile->Remaining();
    return text.str();
}

TEST(Amf0, Duration) {
    EXPECT_EQ(Parse(Hex("080000000100086475726174696F6E004029000000000000000009")), "0 12500");
    const std::pair<double, uint32_t> cases[] = {
            {0.9999, 999},  {-3, 0},  {5.0e6, UINT32_MAX}, {4294967.2, 4294967200}, {HUGE_VAL, UINT32_MAX},
            {-HUGE_VAL, 0}, {NAN, 0}, {5e-324, 0}};
    for (const auto& [seconds, expected] : cases)
        EXPECT_EQ(Parse(EcmaArray({{"duration", Number(seconds)}})), "0 " + std::to_string(expected));
}

TEST(Amf0, KeysReachOnlyTheirPlace) {
    const auto expect = [](const Bytes& value, const std::string& expected) {
        EXPECT_EQ(Parse(value), expected);
        EXPECT_EQ(Parse(value, 0, 1), expected);
        for (size_t failAt = 1; failAt < value.size(); ++failAt) {
            const std::string partial = Parse(value, 0, 1, failAt);
            EXPECT_TRUE(partial == expected || partial.substr(0, 2) == "-1") << partial;
        }
    };
    const Bytes positions = StrictArray({100, 2500, 7300}), times = StrictArray({0, 1.5, 3}), two = Number(2);
    const Bytes index = Object({{"filepositions", positions}, {"times", times}});
    const Bytes mixed = Hex("0A00000004") + String("9") + Number(-2) + Number(NAN) + Bytes{5};
    const Bytes prefixed = EcmaArray({{"filepositions2", positions}, {"timestamps", times}});
    const std::string found = " @100 @2500 @7300 t0 t1.5 t3";
    expect(EcmaArray({{"keyframes", index}, {"duration", two}}) + Bytes(5), "0 2000" + found + " left 5");
    expect(EcmaArray({{"k", prefixed}}), "0 7" + found);
    expect(EcmaArray({{"keyframes", index}, {"r", {7}}, {"duration", two}}), "-1 7" + found);
    expect(EcmaArray({{"k", Object({{"times", mixed}, {"time", times}})}}), "0 7 t0 t-2 t0 t0");
    expect(EcmaArray({{"k", Object({{"duration", two}, {"times", StrictArray({})}})}}), "0 7");
    expect(EcmaArray({{"filepositions", positions}, {"k", EcmaArray({{"duration", two}})}}), "0 7");
    expect(Object({{"duration", two}, {"keyframes", index}}), "0 7");
    expect(EcmaArray({{"duration", String("3")}}), "0 7");
}

TEST(Amf0, Markers) {
    const auto expect = [](const Bytes& value, const char* expected) {
        EXPECT_EQ(Parse(EcmaArray({{"a", value}, {"duration", Number(2)}})), expected) << +value[0];
    };
    for (const char* good : {"000102030405060708", "0109", "02000173", "0300016105000009", "05", "06",
                             "080000000000016506000009", "0A000000020506", "0B0909090909090909FFFF", "0D"})
        expect(Hex(good), "0 2000");
    for (const size_t size : {255u, 256u, 65535u})
        expect(String(std::string(size, 's')), "0 2000");
    for (const char* bad : {"04", "07", "09", "0C", "0E", "FF"})
        expect(Hex(bad), "-1 7");
}

TEST(Amf0, LongAndBrokenNames) {
    const auto name = [](size_t size) { return Name("times" + std::string(size - 5, 'n')); };
    const auto expect = [](const Bytes& value, const char* expected, const char* log = "") {
        CapturedLog captured;
        EXPECT_EQ(Parse(value), expected);
        EXPECT_EQ(captured.lines.empty() ? "" : captured.lines[0], log);
    };
    const Bytes member = StrictArray({3}) + Name("times") + StrictArray({4}) + End() + End();
    const Bytes outer = Hex("080000000000016B"), object = outer + Bytes{3}, ecma = outer + Hex("0800000009");
    expect(object + name(255) + member, "0 7 t3 t4");
    expect(object + name(256) + member, "0 7 t4", "6/CFlv: key is too long ,key == NULL");
    expect(ecma + name(255) + member, "0 7 t3 t4");
    expect(ecma + name(256) + member, "-1 7");
    expect(ecma + name(256) + Bytes{9} + End(), "0 7");
    expect(Hex("0300056E616D65"), "-1 7", "6/CFlv: read failed");
    expect(Hex("080000000100056E616D65"), "-1 7");
    expect(Hex("0800000001") + Name("duration") + Number(2) + Hex("000008"), "-1 2000");
}

TEST(Amf0, LoopsEndAtTheMaximumPosition) {
    const Bytes endless =
            Hex("080000000000016B03") + Name("times") + Hex("0AFFFFFFFF") + Number(1) + Number(2);
    EXPECT_EQ(Parse(endless), "-1 7 t1 t2");
    EXPECT_EQ(Parse(endless + Bytes(6, 5), 5), "-1 7 t1 t2");
    EXPECT_EQ(Parse(endless + Bytes(6, 5), 4), "-1 7 t1 t2 t0");
    for (const Bytes& value : {EcmaArray({{"a", {5}}}), Object({{"a", {5}}})})
        EXPECT_EQ(Parse(value, 1), "-1 7");
}

TEST(Amf0, LimitsOfDepthAndIndex) {
    for (const int levels : {FlvReader::kMaxAmf0Depth, FlvReader::kMaxAmf0Depth + 1, 3000000}) {
        Bytes value;
        for (int i = 0; i < levels; ++i)
            value.insert(value.end(), {0x0A, 0, 0, 0, 1});
        EXPECT_EQ(Parse(value + Number(1)), levels == FlvReader::kMaxAmf0Depth ? "0 7" : "-1 7");
    }
    const uint32_t count = FlvReader::kMaxIndexEntries + 9;
    const Bytes nulls = Bytes{0x0A} + U32(count) + Bytes(count, 5);
    const Bytes index = EcmaArray({{"k", Object({{"times", nulls}, {"filepositions", nulls}})}});
    FlvBuilder file;
    file.Tag(18, 0, String("onMetaData") + index);
    const OpenedReader reader(file.Finish());
    EXPECT_EQ(reader.flv.mKeyFrameTimes.size(), FlvReader::kMaxIndexEntries);
    EXPECT_EQ(reader.flv.mKeyFramePositions.size(), FlvReader::kMaxIndexEntries);
}
