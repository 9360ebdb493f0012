#include "tool/upgrade_report.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/run_program.h"

namespace {

tool::ConfigText inMemory(const std::string& document) {
    tool::ConfigText text;
    text.text = tool::ConfigText::Bytes(static_cast<char*>(std::malloc(document.size())), writer::TextRelease{true});
    std::memcpy(text.text.get(), document.data(), document.size());
    text.length = static_cast<std::int32_t>(document.size());
    return text;
}

struct Expected {
    const char* kind;
    unsigned line;       // 0: none
    const char* path;    // exact
    const char* detail;  // a part of it
};

void expectFindings(const std::string& document, std::initializer_list<Expected> rows) {
    const tool::Report report = tool::reportUpgradeText(inMemory(document));
    for (const Expected& row : rows) {
        SCOPED_TRACE(row.kind + std::string(" ") + row.detail);
        const tool::Finding* found = nullptr;
        for (const tool::Finding& finding : report.findings()) {
            if (finding.kind == row.kind && finding.detail.find(row.detail) != std::string::npos &&
                (found == nullptr || finding.path == row.path)) {
                found = &finding;
            }
        }
        ASSERT_NE(found, nullptr);
        EXPECT_EQ(found->line, row.line);
        EXPECT_EQ(found->path, row.path);
    }
}

// One line per element, so that every finding's line says which one it is.
const char kPhysical[] = R"(<SANConfig><SANBridgeList>
<SANBridge name="s" instance="6">
<PhysicalResources>
<PhysicalAdapter number="2" moduleName="qla"
  maxAliasCount="8">
<PhysicalDev guid="g1">
<SCSIAddress adapter="2" channel="0" id="1" lun="0"/>
<SCSIAliasing>
<DeviceAlias adapter="1" channel="0" id="0" lun="3" guid="a1"/>
</SCSIAliasing>
</PhysicalDev>
</PhysicalAdapter>
<PhysicalAdapter number="1" vsaEnabled="true" alpa="ef">
<PhysicalDev guid="g2" connectionType="fc">
<InfoItem name="" value=""/>
<InfoItem name="serial" value="S1"/>
<ConfPartition firstSector="64" lastSector="16383"/>
<SCSIAddress adapter="1" channel="0" id="0" lun="3"/>
<SCSIAliasing>
<DeviceAlias adapter="1" channel="0" id="0" lun="3"/>
<DeviceAlias adapter="2" channel="0" id="1" lun="0" guid="a2"/>
</SCSIAliasing>
</PhysicalDev>
<PhysicalDev guid="g3"/>
</PhysicalAdapter>
</PhysicalResources>
</SANBridge>
</SANBridgeList></SANConfig>
)";

TEST(UpgradeReport, PhysicalSideFindingsAtTheirLines) {
    const std::string a2 = "SANBridge/PhysicalResources/PhysicalAdapter[number=2]";
    const std::string a1 = "SANBridge/PhysicalResources/PhysicalAdapter[number=1]";
    const std::string g2 = a1 + "/PhysicalDev[guid=g2]";
    expectFindings(
        kPhysical,
        {
            {"adapter-field-reset", 4, a2.c_str(), "moduleName \"qla\" -> \"\""},
            {"adapter-field-reset", 5, a2.c_str(), "maxAliasCount 8 -> 0"},  // the attribute's own line
            {"adapter-field-reset", 13, a1.c_str(), "vsaEnabled true -> false"},
            {"adapter-field-reset", 13, a1.c_str(), "alpa \"ef\" -> \"\""},
            {"adapters-reordered", 13, a1.c_str(), "2, 1 -> 1, 2"},
            {"path-merged", 6, (a2 + "/PhysicalDev[guid=g1]").c_str(), "(adapter 2 channel 0 id 1 lun 0)"},
            {"info-item-emptied", 16, g2.c_str(), "1 InfoItem text(s) emptied: serial=S1"},
            {"partition-reset", 17, (g2 + "/ConfPartition").c_str(), "firstSector 64 -> 0, lastSector 16383 -> 0"},
            {"alias-guid-dropped", 21, (g2 + "/SCSIAliasing").c_str(), "guid a2 written empty"},
            {"connection-type-defaulted", 24, (a1 + "/PhysicalDev[guid=g3]").c_str(), "written as \"scsi\""},
            {"instance-raised", 2, "SANBridge", "instance 6 -> 7"},
        });
    const tool::Report report = tool::reportUpgradeText(inMemory(kPhysical));
    int defaulted = 0, merged = 0;
    for (const tool::Finding& finding : report.findings()) {
        defaulted += finding.kind == "connection-type-defaulted";
        merged += finding.kind == "path-merged";
    }
    EXPECT_EQ(defaulted, 1) << "g1 is merged away and g2 names its connection";
    EXPECT_EQ(merged, 1);
    EXPECT_STREQ(report.verdict(), "changes");
    EXPECT_EQ(report.exitStatus(), 1);
}

const char kLogical[] = R"(<SANBridge name="s">
<SANBridgeInfo>
<SANClient id="7"/>
<InfoItem name="n" value="v"/>
</SANBridgeInfo>
<LogicalResources nextVDevID="20005"
  nextVDevId="5">
<SANResource></SANResource>
<SANResources>
<VirtualDev id="3" snapshotEnabled="true">
<SnapshotPolicy autoDelete="false" stopWrite="true"/>
</VirtualDev>
<VirtualDev id="4" owner="o" snapshotEnabled="true">
<SnapshotPolicy autoDelete="true" stopWrite="false"/>
<PhysicalDev name="x"/>
</VirtualDev>
</SANResources>
<ReplicaResources>
<VirtualDev id="5" snapshotEnabled="true"><SnapshotPolicy autoDelete="false"/></VirtualDev>
</ReplicaResources>
<SnapshotGroupList nextGroupID="1"/>
</LogicalResources>
<SANClientList nextClientID="3">
<SANClient id="1" isFibreChannelEnabled="true">
<FibreChannelProperties handshakeTimeout="10" heartbeatTimeout="5" flavour="x"/>
</SANClient>
<SANClient id="2" isFibreChannelEnabled="false"/>
</SANClientList>
</SANBridge>
)";

TEST(UpgradeReport, ReaderAndFixUpFindingsAtTheirLines) {
    const std::string vdevs = "SANBridge/LogicalResources/SANResources/VirtualDev";
    const std::string client = "SANBridge/SANClientList/SANClient[id=1]";
    expectFindings(
        kLogical,
        {
            {"bridge-info-dropped", 2, "SANBridge/SANBridgeInfo", "1 SANClient(s)"},
            {"bridge-info-dropped", 4, "SANBridge/SANBridgeInfo/InfoItem", "InfoItem inside SANBridgeInfo"},
            {"unknown-attribute", 7, "SANBridge/LogicalResources", "did you mean nextVDevID?"},
            {"unknown-element", 8, "SANBridge/LogicalResources", "did you mean SANResources?"},
            {"snapshot-policy-changed", 11, (vdevs + "[id=3]/SnapshotPolicy").c_str(),
             "autoDelete false -> true, stopWrite true -> false"},
            {"element-dropped", 15, (vdevs + "[id=4]/PhysicalDev").c_str(), "VirtualDev does not keep PhysicalDev"},
            {"owner-filled", 10, (vdevs + "[id=3]").c_str(), "owner (empty) -> \"s\""},
            {"owner-filled", 19, "SANBridge/LogicalResources/ReplicaResources/VirtualDev[id=5]", "-> \"s\""},
            {"counter-raised", 21, "SANBridge/LogicalResources/SnapshotGroupList", "nextGroupID 1 -> 20001"},
            {"counter-raised", 0, "ISCSITargetList", "nextTargetID 0 -> 20001 (the list is absent)"},
            {"fc-value-dropped", 24, client.c_str(), "isFibreChannelEnabled=\"true\" is not kept"},
            {"fc-value-dropped", 25, (client + "/FibreChannelProperties").c_str(), "handshakeTimeout=\"10\""},
            {"unknown-attribute", 25, (client + "/FibreChannelProperties").c_str(), "flavour is not a 4.0"},
            {"defaults-added", 0, "AdaptiveResources", "new in 4.5"},
            {"defaults-added", 0, "VirtualDev", "personality written with defaults, 3 time(s)"},
        });
    const tool::Report report = tool::reportUpgradeText(inMemory(kLogical));
    for (const tool::Finding& finding : report.findings()) {
        SCOPED_TRACE(finding.detail);
        EXPECT_NE(finding.path, vdevs + "[id=4]/SnapshotPolicy") << "a policy that already deletes is not changed";
        EXPECT_NE(finding.path, "SANBridge/LogicalResources/ReplicaResources/VirtualDev[id=5]/SnapshotPolicy")
            << "replica devices keep their policy";
        EXPECT_NE(finding.path, "SANBridge/SANClientList/SANClient[id=2]") << "false is what is written";
        EXPECT_EQ(finding.detail.find("nextClientID"), std::string::npos) << "3 is not below 2";
    }
}

TEST(UpgradeReport, WhatStopsAnUpgrade) {
    struct Row {
        const char* why;
        std::string document;
        Expected expected;
    };
    const Row rows[] = {
        {"the end tags are missing",
         "<SANBridge name=\"s\">\n<LogicalResources>\n<SANResources>",
         {"truncated", 3, "SANBridge/LogicalResources/SANResources", "the input ends inside"}},
        {"only the wrappers are open",
         "<SANConfig>\n<SANBridge name=\"s\"/>\n",
         {"truncated", 3, "", "1 element(s) not closed"}},
        {"the last byte is a lone CR", "<SANBridge name=\"s\"/>\r\n\r<X/>\r", {"lone-cr", 3, "", "never finish"}},
        {"no bridge at all",
         "<SANConfig><SANBridgeList/></SANConfig>",
         {"no-bridge", 0, "SANBridge", "the document has no SANBridge"}},
        {"the bridge's parser fails",
         "<SANConfig>\n<SANBridge instance \"1\">\n</SANBridge></SANConfig>",
         {"no-bridge", 2, "SANBridge", "expect '=' within XML attribute-value pair"}},
        {"a 4.5 document",
         "<SANBridge name=\"s\">\n<PhysicalResources>\n<PhysicalDevs/>",
         {"already-4.5", 3, "SANBridge/PhysicalResources", "loses its disks"}},
        {"a 4.5 attribute",
         "<SANBridge name=\"s\">\n<PhysicalResources>\n<PhysicalAdapter number=\"1\" bus=\"2\"/>",
         {"already-4.5", 3, "SANBridge/PhysicalResources/PhysicalAdapter[number=1]",
          "bus exists only in the 4.5 layout"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        expectFindings(row.document, {row.expected});
        const tool::Report report = tool::reportUpgradeText(inMemory(row.document));
        EXPECT_STREQ(report.verdict(), "stop");
        EXPECT_EQ(report.exitStatus(), 3);
    }
}

TEST(UpgradeReport, ParserFailuresAndDroppedBridges) {
    expectFindings(
        "<SANBridge name=\"a\"/>\n<SANBridge name=\"b\">\n<LogicalResources>\n"
        "<SANResources>\n<VirtualDev id \"1\"/>\n</SANResources></LogicalResources></SANBridge>\n",
        {
            {"second-bridge-dropped", 1, "SANBridge", "the SANBridge at line 2 replaces it"},
            {"element-failed", 5, "SANBridge/LogicalResources/SANResources/VirtualDev",
             "expect '=' within XML attribute-value pair"},
        });
}

// The checks of the files: a target the update cannot replace safely, and an
// input the tool refuses.
TEST(UpgradeReport, InputAndTargetFiles) {
    testing_support::TempDir dir;
    const std::string input = dir.file("in.conf");
    testing_support::writeFile(input, "<SANBridge name=\"s\"/>");
    testing_support::writeFile(dir.file("empty.conf"), "");
    ::mkdir(dir.file("sub").c_str(), 0700);
    ASSERT_EQ(::symlink(input.c_str(), dir.file("link.conf").c_str()), 0);
    struct Row {
        const char* why;
        std::string input, target;
        const char* kind;
        std::string detail;
    };
    const Row rows[] = {
        {"a directory", input, dir.file("sub"), "target-not-regular", dir.file("sub") + " is a directory"},
        {"a symbolic link", input, dir.file("link.conf"), "target-not-regular", "is a symbolic link"},
        {"a missing directory", input, dir.file("none/x.conf"), "target-not-regular",
         "directory " + dir.file("none/") + ": No such file or directory"},
        {"the input itself", input, input, "no-backup", "is the input itself"},
        {"no '/'", input, "nimbra.conf", "no-backup", "nimbra.conf has no '/'"},
        {"a missing input", dir.file("absent"), "", "input-refused", "cannot be read: No such file or directory"},
        {"an empty input", dir.file("empty.conf"), "", "input-refused", "is empty: xlate45 exits 252"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        const tool::Report report =
            tool::reportUpgrade(row.input.c_str(), row.target.empty() ? nullptr : row.target.c_str());
        const tool::Finding* found = report.find(row.kind);
        ASSERT_NE(found, nullptr);
        EXPECT_NE(found->detail.find(row.detail), std::string::npos) << found->detail;
    }
    EXPECT_EQ(tool::reportUpgrade(input.c_str(), dir.file("new.conf").c_str()).find("no-backup"), nullptr);
}

TEST(Findings, JsonStringsAndSuggestions) {
    struct Row {
        std::string text, json;
    };
    const Row rows[] = {
        {"a\"b\\c", R"("a\"b\\c")"},
        {std::string("t\x01\n\x7f", 4), R"("t\u0001\u000a\u007f")"},
        {std::string("\0", 1), R"("\u0000")"},
        {"caf\xc3\xa9", "\"caf\xc3\xa9\""},                // UTF-8 stays
        {"caf\xe9", "\"caf\xc3\xa9\""},                    // a Latin-1 byte becomes its character
        {"\xed\xa0\x80", "\"\xc3\xad\xc2\xa0\xc2\x80\""},  // a surrogate is no UTF-8
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.json);
        EXPECT_EQ(tool::jsonString(row.text), row.json);
    }
    const std::vector<std::string_view> names = {"nextVDevID", "number", "guid"};
    EXPECT_EQ(tool::suggestName("nextVDevId", names), "nextVDevID");  // case
    EXPECT_EQ(tool::suggestName("numbr", names), "number");           // one deleted
    EXPECT_EQ(tool::suggestName("guids", names), "guid");             // one added
    EXPECT_EQ(tool::suggestName("gxid", names), "guid");              // one changed
    EXPECT_EQ(tool::suggestName("gxxd", names), "");
    EXPECT_EQ(tool::suggestName("guid", names), "") << "the name itself is no suggestion";
}

}  // namespace
