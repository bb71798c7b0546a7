// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "host/HostFixture.h"

namespace orvel {

inline const std::string kIndexed = kSamples + "avc_aac_index.flv";

// Against what ffmpeg makes of the same files.
class AvTest : public HostTest {
  protected:
    // One line a decoded frame; fails the test when there is none, or a word about the file.
    std::string frames(const std::string& file, const std::string& stream,
                       const std::string& options = "") const {
        Outcome outcome = shell("ffmpeg -v error -copyts -i " + file + " -map 0:" + stream + " " + options +
                                " -fps_mode passthrough -f framemd5 - | grep -v '^#' | sed 's/.*, *//'");
        EXPECT_EQ("", outcome.err) << file;
        EXPECT_NE("", outcome.out) << file;
        return outcome.out;
    }
    // The samples' times in seconds, to the millisecond.
    std::string times(const std::string& file, const std::string& stream) const {
        return shell("ffprobe -v error -select_streams " + stream +
                     " -show_entries packet=pts_time -of csv=p=0 " + file +
                     " | awk -F, '/./ {printf \"%.3f\\n\", $1}' | sort -n")
                .out;
    }
};

}  // namespace orvel
