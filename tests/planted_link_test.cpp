// The tool runs as root, often in directories that others may write to. Each
// file it makes beside the output, and the index under the home, is planted
// first as a link to a file that must not change; the real binary runs with
// the process id the planted names assume.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/run_program.h"

using testing_support::ProgramResult;
using testing_support::readFile;
using testing_support::runProgram;
using testing_support::TempDir;
using testing_support::writeFile;

namespace {

const char kInput[] = R"(<SANConfig><SANBridgeList><SANBridge name="srv" instance="1"/></SANBridgeList></SANConfig>)";

TEST(PlantedLinks, AreNeverWrittenThrough) {
    struct Row {
        const char* attack;
        const char* planted;  // relative to the scratch directory; %d is the tool's pid
        bool hardLink;        // else a symbolic link
        const char* pointsAt;
        const char* err;      // after the lock path
    };
    const Row rows[] = {
        {"link as the temporary file", "out/nimbra.conf_to_Be_%d", false, "victim", ""},
        {"hard link as the temporary file", "out/nimbra.conf_to_Be_%d", true, "victim", ""},
        {"dangling link as the lock file", "out/.nimbra.conf.lock", false, "nowhere", " - 40\n"},
        {"link as the index file", "home/etc/srv/nimbra.conf.ndx", false, "victim", ""},
        {"stale temporary file of the same pid", "out/nimbra.conf_to_Be_%d", false, nullptr, ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.attack);
        TempDir dir;
        ASSERT_EQ(mkdir(dir.file("out").c_str(), 0777), 0);
        ASSERT_EQ(mkdir(dir.file("home").c_str(), 0755), 0);
        ASSERT_EQ(mkdir(dir.file("home/etc").c_str(), 0755), 0);
        ASSERT_EQ(mkdir(dir.file("home/etc/srv").c_str(), 0755), 0);
        writeFile(dir.file("in.conf"), kInput);
        writeFile(dir.file("victim"), "victim\n");
        const std::string output = dir.file("out/nimbra.conf");

        const ProgramResult run = runProgram({XLATE45_BIN, dir.file("in.conf"), output, "-q"},
                                             {"NBHOME=" + dir.file("home")}, [&] {
                                                 char name[256];
                                                 std::snprintf(name, sizeof name, row.planted, getpid());
                                                 const std::string at = dir.file(name);
                                                 if (row.pointsAt == nullptr) writeFile(at, "stale");
                                                 else if (row.hardLink) link(dir.file(row.pointsAt).c_str(), at.c_str());
                                                 else symlink(dir.file(row.pointsAt).c_str(), at.c_str());
                                             });

        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.err, *row.err ? "Can't open lock file " + dir.file("out/.nimbra.conf.lock") + row.err : "");
        EXPECT_EQ(readFile(dir.file("victim")), "victim\n");
        EXPECT_NE(access(dir.file("nowhere").c_str(), F_OK), 0);
        struct stat made {};
        ASSERT_EQ(lstat(output.c_str(), &made), 0);
        EXPECT_TRUE(S_ISREG(made.st_mode));
        EXPECT_NE(readFile(output).find(R"(instance="2")"), std::string::npos);
    }
}

}  // namespace
