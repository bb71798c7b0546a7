// SPDX-License-Identifier: Apache-2.0
#include "Measurement.h"

#include <fmt/format.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <zlib.h>

#include <algorithm>

namespace orvel {
namespace {

double Seconds(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

}  // namespace

void Tally::addLengthPrefixed(TrackKind track, const uint8_t* data, size_t size) {
    if (!mWithChecksums) return add(track, data, size);
    constexpr size_t kPrefixBytes = 4;
    mByteStream.assign(data, data + size);
    for (size_t at = 0; size - at >= kPrefixBytes;) {
        uint8_t* prefix = mByteStream.data() + at;
        const size_t unit =
                size_t{prefix[0]} << 24 | size_t{prefix[1]} << 16 | size_t{prefix[2]} << 8 | prefix[3];
        if (unit > size - at - kPrefixBytes) break;
        memcpy(prefix, "\0\0\0\1", kPrefixBytes);
        at += kPrefixBytes + unit;
    }
    add(track, mByteStream.data(), size);
}

void Tally::addTime(TrackKind track, int64_t milliseconds, bool isSync) {
    if (!mWithChecksums) return;
    const std::string text = fmt::format("{}{};", milliseconds, isSync ? "K" : "");
    unsigned long& times = mTracks[track].times;
    times = crc32_z(times, reinterpret_cast<const Bytef*>(text.data()), text.size());
}

// The size goes in too, so that a byte moved across a boundary shows.
void Tally::checksum(Track* sum, const uint8_t* data, size_t size) {
    sum->contents = crc32_z(sum->contents, reinterpret_cast<const Bytef*>(&size), sizeof(size));
    sum->contents = crc32_z(sum->contents, data, size);
}

std::string Tally::json() const {
    std::string text;
    for (TrackKind kind : {kAudio, kVideo}) {
        const Track& sum = mTracks[kind];
        text += fmt::format(R"({}"{}": {{"samples": {}, "bytes": {})", kind == kAudio ? "" : ", ",
                            kind == kAudio ? "audio" : "video", sum.samples, sum.bytes);
        if (mWithChecksums) text += fmt::format(R"(, "contents": {}, "times": {})", sum.contents, sum.times);
        text += "}";
    }
    return text;
}

double WallNow() {
    return Seconds(CLOCK_MONOTONIC);
}

double Now() {
    static const char* const wanted = getenv("ORVEL_BENCH_CLOCK");
    static const bool isProcessor = wanted != nullptr && strcmp(wanted, "cpu") == 0;
    return isProcessor ? Seconds(CLOCK_PROCESS_CPUTIME_ID) : WallNow();
}

int64_t SeekTargets::next() {
    mState = mState * 6364136223846793005u + 1442695040888963407u;
    return static_cast<int64_t>((mState >> 20) % mRangeUs);
}

void Landings::add(double took, int64_t targetUs, int64_t landedUs, bool isSync) {
    seconds.push_back(took);
    sync += isSync ? 1 : 0;
    farthestMs = std::max(farthestMs, std::abs(targetUs - landedUs) / 1000);
}

std::string Landings::json() const {
    return fmt::format(R"("sync": {}, "farthest_ms": {}, "seconds": {})", sync, farthestMs,
                       JsonList(seconds));
}

std::string JsonList(const std::vector<double>& values) {
    return fmt::format("[{:.4g}]", fmt::join(values, ", "));
}

void Fail(const char* path, const char* reason) {
    fprintf(stderr, "%s: %s\n", path, reason);
    exit(1);
}

int RunMeasurement(int argc, char** argv, const Operations& operations) {
    const std::string what = argc > 2 ? argv[1] : "";
    const int count = argc > 3 ? atoi(argv[3]) : 0;
    std::string line;
    if ((what == "play" || what == "check") && operations.play != nullptr) {
        line = operations.play(argv[2], what == "check");
    } else if (what == "open" && count > 0 && operations.open != nullptr) {
        std::vector<double> seconds;
        for (int i = 0; i < count; ++i)
            seconds.push_back(operations.open(argv[2]));
        line = fmt::format(R"("seconds": {})", JsonList(seconds));
    } else if (what == "seek" && count > 0 && operations.seek != nullptr) {
        line = operations.seek(argv[2], count);
    } else {
        fprintf(stderr, "usage: %s play|check FILE, or open|seek FILE COUNT\n", argv[0]);
        return 2;
    }
    printf("{%s}\n", line.c_str());
    return 0;
}

}  // namespace orvel
