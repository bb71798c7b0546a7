// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <array>
#include <string>
#include <vector>

namespace orvel {

enum TrackKind : size_t { kAudio, kVideo };

// What a demultiplexer has delivered. Counts and bytes are always taken; the checksums only where contents
// are to be compared, since they cost more than demultiplexing.
class Tally {
  public:
    explicit Tally(bool withChecksums) : mWithChecksums(withChecksums) {}

    void add(TrackKind track, const uint8_t* data, size_t size) {
        Track& sum = mTracks[track];
        ++sum.samples;
        sum.bytes += size;
        if (mWithChecksums) checksum(&sum, data, size);
    }

    // The same for a sample whose NAL units have 4-byte length prefixes (ISO/IEC 14496-15): the checksum is
    // that of its byte stream form, in which start codes of 4 bytes replace them.
    void addLengthPrefixed(TrackKind track, const uint8_t* data, size_t size);

    // Presentation time and whether a decoder can begin here; into the checksum only.
    void addTime(TrackKind track, int64_t milliseconds, bool isSync);

    // The members of a JSON object, without its braces.
    std::string json() const;

  private:
    struct Track {
        size_t samples = 0, bytes = 0;
        unsigned long contents = 0, times = 0;
    };

    static void checksum(Track* sum, const uint8_t* data, size_t size);

    const bool mWithChecksums;
    std::array<Track, 2> mTracks;
    std::vector<uint8_t> mByteStream;
};

// Seconds of a monotonic clock, or, with ORVEL_BENCH_CLOCK=cpu in the environment, of the processor time that
// this process has had: the same where nothing else runs, and all that can be told where something does.
double Now();

// Of the monotonic clock in any case: asking for the processor time is a system call, as long as half a seek.
double WallNow();

// One random seek target for each call, in microseconds; the same series in every process. None is in the
// last second, where one track may have ended already.
class SeekTargets {
  public:
    explicit SeekTargets(int64_t durationUs)
        : mRangeUs(durationUs > 2000000 ? static_cast<uint64_t>(durationUs) - 1000000 : 1) {}
    int64_t next();

  private:
    const uint64_t mRangeUs;
    uint64_t mState = 1;
};

// Where seeks have landed and how long each has taken.
struct Landings {
    std::vector<double> seconds;
    size_t sync = 0;         // delivered a sample that a decoder can begin with
    int64_t farthestMs = 0;  // the greatest distance from a target to its landing
    void add(double took, int64_t targetUs, int64_t landedUs, bool isSync);
    std::string json() const;
};

std::string JsonList(const std::vector<double>& values);

// Runs what the arguments after the program's name ask for, as every measuring program understands them:
//   play FILE          every sample to the end, timed
//   check FILE         the same with checksums, untimed
//   open FILE COUNT    opens and closes that many times
//   seek FILE COUNT    opens once and seeks to random times
// and prints one line of JSON. Returns the exit code: 1 with a line on standard error when the file cannot be
// demultiplexed, 2 for wrong arguments. An operation that a program lacks is left null.
struct Operations {
    std::string (*play)(const char* path, bool withChecksums) = nullptr;
    double (*open)(const char* path) = nullptr;
    std::string (*seek)(const char* path, int count) = nullptr;
};
int RunMeasurement(int argc, char** argv, const Operations& operations);

// Ends the process with exit code 1.
[[noreturn]] void Fail(const char* path, const char* reason);

}  // namespace orvel
