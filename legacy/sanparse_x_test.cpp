#include "legacy/sanparse_x.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "tests/support/failing_alloc.h"
#include "xml/log.h"

namespace legacy {
namespace {

std::unique_ptr<SANBridge> read(const std::string& doc) { return readBridge40(doc.data(), doc.size()); }

// The bridge around `inner`, with a name so that the bridge is told apart.
std::string inBridge(const std::string& inner) { return R"(<SANBridge name="nb1">)" + inner + "</SANBridge>"; }

// Reads a document that must yield a bridge, and yields nothing on stderr.
SANBridge mustRead(const std::string& doc) {
    ::testing::internal::CaptureStderr();
    std::unique_ptr<SANBridge> bridge = read(doc);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    if (bridge == nullptr) {
        ADD_FAILURE() << "no bridge";
        return {};
    }
    return std::move(*bridge);
}

TEST(Reader40, DocumentLoop) {
    struct Row {
        const char* rule;
        std::string doc;
        const char* name;  // of the bridge read; null: none
        const char* err;
    };
    const Row rows[] = {
        {"no bridge: nothing said", "<SANConfig><SANBridgeList/></SANConfig>", nullptr, ""},
        {"wrappers are passed over",
         R"(<?xml version="1.0"?><!-- c --><SANConfig><SANBridgeList><SANBridge name="a"></SANBridge></SANBridgeList></SANConfig>)",
         "a", ""},
        {"the last bridge wins", R"(<SANBridge name="a"/><X><SANBridge name="b"></SANBridge></X>)", "b", ""},
        {"a failed bridge ends the document", R"(<SANBridge name><SANBridge name="b"/>)", nullptr,
         "parse error SANBridge\n"},
        {"a failed bridge drops an earlier one", R"(<SANBridge name="a"/><SANBridge name>)", nullptr,
         "parse error SANBridge\n"},
        {"an empty tag without attributes is never parsed", "<SANBridge/>", nullptr, ""},
        {"other elements at top level are read and dropped", R"(<VirtualDev id="1"><SANBridge name="c"/></VirtualDev>)",
         nullptr, ""},
        {"a known element without a parser drops its start tag alone",
         R"(<ConnectionList><SANBridge name="d"/></ConnectionList>)", "d", ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        ::testing::internal::CaptureStderr();
        const std::unique_ptr<SANBridge> bridge = read(row.doc);
        EXPECT_EQ(::testing::internal::GetCapturedStderr(), row.err);
        if (row.name == nullptr) {
            EXPECT_EQ(bridge, nullptr);
        } else {
            ASSERT_NE(bridge, nullptr);
            EXPECT_EQ(bridge->name, row.name);
        }
    }
}

// Name-first readers (the bridge, LogicalResources, the client, target, group,
// boot and DHCP lists) drop only an unknown name, so its value comes round as a
// name; the error slot is sticky and they test it after every read.
TEST(Reader40, AttributeReadOrder) {
    struct Row {
        const char* rule;
        std::string inner;
        std::int32_t nextClientID, nextVDevID;
        std::size_t clients, devices, adapters;
    };
    const Row rows[] = {
        {"an unknown attribute is passed over",
         R"(<SANClientList foo="bar" nextClientID="9"><SANClient id="1"/></SANClientList>)"
         R"(<LogicalResources nextVDevID="5"><SANResources><VirtualDev id="3"/></SANResources></LogicalResources>)",
         9, 5, 1, 1, 0},
        {"a value that spells a known name is read as one, and fails",
         R"(<SANClientList foo="nextClientID" nextClientID="9"><SANClient id="1"/></SANClientList>)", 1, 0, 0, 0, 0},
        {"after that every later name-first reader fails",
         R"(<SANClientList foo="nextClientID"/><LogicalResources nextVDevID="5"><SANResources>)"
         R"(<VirtualDev id="3"/></SANResources></LogicalResources>)",
         1, 0, 0, 0, 0},
        {"while value-first readers read on, unknown names taking their values",
         R"(<SANClientList foo="nextClientID"></SANClientList><PhysicalResources>)"
         R"(<PhysicalAdapter foo="number" number="2"/></PhysicalResources>)",
         1, 0, 0, 0, 1},
        {"the token after a failed child is dropped, whatever it is",
         R"(<SANClientList foo="nextClientID"/><PhysicalResources><PhysicalAdapter number="2"/></PhysicalResources>)",
         1, 0, 0, 0, 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        const SANBridge bridge = mustRead(inBridge(row.inner));
        EXPECT_EQ(bridge.sanClientList.nextClientID, row.nextClientID);
        EXPECT_EQ(bridge.sanClientList.items.size(), row.clients);
        EXPECT_EQ(bridge.logicalResources.nextVDevID, row.nextVDevID);
        EXPECT_EQ(bridge.logicalResources.sanResources.items.size(), row.devices);
        ASSERT_EQ(bridge.physicalResources.physicalAdapters.size(), row.adapters);
        if (row.adapters != 0) {
            EXPECT_EQ(bridge.physicalResources.physicalAdapters[0].number, 2);
        }
    }
}

// Spellings go through the 4.0 attribute table: multi-word spellings in
// either form, "Linux" and "BMR" as one, 4.5-only spellings unknown. Every
// flag is three-way; the 4.5 writer prints any non-zero as "true".
TEST(Reader40, SpellingsAndFlags) {
    struct Row {
        const char* rule;
        const char* deviceType;
        const char* category;
        const char* takeover;
        const char* flag;
        std::int32_t type, categoryValue, takeoverValue;
        std::int8_t flagValue;
    };
    const Row rows[] = {
        {"first words", "Keyframe", "Virtual", "All", "true", 9, 1, 1, 1},
        {"whole spellings", "CopyManager", "Direct Device", "All IPs Failed", "false", 7, 2, 1, 0},
        {"Linux is BMR", "Linux", "Stripe Device", "Any", "yes", 14, 6, 0, -1},
        {"4.5-only and unknown spellings", "Adaptive", "n/a", "Any IP Failed", "TRUE", 1, 0, 0, -1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        const std::string flag = row.flag;
        const SANBridge bridge = mustRead(inBridge(
            std::string(R"(<LogicalResources><VirtualDev type=")") + row.deviceType + R"("/></LogicalResources>)" +
            R"(<PhysicalResources><PhysicalAdapter><PhysicalDev category=")" + row.category + R"(" isNew=")" + flag +
            R"(" fsidRelianceEnabled=")" + flag + R"("/></PhysicalAdapter></PhysicalResources>)" +
            R"(<FailoverSecondary takeoverCondition=")" + row.takeover + R"("/>)"));
        ASSERT_TRUE(bridge.logicalResources.virtualDev.has_value());
        EXPECT_EQ(bridge.logicalResources.virtualDev->type, row.type);
        const model::PhysicalDev& dev = bridge.physicalResources.physicalAdapters.at(0).physicalDevs.at(0);
        EXPECT_EQ(dev.category, row.categoryValue);
        EXPECT_EQ(dev.isNew, row.flagValue);
        EXPECT_EQ(dev.fsidRelianceEnabled, row.flagValue);
        ASSERT_TRUE(bridge.failoverSecondary.has_value());
        EXPECT_EQ(bridge.failoverSecondary->takeoverCondition, row.takeoverValue);
    }
}

// Numbers are read from the raw text as the C library on a 32-bit long does.
TEST(Reader40, NumbersAsTheCLibraryReadsThem) {
    const SANBridge bridge = mustRead(inBridge(
        R"(<LogicalResources nextVDevID="12abc"><VirtualDev id="4294967296" status="ff" snapshotGroupID="-1">)"
        R"(<Geometry startingSector="-1" endingSector="4294967296" sectorSize="0x200"/>)"
        R"(</VirtualDev></LogicalResources>)"));
    EXPECT_EQ(bridge.logicalResources.nextVDevID, 12);
    const model::VirtualDev& dev = *bridge.logicalResources.virtualDev;
    EXPECT_EQ(dev.id, 2147483647);
    EXPECT_EQ(dev.status, 0xFFu);
    EXPECT_EQ(dev.snapshotGroupID, -1);
    EXPECT_EQ(dev.geometry.startingSector, 4294967295u);
    EXPECT_EQ(dev.geometry.endingSector, 4294967295u);
    EXPECT_EQ(dev.geometry.sectorSize, 0);
}

// What 4.0 writes but its reader does not keep, and what only 4.5 knows,
// comes out at the value of a fresh record.
TEST(Reader40, AttributesNotKept) {
    const SANBridge bridge = mustRead(inBridge(
        R"(<SANClientList><SANClient id="3" isFibreChannelEnabled="true">)"
        R"(<FibreChannelProperties handshakeTimeout="10" heartbeatTimeout="15" qos="high"/></SANClient></SANClientList>)"
        R"(<PhysicalResources><PhysicalAdapter number="1">)"
        R"(<PhysicalDev name="d" lunType="2"><NimbraPartition checksum="c" version="1">)"
        R"(<DynamicDiskSegment guid="g" firstSector="16384" lastSector="99" type="Keyframe"/>)"
        R"(</NimbraPartition></PhysicalDev></PhysicalAdapter></PhysicalResources>)"
        R"(<LogicalResources><VirtualDev id="2" personality="rdac">)"
        R"(<WormPolicy unlockMethod="unlock"><SnapshotPolicy vid="9"/></WormPolicy></VirtualDev></LogicalResources>)"));
    const model::SANClient& client = bridge.sanClientList.items.at(0);
    EXPECT_EQ(client.isFibreChannelEnabled, 0);
    EXPECT_EQ(client.fibreChannelProperties.handshakeTimeout, 0);
    EXPECT_EQ(client.fibreChannelProperties.heartbeatTimeout, 15);
    EXPECT_EQ(client.fibreChannelProperties.qos, 0);
    const model::PhysicalDev& dev = bridge.physicalResources.physicalAdapters.at(0).physicalDevs.at(0);
    EXPECT_EQ(dev.lunType, 0);
    EXPECT_EQ(dev.nimbraPartition.checksum, "c");
    const model::DynamicDiskSegment& segment = dev.nimbraPartition.segments.at(0);
    EXPECT_EQ(segment.guid, "g");
    EXPECT_EQ(segment.lastSector, 99u);
    EXPECT_EQ(segment.firstSector, 0u);  // the 4.0 reader does not read it
    EXPECT_EQ(segment.type, 0);
    EXPECT_EQ(bridge.logicalResources.virtualDev->personality, 0);
    // An element 4.0 does not know is passed over alone: its children are the parent's.
    EXPECT_FALSE(bridge.logicalResources.virtualDev->wormPolicy.has_value());
    EXPECT_EQ(bridge.logicalResources.virtualDev->snapshotPolicy->vid, 9);
}

// Character data is kept as it stands (never entity-decoded), pieces joined;
// attribute values are decoded.
TEST(Reader40, TextContent) {
    const SANBridge bridge = mustRead(inBridge(
        R"(<Properties inquiry="a &amp; b"><IPAliasing><IPAddress>10.0.0.1</IPAddress><IPAddress/>)"
        R"(<IPAddress>10<!-- c -->.0.0.2</IPAddress></IPAliasing></Properties>)"
        R"(<PhysicalResources><PhysicalAdapter><PhysicalDev><Comments>x &amp; y</Comments></PhysicalDev>)"
        R"(</PhysicalAdapter></PhysicalResources>)"));
    EXPECT_EQ(bridge.properties.inquiry, "a & b");
    // The attribute-less empty tag is never parsed, so it adds no address.
    EXPECT_EQ(bridge.properties.ipAliasing.addresses, (std::vector<std::string>{"10.0.0.1", "10.0.0.2"}));
    EXPECT_EQ(bridge.physicalResources.physicalAdapters.at(0).physicalDevs.at(0).comments, "x &amp; y");
}

// A client's pairs: WWPNPair and WWPNMap directly inside its
// FibreChannelProperties and the pairs of a WWPNPairList, in document order; a
// WWPNList holds WWPN records, not pairs, and is dropped.
TEST(Reader40, ClientPairsInDocumentOrder) {
    const SANBridge bridge = mustRead(inBridge(
        R"(<SANClientList><SANClient id="1"><FibreChannelProperties>)"
        R"(<WWPNPair initiatorWWPN="i1" targetWWPN="t1"/>)"
        R"(<WWPNPairList><WWPNPair initiatorWWPN="i2" targetWWPN="t2"/><WWPNMap initiatorWWPN="x" targetWWPN="x"/>)"
        R"(</WWPNPairList><WWPNMap initiatorWWPN="i3" targetWWPN="t3"/>)"
        R"(<WWPNList><WWPN name="w"/></WWPNList></FibreChannelProperties></SANClient></SANClientList>)"));
    const auto& pairs = bridge.sanClientList.items.at(0).fibreChannelProperties.wwpnPairList.items;
    std::vector<std::string> seen;
    for (const model::WWPNPair& pair : pairs) seen.push_back(std::string(*pair.initiatorWWPN) + ">" + std::string(*pair.targetWWPN));
    EXPECT_EQ(seen, (std::vector<std::string>{"i1>t1", "i2>t2", "i3>t3"}));
}

TEST(Reader40, SANBridgeInfoKeepsClientsOnly) {
    const SANBridge bridge = mustRead(inBridge(
        R"(<SANBridgeInfo><InfoItem name="version" value="4.00"/><SANClient id="8" name="c8"/></SANBridgeInfo>)"));
    ASSERT_EQ(bridge.sanBridgeInfo.clients.size(), 1u);
    EXPECT_EQ(bridge.sanBridgeInfo.clients[0].name, "c8");
}

// Known elements nested past 1,000 levels are passed over like unknown ones,
// so no document exhausts the stack; the bridge is the first level.
TEST(Reader40, DeepNesting) {
    const int levels = 20000;
    std::string doc = inBridge("<LogicalResources>");
    doc.resize(doc.size() - std::string("</SANBridge>").size());
    for (int i = 0; i < levels; ++i) doc += R"(<VirtualDev id="1">)";
    const SANBridge bridge = mustRead(doc);
    ASSERT_TRUE(bridge.logicalResources.virtualDev.has_value());
    EXPECT_EQ(bridge.logicalResources.virtualDev->id, 1);
}

std::vector<std::string> logLines;
void keepLogLine(const char* identity, const char* message) {
    logLines.push_back(std::string(identity) + " " + message);
}

// Whichever allocation fails, the reader returns a bridge or reports a failed
// one, and leaks nothing; a list that cannot grow is logged under the 4.0
// reader's source file and the routine of the list's owner.
TEST(Reader40, RunningOutOfMemory) {
    const std::string doc = inBridge(
        R"(<PhysicalResources><PhysicalAdapter number="1" info="an adapter with a long description">)"
        R"(<PhysicalDev name="a device with a long name"><InfoItem name="firmware version" value="6006"/>)"
        R"(</PhysicalDev><PhysicalDev name="another device, long name"/></PhysicalAdapter></PhysicalResources>)"
        R"(<SANClientList nextClientID="3"><SANClient id="1" name="a client with a long name"/></SANClientList>)");
    const std::unique_ptr<SANBridge> whole = read(doc);  // also builds the name tables
    ASSERT_NE(whole, nullptr);
    xml::setLogObserver(&keepLogLine);
    logLines.clear();
    bool reportedFailure = false;
    for (long n = 0;; ++n) {
        SCOPED_TRACE(n);
        ::testing::internal::CaptureStderr();
        testing_support::failAllocation(n + 1);
        const std::unique_ptr<SANBridge> bridge = read(doc);
        const bool hit = testing_support::allocationFailed();
        testing_support::stopFailingAllocations();
        const std::string err = ::testing::internal::GetCapturedStderr();
        if (bridge == nullptr) {
            EXPECT_TRUE(err.empty() || err == "parse error SANBridge\n") << err;
            reportedFailure = reportedFailure || !err.empty();
        }
        if (!hit) {
            ASSERT_NE(bridge, nullptr);
            EXPECT_EQ(bridge->physicalResources.physicalAdapters.at(0).physicalDevs.size(), 2u);
            break;
        }
    }
    xml::setLogObserver(nullptr);
    EXPECT_TRUE(reportedFailure);
    bool listGrowthLogged = false;
    for (const std::string& line : logLines) {
        if (line.find("kxutil [../ksnxmlx/sanparse_x.c:parsePhysicalAdapter:") != std::string::npos &&
            line.find("] cannot allocate memory") != std::string::npos) {
            listGrowthLogged = true;
        }
    }
    EXPECT_TRUE(listGrowthLogged);
}

}  // namespace
}  // namespace legacy
