// SPDX-License-Identifier: Apache-2.0
#include "support/FlvBuilder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace orvel {

Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

static Bytes BigEndian(uint64_t value, int bytes) {
    Bytes result;
    for (int i = bytes - 1; i >= 0; --i)
        result.push_back(static_cast<uint8_t>(value >> (8 * i)));
    return result;
}

Bytes U16(uint32_t value) {
    return BigEndian(value, 2);
}
Bytes U24(uint32_t value) {
    return BigEndian(value, 3);
}
Bytes U32(uint32_t value) {
    return BigEndian(value, 4);
}
Bytes Text(const std::string& text) {
    return Bytes(text.begin(), text.end());
}

namespace amf {

using Members = std::initializer_list<std::pair<std::string, Bytes>>;

Bytes Number(double value) {
    uint64_t pattern;
    memcpy(&pattern, &value, sizeof(pattern));
    return Bytes{0x00} + BigEndian(pattern, 8);
}
Bytes Name(const std::string& name) {
    return U16(static_cast<uint32_t>(name.size())) + Text(name);
}
Bytes String(const std::string& text) {
    return Bytes{0x02} + Name(text);
}
Bytes End() {
    return {0x00, 0x00, 0x09};
}

static Bytes MembersAndEnd(Bytes head, Members members) {
    for (const auto& [name, value] : members)
        head = head + Name(name) + value;
    return head + End();
}
Bytes Object(Members members) {
    return MembersAndEnd({0x03}, members);
}
Bytes EcmaArray(Members members) {
    return MembersAndEnd(Bytes{0x08} + U32(static_cast<uint32_t>(members.size())), members);
}
Bytes StrictArray(const std::vector<double>& numbers) {
    Bytes array = Bytes{0x0A} + U32(static_cast<uint32_t>(numbers.size()));
    for (double number : numbers)
        array = array + Number(number);
    return array;
}

}  // namespace amf

FlvBuilder::FlvBuilder(uint32_t dataOffset) : mBytes(Text("FLV") + Bytes{1, 5} + U32(dataOffset)) {
    if (dataOffset < 4096) mBytes.resize(std::max<size_t>(9, dataOffset));
}

int64_t FlvBuilder::Tag(uint8_t type, uint32_t timestampMs, const Bytes& data) {
    const auto slot = static_cast<int64_t>(mBytes.size());
    const auto size = static_cast<uint32_t>(data.size());
    Raw(U32(PreviousSize()) + Bytes{type} + U24(size) + U24(timestampMs & 0xFFFFFF) +
        Bytes{static_cast<uint8_t>(timestampMs >> 24)} + U24(0) + data);
    mPreviousSize = 11 + size;
    return slot;
}

int64_t FlvBuilder::Audio(uint32_t timestampMs, uint8_t header, const Bytes& payload) {
    return Tag(8, timestampMs, Bytes{header} + payload);
}

int64_t FlvBuilder::Video(uint32_t timestampMs, uint8_t header, const Bytes& payload) {
    return Tag(9, timestampMs, Bytes{header} + payload);
}

int64_t FlvBuilder::Nal(uint32_t timestampMs, uint8_t header, uint8_t packetType, int32_t compositionMs,
                        const Bytes& payload) {
    const Bytes composition = U24(static_cast<uint32_t>(compositionMs) & 0xFFFFFF);
    return Video(timestampMs, header, Bytes{packetType} + composition + payload);
}

int64_t FlvBuilder::MetaData(double duration, const std::vector<double>& positions,
                             const std::vector<double>& times) {
    Bytes value = Bytes{0x08} + U32(2);
    if (duration >= 0) value = value + amf::Name("duration") + amf::Number(duration);
    if (!positions.empty() || !times.empty()) {
        value = value + amf::Name("keyframes") +
                amf::Object(
                        {{"filepositions", amf::StrictArray(positions)}, {"times", amf::StrictArray(times)}});
    }
    return Tag(18, 0, amf::String("onMetaData") + value + amf::End());
}

Bytes FlvBuilder::Finish() const {
    return mBytes + U32(PreviousSize());
}

Bytes ReadProjectFile(const std::string& pathInProject) {
    std::ifstream file(std::string(ORVEL_SOURCE_DIR "/") + pathInProject, std::ios::binary);
    EXPECT_TRUE(file.good()) << pathInProject;
    return Bytes(std::istreambuf_iterator<char>(file), {});
}

Bytes AvcRecord() {
    const Bytes sps = {0x67, 0x42, 0xC0, 0x0D, 0xDA, 0x05, 0x07, 0xE8, 0x40, 0x00, 0x00,
                       0x03, 0x00, 0x40, 0x00, 0x00, 0x0C, 0x83, 0xC5, 0x0A, 0xA8};
    const Bytes pps = {0x68, 0xCE, 0x0F, 0xC8};
    return Bytes{1, 0x42, 0xC0, 0x0D, 0xFF, 0xE1} + U16(static_cast<uint32_t>(sps.size())) + sps + Bytes{1} +
           U16(static_cast<uint32_t>(pps.size())) + pps;
}

}  // namespace orvel
