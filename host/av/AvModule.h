// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "format/TrackFormat.h"
#include "picture/Picture.h"
#include "support/ByteSpan.h"

namespace orvel {

// What the program asks of the codec libraries. They live in a module of their own, loaded when a command
// wants it (LoadAvModule), so that nothing else waits for them to load. This header names none of their
// types. Failures are thrown as Failure; objects are the caller's and may be destroyed at any time, since the
// module is never unloaded.

// A stream as decoders and container writers want it described. Samples of it are given in the same form.
struct StreamSetup {
    Codec codec = Codec::kUnknown;
    int width = 0;
    int height = 0;
    int sampleRate = 0;
    int channelCount = 0;
    int pcmBits = 0;                     // PCM only: 8 or 16
    std::vector<uint8_t> configuration;  // AVC, HEVC: parameter sets after start codes; AAC:
                                         // AudioSpecificConfig; VP6: adjustment
};

// What only a decoder learns of a stream. Zero where it did not.
struct StreamFacts {
    size_t reorderDepth = 0;  // most pictures decoded before one that is shown before them
    int aspectWidth = 0;      // sample aspect ratio
    int aspectHeight = 0;
    int sampleRate = 0;
    int channelCount = 0;
    size_t firstSampleSize = 0;  // bytes; always known
};

class PictureDecoder {
  public:
    virtual ~PictureDecoder() = default;

    enum class Result {
        kNothing,   // no picture came of it
        kDoubtful,  // one with damage that the decoder has covered up
        kPicture,
    };
    // Decodes a sync sample on its own, as the first of a stream. Nothing of samples before is remembered.
    virtual Result decode(ByteSpan sample) = 0;

    // The picture decoded last, after a result other than kNothing: with the stream's matrix and range
    // (BT.601, limited, where it names none), square samples and, with a box, scaled to the largest size that
    // fits it.
    virtual Picture picture(std::optional<PictureSize> box) = 0;
};

enum class ImageFormat { kPng, kJpeg };

// Where a container's bytes go. write() may throw.
class ByteSink {
  public:
    virtual ~ByteSink() = default;
    // Whether write() takes an offset before the end of what was written.
    virtual bool canSeek() const = 0;
    virtual void write(uint64_t offset, ByteSpan bytes) = 0;
};

struct MuxTrack {
    StreamSetup setup;
    StreamFacts facts;
};

// What a container says of all its tracks together.
struct MuxDetails {
    static constexpr char kEncoder[] = "encoder";
    std::vector<std::pair<std::string, std::string>>
            tags;  // by the libraries' names, where they have one; UTF-8
    struct Chapter {
        int64_t startUs;
        int64_t endUs;
        std::string title;
    };
    std::vector<Chapter> chapters;  // by time; for containers that have them
    int frameRateNumerator = 0;     // frames a second, where they are even
    int frameRateDenominator = 0;
    int rotationDegrees = 0;  // clockwise
};

struct MuxSample {
    size_t track = 0;  // index of the muxer's tracks
    int64_t timeUs = 0;
    int64_t decodingTimeUs = 0;  // at most timeUs
    int64_t durationUs = 0;      // 0 when unknown
    bool isSync = false;
    ByteSpan bytes;
};

// Writes a container, samples of all tracks in the order of their decoding times, or nearly so.
class Muxer {
  public:
    virtual ~Muxer() = default;
    virtual void write(const MuxSample& sample) = 0;
    virtual void finish() = 0;
    // After finish(). moved: samples whose decoding time did not come after the one before, and whose time
    // was moved by 1 ms or more for it. leftOut: samples that the container cannot hold, such as damaged
    // ones.
    struct Losses {
        uint64_t moved = 0;
        uint64_t leftOut = 0;
    };
    virtual Losses losses(size_t track) const = 0;
};

class AvModule {
  public:
    virtual std::unique_ptr<PictureDecoder> openDecoder(const StreamSetup& setup) const = 0;

    // What a decoder knows after a stream's first sample; never throws for what that holds.
    virtual StreamFacts examine(const StreamSetup& setup, ByteSpan sample) const = 0;

    virtual std::vector<uint8_t> encode(const Picture& picture, ImageFormat format) const = 0;

    // format: the container's name as the libraries have it. The sink must outlive the muxer.
    virtual std::unique_ptr<Muxer> openMuxer(const std::string& format, const std::vector<MuxTrack>& tracks,
                                             const MuxDetails& details, ByteSink& sink) const = 0;

  protected:
    ~AvModule() = default;
};

// The module's one symbol, a function that returns its AvModule. The name changes with this header, so that a
// module of another version is not taken for this one.
constexpr char kAvModuleSymbol[] = "orvel_flv_av_module_2";
using GetAvModule = const AvModule* (*)();

}  // namespace orvel
