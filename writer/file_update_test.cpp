#include "writer/file_update.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/host_env.h"
#include "tests/support/run_program.h"

namespace {

using testing_support::readFile;
using testing_support::writeFile;

ino_t inodeOf(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 ? info.st_ino : 0;
}

// The old file is kept as a hard link only for a target with a directory part
// that exists; a bare name lives in the current directory with its lock file.
TEST(FileUpdate, PreviousVersionAndLockFile) {
    struct Row {
        const char* target;  // relative to the directory; "./" keeps a directory part
        bool existed, previous;
    };
    const Row rows[] = {{"./nimbra.conf", true, true}, {"./new.conf", false, false}, {"bare.conf", true, false}};
    const sys::HostEnv env = testing_support::testEnv();
    for (const Row& row : rows) {
        SCOPED_TRACE(row.target);
        testing_support::TempDir dir;
        char cwd[4096];
        ASSERT_NE(::getcwd(cwd, sizeof cwd), nullptr);
        ASSERT_EQ(::chdir(dir.path().c_str()), 0);
        const std::string target = row.target;
        if (row.existed) writeFile(target, "old");
        const ino_t oldInode = inodeOf(target);
        std::unique_ptr<writer::FileUpdate> update = writer::FileUpdate::open(env, target.c_str());
        ASSERT_TRUE(update);
        std::fputs("new", update->stream());
        EXPECT_EQ(update->commit(true), 0);
        EXPECT_EQ(::chdir(cwd), 0);

        const std::string name = target.substr(target.rfind('/') + 1);
        EXPECT_EQ(readFile(dir.file(name)), "new");
        EXPECT_EQ(inodeOf(dir.file(name + ".previous")), row.previous ? oldInode : 0) << "a link, not a copy";
        EXPECT_NE(inodeOf(dir.file("." + name + ".lock")), 0u) << "the lock file stays";
        EXPECT_EQ(inodeOf(dir.file(name + "_to_Be_" + std::to_string(env.pid))), 0u);
    }
}

}  // namespace
