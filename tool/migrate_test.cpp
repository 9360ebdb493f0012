#include "tool/migrate.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "writer/document.h"
#include "writer/sink.h"

namespace {

// The 4.5 text of the bridge migrated from a 4.0 bridge element, each line
// without its indentation (the writer's indentation is tested elsewhere).
std::string migrated(const std::string& bridge40) {
    std::unique_ptr<model::SANBridge> root = tool::parseAndMigrate(
        bridge40.data(), static_cast<std::int32_t>(bridge40.size()), 0x0400037F, nullptr);
    if (!root) return "(no root)";
    writer::XmlSink out = writer::XmlSink::toMemory();
    writer::writeBridge(out, *root);
    const writer::ConfigText text = out.takeBuffer();
    std::string flat;
    bool lineStart = true;
    for (std::int32_t i = 0; i < text.length; ++i) {
        const char c = text.text[static_cast<std::size_t>(i)];
        if (lineStart && c == ' ') continue;
        flat.push_back(c);
        lineStart = c == '\n';
    }
    return flat;
}

std::string bridgeWith(const std::string& physical) {
    return "<SANBridge name=\"s\"><PhysicalResources>" + physical + "</PhysicalResources></SANBridge>";
}

const char kDevice[] =
    R"(<PhysicalDev name="d" guid="g" connectionType="" isNew="true" category="Virtual Device">)"
    R"(<SCSIAddress adapter="0" channel="0" id="1" lun="2"/>)"
    R"(<InfoItem name="firmware" value="1"/><InfoItem name="serial" value="2"/><InfoItem name="x" value="3"/>)"
    R"(<ConfPartition firstSector="64" lastSector="16383"/>)"
    R"(<SCSIAliasing><DeviceAlias adapter="0" channel="0" id="1" lun="2" wwid="w" name="n" guid="g"/></SCSIAliasing>)"
    R"(</PhysicalDev>)";

// The values a migrated document receives by rule, whatever the 4.0 document said.
TEST(Migrate, ValuesReceivedByRule) {
    const std::string adapter =
        std::string(R"(<PhysicalAdapter number="3" channels="2" info="hba" WWPN="w1" mode="target" )") +
        R"(moduleName="drv" vsaEnabled="true" maxAliasCount="8" alpa="ef">)" + kDevice + "</PhysicalAdapter>";
    const std::string out = migrated(bridgeWith(adapter));
    struct Row {
        const char* rule;
        const char* expected;
    };
    const Row rows[] = {
        {"adapter: new fields zero or empty, 4.0-only fields not carried",
         R"(<PhysicalAdapter number="3" bus="0" device="0" irq="0" info="hba" WWPN="w1" biosWWPN="" spoofWWPN="" )"
         R"(mode="target" monitorWWPN="" secondaryStandbyWWPN="" moduleName="" vsaEnabled="false" mismatch="false" )"
         R"(maxAliasCount="0" alpa=""/>)"},
        {"device: unset connection becomes scsi, lunType 0",
         R"(category="Virtual Device" guid="g" fsid="" fsidRelianceEnabled="true" queueDepth="0" connectionType="scsi" lunType="0">)"},
        {"device: a fresh configuration partition",
         R"(<ConfPartition firstSector="0" lastSector="0" timestamp="0"/>)"},
        {"device: aliases copied without their guid",
         R"(<DeviceAlias wwid="w" adapter="0" channel="0" id="1" lun="2" name="n" guid=""/>)"},
        {"device: as many InfoItems, all empty",
         "<InfoItem name=\"\" value=\"\"/>\n<InfoItem name=\"\" value=\"\"/>\n"
         "<InfoItem name=\"\" value=\"\"/>\n</PhysicalDev>"},
        {"device list beside the adapters", "</PhysicalAdapters>\n<PhysicalDevs>\n<PhysicalDev "},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        EXPECT_NE(out.find(row.expected), std::string::npos) << out;
    }
}

// A disk seen through two adapters appears under both, each listing the first
// path first; only the entry whose own address is that first path is kept.
// Adapters are walked in number order.
TEST(Migrate, OneDevicePerDisk) {
    auto device = [](const char* name, const char* own, const std::string& aliases) {
        return std::string("<PhysicalDev name=\"") + name + "\"><SCSIAddress " + own + "/><SCSIAliasing>" + aliases +
               "</SCSIAliasing></PhysicalDev>";
    };
    const std::string firstPath = R"(<DeviceAlias adapter="1" channel="0" id="0" lun="2"/>)";
    const std::string secondPath = R"(<DeviceAlias adapter="0" channel="0" id="8" lun="4"/>)";
    const std::string physical =
        "<PhysicalAdapter number=\"1\">" + device("kept", R"(adapter="1" channel="0" id="0" lun="2")", firstPath + secondPath) +
        "</PhysicalAdapter>" +
        "<PhysicalAdapter number=\"0\">" + device("further", R"(adapter="0" channel="0" id="8" lun="4")", firstPath + secondPath) +
        device("single", R"(adapter="0" channel="0" id="1" lun="0")", "") +
        device("no address", "", R"(<DeviceAlias adapter="0" channel="0" id="0" lun="0"/>)") +
        device("lun differs", R"(adapter="0" channel="0" id="0" lun="1")", R"(<DeviceAlias adapter="0" channel="0" id="0" lun="2"/>)") +
        "</PhysicalAdapter>";
    const std::string out = migrated(bridgeWith(physical));
    const std::size_t single = out.find("name=\"single\"");
    const std::size_t noAddress = out.find("name=\"no address\"");
    const std::size_t kept = out.find("name=\"kept\"");
    EXPECT_EQ(out.find("name=\"further\""), std::string::npos);
    EXPECT_EQ(out.find("name=\"lun differs\""), std::string::npos);
    ASSERT_NE(single, std::string::npos);
    ASSERT_NE(noAddress, std::string::npos) << "zeros when the address is absent match a zero first path";
    ASSERT_NE(kept, std::string::npos);
    EXPECT_LT(single, noAddress);
    EXPECT_LT(noAddress, kept) << "adapter 0 before adapter 1";
}

TEST(Migrate, BridgeWithoutAdapters) {
    const std::string out = migrated("<SANBridge name=\"s\"/>");
    EXPECT_NE(out.find("<PhysicalResources>\n<PhysicalAdapters/>\n<PhysicalDevs/>\n<BlockDevices/>\n</PhysicalResources>"),
              std::string::npos)
        << out;
}

// Everything outside the physical side moves across as read; the 4.0
// SANBridgeInfo lists clients, which 4.5 keeps only in SANClientList.
TEST(Migrate, EverythingElseMovesAcross) {
    const std::string out = migrated(
        R"(<SANBridge name="s" ipAddr="10.0.0.1" ipsanPort="3260" timestamp="77" instance="9" checksum="c">)"
        R"(<SANBridgeInfo><SANClient name="info-only"/></SANBridgeInfo>)"
        R"(<FailoverSecondary primaryServer="p"/>)"
        R"(<LogicalResources nextVDevID="12"><SANResources><VirtualDev id="4" name="v"/></SANResources></LogicalResources>)"
        R"(<SANClientList nextClientID="3"><SANClient name="c" id="2"/></SANClientList></SANBridge>)");
    for (const char* expected : {
             R"(<SANBridge name="s" ipAddr="10.0.0.1" ipsanPort="3260" timestamp="77" instance="9">)",
             "<SANBridgeInfo/>",
             R"(<FailoverSecondary primaryServer="p")",
             R"(<LogicalResources nextVDevID="12">)",
             R"(<VirtualDev id="4" name="v")",
             R"(<SANClientList nextClientID="3">)",
             R"(<SANClient name="c" username="" id="2")",
         }) {
        SCOPED_TRACE(expected);
        EXPECT_NE(out.find(expected), std::string::npos) << out;
    }
    EXPECT_EQ(out.find("info-only"), std::string::npos);
    EXPECT_EQ(out.find("FailoverPrimary"), std::string::npos);
}

TEST(Migrate, ParseAndMigrateKeepsTheOptionsWord) {
    const std::string text = "<SANConfig><SANBridgeList><SANBridge name=\"s\"/></SANBridgeList></SANConfig>";
    std::uint32_t error = 77;
    auto root = tool::parseAndMigrate(text.data(), static_cast<std::int32_t>(text.size()), 0x0400037F, &error);
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(error, 0u);
    EXPECT_EQ(root->options, 0x0400037Fu);
    EXPECT_EQ(root->serializer, &tool::serialiseDownLevel);

    error = 77;
    EXPECT_EQ(tool::parseAndMigrate("<SANConfig/>", 12, 0, &error), nullptr) << "no bridge, no root";
    EXPECT_EQ(error, 0u) << "the error out is only ever cleared";
}

}  // namespace
