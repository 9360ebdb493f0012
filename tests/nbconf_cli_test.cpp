// nbconf's own command line: help, version, and the failures that name the
// file and the reason, as an administrator meets them.
#include <gtest/gtest.h>

#include "tests/support/run_program.h"

using testing_support::ProgramResult;
using testing_support::runProgram;
using testing_support::TempDir;
using testing_support::writeFile;

namespace {

TEST(NbconfCommandLine, HelpVersionAndFailures) {
    TempDir dir;
    const std::string missing = dir.file("missing.conf");
    const std::string bad = dir.file("bad.conf");
    writeFile(bad, "<SANConfig>\n<a b>");
    const char* const overview = "Usage: nbconf COMMAND [ARGUMENTS]\n";
    struct Row {
        std::vector<std::string> args;
        int status;
        std::string out;  // a prefix of standard output; empty: nothing on it
        std::string err;  // all of standard error (a prefix when there are no arguments)
    };
    const Row rows[] = {
        {{"--help"}, 0, overview, ""},
        {{"-h"}, 0, overview, ""},
        {{"help"}, 0, overview, ""},
        {{"help", "tokens"}, 0, "Usage: nbconf tokens FILE\n\nReads FILE", ""},
        {{"check", "--help"}, 0, "Usage: nbconf check [--time N] FILE\n\n", ""},
        {{"repo", "-h"}, 0,
         "Usage: nbconf repo [--devices DIR] show BASE\n       nbconf repo [--devices DIR] add BASE FILE [NAME]\n\n", ""},
        {{"sem", "--help"}, 0, "Usage: nbconf sem remove-all\n\n", ""},
        {{"--version"}, 0, "nbconf 1.0\n", ""},
        {{}, 2, "", overview},
        {{"help", "frob"}, 2, "", "nbconf: unknown command frob; \"nbconf --help\" lists the commands\n"},
        {{"frob"}, 2, "", "nbconf: unknown command frob; \"nbconf --help\" lists the commands\n"},
        {{"check"}, 2, "", "Usage: nbconf check [--time N] FILE\n"},
        {{"check", missing}, 1, "", "nbconf: cannot open " + missing + ": No such file or directory\n"},
        {{"tokens", missing}, 1, "", "nbconf: cannot open " + missing + ": No such file or directory\n"},
        {{"check", dir.path()}, 1, "", "nbconf: cannot open " + dir.path() + ": Is a directory\n"},
        {{"tokens", bad}, 1, "=====",
         "nbconf: " + bad + " does not parse: 1 lexical error, the first at line 2\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.args));
        std::vector<std::string> argv = row.args;
        argv.insert(argv.begin(), NBCONF_BIN);
        const ProgramResult run = runProgram(argv);
        EXPECT_EQ(run.status, row.status);
        EXPECT_EQ(row.out.empty() ? run.out : run.out.substr(0, row.out.size()), row.out);
        EXPECT_EQ(row.args.empty() ? run.err.substr(0, row.err.size()) : run.err, row.err);
    }
}

}  // namespace
