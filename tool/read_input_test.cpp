#include "tool/read_input.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/run_program.h"

namespace {

// The buffer holds exactly the file's bytes, NUL bytes and CR included, with no
// terminator added.
TEST(ReadXMLFromFile, HoldsExactlyTheFilesBytes) {
    testing_support::TempDir dir;
    const std::string path = dir.file("doc.conf");
    const std::string content("<a>\r\n\0b</a>", 11);
    testing_support::writeFile(path, content);

    tool::ConfigText text;
    ASSERT_EQ(tool::readXMLFromFile(path.c_str(), &text, false), 0);
    ASSERT_EQ(text.length, 11);
    EXPECT_EQ(std::memcmp(text.text.get(), content.data(), content.size()), 0);

    tool::releaseText(text);
    EXPECT_EQ(text.text, nullptr);
    EXPECT_EQ(text.length, 0);
    tool::releaseText(text);  // an empty record may be released again
}

TEST(ReadXMLFromFile, InvalidParameters) {
    tool::ConfigText text;
    testing::internal::CaptureStdout();
    EXPECT_EQ(tool::readXMLFromFile(nullptr, &text, true), -1);
    EXPECT_EQ(tool::readXMLFromFile("/dev/null", nullptr, true), -1);
    EXPECT_EQ(tool::readXMLFromFile(nullptr, &text, false), -1);
    const std::string line = "readXMLFromFile(): Invalid parameter to read configuration from file\n";
    EXPECT_EQ(testing::internal::GetCapturedStdout(), line + line);
}

// A buffer the process can't have: the code and its line, and nothing kept.
// A child with its data limited below the file's size asks for it.
TEST(ReadXMLFromFile, BufferThatCannotBeHad) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the sanitizer's own mappings exceed any data limit a child could set";
#else
    testing_support::TempDir dir;
    const std::string path = dir.file("doc.conf");
    const std::string said = dir.file("stdout");
    testing_support::writeFile(path, "<a/>");
    ASSERT_EQ(::truncate(path.c_str(), 512L << 20), 0);  // sparse: nothing to read is stored
    std::fflush(stdout);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        const rlimit limit{256L << 20, 256L << 20};
        if (::setrlimit(RLIMIT_DATA, &limit) != 0 || !std::freopen(said.c_str(), "w", stdout)) ::_exit(2);
        tool::ConfigText text;
        const int result = tool::readXMLFromFile(path.c_str(), &text, true);
        std::fflush(stdout);
        ::_exit(result == -6 && !text.text ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    EXPECT_EQ(testing_support::readFile(said), "readXMLFromFile(): buffer allocation failed.\n");
#endif
}

}  // namespace
