// Eight conversions into one target at once, through the real binary, while
// this process keeps reading the target through the file reader (which holds
// the shared lock): every conversion succeeds, the target ends as one of the
// eight complete documents, no temporary file is left, and no read ever sees
// a partial document.
#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "tests/support/documents.h"
#include "tests/support/run_program.h"
#include "xml/lexer.h"

namespace {

using testing_support::isWholeDocument;
using testing_support::readFile;
using testing_support::ScratchDir;
using testing_support::withoutTime;
using testing_support::writeFile;

constexpr int kWriters = 8;

// The file's text, read while the file reader holds it open under the shared
// lock (no writer can rename a new file in meanwhile), and the depth at which
// the reader's lexer ended: 0 for a whole document.
struct Read {
    std::string text;
    int depth = -1;
};
Read readUnderSharedLock(const std::string& path) {
    Read read;
    std::unique_ptr<xml::Lexer> lexer = xml::Lexer::onFile(path.c_str());
    if (!lexer) return read;
    read.text = readFile(path);
    while (lexer->next().type() != xml::Tok::Eof) {
    }
    read.depth = lexer->depth();
    return read;
}

TEST(Concurrency, EightConversionsIntoOneTarget) {
    ScratchDir dir;
    const std::string sample = readFile(XLATE45_SOURCE_DIR "/examples/nimbra40.conf");
    std::vector<std::string> inputs;
    std::set<std::string> expected;  // each writer's document, without its time
    for (int i = 0; i < kWriters; ++i) {
        std::string text = sample;
        text.replace(text.find("name=\"nbsrv01\""), 14, "name=\"writer" + std::to_string(i) + "\"");
        inputs.push_back(dir.file("in" + std::to_string(i) + ".conf"));
        writeFile(inputs.back(), text);
        const std::string alone = dir.file("alone" + std::to_string(i));
        ASSERT_EQ(testing_support::runProgram({XLATE45_BIN, inputs.back(), alone, "-q"}).status, 0);
        expected.insert(withoutTime(readFile(alone)));
        std::filesystem::remove(alone);
        std::filesystem::remove(dir.file(".alone" + std::to_string(i) + ".lock"));
    }
    ASSERT_EQ(expected.size(), static_cast<std::size_t>(kWriters));
    // The target exists from the start, so the reader is at work while they write.
    const std::string target = dir.file("nimbra.conf");
    ASSERT_EQ(testing_support::runProgram({XLATE45_BIN, inputs[0], target, "-q"}).status, 0);
    std::vector<int> pids;
    for (const std::string& input : inputs) {
        pids.push_back(testing_support::startProgram({XLATE45_BIN, input, target, "-q"}, dir.file("output")));
        ASSERT_GT(pids.back(), 0);
    }
    int reads = 0;
    for (bool running = true; running;) {
        running = false;
        for (const int pid : pids) {
            siginfo_t info{};
            const bool exited = ::waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
                                info.si_pid == pid;
            running = running || !exited;  // not reaped yet: waitProgram collects the status below
        }
        const Read seen = readUnderSharedLock(target);
        ++reads;
        EXPECT_EQ(seen.depth, 0);
        EXPECT_TRUE(expected.count(withoutTime(seen.text)) == 1) << "read " << reads << " saw " << seen.text.size()
                                                                << " bytes";
        if (::testing::Test::HasFailure()) break;
    }
    for (const int pid : pids) EXPECT_EQ(testing_support::waitProgram(pid), 0);

    EXPECT_EQ(readFile(dir.file("output")), "") << "quiet conversions print nothing";
    EXPECT_EQ(expected.count(withoutTime(readFile(target))), 1u);
    EXPECT_TRUE(isWholeDocument(readFile(target + ".previous")));
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(dir.path())) files.push_back(entry.path().filename());
    std::sort(files.begin(), files.end());
    std::vector<std::string> wanted = {".nimbra.conf.lock", "nimbra.conf", "nimbra.conf.previous", "output"};
    EXPECT_GT(reads, 1);
    for (int i = 0; i < kWriters; ++i) wanted.push_back("in" + std::to_string(i) + ".conf");
    std::sort(wanted.begin(), wanted.end());
    EXPECT_EQ(files, wanted) << "no temporary file is left";
    std::printf("[          ] %d reads of the target while %d conversions ran\n", reads, kWriters);
}

}  // namespace
