// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <media/stagefright/DataSource.h>

#include <string>

namespace orvel {

// A source that can say what its reads failed of. A demultiplexer takes a failed read for the end of its
// stream, so the program asks once reading is over.
class ReportingSource : public android::DataSource {
  public:
    // Why the first failed read failed; empty when none has.
    virtual std::string lastError() const = 0;
};

}  // namespace orvel
