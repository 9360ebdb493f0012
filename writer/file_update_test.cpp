#include "writer/file_update.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/run_program.h"

using testing_support::readFile;
using testing_support::TempDir;
using testing_support::writeFile;

namespace {

int replace(const std::string& target, const std::string& content, bool sync = true) {
    std::unique_ptr<writer::FileUpdate> update = writer::FileUpdate::open(target.c_str(), getpid());
    if (!update) return -2;
    std::fwrite(content.data(), 1, content.size(), update->stream());
    return update->commit(sync);
}

ino_t inodeOf(const std::string& path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0 ? info.st_ino : 0;
}

bool exists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

TEST(FileUpdate, ReplacesKeepingThePreviousVersionAsAHardLink) {
    TempDir dir;
    const std::string target = dir.file("nimbra.conf");
    writeFile(target, "old");
    const ino_t oldInode = inodeOf(target);

    ASSERT_EQ(replace(target, "new document"), 0);

    EXPECT_EQ(readFile(target), "new document");
    EXPECT_EQ(readFile(target + ".previous"), "old");
    EXPECT_EQ(inodeOf(target + ".previous"), oldInode) << "a link, not a copy";
    EXPECT_FALSE(exists(target + "_to_Be_" + std::to_string(getpid())));
    EXPECT_TRUE(exists(dir.file(".nimbra.conf.lock"))) << "the lock file stays";
}

TEST(FileUpdate, NewTargetHasNoPreviousVersion) {
    TempDir dir;
    const std::string target = dir.file("new.conf");
    ASSERT_EQ(replace(target, "first"), 0);
    EXPECT_EQ(readFile(target), "first");
    EXPECT_FALSE(exists(target + ".previous"));
}

// A bare file name lives in the current directory: lock file ".NAME.lock"
// there, and no ".previous" link even when the file existed.
TEST(FileUpdate, TargetWithoutDirectory) {
    TempDir dir;
    char cwd[4096];
    ASSERT_NE(getcwd(cwd, sizeof cwd), nullptr);
    ASSERT_EQ(chdir(dir.path().c_str()), 0);
    writeFile("bare.conf", "old");
    const int result = replace("bare.conf", "new");
    ASSERT_EQ(chdir(cwd), 0);

    EXPECT_EQ(result, 0);
    EXPECT_EQ(readFile(dir.file("bare.conf")), "new");
    EXPECT_FALSE(exists(dir.file("bare.conf.previous")));
    EXPECT_TRUE(exists(dir.file(".bare.conf.lock")));
}

// A second writer of the same target waits on the lock until the first has
// renamed its file into place.
TEST(FileUpdate, TwoProcessesAreSerialisedByTheLock) {
    TempDir dir;
    const std::string target = dir.file("nimbra.conf");
    writeFile(target, "old");
    std::unique_ptr<writer::FileUpdate> first = writer::FileUpdate::open(target.c_str(), getpid());
    ASSERT_TRUE(first);
    std::fputs("first", first->stream());

    int acquired[2];
    ASSERT_EQ(pipe(acquired), 0);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        close(acquired[0]);
        auto second = writer::FileUpdate::open(target.c_str(), getpid());
        // What the second writer finds once it holds the lock.
        const std::string seen = readFile(target);
        const char verdict = !second ? 'x' : seen == "first" ? 'y' : 'n';
        static_cast<void>(write(acquired[1], &verdict, 1));
        if (second) {
            std::fputs("second", second->stream());
            second->commit(true);
        }
        _exit(0);
    }
    close(acquired[1]);
    pollfd waiting = {acquired[0], POLLIN, 0};
    EXPECT_EQ(poll(&waiting, 1, 300), 0) << "the second writer must wait for the lock";

    ASSERT_EQ(first->commit(true), 0);
    char verdict = 0;
    ASSERT_EQ(read(acquired[0], &verdict, 1), 1);
    close(acquired[0]);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(verdict, 'y') << "the second writer must see the first one's complete file";
    EXPECT_EQ(readFile(target), "second");
    EXPECT_EQ(readFile(target + ".previous"), "first");
}

}  // namespace
