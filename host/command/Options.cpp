// SPDX-License-Identifier: Apache-2.0
#include "command/Options.h"

#include <ctype.h>
#include <sys/stat.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>

#include "source/OpenSource.h"
#include "source/StandardInput.h"
#include "support/Failure.h"
#include "support/TimeText.h"
#include "writer/WavWriter.h"

namespace orvel {
namespace {

constexpr int kSamplesToGuessFrom = 16;

}  // namespace

void AddTimeOption(CLI::App* app, const char* name, std::optional<int64_t>* timeUs, const char* description) {
    auto parse = [name, timeUs](const std::string& text) {
        *timeUs = ParseTime(text);
        if (!*timeUs || **timeUs < 0) throw CLI::ValidationError(name, "not a time: " + text);
    };
    app->add_option_function<std::string>(name, parse, description)->type_name("T");
}

std::string StemOf(const std::string& location, const std::vector<std::string>& extensions) {
    std::string name = IsUrl(location) ? location.substr(0, location.find_first_of("?#")) : location;
    name = std::filesystem::path(name).filename();
    for (const std::string& extension : extensions) {
        if (HasExtension(name, extension)) name.resize(name.size() - extension.size());
    }
    return name.empty() || name == "." || name == ".." || name == "-" ? "output" : name;
}

bool HasExtension(const std::string& name, const std::string& extension) {
    auto isSame = [](unsigned char a, unsigned char b) { return tolower(a) == b; };
    return name.size() >= extension.size() &&
           std::equal(extension.rbegin(), extension.rend(), name.rbegin(), [&](char e, char n) {
               return isSame(static_cast<unsigned char>(n), static_cast<unsigned char>(e));
           });
}

void RequireOtherFile(const std::string& output, const std::string& location) {
    if (output == "-" || IsUrl(location)) return;
    struct stat in, out;
    int found = location == kStandardInput ? fstat(STDIN_FILENO, &in) : stat(location.c_str(), &in);
    if (found != 0 || stat(output.c_str(), &out) != 0) return;
    if (in.st_dev != out.st_dev || in.st_ino != out.st_ino) return;
    throw Failure(ExitCode::kUsage, output + ": is the input itself");
}

uint16_t GuessPcmBits(const Input& input, size_t track) {
    const TrackFormat& format = input.tracks()[track];
    if (format.codec != Codec::kPcm) return 0;
    TrackReader reader = input.openTrack(track);
    PcmWidth width;
    for (int i = 0; i < kSamplesToGuessFrom && reader.next(); ++i)
        width.add(reader.sample());
    return width.bitsPerSample(format.sampleRate, format.channelCount);
}

}  // namespace orvel
