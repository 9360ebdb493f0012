// A realistic conversion with the Nth allocation failing, for every N until
// the conversion no longer reaches the failure. Each run ends in one of the
// documented outcomes and leaves the target as it was or complete. Complete
// means a whole document, not the same one: a 4.0 element whose record can't
// be allocated is dropped like an unknown one, and the rest is converted.
#include <gtest/gtest.h>

#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/documents.h"
#include "tests/support/failing_alloc.h"
#include "tests/support/host_env.h"
#include "tests/support/quorum_store.h"
#include "tests/support/run_program.h"
#include "tool/convert.h"
#include "xml/log.h"

namespace {

using testing_support::isWholeDocument;
using testing_support::readFile;
using testing_support::withoutTime;
using testing_support::ScratchDir;
using testing_support::writeFile;

const std::string kOld = "<old/>\n";

// Log lines kept without allocating: the observer runs while allocations fail.
char gLogLines[16][128];
int gLogCount = 0;
void keepLine(const char*, const char* message) {
    if (gLogCount < 16) std::snprintf(gLogLines[gLogCount++], sizeof gLogLines[0], "%s", message);
}

struct Outcome {
    int result = 0;
    std::string out, err;
    bool reachedFailure = false;
};

Outcome convertFailingAt(const sys::HostEnv& env, const std::string& in, const std::string& out, long nth,
                         testing_support::Failing mode) {
    Outcome run;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    testing_support::failAllocation(nth, mode);
    run.result = tool::convert(env, in.c_str(), out.c_str(), true).status;
    run.reachedFailure = testing_support::allocationFailed();
    testing_support::stopFailingAllocations();
    run.err = testing::internal::GetCapturedStderr();
    run.out = testing::internal::GetCapturedStdout();
    return run;
}

TEST(ConversionOutOfMemory, EveryAllocationFailingInTurn) {
    ScratchDir dir;
    ScratchDir devices;
    // The target's directory has a repository store, so deposits run too.
    testing_support::formatQuorumStore(dir.path(), devices.path(), 70'000, "alpha");
    const std::string in = dir.file("nimbra40.conf");
    const std::string out = dir.file("nimbra.conf");
    const std::string input = readFile(XLATE45_SOURCE_DIR "/tests/testdata/small40.conf");
    writeFile(in, input);
    // Syncing succeeds at once: thousands of disk flushes would test nothing more.
    sys::Calls calls = sys::realCalls();
    calls.fsync = [](int) { return 0; };
    sys::HostEnv env = testing_support::testEnv("/nonexistent", devices.path());
    env.calls = &calls;

    ASSERT_EQ(tool::convert(env, in.c_str(), out.c_str(), false).status, 0);
    const std::string complete = withoutTime(readFile(out));
    ASSERT_TRUE(isWholeDocument(complete));
    const std::string temp = out + "_to_Be_" + std::to_string(::getpid());

    xml::setLogObserver(keepLine);
    long runs = 0;
    for (const auto mode : {testing_support::Failing::Once, testing_support::Failing::FromThenOn}) {
        for (long n = 1;; ++n) {
            SCOPED_TRACE(std::string(mode == testing_support::Failing::Once ? "once" : "from then on") +
                         ", allocation " + std::to_string(n));
            writeFile(out, kOld);
            ::unlink(temp.c_str());
            gLogCount = 0;
            const Outcome run = convertFailingAt(env, in, out, n, mode);
            ++runs;
            const std::string target = withoutTime(readFile(out));
            const bool whole = isWholeDocument(target);
            EXPECT_TRUE(target == kOld || whole) << "partial target:\n" << target;
            EXPECT_EQ(readFile(in), input) << "the input is never written";
            // Log lines at level 0: the readers' "cannot allocate memory", or a failed deposit
            // (a temporary file that cannot be opened for the copy is reported as missing).
            for (int i = 0; i < gLogCount; ++i) {
                const std::string line = gLogLines[i];
                EXPECT_TRUE(line == "cannot allocate memory" || line.starts_with("MGT_ERROR: ") ||
                            line.starts_with("CFGREPOSITORY_") || line == "File \"" + temp + "\" does not exist.")
                    << line;
            }

            switch (run.result) {
            case -6:
                EXPECT_EQ(run.out, "readXMLFromFile(): buffer allocation failed.\n");
                EXPECT_EQ(target, kOld);
                break;
            case 0:
                if (run.out.empty()) {
                    EXPECT_TRUE(whole);
                } else {
                    EXPECT_EQ(run.out, "parse configuration from file " + in + " failed.\n");
                    EXPECT_EQ(target, kOld);
                }
                break;
            case static_cast<int>(0x90010037u):
                EXPECT_EQ(run.out, "convert configuration from file " + in + " failed.\n");
                EXPECT_EQ(target, kOld);
                break;
            case -1:
                EXPECT_EQ(run.out, "write configuration to file " + out + " failed.\n");
                break;
            default:
                ADD_FAILURE() << "undocumented result " << run.result;
            }
            // The library's own diagnostics, each a documented line.
            for (std::size_t at = 0, end; at < run.err.size(); at = end + 1) {
                end = run.err.find('\n', at);
                const std::string line = run.err.substr(at, end - at);
                EXPECT_TRUE(line == "parse error SANBridge" || line == "parse error NimbraPartition" ||
                            line == "Abort updating " + out + " error writing tmp file " + temp)
                    << line;
                if (end == std::string::npos) break;
            }

            if (!run.reachedFailure) {
                EXPECT_EQ(run.result, 0);
                EXPECT_EQ(target, complete);
                break;
            }
            if (::testing::Test::HasFailure()) break;  // one broken outcome is enough to read
        }
    }
    xml::setLogObserver(nullptr);
    std::printf("[          ] %ld conversions, each with one allocation failing or all from one on\n", runs);
}

}  // namespace
