#include "legacy/fixups.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "legacy/sanparse_x.h"

namespace legacy {
namespace {

SANBridge mustRead(const std::string& doc) {
    std::unique_ptr<SANBridge> bridge = readBridge40(doc.data(), doc.size());
    if (bridge == nullptr) {
        ADD_FAILURE() << "no bridge";
        return {};
    }
    return std::move(*bridge);
}

// base = (nextVDevID - 1) / 10000 * 10000 + 1, truncated toward zero; a
// counter below 2 and below the base is raised to it.
TEST(Fixups40, IdentifierBase) {
    struct Row {
        const char* inner;
        std::int32_t group, target, client;
    };
    const Row rows[] = {
        {"", 1, 1, 1},  // absent lists are raised too
        {R"(<LogicalResources nextVDevID="20005"/>)", 20001, 20001, 20001},
        {R"(<LogicalResources nextVDevID="5"/><SANClientList nextClientID="1"/>)", 1, 1, 1},
        {R"(<LogicalResources nextVDevID="5"/><SANClientList nextClientID="0"/>)", 1, 1, 1},
        {R"(<LogicalResources nextVDevID="10001"><SnapshotGroupList nextGroupID="1"/>)"
         R"(<ISCSITargetList nextTargetID="2"/></LogicalResources><SANClientList nextClientID="-7"/>)",
         10001, 2, 10001},
        {R"(<LogicalResources nextVDevID="0"/><SANClientList nextClientID="-1"/>)", 1, 1, 1},
        {R"(<LogicalResources nextVDevID="-20000"/><SANClientList nextClientID="-30000"/>)", 0, 0, -19999},
        {R"(<LogicalResources nextVDevID="-2147483648"/>)", 0, 0, 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.inner);
        const SANBridge bridge = mustRead(std::string("<SANBridge>") + row.inner + "</SANBridge>");
        EXPECT_EQ(bridge.logicalResources.snapshotGroupList.nextGroupID, row.group);
        EXPECT_EQ(bridge.logicalResources.iscsiTargetList.nextTargetID, row.target);
        EXPECT_EQ(bridge.sanClientList.nextClientID, row.client);
    }
}

// Also when the bridge ends early: at "/>" or at the end of input.
TEST(Fixups40, RunWhereverTheBridgeEnds) {
    const char* const docs[] = {R"(<SANBridge name="a"/>)", R"(<SANBridge name="a">)",
                                R"(<SANBridge name="a"><SANClientList nextClientID="0">)"};
    for (const char* doc : docs) {
        SCOPED_TRACE(doc);
        EXPECT_EQ(mustRead(doc).sanClientList.nextClientID, 1);
    }
}

TEST(Fixups40, AdaptersSortedStably) {
    const SANBridge bridge = mustRead(
        R"(<SANBridge><PhysicalResources><PhysicalAdapter number="3" info="a"/><PhysicalAdapter number="1" info="b"/>)"
        R"(<PhysicalAdapter number="3" info="c"/><PhysicalAdapter number="-2" info="d"/>)"
        R"(<PhysicalAdapter number="1" info="e"/></PhysicalResources></SANBridge>)");
    std::string order;
    for (const PhysicalAdapter& adapter : bridge.physicalResources.physicalAdapters) order += *adapter.info;
    EXPECT_EQ(order, "dbeac");
}

// Owner-less devices other than copy-manager ones take the owner of the
// physical device their sedPDGuid names (first match, adapters sorted), else
// the bridge's name.
TEST(Fixups40, OwnerFill) {
    const std::string physical =
        R"(<PhysicalResources><PhysicalAdapter number="9"><PhysicalDev guid="g1" owner="late"/></PhysicalAdapter>)"
        R"(<PhysicalAdapter number="2"><PhysicalDev guid="g1" owner="early"/><PhysicalDev guid="g2"/>)"
        R"(<PhysicalDev guid="g3" owner=""/></PhysicalAdapter></PhysicalResources>)";
    struct Row {
        const char* rule;
        const char* bridgeName;  // attribute text, or null for none
        const char* device;
        const char* owner;  // null: still absent
    };
    const Row rows[] = {
        {"owner of the linked device", "nb", R"(<VirtualDev sedPDGuid="g1"/>)", "early"},
        {"linked device without owner", "nb", R"(<VirtualDev sedPDGuid="g2"/>)", "nb"},
        {"linked device with an empty owner", "nb", R"(<VirtualDev sedPDGuid="g3"/>)", "nb"},
        {"no link", "nb", R"(<VirtualDev sedPDGuid="zz"/>)", "nb"},
        {"empty owner counts as none", "nb", R"(<VirtualDev owner=""/>)", "nb"},
        {"an owner is kept", "nb", R"(<VirtualDev sedPDGuid="g1" owner="mine"/>)", "mine"},
        {"copy-manager devices are left", "nb", R"(<VirtualDev type="CopyManager" sedPDGuid="g1"/>)", nullptr},
        {"no bridge name, nothing", nullptr, R"(<VirtualDev sedPDGuid="g1"/>)", nullptr},
        {"an empty bridge name still takes the linked owner", "", R"(<VirtualDev sedPDGuid="g1"/>)", "early"},
        {"an empty bridge name, no link: stays empty", "", R"(<VirtualDev sedPDGuid="zz"/>)", nullptr},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        const std::string open = row.bridgeName != nullptr
                                     ? std::string(R"(<SANBridge name=")") + row.bridgeName + R"(">)"
                                     : std::string("<SANBridge>");
        const std::string device = row.device;
        const SANBridge bridge = mustRead(open + physical + "<LogicalResources><SANResources>" + device +
                                          "</SANResources><ReplicaResources>" + device +
                                          "</ReplicaResources><SystemResources><CopyManagerResources>" + device +
                                          "</CopyManagerResources></SystemResources></LogicalResources></SANBridge>");
        const model::LogicalResources& lr = bridge.logicalResources;
        for (const model::VirtualDevList* devs :
             {&lr.sanResources, &lr.replicaResources, &*lr.systemResources.copyManagerResources}) {
            ASSERT_EQ(devs->items.size(), 1u);
            const Text& owner = devs->items[0].owner;
            if (row.owner == nullptr) {
                EXPECT_TRUE(!owner.has_value() || owner->empty());
            } else {
                EXPECT_EQ(owner, row.owner);
            }
        }
    }
}

std::vector<std::string> pairsOf(const model::SANClient& client) {
    std::vector<std::string> seen;
    for (const model::WWPNPair& pair : client.fibreChannelProperties.wwpnPairList.items) {
        seen.push_back(pair.initiatorWWPN.value_or("-") + ">" + pair.targetWWPN.value_or("-"));
    }
    return seen;
}

// A "*" target stands for every target-mode adapter that has a WWPN, in
// adapter order. When a client has any, its other pairs are dropped (kept
// deliberately); without any target adapter the list stays as read.
TEST(Fixups40, WildcardTargets) {
    const std::string adapters =
        R"(<PhysicalResources><PhysicalAdapter number="5" mode="target" WWPN="T5"/>)"
        R"(<PhysicalAdapter number="1" mode="initiator" WWPN="I1"/><PhysicalAdapter number="3" mode="target"/>)"
        R"(<PhysicalAdapter number="2" mode="target" WWPN=""/><PhysicalAdapter number="0" mode="target" WWPN="T0"/>)"
        R"(</PhysicalResources>)";
    struct Row {
        const char* rule;
        bool withAdapters;
        const char* pairs;
        std::vector<std::string> expected;
    };
    const Row rows[] = {
        {"expanded alone", true,
         R"(<WWPNPair initiatorWWPN="a" targetWWPN="x"/><WWPNPair initiatorWWPN="b" targetWWPN="*"/>)"
         R"(<WWPNPair initiatorWWPN="c" targetWWPN="*"/>)",
         {"b>T0", "b>", "b>T5", "c>T0", "c>", "c>T5"}},
        {"no wildcard", true, R"(<WWPNPair initiatorWWPN="a" targetWWPN="x"/>)", {"a>x"}},
        {"only exactly a star", true, R"(<WWPNPair initiatorWWPN="a" targetWWPN="**"/>)", {"a>**"}},
        {"an absent initiator stays absent", true, R"(<WWPNPair targetWWPN="*"/>)", {"->T0", "->", "->T5"}},
        {"no target adapter: as read", false,
         R"(<WWPNPair initiatorWWPN="a" targetWWPN="x"/><WWPNPair initiatorWWPN="b" targetWWPN="*"/>)",
         {"a>x", "b>*"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        const SANBridge bridge = mustRead(std::string("<SANBridge>") + (row.withAdapters ? adapters : "") +
                                          R"(<SANClientList><SANClient id="1"><FibreChannelProperties>)" +
                                          row.pairs + "</FibreChannelProperties></SANClient></SANClientList></SANBridge>");
        ASSERT_EQ(bridge.sanClientList.items.size(), 1u);
        EXPECT_EQ(pairsOf(bridge.sanClientList.items[0]), row.expected);
    }
}

// Members are linked to their group when a device with that id exists; a
// device listed by two groups ends with the later.
TEST(Fixups40, SnapshotGroupLinks) {
    const SANBridge bridge = mustRead(
        R"(<SANBridge><LogicalResources><SANResources><VirtualDev id="1"/><VirtualDev id="3" snapshotGroupID="-1"/></SANResources>)"
        R"(<SnapshotResources><VirtualDev id="4"/></SnapshotResources><SnapshotGroupList>)"
        R"(<SnapshotGroup id="10"><SnapshotGroupMember vid="1"/><SnapshotGroupMember vid="3"/>)"
        R"(<SnapshotGroupMember vid="99"/></SnapshotGroup>)"
        R"(<SnapshotGroup id="20"><SnapshotGroupMember vid="3"/><SnapshotGroupMember vid="4"/></SnapshotGroup>)"
        R"(</SnapshotGroupList></LogicalResources></SANBridge>)");
    struct Row {
        std::int32_t vid;
        std::int32_t group;  // 0: none
    };
    const Row rows[] = {{1, 10}, {3, 20}, {4, 20}, {99, 0}, {2, 0}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.vid);
        const model::SnapshotGroup* group = snapshotGroupOf(bridge, row.vid);
        if (row.group == 0) {
            EXPECT_EQ(group, nullptr);
        } else {
            ASSERT_NE(group, nullptr);
            EXPECT_EQ(group->id, row.group);
        }
    }
    // Only memory changes: the devices keep the group id they were read with.
    EXPECT_EQ(bridge.logicalResources.sanResources.items[1].snapshotGroupID, -1);
}

}  // namespace
}  // namespace legacy
