#include "legacy/names40.h"

#include <gtest/gtest.h>

namespace {

// The spellings that differ from the 4.5 table are the ones a conversion trips on.
TEST(Names40, AttributeSpellingsOfThe40Layout) {
    struct Row {
        const char* name;
        int number;
    };
    const Row rows[] = {
        {"base", 257},                   // only in 4.0
        {"Virtual", 1004},               // first word as listed ...
        {"Virtual Device", 1004},        // ... and the whole spelling
        {"Direct Device", 1005},
        {"Service", 1065},
        {"Service Enabled Device", 1065},
        {"Stripe Device", 1094},
        {"Any", 1032},
        {"All IPs Failed", 1033},
        {"Linux", 1104},                 // shares its number with BMR
        {"BMR", 1104},
        {"primary", 1014},
        {"heartbeatInterval", 1020},
        {"generateHash", 388},
        {"user", 6002},
        {"throttle", -1},                // new in 4.5
        {"biosWWPN", -1},
        {"tcp", -1},
        {"Adaptive", -1},
        {"Name", -1},                    // case matters
        {"", -1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(legacy::lookupAttribute40(row.name), row.number);
    }
    EXPECT_EQ(legacy::lookupAttribute40(nullptr), -1);
}

TEST(Names40, ElementNamesOfThe40Layout) {
    struct Row {
        const char* name;
        int number;
    };
    const Row rows[] = {
        {"SCSIAddress", 0},        {"PhysicalResource", 5}, {"PhysicalResources", 5},
        {"SANBridge", 14},         {"NimbraPartition", 22}, {"WWPNMap", 58},
        {"ISCSIProperties", 100},  {"XBootOption", 129},    {"ConnectionList", 93},
        {"SANConfig", -1},         {"SANBridgeList", -1},   {"WormPolicy", -1},
        {"PhysicalAdapters", -1},  {"AdaptiveResources", -1}, {"QlogicOption", -1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(legacy::lookupElement40(row.name), row.number);
    }
}

}  // namespace
