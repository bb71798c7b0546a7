// SPDX-License-Identifier: Apache-2.0
// The program's command line in this process, on a file. The first two bytes choose the subcommand and its
// options, the rest is the file. What is printed must be JSON where that was asked for, and text without
// control characters.

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "command/CommandLine.h"
#include "support/Captured.h"
#include "support/FlvMutator.h"
#include "support/Require.h"

using namespace orvel;

namespace {

constexpr size_t kOptionBytes = 2;

struct Option {
    std::vector<const char*> words;
};
const Option kCommands[] = {{{"probe", "--json"}},
                            {{"check", "--json"}},
                            {{"probe"}},
                            {{"check"}},
                            {{"map", "-o", "-"}},
                            {{"extract", "--track", "video", "-o", "-"}},
                            {{"extract", "--track", "audio", "-o", "-"}}};
const Option kProbeOptions[] = {
        {{"--packets"}}, {{"--io"}}, {{"--seek", "0.5,0:01"}}, {{"-q", "-vv"}}, {{"--count"}}};
const Option kCheckOptions[] = {{{"--strict"}}, {{"--progress", "json"}}};
const Option kExtractOptions[] = {
        {{"--recover"}}, {{"--from", "0.04"}}, {{"--to", "1"}}, {{"--recover=all"}}};

template <size_t count>
void Choose(const Option (&options)[count], uint8_t choice, std::vector<const char*>* words) {
    for (size_t i = 0; i < count; ++i) {
        if (choice >> i & 1) words->insert(words->end(), options[i].words.begin(), options[i].words.end());
    }
}

bool IsShowable(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return c == '\n' || c == '\r' || static_cast<uint8_t>(c) >= ' '; });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < kOptionBytes) return 0;
    const size_t command = data[0] % std::size(kCommands);
    std::vector<const char*> words = {"orvel-flv"};
    words.insert(words.end(), kCommands[command].words.begin(), kCommands[command].words.end());
    const std::string name = words[1];
    if (name == "probe") Choose(kProbeOptions, data[1], &words);
    if (name == "check") Choose(kCheckOptions, data[1], &words);
    if (name == "extract") Choose(kExtractOptions, data[1], &words);
    const std::string path = NameFile(data + kOptionBytes, size - kOptionBytes);
    words.push_back(path.c_str());

    Captured out(&stdout), messages(&stderr);
    const int code = RunCommandLine(static_cast<int>(words.size()), words.data());
    const std::string_view complaints = messages.end(), text = out.end();
    Require(code == 0 || code == 1 || (code == 4 && name == "extract"),
            "a file is good, damaged or not taken whole");
    Require(IsShowable(complaints), "messages hold no control characters");
    if (name == "extract") return 0;
    Require(IsShowable(text), "output holds no control characters");
    if (command < 2 && (code == 0 || name == "check"))
        Require(nlohmann::json::accept(text), "the output is JSON");
    return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize, unsigned seed) {
    if (size < kOptionBytes || seed % 16 == 0) return LLVMFuzzerMutate(data, size, maxSize);
    return kOptionBytes + MutateFlv(data + kOptionBytes, size - kOptionBytes, maxSize - kOptionBytes, seed);
}
