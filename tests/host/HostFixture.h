// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gmock/gmock.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "support/FlvBuilder.h"

namespace orvel {

inline const std::string kSamples = ORVEL_SOURCE_DIR "/samples/";

struct Outcome {
    int code;
    std::string out, err;
};

// A test with a folder of its own, removed afterwards, in which its commands run.
class HostTest : public testing::Test {
  protected:
    HostTest() : mFolder(testing::TempDir() + "orvel-host-XXXXXX") { mkdtemp(mFolder.data()); }
    ~HostTest() override { std::filesystem::remove_all(mFolder); }

    std::string path(const std::string& name) const { return mFolder + "/" + name; }
    void write(const std::string& name, const Bytes& bytes) const {
        std::ofstream file(path(name));
        std::copy(bytes.begin(), bytes.end(), std::ostreambuf_iterator<char>(file));
    }
    template <typename Content = Bytes>
    Content read(const std::string& name) const {
        std::ifstream file(path(name));
        return Content(std::istreambuf_iterator<char>(file), {});
    }
    // Runs a shell command; run() runs the program with these arguments, list() names the files that are
    // there.
    Outcome shell(const std::string& command) const {
        int status = system(("cd " + mFolder + " && { " + command + "; } >.out 2>.err </dev/null").c_str());
        return {WEXITSTATUS(status), read<std::string>(".out"), read<std::string>(".err")};
    }
    // Through the emulator where the program is for another machine.
    Outcome run(const std::string& words) const {
        return shell("$ORVEL_EMULATOR " ORVEL_BINARY_DIR "/bin/orvel-flv " + words);
    }
    std::string list() const { return shell("ls -A -I .out -I .err").out; }

  private:
    std::string mFolder;
};

// Hands every tag's header, and so its data and the PreviousTagSize in front of it, to be changed in place.
template <typename Edit>
Bytes EditTags(const std::string& pathInProject, Edit edit) {
    Bytes file = ReadProjectFile(pathInProject);
    for (size_t tag = 13; tag + 11 <= file.size();) {
        uint8_t* header = &file[tag];
        tag += static_cast<size_t>(15 + (header[1] << 16 | header[2] << 8 | header[3]));
        edit(header, static_cast<uint32_t>(header[7] << 24 | header[4] << 16 | header[5] << 8 | header[6]));
    }
    return file;
}

}  // namespace orvel
