// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "command/Input.h"

namespace CLI {
class App;
}

namespace orvel {

// What several commands share of their options and outputs.

// An option that takes a time of zero or more, in any form that ParseTime reads.
void AddTimeOption(CLI::App* app, const char* name, std::optional<int64_t>* timeUs, const char* description);

// The input's name without folder, without a URL's query, and without an extension that the plug-in serves;
// "output" where that leaves no name.
std::string StemOf(const std::string& location, const std::vector<std::string>& extensions);

// Whether a file's name ends in this extension, given with its dot and in lower case, in any letter case.
bool HasExtension(const std::string& name, const std::string& extension);

// Throws Failure (kUsage) when an output is the input's very file, also by another path or link: writing it
// would take away what was asked to be read. Either may be "-", and URLs are no files.
void RequireOtherFile(const std::string& output, const std::string& location);

// Bits a sample of a PCM track, told from its first samples; 0 for other codecs.
uint16_t GuessPcmBits(const Input& input, size_t track);

}  // namespace orvel
