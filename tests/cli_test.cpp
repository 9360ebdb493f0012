// The command line as an administrator meets it: the real binary, its standard
// output byte for byte, and its exit status.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/run_program.h"

using testing_support::ProgramResult;
using testing_support::runProgram;
using testing_support::TempDir;

namespace {

const char kUsage[] =
    "Usage: xlate45 <input-file> <output-file> [-q]\n"
    "       <input-file> is the full path of the input file.\n"
    "       <output-file> is the full path of the output file.\n"
    "       -q is an option to for quiet mode.\n";

ProgramResult xlate45(std::vector<std::string> args) {
    args.insert(args.begin(), XLATE45_BIN);
    return runProgram(args);
}

TEST(CommandLine, FewerThanTwoPathsPrintsUsage) {
    for (const auto& args : {std::vector<std::string>{}, {"in.conf"}, {"-q"}}) {
        SCOPED_TRACE(args.empty() ? "(none)" : args[0]);
        const ProgramResult run = xlate45(args);
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.out, kUsage);  // quiet mode cannot apply here
        EXPECT_EQ(run.err, "");
    }
}

// The quiet switch is exactly "-q" in fourth position with exactly four
// arguments; the input-reading message shows which mode was chosen.
TEST(CommandLine, QuietOnlyForExactlyDashQAsFourthOfFour) {
    TempDir dir;
    const std::string missing = dir.file("missing.conf");
    const std::string out = dir.file("out.conf");
    const std::string message = "readXMLFromFile(): Failed to open file: " + missing + "\n";
    struct Row {
        std::vector<std::string> args;
        bool quiet;
    };
    const Row rows[] = {
        {{missing, out}, false},
        {{missing, out, "-q"}, true},
        {{missing, out, "-qq"}, false},
        {{missing, out, "-Q"}, false},
        {{missing, out, "-quiet"}, false},
        {{missing, out, "third.conf"}, false},
        {{missing, out, "-q", "extra"}, false},  // five arguments: verbose
        {{missing, out, "extra", "-q"}, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.args));
        const ProgramResult run = xlate45(row.args);
        EXPECT_EQ(run.status, 254);  // -2, low 8 bits
        EXPECT_EQ(run.out, row.quiet ? "" : message);
    }
    EXPECT_NE(access(out.c_str(), F_OK), 0) << "nothing is written when the input can't be read";
}

TEST(CommandLine, InputReadingFailuresAndTheirStatus) {
    TempDir dir;
    const std::string empty = dir.file("empty.conf");
    testing_support::writeFile(empty, "");
    const std::string out = dir.file("out.conf");

    ProgramResult run = xlate45({empty, out});
    EXPECT_EQ(run.status, 252);
    EXPECT_EQ(run.out, "readXMLFromFile(): Invalid file size: 0\n");

    run = xlate45({dir.path(), out});  // a directory can't be opened for update
    EXPECT_EQ(run.status, 254);
    EXPECT_EQ(run.out, "readXMLFromFile(): Failed to open file: " + dir.path() + "\n");

    run = xlate45({empty, out, "-q"});
    EXPECT_EQ(run.status, 252);
    EXPECT_EQ(run.out, "");
}

// The input is opened for update although it is never written: a read-only
// file is refused. Root may write anything, so the run drops to "nobody".
TEST(CommandLine, ReadOnlyInputIsRefused) {
    TempDir dir;
    ASSERT_EQ(chmod(dir.path().c_str(), 0755), 0);
    const std::string input = dir.file("ro.conf");
    testing_support::writeFile(input, "<SANConfig/>");
    ASSERT_EQ(chmod(input.c_str(), 0444), 0);
    std::vector<std::string> args = {XLATE45_BIN, input, dir.file("out.conf")};
    if (geteuid() == 0) {
        if (access("/usr/bin/setpriv", X_OK) != 0) GTEST_SKIP() << "needs setpriv to drop root";
        args.insert(args.begin(), {"/usr/bin/setpriv", "--reuid=65534", "--regid=65534",
                                   "--clear-groups", "--"});
    }
    const ProgramResult run = runProgram(args);
    EXPECT_EQ(run.status, 254);
    EXPECT_EQ(run.out, "readXMLFromFile(): Failed to open file: " + input + "\n");
    EXPECT_EQ(testing_support::readFile(input), "<SANConfig/>");
}

}  // namespace
