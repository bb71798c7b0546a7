// SPDX-License-Identifier: Apache-2.0
#include "Diagnostics.h"

#include <unistd.h>

#include <fstream>
#include <numeric>

#include "TestSupport.h"

using namespace android;

// The clock of this whole program: it moves only by hand, so that measured times are exact.
static timeval gNow = {0, 0};
extern "C" int gettimeofday(timeval* now, void* /*zone*/) noexcept {
    *now = gNow;
    return 0;
}

// Outside any unnamed namespace, so that a stack trace can name it.
__attribute__((noinline)) void tracedCaller() {
    showBacktrace();
    __asm__ volatile("");
}

// Runs a dumper over the first bytes of 01 02 03 ... and compares what it logs.
template <typename Label, typename Data, typename Length>
static void expectDump(void (*dump)(Label, Data, Length), unsigned len, const Lines& lines) {
    Bytes bytes(200);
    std::iota(bytes.begin(), bytes.end(), static_cast<uint8_t>(1));
    char label[] = "in";
    const LogCapture log;
    dump(label, bytes.data(), static_cast<Length>(len));
    EXPECT_EQ(log.lines(), each("D/Utils: in", lines)) << len;
}

TEST(Diagnostics, PrintContentShowsStartAndEnd) {
    const std::string k00 = ": 0000: 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10";
    const std::string k01 = ": 0001: 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10 11";
    const std::string kLast = " The last Line:";
    expectDump(PrintContent, -1U, {" iLen = -1"});
    expectDump(PrintContent, 6, {" iLen = 6", " mInputBuffer Len = 6"});
    expectDump(PrintContent, 7, {" iLen = 7", ": 0000: 01 02 03 04 05 06"});
    expectDump(PrintContent, 15, {" iLen = 15", ": 0000: 01 02 03 04 05 06"});
    expectDump(PrintContent, 16, {" iLen = 16", k00});
    expectDump(PrintContent, 17, {" iLen = 17", k00, kLast, k01});
    expectDump(PrintContent, 200,
               {" iLen = 200", k00, ": 0010: 11 12 13 14 15 16 17 18 19 1a 1b 1c 1d 1e 1f 20",
                ": 0020: 21 22 23 24 25 26 27 28 29 2a 2b 2c 2d 2e 2f 30",
                ": 0030: 31 32 33 34 35 36 37 38 39 3a 3b 3c 3d 3e 3f 40",
                ": 0040: 41 42 43 44 45 46 47 48 49 4a 4b 4c 4d 4e 4f 50", kLast,
                ": 00B8: b9 ba bb bc bd be bf c0 c1 c2 c3 c4 c5 c6 c7 c8"});
}

TEST(Diagnostics, HexdumpShowsEverShorterLines) {
    const std::string k16 = " 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10";
    expectDump(hexdump, 0, {});
    expectDump(hexdump, 30,
               {": (0000/0030)" + k16, ": (0016/0030) 11 12 13 14 15 16 17 18", ": (0024/0030) 19 1a 1b 1c",
                ": (0028/0030) 1d ", ": (0029/0030) 1e "});
    expectDump(hexdump, 100,
               {": (0000/0100)" + k16, ": (0016/0100) 11 12 13 14 15 16 17 18 19 1a 1b 1c 1d 1e 1f 20",
                ": (0032/0100) 21 22 23 24 25 26 27 28 29 2a 2b 2c 2d 2e 2f 30",
                ": (0048/0100) 31 32 33 34 35 36 37 38 39 3a 3b 3c 3d 3e 3f 40"});
}

TEST(Diagnostics, DumpFrameAppends) {
    const std::string path = testing::TempDir() + "dump_frame_" + std::to_string(getpid());
    for (const char* data : {"first,", "second"})
        dumpFrame(path.c_str(), data, 6);
    dumpFrame(path.c_str(), "never", -1);
    dumpFrame((path + "/below/a/file").c_str(), "x", 1);
    std::ifstream file(path);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "first,second");
    remove(path.c_str());
}

TEST(Diagnostics, ShowBacktraceStartsWithItsCaller) {
    const LogCapture log;
    tracedCaller();
    ASSERT_GE(log.lines().size(), 2U);
    EXPECT_THAT(log.lines(), testing::Each(testing::StartsWith("D/showBacktrace: #")));
    EXPECT_THAT(log.lines().front(), testing::HasSubstr("(tracedCaller()+"));
}

TEST(MeasureTime, MeasuresInWholeMilliseconds) {
    const std::vector<int64_t> cases[] = {{10, 999000, 11, 1000, 2},   {10, 0, 10, 1999, 1},
                                          {10, 5, 12, 5, 2000},        {10, 500000, 12, 499999, 1999},
                                          {10, 0, 9, 0, 4294966296},   {0, 0, 4294968, 0, 704},
                                          {7, 0, 7, -5000000, 4289967}};
    const LogCapture log;
    for (const auto& c : cases) {
        gNow = {c[0], c[1]};
        timeval now = {c[2], c[3]};
        EXPECT_EQ(MeasureTime("m").measure(&now), c[4]) << c[2] << "." << c[3];
    }
}

TEST(MeasureTime, LogsOnTheWayAndTwoMillisecondsAtTheEnd) {
    const LogCapture log;
    for (suseconds_t us : {1999, 2000}) {
        char name[] = "open";
        gNow = {100, 0};
        MeasureTime timer(name);
        name[0] = '?';
        gNow.tv_usec = us;
    }
    gNow = {100, 999000};
    MeasureTime timer(nullptr);
    gNow = {101, 2000};
    timer.PrintCostTime("parse");
    timer.PrintCostTime(nullptr);
    timer.resetStartTime();
    timer.PrintCostTime("again");
    EXPECT_EQ(log.lines(), each("E/Utils: ", {"open : spend time = 2 ms", " parse: spend time = 3 ms",
                                              " : spend time = 3 ms", " again: spend time = 0 ms"}));
}
