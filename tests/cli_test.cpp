// xlate45 as an administrator meets it: the real binary, its standard output
// and error byte for byte, its exit status and the document it writes.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/documents.h"
#include "tests/support/run_program.h"

using testing_support::ProgramResult;
using testing_support::readFile;
using testing_support::runProgram;
using testing_support::TempDir;
using testing_support::withoutTime;
using testing_support::writeFile;

namespace {

const std::string kUsage =
    "Usage: xlate45 <input-file> <output-file> [-q]\n"
    "       <input-file> is the full path of the input file.\n"
    "       <output-file> is the full path of the output file.\n"
    "       -q is an option to for quiet mode.\n";

std::string example(const char* name) { return readFile(std::string(XLATE45_SOURCE_DIR) + "/examples/" + name); }

// Replaces each {dir} in `text` by `dir`.
std::string in(const std::string& dir, std::string text) {
    for (std::size_t at; (at = text.find("{dir}")) != std::string::npos;) text.replace(at, 5, dir);
    return text;
}

// Each run on a fresh directory holding "in.conf" (none when `input` is null).
TEST(CommandLine, Runs) {
    const char* const bridge41 = R"(<SANConfig><SANBridgeList><SANBridge name="n" instance="41"/></SANBridgeList></SANConfig>)";
    const char* const badBridge = R"(<SANBridge name="x" ipsanPort 5/>)";
    const std::string success = "convert configuration from {dir}/in.conf to {dir}/out.conf successfully\n";
    const std::string cannotOpen = "readXMLFromFile(): Failed to open file: {dir}/in.conf\n";
    const std::string parseFailed = "parse configuration from file {dir}/in.conf failed.\n";
    struct Row {
        const char* why;
        const char* input;
        std::vector<std::string> args;
        int status;
        std::string out, err;
        const char* written;  // a piece of the document written; null: nothing written
    };
    const Row rows[] = {
        {"no arguments", bridge41, {}, 1, kUsage, "", nullptr},
        {"one path", bridge41, {"{dir}/in.conf"}, 1, kUsage, "", nullptr},
        {"quiet cannot apply without the paths", bridge41, {"-q"}, 1, kUsage, "", nullptr},
        {"verbose success, instance plus one", bridge41, {"{dir}/in.conf", "{dir}/out.conf"}, 0, success, "",
         R"(<SANBridge name="n" ipAddr="" ipsanPort="0" timestamp="" instance="42">)"},
        {"quiet is exactly -q", bridge41, {"{dir}/in.conf", "{dir}/out.conf", "-q"}, 0, "", "", "instance=\"42\""},
        {"-qq is not quiet", nullptr, {"{dir}/in.conf", "{dir}/out.conf", "-qq"}, 254, cannotOpen, "", nullptr},
        {"-Q is not quiet", nullptr, {"{dir}/in.conf", "{dir}/out.conf", "-Q"}, 254, cannotOpen, "", nullptr},
        {"-quiet is not quiet", nullptr, {"{dir}/in.conf", "{dir}/out.conf", "-quiet"}, 254, cannotOpen, "", nullptr},
        {"a third path is not quiet", nullptr, {"{dir}/in.conf", "{dir}/out.conf", "x"}, 254, cannotOpen, "", nullptr},
        {"five arguments are not quiet", nullptr, {"{dir}/in.conf", "{dir}/out.conf", "-q", "x"}, 254, cannotOpen, "",
         nullptr},
        {"-q fifth is not quiet", nullptr, {"{dir}/in.conf", "{dir}/out.conf", "x", "-q"}, 254, cannotOpen, "",
         nullptr},
        {"missing input, quiet", nullptr, {"{dir}/in.conf", "{dir}/out.conf", "-q"}, 254, "", "", nullptr},
        {"a directory can't be opened for update", nullptr, {"{dir}", "{dir}/out.conf"}, 254,
         "readXMLFromFile(): Failed to open file: {dir}\n", "", nullptr},
        {"empty input", "", {"{dir}/in.conf", "{dir}/out.conf"}, 252, "readXMLFromFile(): Invalid file size: 0\n", "",
         nullptr},
        {"empty input, quiet", "", {"{dir}/in.conf", "{dir}/out.conf", "-q"}, 252, "", "", nullptr},
        // A document that yields no bridge is reported, yet the run ends with 0
        // and the verbose success line: settled behaviour that scripts rely on.
        {"no bridge at all", "<SANConfig><SANBridgeList/></SANConfig>", {"{dir}/in.conf", "{dir}/out.conf"}, 0,
         parseFailed + success, "", nullptr},
        {"the bridge does not parse", badBridge, {"{dir}/in.conf", "{dir}/out.conf"}, 0, parseFailed + success,
         "parse error SANBridge\n", nullptr},
        {"quiet leaves the library's diagnostics alone", badBridge, {"{dir}/in.conf", "{dir}/out.conf", "-q"}, 0, "",
         "parse error SANBridge\n", nullptr},
        {"unwritable output", bridge41, {"{dir}/in.conf", "{dir}/none/out.conf"}, 255,
         "write configuration to file {dir}/none/out.conf failed.\n", "Can't open lock file {dir}/none/.out.conf.lock - 2\n",
         nullptr},
        {"unwritable output, quiet", bridge41, {"{dir}/in.conf", "{dir}/none/out.conf", "-q"}, 255, "",
         "Can't open lock file {dir}/none/.out.conf.lock - 2\n", nullptr},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        TempDir dir;
        if (row.input != nullptr) writeFile(dir.file("in.conf"), row.input);
        std::vector<std::string> args = {XLATE45_BIN};
        for (const std::string& arg : row.args) args.push_back(in(dir.path(), arg));
        const ProgramResult run = runProgram(args);
        EXPECT_EQ(run.status, row.status);
        EXPECT_EQ(run.out, in(dir.path(), row.out));
        EXPECT_EQ(run.err, in(dir.path(), row.err));
        if (row.written != nullptr) {
            EXPECT_NE(readFile(dir.file("out.conf")).find(row.written), std::string::npos);
        } else {
            EXPECT_NE(::access(dir.file("out.conf").c_str(), F_OK), 0) << "nothing written";
        }
        if (row.input != nullptr) {
            EXPECT_EQ(readFile(dir.file("in.conf")), row.input) << "the input is never written";
        }
    }
}

TEST(CommandLine, BundledSampleGivesItsGoldenDocument) {
    TempDir dir;
    writeFile(dir.file("nimbra40.conf"), example("nimbra40.conf"));
    const ProgramResult run = runProgram({XLATE45_BIN, dir.file("nimbra40.conf"), dir.file("nimbra.conf"), "-q"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out + run.err, "");
    EXPECT_EQ(withoutTime(readFile(dir.file("nimbra.conf"))), withoutTime(example("nimbra45.conf")));
}

// The input is opened for update although it is never written: a read-only
// file is refused. Root may write anything, so the run drops to "nobody".
TEST(CommandLine, ReadOnlyInputIsRefused) {
    TempDir dir;
    ASSERT_EQ(::chmod(dir.path().c_str(), 0755), 0);
    const std::string input = dir.file("ro.conf");
    writeFile(input, "<SANConfig/>");
    ASSERT_EQ(::chmod(input.c_str(), 0444), 0);
    std::vector<std::string> args = {XLATE45_BIN, input, dir.file("out.conf")};
    if (::geteuid() == 0) {
        if (::access("/usr/bin/setpriv", X_OK) != 0) GTEST_SKIP() << "needs setpriv to drop root";
        args.insert(args.begin(), {"/usr/bin/setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", "--"});
    }
    const ProgramResult run = runProgram(args);
    EXPECT_EQ(run.status, 254);
    EXPECT_EQ(run.out, "readXMLFromFile(): Failed to open file: " + input + "\n");
}

// Devices that take snapshots delete their oldest one instead of stopping
// writes, in exactly these lists; the others keep their policy.
TEST(CommandLine, SnapshotPolicyFixUpVisitsTheListedLists) {
    const auto device = [](const std::string& name, const char* enabled) {
        return R"(<VirtualDev id="1" name=")" + name + R"(" snapshotEnabled=")" + enabled +
               R"("><SnapshotPolicy vid="9" autoDelete="false" stopWrite="true"/></VirtualDev>)";
    };
    const std::pair<const char*, bool> lists[] = {
        {"SANResources", true},     {"NASResources", true},      {"SnapshotResources", true},
        {"CacheResources", true},   {"FastlaneResources", true}, {"BMRResources", true},
        {"ReplicaResources", false}, {"CopyManagerResources", false}};
    std::string logical = device("single", "true");  // the device held directly is not fixed
    for (const auto& [list, fixed] : lists) {
        const std::string off = std::string(list) == "SANResources" ? device("off", "false") : "";
        const std::string element = std::string("<") + list + ">" + device(list, "true") + off + "</" + list + ">";
        logical += std::string(list) == "CopyManagerResources" ? "<SystemResources>" + element + "</SystemResources>"
                                                                : element;
    }
    TempDir dir;
    writeFile(dir.file("in.conf"), R"(<SANBridge name="n"><LogicalResources nextVDevID="2">)" + logical +
                                       "</LogicalResources></SANBridge>");
    ASSERT_EQ(runProgram({XLATE45_BIN, dir.file("in.conf"), dir.file("out.conf"), "-q"}).status, 0);
    const std::string out = readFile(dir.file("out.conf"));
    std::vector<std::pair<std::string, bool>> rows = {{"off", false}, {"single", false}};
    for (const auto& [list, fixed] : lists) rows.emplace_back(list, fixed);
    for (const auto& [name, fixed] : rows) {
        SCOPED_TRACE(name);
        const std::size_t policy = out.find("<SnapshotPolicy ", out.find("name=\"" + name + "\""));
        ASSERT_NE(policy, std::string::npos);
        const std::string line = out.substr(policy, out.find('\n', policy) - policy);
        EXPECT_NE(line.find(fixed ? R"(autoDelete="true" stopWrite="false")" : R"(autoDelete="false" stopWrite="true")"),
                  std::string::npos)
            << line;
    }
}

}  // namespace
