#include "xml/name_table.h"

#include <gtest/gtest.h>
#include <string>

#include "tests/support/failing_alloc.h"

namespace xml {
namespace {

TEST(NameTable, Lookup) {
    NameTable table(523);
    table.insert(208, "name");
    table.insert(1104, "BMR");
    table.insert(1104, "Linux");  // deliberately two names share one number
    table.insert(5, "PhysicalResource");
    table.insert(5, "PhysicalResources");
    table.insert(1032, "Any IP Failed");
    table.insert(210, "type");
    table.insert(211, "type");    // a second registration replaces the number
    struct Row {
        const char* name;
        int number;
    };
    const Row rows[] = {
        {"name", 208},  {"Name", -1},   {"nam", -1},  {"names", -1},  {"", -1},
        {"BMR", 1104},  {"Linux", 1104}, {"PhysicalResource", 5}, {"PhysicalResources", 5},
        {"Any IP Failed", 1032}, {"Any", -1}, {"type", 211},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(table.lookup(row.name), row.number);
        EXPECT_EQ(table.lookup(std::string_view(row.name)), row.number);
        EXPECT_EQ(table.lookup(nameKey(row.name)), row.number);  // a key measured elsewhere finds the same
    }
    EXPECT_EQ(table.lookup(static_cast<const char*>(nullptr)), -1);
    EXPECT_EQ(table.lookup(std::string_view("name\0x", 6)), 208);
    table.insert(41, "ba");
    table.insert(42, "aj");
    EXPECT_EQ(table.lookup("ba"), 41);
    EXPECT_EQ(table.lookup("aj"), 42);
    EXPECT_EQ(table.lookup(std::string_view("ajx", 2)), 42);  // a length ends a name too
    table.insert(3, "");  // the empty name is a name like any other
    EXPECT_EQ(table.lookup(""), 3);
    EXPECT_FALSE(table.error());
}

// A key whose hash and length match a name's but whose bytes differ in the
// middle finds nothing, at every length the compare handles differently.
TEST(NameTable, SameHashAndLengthDifferInTheMiddle) {
    for (std::size_t length : {2u, 3u, 5u, 7u, 9u, 12u, 16u, 17u, 40u}) {
        SCOPED_TRACE(length);
        const std::string pad(length - 2, 'x');
        const std::string first = pad.substr(0, pad.size() / 2) + "ba" + pad.substr(pad.size() / 2);
        const std::string second = pad.substr(0, pad.size() / 2) + "aj" + pad.substr(pad.size() / 2);
        NameTable table(7);
        table.insert(1, first);
        EXPECT_EQ(table.lookup(NameKey{second.data(), length, nameHash(first)}), -1);
        EXPECT_EQ(table.lookup(nameKey(first)), 1);
    }
}

// A table made for one name takes a thousand: replacing and finding still work.
TEST(NameTable, GrowsPastItsBucketCount) {
    NameTable table(1);
    for (int i = 0; i < 1000; ++i) table.insert(i, "n" + std::to_string(i));
    table.insert(-5, "n500");
    EXPECT_EQ(table.lookup("n0"), 0);
    EXPECT_EQ(table.lookup("n999"), 999);
    EXPECT_EQ(table.lookup("n500"), -5);
    EXPECT_EQ(table.lookup("n1000"), -1);
    EXPECT_EQ(NameTable(0).lookup("x"), -1);  // no buckets counts as one
}

TEST(NameTable, AllocationFailureSetsErrorAndLeavesNameOut) {
    // Each allocation an insert makes fails in turn (the key's copy, its list,
    // the larger slots), until an insert gets through.
    int failures = 0;
    for (long failAt = 0;; ++failAt) {
        SCOPED_TRACE(failAt);
        NameTable table(1);
        for (int i = 0; i < 8; ++i) table.insert(i, "n" + std::to_string(i));  // the next insert grows both
        testing_support::failAllocation(failAt + 1);
        table.insert(100, "a name too long for the small-string buffer");
        testing_support::stopFailingAllocations();
        if (!table.error()) {
            EXPECT_EQ(table.lookup("a name too long for the small-string buffer"), 100);
            break;
        }
        ++failures;
        EXPECT_EQ(table.lookup("a name too long for the small-string buffer"), -1);
        for (int i = 0; i < 8; ++i) EXPECT_EQ(table.lookup("n" + std::to_string(i)), i);
        table.insert(3, "later");  // the table stays usable
        EXPECT_EQ(table.lookup("later"), 3);
    }
    EXPECT_GE(failures, 3);
}

}  // namespace
}  // namespace xml
