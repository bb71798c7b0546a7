// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "command/Input.h"

namespace orvel {

// What a walk over a file's tags tells of it beside the plug-in, for probe's document. Names are ffprobe's
// where it has them; numbers are numbers, and null where the file has none that JSON can write.

// A track's start_time, avg_frame_rate and frame_rate_even (video), and with counts nb_read_packets and
// nb_read_bytes.
void AddWalked(const Input& input, size_t track, bool counts, nlohmann::ordered_json* json);

// A stream that gives no track: "supported" is false.
nlohmann::ordered_json LeftOutJson(const StreamSeen& stream, size_t index);

// duration_declared and duration_found where they differ, all of onMetaData as "metadata", script events as
// "events". Of members with one name the last one counts, as for players; bytes that are not UTF-8 are
// replaced.
void AddScripts(const Input& input, nlohmann::ordered_json* format, nlohmann::ordered_json* document);

}  // namespace orvel
