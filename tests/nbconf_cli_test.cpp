// nbconf as an administrator meets it: the token dump, help and version, and
// failures that name the file and the reason.
#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/support/run_program.h"

using testing_support::ProgramResult;
using testing_support::TempDir;
using testing_support::writeFile;

namespace {

ProgramResult nbconf(std::vector<std::string> args) {
    args.insert(args.begin(), NBCONF_BIN);
    return testing_support::runProgram(args);
}

TEST(NbconfTokens, DumpsEveryTokenThroughEof) {
    TempDir dir;
    const std::string path = dir.file("doc.conf");
    writeFile(path, "<a x=\"&lt;\">\r\n</a>");

    const ProgramResult run = nbconf({"tokens", path});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out,
              "=============================\n"
              "Token Type: TOK_START_TAG_OPEN\n"
              "Data size: 1 Accum size: 16\n"
              "Data: [a]\n"
              "Accumulator:\n"
              "[<a]\n"
              "=============================\n"
              "Token Type: TOK_ATTRIBUTE\n"
              "Data size: 1 Accum size: 16\n"
              "Data: [x]\n"
              "Accumulator:\n"
              "[x]\n"
              "=============================\n"
              "Token Type: TOK_EQUAL\n"
              "Data size: 0 Accum size: 16\n"
              "Data: []\n"
              "Accumulator:\n"
              "[=]\n"
              "=============================\n"
              "Token Type: TOK_ATTVALUE\n"
              "Data size: 4 Accum size: 16\n"
              "Data: [<]\n"
              "Accumulator:\n"
              "[\"&lt;\"]\n"
              "=============================\n"
              "Token Type: TOK_START_TAG_CLOSE\n"
              "Data size: 0 Accum size: 16\n"
              "Data: []\n"
              "Accumulator:\n"
              "[>]\n"
              "=============================\n"
              "Token Type: TOK_CONTENT\n"
              "Data size: 1 Accum size: 16\n"
              "Data: [\n]\n"
              "Accumulator:\n"
              "[\n]\n"
              "=============================\n"
              "Token Type: TOK_END_TAG\n"
              "Data size: 1 Accum size: 16\n"
              "Data: [a]\n"
              "Accumulator:\n"
              "[</a>]\n"
              "=============================\n"
              "Token Type: TOK_EOF\n"
              "Data size: 0 Accum size: 0\n"
              "Data: []\n"
              "Accumulator:\n"
              "[]\n");

}

// Help goes to standard output with status 0; a failure names the file and
// the reason (cannot open, or does not parse) with status 1; wrong arguments 2.
TEST(NbconfCommandLine, HelpVersionAndFailures) {
    TempDir dir;
    const std::string missing = dir.file("missing.conf");
    writeFile(dir.file("bad.conf"), "<SANConfig>\n<a b>");
    writeFile(dir.file("nobridge.conf"), "<SANConfig><SANBridgeList></SANBridgeList></SANConfig>");
    struct Row {
        std::vector<std::string> args;
        int status;
        std::string out;  // a prefix of standard output
        std::string err;
    };
    const Row rows[] = {
        {{"--help"}, 0, "Usage: nbconf COMMAND [ARGUMENTS]\n", ""},
        {{"help", "tokens"}, 0, "Usage: nbconf tokens FILE\n\nReads FILE", ""},
        {{"repo", "--help"}, 0, "Usage: nbconf repo [--devices DIR] show BASE\n       nbconf repo [--dev", ""},
        {{"--version"}, 0, "nbconf 1.0\n", ""},
        {{"help", "frob"}, 2, "", "nbconf: unknown command frob; \"nbconf --help\" lists the commands\n"},
        {{"check"}, 2, "", "Usage: nbconf check [--time N] FILE\n"},
        {{"check", missing}, 1, "", "nbconf: cannot open " + missing + ": No such file or directory\n"},
        {{"tokens", dir.path()}, 1, "", "nbconf: cannot open " + dir.path() + ": Is a directory\n"},
        {{"tokens", dir.file("bad.conf")}, 1, "=====",
         "nbconf: " + dir.file("bad.conf") + " does not parse: 1 lexical error, the first at line 2\n"},
        {{"check", dir.file("nobridge.conf")}, 1, "",
         "parse error SANBridge\nnbconf: " + dir.file("nobridge.conf") +
             " does not parse: no SANBridge could be read from it\n"},
        {{"downgrade", "-q", missing}, 2, "", "Usage: nbconf downgrade [-q] INPUT45 OUTPUT40\n"},
        {{"downgrade", missing, dir.file("out")}, 1, "",
         "nbconf: cannot open " + missing + ": No such file or directory\n"},
        {{"downgrade", dir.file("nobridge.conf"), dir.file("out")}, 1, "",
         "parse error SANBridge\nnbconf: " + dir.file("nobridge.conf") +
             " does not parse: no SANBridge could be read from it\n"},
        {{"downgrade", XLATE45_SOURCE_DIR "/tests/testdata/every_element45.xml", dir.path()}, 1, "",
         "nbconf: cannot write " + dir.path() + ": Is a directory\n"},
        {{"downgrade", XLATE45_SOURCE_DIR "/tests/testdata/every_element45.xml", dir.file("none/out")}, 1, "",
         "Can't open lock file " + dir.file("none/.out.lock") + " - 2\nnbconf: cannot write " +
             dir.file("none/out") + ": No such file or directory\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.args));
        const ProgramResult run = nbconf(row.args);
        EXPECT_EQ(run.status, row.status);
        EXPECT_EQ(row.out.empty() ? run.out : run.out.substr(0, row.out.size()), row.out);
        EXPECT_EQ(run.err, row.err);
    }
    EXPECT_NE(::access(dir.file("out").c_str(), F_OK), 0) << "a failed downgrade writes nothing";
}

}  // namespace
