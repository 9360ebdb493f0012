// The consistency pass run on every bridge the 4.5 reader returns.
// Records are built with designated initializers that name only the fields a case sets.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

#include <gtest/gtest.h>

#include "model/validate.h"

namespace model {
namespace {

TEST(Validate, CountersRiseToTheIdentifierBase) {
    struct Row {
        std::int32_t nextVDevID, counter, expected;
    };
    const Row rows[] = {
        {10005, 1, 10001}, {10005, 5, 5},  {20005, 0, 20001}, {5, 1, 1},
        {5, 0, 1},         {0, 0, 1},      {0, -3, 1},        {10000, 1, 1},
        {10001, 1, 10001}, {1, -7, 1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::to_string(row.nextVDevID) + " " + std::to_string(row.counter));
        SANBridge bridge;
        bridge.logicalResources.nextVDevID = row.nextVDevID;
        bridge.sanClientList.nextClientID = row.counter;
        bridge.logicalResources.snapshotGroupList.nextGroupID = row.counter;
        bridge.logicalResources.iscsiTargetList.nextTargetID = row.counter;
        validateSANBridge(bridge);
        EXPECT_EQ(bridge.sanClientList.nextClientID, row.expected);
        EXPECT_EQ(bridge.logicalResources.snapshotGroupList.nextGroupID, row.expected);
        EXPECT_EQ(bridge.logicalResources.iscsiTargetList.nextTargetID, row.expected);
    }
}

TEST(Validate, AdaptersSortedByNumberKeepingEqualOnesInOrder) {
    SANBridge bridge;
    for (auto [number, info] : {std::pair{3, "c"}, {1, "a"}, {2, "b1"}, {2, "b2"}}) {
        bridge.physicalResources.physicalAdapters.items.push_back(PhysicalAdapter{.number = number, .info = info});
    }
    validateSANBridge(bridge);
    std::string order;
    for (const PhysicalAdapter& adapter : bridge.physicalResources.physicalAdapters.items) (order += *adapter.info) += " ";
    EXPECT_EQ(order, "a b1 b2 c ");
}

TEST(Validate, InquiryFillIn) {
    struct Row {
        const char* rule;
        Text bridgeInquiry;
        VirtualDev dev;
        Text expected;
    };
    const Row rows[] = {
        {"the bridge's text when the device has none", "BRIDGE", VirtualDev{}, "BRIDGE"},
        {"an empty device text counts as none", "BRIDGE", VirtualDev{.inquiryString = ""}, "BRIDGE"},
        {"a device text is kept", "BRIDGE", VirtualDev{.inquiryString = "OWN"}, "OWN"},
        {"no bridge text: nothing changes", std::nullopt, VirtualDev{}, std::nullopt},
        {"copy-manager devices are skipped", "BRIDGE", VirtualDev{.type = 7}, std::nullopt},
        {"the unit named by sedPDGuid gives its text", "BRIDGE", VirtualDev{.sedPDGuid = "unit"}, "UNIT"},
        {"an unknown unit falls back to the bridge", "BRIDGE", VirtualDev{.sedPDGuid = "other"}, "BRIDGE"},
        {"a device on a direct unit is skipped", "BRIDGE",
         VirtualDev{.localDataSets = {LocalDataSet{.pdevSections = {PDevSection{.guid = "direct"}}}}}, std::nullopt},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        SANBridge bridge;
        bridge.properties.inquiry = row.bridgeInquiry;
        bridge.physicalResources.physicalDevs.items = {
            PhysicalDev{.guid = "unit", .inquiryString = "UNIT"},
            PhysicalDev{.category = 2, .guid = "direct"},
        };
        bridge.logicalResources.nasResources.items.push_back(row.dev);
        bridge.logicalResources.virtualDev = row.dev;
        validateSANBridge(bridge);
        EXPECT_EQ(bridge.logicalResources.nasResources.items[0].inquiryString, row.expected);
        EXPECT_EQ(bridge.logicalResources.virtualDev->inquiryString, row.expected);
    }
}

}  // namespace
}  // namespace model
