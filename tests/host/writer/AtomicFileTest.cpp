// SPDX-License-Identifier: Apache-2.0
#include "writer/AtomicFile.h"

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include "HostFixture.h"
#include "support/Failure.h"

namespace orvel {
namespace {

constexpr auto kKeep = AtomicFile::Existing::kKeep;

class AtomicFileTest : public HostTest {};

TEST_F(AtomicFileTest, AppearsWholeOrNotAtAll) {
    const Bytes large(200000, 0x5a);
    {
        AtomicFile file(path("a"), kKeep), dropped(path("b"), kKeep), late(path("c"), kKeep);
        dropped.write(large);
        write("c", {9});
        EXPECT_THROW(late.commit(), Failure);
        file.write(Bytes{1, 2, 3});
        file.write(large);
        file.overwrite(1, Bytes{7});
        file.write(Bytes{8});
        EXPECT_FALSE(std::filesystem::exists(path("a")));
        file.commit();
    }
    EXPECT_EQ("a\nc\n", list());
    EXPECT_EQ(Bytes{9}, read("c"));
    EXPECT_EQ(Bytes({1, 7, 3}) + large + Bytes{8}, read("a"));
}

TEST_F(AtomicFileTest, ReplacesNeitherPipesNorDevicesNorFolders) {
    ASSERT_EQ(0, mkfifo(path("pipe").c_str(), 0600));
    ASSERT_EQ(0, mkdir(path("folder").c_str(), 0700));
    EXPECT_THROW(AtomicFile(path("pipe"), AtomicFile::Existing::kReplace), Failure);
    EXPECT_THROW(AtomicFile(path("folder"), AtomicFile::Existing::kReplace), Failure);
    EXPECT_EQ("folder\npipe\n", list());
}

TEST_F(AtomicFileTest, LeavesNothingWhenASignalEndsTheProcess) {
    for (int number : {SIGINT, SIGTERM}) {
        pid_t child = fork();
        if (child == 0) {
            AtomicFile open(path("open"), kKeep);
            open.write(Bytes(100000));
            raise(number);
            _exit(0);
        }
        int status;
        ASSERT_EQ(child, waitpid(child, &status, 0));
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == number);
        EXPECT_EQ("", list());
    }
}

}  // namespace
}  // namespace orvel
