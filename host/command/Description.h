// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

#include "command/Input.h"

namespace orvel {

// What is known of a track beyond its format, where somebody found out.
struct TrackFindings {
    uint16_t pcmBits = 0;             // bits a sample of a PCM track
    std::optional<uint64_t> packets;  // samples, counted to the end of the track
};

// For people: one line each, without the line's end.
std::string DescribeContainer(const Input& input);
std::string DescribeTrack(const Input& input, size_t track, const TrackFindings& findings);

// For programs, with the names that ffprobe's JSON has, and all numbers as numbers: times in seconds, sizes
// in bytes. What is unknown is absent. Beyond ffprobe's names: mime_type, thumbnail_time, nb_index_entries,
// index_used.
nlohmann::ordered_json ContainerJson(const Input& input);
nlohmann::ordered_json TrackJson(const Input& input, size_t track, const TrackFindings& findings);

// One sample as an entry of ffprobe's "packets"; data_hash is the CRC-32 of its bytes.
nlohmann::ordered_json SampleJson(const TrackFormat& format, size_t track, const AccessUnit& sample);

// The CRC-32 of a sample's bytes, as zlib and ffprobe compute it.
uint32_t SampleCrc(const AccessUnit& sample);

// How the document of an input begins that did not open: its name, and why. The members that programs look
// into are to follow, empty.
nlohmann::ordered_json ErrorJson(const std::string& location, const std::string& why);

// Microseconds as the number of seconds that prints with as many digits as it needs.
double Seconds(int64_t timeUs);

// A document in one line. Bytes of a file's name that are no UTF-8 are replaced.
std::string Dump(const nlohmann::ordered_json& document);

}  // namespace orvel
