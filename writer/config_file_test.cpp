#include "writer/config_file.h"

#include <gtest/gtest.h>
#include <sys/ipc.h>

#include <cerrno>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

#include "host/status_block.h"
#include "model/records.h"
#include "tests/support/run_program.h"
#include "tests/support/temporary_home.h"
#include "writer/document.h"
#include "xml/home.h"
#include "xml/posix_ops.h"

using testing_support::readFile;
using testing_support::TempDir;

namespace {

testing_support::TemporaryHome* const kHome = testing_support::addTemporaryHome();

model::SANBridge bridgeNamed(const std::string& name) {
    model::SANBridge bridge;
    bridge.name = name;
    bridge.instance = 8;
    bridge.logicalResources.nextVDevID = 10005;
    bridge.properties.snmp.trapLevel = 3;
    return bridge;
}

// "$NBHOME/etc/<server>", the directory of the server's default document.
std::string serverDir(const std::string& server) {
    const std::string dir = kHome->path() + "/etc/" + server;
    mkdir(dir.c_str(), 0755);
    return dir;
}

bool exists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

TEST(WriteDocumentToFile, NoPathMeansTheServersDefaultDocument) {
    const std::string dir = serverDir("alpha");
    const model::SANBridge bridge = bridgeNamed("alpha");
    ASSERT_EQ(writer::writeDocumentToFile(nullptr, &bridge, 0, getpid()), 0);
    const std::string text = readFile(dir + "/nimbra.conf");
    EXPECT_EQ(text.rfind("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!--", 0), 0u);
    EXPECT_NE(text.find("<SANBridge name=\"alpha\" ipAddr=\"\" ipsanPort=\"0\" timestamp=\"\" instance=\"8\">"),
              std::string::npos);
    EXPECT_TRUE(text.ends_with("\n</SANConfig>")) << "no newline after the last element";
    EXPECT_EQ(writer::writeDocumentToFile(nullptr, nullptr, 0, getpid()), -1);
}

// The index always describes the server's default document, wherever this
// one goes, and only when that directory exists.
TEST(WriteDocumentToFile, IndexFileBesideTheDefaultDocument) {
    const std::string dir = serverDir("beta");
    TempDir elsewhere;
    const model::SANBridge bridge = bridgeNamed("beta");
    ASSERT_EQ(writer::writeDocumentToFile(elsewhere.file("out.conf").c_str(), &bridge, 0, getpid()), 0);
    EXPECT_EQ(readFile(dir + "/nimbra.conf.ndx"), "10005,3\n");
    EXPECT_FALSE(exists(elsewhere.file("out.conf.ndx")));

    const model::SANBridge homeless = bridgeNamed("no-such-server");
    ASSERT_EQ(writer::writeDocumentToFile(elsewhere.file("out.conf").c_str(), &homeless, 0, getpid()), 0);
    EXPECT_FALSE(exists(kHome->path() + "/etc/no-such-server"));

    // A name that is not one plain directory entry would put the index
    // elsewhere, even outside the home: none then, though each directory exists.
    std::filesystem::create_directories(kHome->path() + "/etc/a/b");
    std::filesystem::create_directories(kHome->path() + "/x");
    for (const char* name : {"", ".", "..", "../x", "a/b"}) {
        const model::SANBridge bridge = bridgeNamed(name);
        EXPECT_EQ(writer::writeDocumentToFile(elsewhere.file("out.conf").c_str(), &bridge, 0, getpid()), 0) << name;
    }
    for (const char* dir : {"/etc", "", "/x", "/etc/a/b"}) {
        EXPECT_FALSE(exists(kHome->path() + dir + "/nimbra.conf.ndx")) << dir;
    }
}

// Each test keys its block on a directory of its own: ctest runs the tests of
// this fixture side by side, and one fixed key let one test remove another's block.
class StatusBlockTest : public ::testing::Test {
protected:
    void SetUp() override {
        const key_t key = ::ftok(keyDir_.path().c_str(), 'w');
        ASSERT_NE(key, -1);
        host::setStatusBlockKey(key);
        static_cast<void>(host::removeStatusBlock());
        ASSERT_GE(host::createStatusBlock(), 0);
        ASSERT_TRUE(host::setConfigInstance(host::StatusGroup::Local, 5));
        ASSERT_TRUE(host::setConfigInstance(host::StatusGroup::Partner, 6));
    }
    void TearDown() override {
        static_cast<void>(host::removeStatusBlock());
        host::setStatusBlockKey(std::nullopt);
        xml::posixOps() = xml::realPosixOps();
    }
    TempDir keyDir_;
    static std::int32_t local() { return host::readConfigInstance(host::StatusGroup::Local).value_or(-99); }
    static std::int32_t partner() { return host::readConfigInstance(host::StatusGroup::Partner).value_or(-99); }
};

// The running server learns the instance of a new main configuration file:
// its own group when the bridge is this host (in any case), else the partner's.
TEST_F(StatusBlockTest, InstanceOfTheMainConfigurationFile) {
    TempDir dir;
    std::string upper = xml::hostName();
    for (char& c : upper) c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
    const model::SANBridge mine = bridgeNamed(upper);
    ASSERT_EQ(writer::writeDocumentToFile(dir.file("nimbra.conf").c_str(), &mine, 0, getpid()), 0);
    EXPECT_EQ(local(), 8);
    EXPECT_EQ(partner(), 6);

    model::SANBridge partnerBridge = bridgeNamed("partner-of-this-host");
    partnerBridge.instance = 12;
    ASSERT_EQ(writer::writeDocumentToFile(dir.file("nimbra.conf").c_str(), &partnerBridge, 0, getpid()), 0);
    EXPECT_EQ(partner(), 12);

    partnerBridge.instance = 40;  // not a main configuration file: the block is left alone
    ASSERT_EQ(writer::writeDocumentToFile(dir.file("nimbra.conf.bak").c_str(), &partnerBridge, 0, getpid()), 0);
    EXPECT_EQ(partner(), 12);
}

TEST_F(StatusBlockTest, FailedUpdatePutsTheInstanceBack) {
    TempDir dir;
    const model::SANBridge mine = bridgeNamed(xml::hostName());
    xml::posixOps().write = [](int, const void*, std::size_t) -> ssize_t {
        errno = EIO;
        return -1;
    };
    testing::internal::CaptureStderr();
    EXPECT_EQ(writer::writeDocumentToFile(dir.file("nimbra.conf").c_str(), &mine, 0, getpid()), -1);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("Abort updating "), std::string::npos);
    EXPECT_EQ(local(), 5);
    EXPECT_FALSE(exists(dir.file("nimbra.conf")));
}

// A text made in memory is written through the same update: the same bytes
// as written from the model, the same index file, instance and roll-back.
TEST_F(StatusBlockTest, ReadyTextTakesTheSameUpdate) {
    TempDir dir;
    const std::string server = xml::hostName();
    const std::string serverHome = serverDir(server);
    model::SANBridge mine = bridgeNamed(server);
    mine.timestamp = std::string(100'000, 't');  // a text of several pieces
    bool complete = false;
    const writer::ConfigText text = writer::writeDocumentToMemory(&mine, 86400, &complete);
    ASSERT_TRUE(complete);
    const std::string bytes(text.text.get(), static_cast<std::size_t>(text.length));

    ASSERT_EQ(writer::writeDocumentTextToFile(dir.file("nimbra.conf").c_str(), &mine, text, getpid()), 0);
    EXPECT_EQ(readFile(dir.file("nimbra.conf")), bytes);
    ASSERT_EQ(writer::writeDocumentToFile(dir.file("model.conf").c_str(), &mine, 86400, getpid()), 0);
    EXPECT_EQ(readFile(dir.file("model.conf")), bytes);
    EXPECT_EQ(local(), 8);
    EXPECT_EQ(readFile(serverHome + "/nimbra.conf.ndx"), "10005,3\n");
    ASSERT_EQ(writer::writeDocumentTextToFile(dir.file("nimbra.conf").c_str(), &mine, text, getpid()), 0);
    EXPECT_EQ(readFile(dir.file("nimbra.conf.previous")), bytes);

    // Nothing to write: no update at all.
    EXPECT_EQ(writer::writeDocumentTextToFile(dir.file("empty.conf").c_str(), &mine, writer::ConfigText{}, getpid()), -1);
    EXPECT_EQ(writer::writeDocumentTextToFile(dir.file("empty.conf").c_str(), nullptr, text, getpid()), -1);
    EXPECT_FALSE(exists(dir.file("empty.conf")));

    ASSERT_TRUE(host::setConfigInstance(host::StatusGroup::Local, 5));
    xml::posixOps().write = [](int, const void*, std::size_t) -> ssize_t {
        errno = EIO;
        return -1;
    };
    testing::internal::CaptureStderr();
    EXPECT_EQ(writer::writeDocumentTextToFile(dir.file("nimbra.conf").c_str(), &mine, text, getpid()), -1);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("Abort updating "), std::string::npos);
    xml::posixOps() = xml::realPosixOps();
    EXPECT_EQ(local(), 5);
    EXPECT_EQ(readFile(dir.file("nimbra.conf")), bytes);
}

}  // namespace
