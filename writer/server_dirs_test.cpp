// Partner paths, device ownership and server directories over documents written
// into a temporary home.
#include "writer/server_dirs.h"
#include "model/lookup.h"

#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/host_env.h"
#include "tests/support/temporary_home.h"

namespace writer {
namespace {

using namespace model;

namespace fs = std::filesystem;

testing_support::TemporaryHome* const kHome = testing_support::addTemporaryHome();

// This host is "alpha" in the home of the binary.
const sys::HostEnv& env() {
    static const sys::HostEnv home = testing_support::testEnv(kHome->path());
    return home;
}
std::string etc() { return kHome->path() + "/etc"; }
std::string localDir() { return etc() + "/alpha"; }
std::string localDoc() { return localDir() + "/nimbra.conf"; }

void put(const std::string& path, const std::string& text) {
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

// Every case starts from an empty etc.
void clearEtc() {
    fs::remove_all(etc());
    fs::create_directories(etc());
}

std::string nic(const std::string& attributes) { return "<NICInfo " + attributes + "/>"; }
std::string primary(const std::string& attributes, const std::string& nics = "") {
    return "<FailoverPrimary " + attributes + "><NICInfoList>" + nics + "</NICInfoList></FailoverPrimary>";
}
std::string secondary(const std::string& attributes, const std::string& nics = "") {
    return "<FailoverSecondary " + attributes + "><NICInfoList>" + nics + "</NICInfoList></FailoverSecondary>";
}
std::string bridge(const std::string& name, const std::string& inner) {
    return "<SANBridge name=\"" + name + "\">" + inner + "</SANBridge>";
}
std::string logical(const std::string& inner) { return "<LogicalResources>" + inner + "</LogicalResources>"; }
std::string device(int id) { return "<VirtualDev id=\"" + std::to_string(id) + "\"></VirtualDev>"; }
std::string sanList(int id) { return logical("<SANResources>" + device(id) + "</SANResources>"); }

class ServerDirs : public ::testing::Test {
protected:
    void SetUp() override { clearEtc(); }
};

TEST_F(ServerDirs, OwnershipByIndexThenDocument) {
    const std::string doc = etc() + "/any/nimbra.conf";
    struct Row {
        const char* rule;
        std::string index;  // "-" for no index file
        int device;
        bool owned;
    };
    const Row rows[] = {
        {"index 10001: first of block 10000", "10001\n", 10001, true},
        {"index 10001: last of block 10000", "10001\n", 20000, true},
        {"index 10001: second range", "10001\n", 1010001, true},
        {"index 10001: next block", "10001\n", 20001, false},
        {"index 0 truncates to base 0", "0\n", 1, true},
        {"index 0: device 0", "0\n", 0, false},
        {"third range", "1\n", 2010000, true},
        {"fourth range", "1\n", 3000001, true},
        {"fifth range is 9000001..", "1\n", 9010000, true},
        {"sixth range is 5000001..", "1\n", 5000001, true},
        {"no range at 4000001", "1\n", 4000001, false},
        {"a negative index truncates toward zero", "-10001\n", 0, true},
        {"the writer's line: number then comma", "10005,3\n", 10001, true},
        {"a usable index wins over the document", "10005,3\n", 5, false},
        {"blanks and sign before the number", " \t+42\n", 10000, true},
        {"overflow saturates, not wraps to 1", "4294967297\n", 5, false},
        {"bounds wrap at the top of the 32-bit range", "2147483647\n", 2147480001, false},
        {"1022 blanks still leave the number in the line", std::string(1022, ' ') + "7\n", 10000, true},
        {"1023 blanks push the number out of the line", std::string(1023, ' ') + "7\n", 10000, false},
        {"no index: the document holds it", "-", 5, true},
        {"no digits", "abc\n", 5, true},
        {"sign and letter", "-x\n", 5, true},
        {"unusable index, document lacks it", "abc\n", 10000, false},
    };
    put(doc, bridge("alpha", sanList(5)));
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        fs::remove(doc + ".ndx");
        if (row.index != "-") put(doc + ".ndx", row.index);
        EXPECT_EQ(documentOwnsDevice(doc, row.device), row.owned);
    }
}

TEST_F(ServerDirs, OwnershipThroughEveryDeviceList) {
    struct Row {
        const char* where;
        std::string resources;
    };
    std::vector<Row> rows = {
        {"CopyManagerResources",
         "<SystemResources><CopyManagerResources>" + device(42) + "</CopyManagerResources></SystemResources>"},
        {"the single VirtualDev", device(42)},
    };
    for (const char* list : {"SANResources", "NASResources", "ReplicaResources", "SnapshotResources", "CacheResources",
                             "AdaptiveResources", "FastlaneResources", "BMRResources"}) {
        rows.push_back({list, std::string("<") + list + ">" + device(42) + "</" + list + ">"});
    }
    const std::string doc = etc() + "/any/nimbra.conf";
    for (const Row& row : rows) {
        SCOPED_TRACE(row.where);
        put(doc, bridge("alpha", logical("<SANResources>" + device(7) + "</SANResources>" + row.resources)));
        EXPECT_TRUE(documentOwnsDevice(doc, 42));
        EXPECT_FALSE(documentOwnsDevice(doc, 43));
    }
    put(doc, "not a document");
    EXPECT_FALSE(documentOwnsDevice(doc, 42));
    EXPECT_FALSE(documentOwnsDevice(etc() + "/missing/nimbra.conf", 42));
}

TEST_F(ServerDirs, PartnerFromTheFirstFailoverRecord) {
    struct Row {
        const char* rule;
        std::string localDocument;  // "" for none
        std::string partner;        // "" for no partner
    };
    const Row rows[] = {
        {"primary record names the secondary server", bridge("alpha", primary(R"(secondaryServer="beta")")), "beta"},
        {"secondary record names the primary server", bridge("alpha", secondary(R"(primaryServer="gamma")")),
         "gamma"},
        {"primary record first",
         bridge("alpha", secondary(R"(primaryServer="gamma")") + primary(R"(secondaryServer="beta")")), "beta"},
        {"no failover record", bridge("alpha", sanList(1)), ""},
        {"no local document", "", ""},
        {"a nameless primary record does not fall through",
         bridge("alpha", primary(R"(quorumDisk="q")") + secondary(R"(primaryServer="gamma")")), ""},
        {"an empty name is no partner", bridge("alpha", primary(R"(secondaryServer="")")), ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        clearEtc();
        if (!row.localDocument.empty()) put(localDoc(), row.localDocument);
        const std::string dir = row.partner.empty() ? "" : etc() + "/" + row.partner;
        EXPECT_EQ(partnerConfigPath(env()), dir.empty() ? "" : dir + "/nimbra.conf");
        EXPECT_EQ(partnerNasPath(env()), dir.empty() ? "" : dir + "/nas.conf");
    }
}

TEST_F(ServerDirs, DirectoryForDevice) {
    struct Row {
        const char* rule;
        bool partnerNamed, partnerDocument;
        std::string localIndex, partnerIndex;  // "" for none
        int device;
        bool partnerDir;
    };
    const Row rows[] = {
        {"local document holds it", true, true, "", "", 5, false},
        {"partner document holds it", true, true, "", "", 10007, true},
        {"nobody holds it", true, true, "", "", 999, false},
        {"partner index owns it", true, true, "", "20001\n", 20005, true},
        {"local index owns it before the partner is asked", true, true, "10001\n", "", 10007, false},
        {"partner document missing", true, false, "", "", 10007, false},
        {"no partner named", false, true, "", "", 10007, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        clearEtc();
        const std::string failover = row.partnerNamed ? primary(R"(secondaryServer="beta")") : "";
        put(localDoc(), bridge("alpha", failover + sanList(5)));
        if (row.partnerDocument) put(etc() + "/beta/nimbra.conf", bridge("beta", sanList(10007)));
        if (!row.localIndex.empty()) put(localDoc() + ".ndx", row.localIndex);
        if (!row.partnerIndex.empty()) put(etc() + "/beta/nimbra.conf.ndx", row.partnerIndex);
        const std::string dir = row.partnerDir ? etc() + "/beta" : localDir();
        EXPECT_EQ(configDirectoryForDevice(env(), row.device), dir);
        EXPECT_EQ(configPathForDevice(env(), row.device), dir + "/nimbra.conf");
        EXPECT_EQ(statusPathForDevice(env(), row.device), dir + "/nimbra.dat");
    }
}

// The local document "alpha" names partner "beta", whose document in etc/beta
// calls itself "gamma": a document's nimbra.ip sits under its own name.
void writePair(bool partnerHasEmptyAddress = true) {
    put(localDoc(),
        bridge("alpha", primary(R"(secondaryServer="beta")",
                                nic(R"(clientConnectionIP="10.0.0.1" subnet="255.0.0.0" heartbeatIP="192.168.0.1")") +
                                    nic(R"(clientConnectionIP="10.9.9.9" heartbeatIP="192.168.0.9")"))));
    put(etc() + "/beta/nimbra.conf",
        bridge("gamma", primary(R"(secondaryServer="alpha")",
                                nic(R"(clientConnectionIP="10.0.0.2" subnet="255.255.0.0" heartbeatIP="172.16.5.2")") +
                                    nic(R"(clientConnectionIP="10.9.9.9")") +
                                    (partnerHasEmptyAddress ? nic(R"(clientConnectionIP="")") : "")) +
                            secondary(R"(primaryServer="alpha")", nic(R"(clientConnectionIP="10.0.0.99")"))));
    put(etc() + "/alpha/nimbra.ip", "alpha-ip\n");
    put(etc() + "/beta/nimbra.ip", "beta-ip\n");
}

TEST_F(ServerDirs, DirectoryForServer) {
    writePair();
    put(etc() + "/gamma/nimbra.ip", "gamma-ip trailing\n");
    struct Row {
        const char* rule;
        const char* name;
        bool partnerDir;
    };
    const Row rows[] = {
        {"null name", nullptr, false},
        {"local client address", "10.0.0.1", false},
        {"local heartbeat address", "192.168.0.1", false},
        {"partner client address", "10.0.0.2", true},
        {"partner heartbeat address", "172.16.5.2", true},
        {"exact comparison, not a prefix", "172.16.5", false},
        {"the subnet is not an address", "255.255.0.0", false},
        {"only the first failover record counts", "10.0.0.99", false},
        {"an address both claim: local first", "10.9.9.9", false},
        {"an empty field matches an empty name", "", true},
        {"local nimbra.ip under the document's name", "alpha-ip", false},
        {"partner nimbra.ip under the document's name", "gamma-ip", true},
        {"not the partner directory's nimbra.ip", "beta-ip", false},
        {"only the first word of nimbra.ip", "trailing", false},
        {"unknown", "10.0.0.3", false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        EXPECT_EQ(configDirectoryForServer(env(), row.name), row.partnerDir ? etc() + "/beta" : localDir());
    }
}

TEST_F(ServerDirs, NimbraIpFirstLine) {
    struct Row {
        const char* rule;
        std::string file;
        const char* name;
        bool matches;
    };
    const Row rows[] = {
        {"the word alone", "gamma-ip", "gamma-ip", true},
        {"blanks around the word", "  gamma-ip\t more\n", "gamma-ip", true},
        {"a blank first line hides the next", "\ngamma-ip\n", "gamma-ip", false},
        {"an empty file gives no word, not an empty one", "", "", false},
        {"1023 blanks push the word out of the line", std::string(1023, ' ') + "gamma-ip\n", "gamma-ip", false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        clearEtc();
        writePair(/*partnerHasEmptyAddress=*/false);
        put(etc() + "/gamma/nimbra.ip", row.file);
        EXPECT_EQ(configDirectoryForServer(env(), row.name), row.matches ? etc() + "/beta" : localDir());
    }
}

}  // namespace
}  // namespace writer
