#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>

namespace {

struct CommandRun {
    std::string out;
    int status;
};

CommandRun runNbconf(const std::string& arguments) {
    const std::string command = std::string(NBCONF_BIN) + " " + arguments + " 2>/dev/null";
    CommandRun run{{}, -1};
    std::FILE* pipe = ::popen(command.c_str(), "r");
    if (!pipe) return run;
    char buffer[4096];
    for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) run.out.append(buffer, n);
    const int status = ::pclose(pipe);
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
}

TEST(NbconfTokens, DumpsEveryTokenThroughEof) {
    std::string dir = ::testing::TempDir() + "nbconfXXXXXX";
    ASSERT_TRUE(::mkdtemp(dir.data()));
    const std::string path = dir + "/doc.conf";
    std::ofstream(path, std::ios::binary) << "<a x=\"&lt;\">\r\n</a>";

    const CommandRun run = runNbconf("tokens " + path);
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

    EXPECT_EQ(runNbconf("tokens " + dir + "/absent.conf").status, 1);
    EXPECT_EQ(runNbconf("tokens").status, 2);
    static_cast<void>(std::system(("rm -rf '" + dir + "'").c_str()));
}

}  // namespace
