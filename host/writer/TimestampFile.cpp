// SPDX-License-Identifier: Apache-2.0
#include "writer/TimestampFile.h"

#include <fmt/format.h>

#include <limits>

#include "support/TimeText.h"

namespace orvel {
namespace {

constexpr size_t kWindow = 32;

void WriteText(AtomicFile& file, const std::string& text) {
    file.write(ByteSpan(reinterpret_cast<const uint8_t*>(text.data()), text.size()));
}

}  // namespace

TimestampFile::TimestampFile(AtomicFile& file) : mFile(file), mLastUs(std::numeric_limits<int64_t>::min()) {
    WriteText(mFile, "# timestamp format v2\n");
}

void TimestampFile::add(int64_t timeUs) {
    mWindow.push(timeUs);
    if (mWindow.size() > kWindow) writeEarliest();
}

void TimestampFile::finish() {
    while (!mWindow.empty())
        writeEarliest();
}

void TimestampFile::writeEarliest() {
    int64_t timeUs = mWindow.top();
    mWindow.pop();
    if (timeUs < mLastUs) {
        timeUs = mLastUs;
        ++mGoneBack;
    }
    mLastUs = timeUs;
    WriteText(mFile, fmt::format("{}\n", timeUs / 1000));
}

std::string TimestampFile::remark() const {
    if (mGoneBack == 0) return "";
    return fmt::format("{} timestamps go back; the timestamp file repeats the time before them", mGoneBack);
}

}  // namespace orvel
