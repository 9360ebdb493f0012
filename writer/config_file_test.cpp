#include "writer/config_file.h"

#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/status_block.h"
#include "model/records.h"
#include "tests/support/host_env.h"
#include "tests/support/run_program.h"
#include "writer/document.h"

namespace {

using testing_support::readFile;
using testing_support::TempDir;

model::SANBridge bridgeNamed(const std::string& name, std::int32_t instance = 8) {
    model::SANBridge bridge;
    bridge.name = name;
    bridge.instance = instance;
    bridge.logicalResources.nextVDevID = 10005;
    bridge.properties.snmp.trapLevel = 3;
    return bridge;
}

bool exists(const std::string& path) { return std::filesystem::exists(path); }

// A home of the test's own: "<home>/etc/<server>" for the servers named, and
// the status block keyed on "<home>/etc".
class ConfigFile : public ::testing::Test {
protected:
    ConfigFile() : env_(testing_support::testEnv(home_.path())) {
        for (const char* server : {"alpha", "beta", "a/b"}) std::filesystem::create_directories(etc(server));
    }
    ~ConfigFile() override { static_cast<void>(host::removeStatusBlock(env_)); }
    std::string etc(const std::string& server = "") const { return home_.path() + "/etc/" + server; }
    int write(const writer::FileWrite& what) const { return writer::writeConfigFile(env_, what); }
    std::int32_t instance(host::StatusGroup group) const {
        return host::readConfigInstance(env_, group).value_or(-99);
    }
    TempDir home_, dir_;
    sys::HostEnv env_;
};

TEST_F(ConfigFile, DocumentTextAndDefaultPath) {
    const model::SANBridge alpha = bridgeNamed("alpha");
    ASSERT_EQ(write({.bridge = &alpha}), 0) << "no path: the server's default document";
    const writer::ConfigText text = writer::writeDocumentToMemory(&alpha, env_.now);
    const std::string document(text.text.get(), static_cast<std::size_t>(text.length));
    EXPECT_EQ(readFile(etc("alpha") + "/nimbra.conf"), document) << "the header carries the HostEnv's time";
    EXPECT_EQ(write({.path = dir_.file("x").c_str(), .text = "plain bytes"}), 0);
    EXPECT_EQ(readFile(dir_.file("x")), "plain bytes");
    for (const writer::FileWrite& lacking : {writer::FileWrite{}, writer::FileWrite{.path = "/tmp/x"},
                                             writer::FileWrite{.path = "/tmp/x", .text = "", .serverState = true}}) {
        errno = 0;
        EXPECT_EQ(write(lacking), -1);
        EXPECT_EQ(errno, EINVAL) << "a request without the bridge it needs";
    }
}

// The index always describes the server's default document, wherever this
// one goes, and only with the server's state, in a directory that exists
// under the home and is named by one plain directory entry.
TEST_F(ConfigFile, IndexFileBesideTheDefaultDocument) {
    struct Row {
        const char* name;
        bool serverState;
        const char* index;  // where it must be, under etc; null: nowhere
    };
    const Row rows[] = {
        {"beta", true, "beta/nimbra.conf.ndx"}, {"beta", false, nullptr}, {"no-such-server", true, nullptr},
        {"", true, nullptr},  {".", true, nullptr},  {"..", true, nullptr}, {"a/b", true, nullptr},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.name) + (row.serverState ? " with" : " without") + " the server's state");
        std::filesystem::remove(etc("beta/nimbra.conf.ndx"));
        const model::SANBridge bridge = bridgeNamed(row.name);
        ASSERT_EQ(write({.path = dir_.file("out.conf").c_str(), .bridge = &bridge, .serverState = row.serverState}), 0);
        for (const char* place : {"beta/", "", "a/b/", "../"}) {
            const std::string index = std::string(place) + "nimbra.conf.ndx";
            EXPECT_EQ(exists(etc(index)), row.index != nullptr && index == row.index) << place;
        }
        if (row.index != nullptr) {
            EXPECT_EQ(readFile(etc(row.index)), "10005,3\n");
        }
        EXPECT_FALSE(exists(dir_.file("out.conf.ndx")));
    }
}

// The running server learns the instance of a new main configuration file:
// its own group when the bridge is this host (in any case), else the
// partner's; a failed update puts the old value back, 0 included.
TEST_F(ConfigFile, InstanceInTheStatusBlock) {
    ASSERT_GE(host::createStatusBlock(env_), 0);  // both instances 0
    sys::Calls failingWrites = sys::realCalls();
    failingWrites.write = [](int, const void*, std::size_t) -> ssize_t {
        errno = EIO;
        return -1;
    };
    struct Row {
        const char* why;
        const char* file;
        model::SANBridge bridge;
        bool fails;
        std::int32_t local, partner;  // afterwards
    };
    const Row rows[] = {
        {"this host, in any case", "nimbra.conf", bridgeNamed("ALPHA", 8), false, 8, 0},
        {"the partner", "nimbra.conf", bridgeNamed("beta", 12), false, 8, 12},
        {"not a main configuration file", "nimbra.conf.bak", bridgeNamed("beta", 40), false, 8, 12},
        {"failed: put back", "nimbra.conf", bridgeNamed("alpha", 9), true, 8, 12},
        {"back to 0", "nimbra.conf", bridgeNamed("beta", 0), false, 8, 0},
        {"failed over 0: put back too", "nimbra.conf", bridgeNamed("gamma", 5), true, 8, 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        sys::HostEnv env = env_;
        if (row.fails) env.calls = &failingWrites;
        testing::internal::CaptureStderr();
        const std::string target = dir_.file(row.file);
        EXPECT_EQ(writer::writeConfigFile(env, {.path = target.c_str(), .bridge = &row.bridge, .serverState = true}),
                  row.fails ? -1 : 0);
        EXPECT_EQ(testing::internal::GetCapturedStderr().find("Abort updating "), row.fails ? 0u : std::string::npos);
        EXPECT_EQ(instance(host::StatusGroup::Local), row.local);
        EXPECT_EQ(instance(host::StatusGroup::Partner), row.partner);
    }
}

}  // namespace
