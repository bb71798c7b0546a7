// SPDX-License-Identifier: Apache-2.0
// copyDataYUV420 beside libyuv's CopyPlane. Both copy the same picture in turns within one iteration, so that
// a slow moment of the machine hits both; "ratio" is our rate over libyuv's, one value a repetition.
#include <benchmark/benchmark.h>
#include <libyuv.h>
#include <stdint.h>
#include <string.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <random>

#include "PlaneCopier.h"

namespace {

constexpr int kRepetitions = 15;

// A source picture with a row pitch of its own, and a destination each. Widths are multiples of 16.
struct Frames {
    int width, height, stride;
    size_t copiedBytes;
    std::unique_ptr<uint8_t[]> source, ours, theirs;
    uint8_t* planes[3];

    Frames(int w, int h, int pitch)
        : width(w),
          height(h),
          stride(pitch),
          copiedBytes(static_cast<size_t>(w) * static_cast<size_t>(h) * 3 / 2),
          ours(new uint8_t[copiedBytes]()),
          theirs(new uint8_t[copiedBytes]()) {
        const size_t lumaBytes = static_cast<size_t>(stride) * static_cast<size_t>(height);
        source.reset(new uint8_t[lumaBytes * 3 / 2]);
        std::minstd_rand random(1);
        std::generate_n(source.get(), lumaBytes * 3 / 2, [&] { return static_cast<uint8_t>(random() >> 8); });
        planes[0] = source.get();
        planes[1] = planes[0] + lumaBytes;
        planes[2] = planes[1] + lumaBytes / 4;
    }

    void copyOurs() { android::copyDataYUV420(ours.get(), planes, stride, width, height); }

    void copyTheirs() {
        uint8_t* out = theirs.get();
        libyuv::CopyPlane(planes[0], stride, out, width, width, height);
        out += width * height;
        for (int plane = 1; plane <= 2; ++plane) {
            libyuv::CopyPlane(planes[plane], stride / 2, out, width / 2, width / 2, height / 2);
            out += width / 2 * (height / 2);
        }
    }
};

template <typename Function>
double secondsOf(Function function) {
    const auto start = std::chrono::steady_clock::now();
    function();
    benchmark::ClobberMemory();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void copyPicture(benchmark::State& state) {
    Frames frames(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)),
                  static_cast<int>(state.range(2)));
    double ours = 0;
    double theirs = 0;
    bool oursFirst = false;
    for (auto _ : state) {
        oursFirst = !oursFirst;
        if (oursFirst) ours += secondsOf([&] { frames.copyOurs(); });
        theirs += secondsOf([&] { frames.copyTheirs(); });
        if (!oursFirst) ours += secondsOf([&] { frames.copyOurs(); });
    }
    if (memcmp(frames.ours.get(), frames.theirs.get(), frames.copiedBytes) != 0) {
        state.SkipWithError("the copies differ");
        return;
    }
    const double gigabytes =
            static_cast<double>(frames.copiedBytes) * static_cast<double>(state.iterations()) / 1e9;
    state.counters["ours_GB/s"] = gigabytes / ours;
    state.counters["libyuv_GB/s"] = gigabytes / theirs;
    state.counters["ratio"] = theirs / ours;
}

BENCHMARK(copyPicture)
        ->ArgNames({"width", "height", "stride"})
        ->Args({1920, 1080, 1920})
        ->Args({1920, 1080, 2048})
        ->Args({3840, 2160, 3840})
        ->Args({3840, 2160, 4096})
        ->Unit(benchmark::kMillisecond)
        ->Repetitions(kRepetitions)
        ->ReportAggregatesOnly()
        ->ComputeStatistics("min",
                            [](const std::vector<double>& v) {
                                return *std::min_element(v.begin(), v.end());
                            })
        ->ComputeStatistics("max", [](const std::vector<double>& v) {
            return *std::max_element(v.begin(), v.end());
        });

}  // namespace
