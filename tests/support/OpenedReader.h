// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <utils/StrongPointer.h>

#include <string>
#include <utility>

#include "FlvReader.h"
#include "support/FlvBuilder.h"
#include "support/MemorySource.h"

namespace orvel {

// A container reader and the file in memory that it has opened.
struct OpenedReader {
    explicit OpenedReader(const android::sp<MemorySource>& file) : source(file), flv(source, ok) {}
    explicit OpenedReader(Bytes bytes, uint32_t flags = 0)
        : OpenedReader(new MemorySource(std::move(bytes), flags)) {}

    android::sp<MemorySource> source;
    bool ok = false;
    FlvReader::CFlv flv;

    // Puts the cursor on the place; from there on reads come in chunks, and the failAt-th of them fails.
    void Rewind(long position, size_t chunk = 4096, size_t failAt = 0) {
        source->calls.clear();
        source->chunk = chunk;
        source->failAt = failAt;
        flv.mFile->ByteSeek(position);
    }

    Bytes Configuration(int trackType) const {
        const uint8_t* content = flv.getTrackDecoderSpecificInfoContent(trackType);
        return Bytes(content, content + flv.getTrackDecoderSpecificInfoSize(trackType));
    }
    // The stream in short: "H264 320x240 @SLOT" and "55 44100 stereo @SLOT", the codec tag in hexadecimal.
    std::string Video() const {
        const uint32_t tag = flv.GetStreamFormatType(FlvReader::kTrackVideo);
        const std::string fourcc(reinterpret_cast<const char*>(&tag), tag != 0 ? sizeof(tag) : 0);
        return fourcc + " " + std::to_string(flv.mWidth) + "x" + std::to_string(flv.mHeight) + " @" +
               std::to_string(flv.mVideoStartPos);
    }
    std::string Audio() const {
        char tag[9];
        snprintf(tag, sizeof(tag), "%x", flv.GetStreamFormatType(FlvReader::kTrackAudio));
        return tag + (" " + std::to_string(flv.mSampleRate)) + (flv.mStereo ? " stereo @" : " mono @") +
               std::to_string(flv.mAudioStartPos);
    }
};

// A file without tags, as long as the cache: what is appended to it has not been read by opening the file.
inline Bytes HeaderWithoutTags() {
    Bytes bytes = Text("FLV") + Bytes{1, 0} + U32(0x7FFFFFFF);
    bytes.resize(FlvReader::FlvFile::kCacheBytes);
    return bytes;
}
constexpr long kBehindHeader = FlvReader::FlvFile::kCacheBytes;

// The bytes that a text such as "42010C" spells.
inline Bytes Hex(const std::string& text) {
    Bytes bytes;
    for (size_t i = 0; i + 1 < text.size(); i += 2)
        bytes.push_back(static_cast<uint8_t>(std::stoi(text.substr(i, 2), nullptr, 16)));
    return bytes;
}

}  // namespace orvel
