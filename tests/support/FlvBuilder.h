// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "support/MemorySource.h"

namespace orvel {

Bytes operator+(Bytes left, const Bytes& right);
Bytes U16(uint32_t value);
Bytes U24(uint32_t value);
Bytes U32(uint32_t value);
Bytes Text(const std::string& text);

// AMF0 values, marker included.
namespace amf {
Bytes Number(double value);
Bytes String(const std::string& text);
Bytes Name(const std::string& name);  // a member's name: length and text, no marker
Bytes End();                          // the empty name and the end marker
Bytes Object(std::initializer_list<std::pair<std::string, Bytes>> members);
Bytes EcmaArray(std::initializer_list<std::pair<std::string, Bytes>> members);
Bytes StrictArray(const std::vector<double>& numbers);
}  // namespace amf

// Writes FLV files tag by tag, right or deliberately wrong.
class FlvBuilder {
  public:
    explicit FlvBuilder(uint32_t dataOffset = 9);

    // Appends a PreviousTagSize field and a tag; returns the tag's slot.
    int64_t Tag(uint8_t type, uint32_t timestampMs, const Bytes& data);
    int64_t Audio(uint32_t timestampMs, uint8_t header, const Bytes& payload);
    int64_t Video(uint32_t timestampMs, uint8_t header, const Bytes& payload);
    // AVC or HEVC: packet type and composition time in front of the payload.
    int64_t Nal(uint32_t timestampMs, uint8_t header, uint8_t packetType, int32_t compositionMs,
                const Bytes& payload);
    // "onMetaData" with a duration in seconds (none below 0) and a key-frame index.
    int64_t MetaData(double duration, const std::vector<double>& positions = {},
                     const std::vector<double>& times = {});
    // The next PreviousTagSize fields say this instead of the truth.
    void LieAboutPreviousSize(uint32_t size) { mLie = size, mLies = true; }
    void TellTheTruth() { mLies = false; }
    void Raw(const Bytes& bytes) { mBytes = mBytes + bytes; }

    // The file so far, with its trailing PreviousTagSize.
    Bytes Finish() const;
    size_t size() const { return mBytes.size(); }

  private:
    uint32_t PreviousSize() const { return mLies ? mLie : mPreviousSize; }

    Bytes mBytes;
    uint32_t mPreviousSize = 0;
    uint32_t mLie = 0;
    bool mLies = false;
};

// A file of the project: its bytes. Fails the test when it cannot be read.
Bytes ReadProjectFile(const std::string& pathInProject);

// A small avcC record (320 x 240) that any AVC test can use.
Bytes AvcRecord();

}  // namespace orvel
