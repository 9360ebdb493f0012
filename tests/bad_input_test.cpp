// The real binary over a corpus of broken inputs: a small realistic 4.0
// document cut at every byte offset, and with single bytes replaced. Each run
// must end (under a time limit) with a documented status, leave its input as
// it was, and leave the output absent or a whole document. A buffer that ends
// in a lone CR never ends, as specified, so no input here ends in one.
#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

#include "tests/support/documents.h"
#include "tests/support/run_program.h"

namespace {

using testing_support::isWholeDocument;
using testing_support::readFile;
using testing_support::ScratchDir;
using testing_support::writeFile;

constexpr int kParallel = 4;
constexpr const char* kTimeLimit = "20";  // seconds; a conversion of this input takes milliseconds

// 0, -1 and -2 to -7 as statuses, and 0x90010037.
bool documentedStatus(int status) {
    for (const int code : {0, 255, 254, 253, 252, 251, 250, 249, 55}) {
        if (status == code) return true;
    }
    return false;
}

struct Job {
    std::string why;
    std::string input;
    int pid = -1;
    std::string dir;
};

void check(const Job& job) {
    SCOPED_TRACE(job.why);
    const int status = testing_support::waitProgram(job.pid);
    EXPECT_NE(status, 124) << "did not end within " << kTimeLimit << " s";
    EXPECT_TRUE(documentedStatus(status)) << "status " << status;
    EXPECT_EQ(readFile(job.dir + "/in.conf"), job.input) << "the input is never written";
    if (::access((job.dir + "/out.conf").c_str(), F_OK) == 0) {
        EXPECT_TRUE(isWholeDocument(readFile(job.dir + "/out.conf")));
    }
}

TEST(BadInput, TruncationsAndByteChangesOfARealDocument) {
    const std::string document = readFile(XLATE45_SOURCE_DIR "/tests/testdata/tiny40.conf");
    ASSERT_EQ(document.find('\r'), std::string::npos);
    std::vector<std::pair<std::string, std::string>> corpus;
    for (std::size_t length = 0; length < document.size(); ++length) {
        corpus.emplace_back("cut to " + std::to_string(length) + " bytes", document.substr(0, length));
    }
    // Bytes the lexer treats specially, and a few that it does not.
    static const char kBytes[] = "<>/=\"'&;!?[]-\0\n\r\t x\xff";
    const std::string replacements(kBytes, sizeof kBytes - 1);
    std::mt19937 random(20261121);
    for (int i = 0; i < 600; ++i) {
        const std::size_t at = random() % document.size();
        const char by = replacements[random() % replacements.size()];
        if (at + 1 == document.size() && by == '\r') continue;  // the lone CR that never ends
        std::string changed = document;
        changed[at] = by;
        corpus.emplace_back("byte " + std::to_string(at) + " set to " + std::to_string(static_cast<unsigned char>(by)),
                            changed);
    }

    ScratchDir scratch;
    std::vector<Job> running;
    int runs = 0;
    for (const auto& [why, input] : corpus) {
        if (running.size() == kParallel) {
            check(running.front());
            running.erase(running.begin());
        }
        Job job{why, input, -1, ""};
        job.dir = scratch.file(std::to_string(runs % (2 * kParallel)));
        std::filesystem::remove_all(job.dir);
        std::filesystem::create_directory(job.dir);
        writeFile(job.dir + "/in.conf", input);
        job.pid = testing_support::startProgram(
            {"/usr/bin/timeout", kTimeLimit, XLATE45_BIN, job.dir + "/in.conf", job.dir + "/out.conf", "-q"});
        ASSERT_GT(job.pid, 0);
        running.push_back(job);
        ++runs;
        if (::testing::Test::HasFailure()) break;
    }
    for (const Job& job : running) check(job);
    std::printf("[          ] %d broken inputs through the binary\n", runs);
}

}  // namespace
