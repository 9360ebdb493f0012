#include "tool/read_input.h"

#include <gtest/gtest.h>

#include <cstring>

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

// A character device has no end to seek to: its size reads as 0.
TEST(ReadXMLFromFile, UnsizedInputIsAnInvalidSize) {
    tool::ConfigText text;
    testing::internal::CaptureStdout();
    EXPECT_EQ(tool::readXMLFromFile("/dev/null", &text, true), -4);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "readXMLFromFile(): Invalid file size: 0\n");
    EXPECT_EQ(text.text, nullptr);
}

}  // namespace
