// SPDX-License-Identifier: Apache-2.0
#include "remux/Sinks.h"

#include <algorithm>

#include "support/Terminal.h"

namespace orvel {

void FileSink::write(uint64_t offset, ByteSpan bytes) {
    uint64_t written = mFile.size() - std::min(mFile.size(), offset);
    ByteSpan over = bytes.first(static_cast<size_t>(std::min<uint64_t>(written, bytes.size)));
    if (over.size > 0) mFile.overwrite(offset, over);
    if (over.size < bytes.size) mFile.write(bytes.from(over.size));
}

void StandardOutputSink::write(uint64_t, ByteSpan bytes) {
    WriteOut(std::string_view(reinterpret_cast<const char*>(bytes.data), bytes.size));
}

}  // namespace orvel
