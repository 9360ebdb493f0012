#include "writer/file_update.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/run_program.h"
#include "xml/posix_ops.h"

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

// Restores the real system calls when a test that replaced one ends.
struct RealOpsAfterwards {
    ~RealOpsAfterwards() { xml::posixOps() = xml::realPosixOps(); }
};

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

// An upgrade never widens access: a replaced regular file keeps its mode,
// owner and group. A new target, or one that is a link, is created under the
// umask as ever; the file behind the link is left alone.
TEST(FileUpdate, ReplacementKeepsModeOwnerAndGroup) {
    const mode_t mask = umask(0);
    umask(mask);
    const bool root = geteuid() == 0;  // only root can give a file away
    const uid_t owner = root ? 1234 : geteuid();
    const gid_t group = root ? 5678 : getegid();
    enum class Old { File, None, Link };
    struct Row {
        const char* what;
        Old old;
        mode_t oldMode;
        mode_t newMode;
    };
    const Row rows[] = {
        {"restricted file", Old::File, 0600, 0600},
        {"set-gid group file", Old::File, 02640, 02640},
        {"no file yet", Old::None, 0, 0666 & ~mask},
        {"link to a restricted file", Old::Link, 0600, 0666 & ~mask},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        TempDir dir;
        const std::string target = dir.file("nimbra.conf");
        const std::string old = row.old == Old::Link ? dir.file("behind") : target;
        if (row.old != Old::None) {
            writeFile(old, "old");
            ASSERT_EQ(chown(old.c_str(), owner, group), 0);
            ASSERT_EQ(chmod(old.c_str(), row.oldMode), 0);
        }
        if (row.old == Old::Link) {
            ASSERT_EQ(symlink(old.c_str(), target.c_str()), 0);
        }

        ASSERT_EQ(replace(target, "new"), 0);
        struct stat made {};
        ASSERT_EQ(lstat(target.c_str(), &made), 0);
        EXPECT_TRUE(S_ISREG(made.st_mode));
        EXPECT_EQ(made.st_mode & 07777, row.newMode);
        const bool kept = row.old == Old::File;
        EXPECT_EQ(made.st_uid, kept ? owner : geteuid());
        EXPECT_EQ(made.st_gid, kept ? group : getegid());
        if (row.old == Old::Link) {
            EXPECT_EQ(readFile(old), "old");
        }
    }
}

TEST(FileUpdate, UncreatableTemporaryFileLeavesTargetUntouched) {
    TempDir dir;
    const std::string target = dir.file("nimbra.conf");
    writeFile(target, "old");
    RealOpsAfterwards restore;
    xml::posixOps().open = [](const char* path, int flags, mode_t mode) {
        if (std::strstr(path, "_to_Be_") != nullptr) {
            errno = EACCES;
            return -1;
        }
        return xml::realPosixOps().open(path, flags, mode);
    };
    EXPECT_EQ(writer::FileUpdate::open(target.c_str(), getpid()), nullptr);
    xml::posixOps() = xml::realPosixOps();

    EXPECT_EQ(readFile(target), "old");
    EXPECT_FALSE(exists(target + ".previous"));
    EXPECT_EQ(replace(target, "later"), 0) << "the lock was released";
}

TEST(FileUpdate, WriteErrorAbortsAndKeepsTargetAndPrevious) {
    TempDir dir;
    const std::string target = dir.file("nimbra.conf");
    writeFile(target, "old");
    writeFile(target + ".previous", "older");
    RealOpsAfterwards restore;
    xml::posixOps().write = [](int, const void*, std::size_t) -> ssize_t {
        errno = ENOSPC;
        return -1;
    };
    testing::internal::CaptureStderr();
    const int result = replace(target, "new");
    const std::string err = testing::internal::GetCapturedStderr();
    xml::posixOps() = xml::realPosixOps();

    const std::string tmp = target + "_to_Be_" + std::to_string(getpid());
    EXPECT_EQ(result, -1);
    EXPECT_EQ(err, "Abort updating " + target + " error writing tmp file " + tmp + "\n");
    EXPECT_EQ(readFile(target), "old");
    EXPECT_EQ(readFile(target + ".previous"), "older");
    EXPECT_TRUE(exists(tmp)) << "the failed temporary file is left for inspection";
    EXPECT_EQ(replace(target, "later"), 0) << "the lock was released";
    EXPECT_EQ(readFile(target), "later");
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
