// A record's text and a boxed sub-record behave as std::optional does, at a
// pointer's width.
#include "model/boxed.h"
#include "model/text.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "model/records.h"

namespace model {
namespace {

TEST(Text, OneAbsentTextIsOnePointerWide) { EXPECT_EQ(sizeof(Text), sizeof(void*)); }

TEST(Text, BehavesAsAnOptionalString) {
    struct Row {
        const char* rule;
        Text (*make)();
        std::optional<std::string> expected;
    };
    const Row rows[] = {
        {"default is absent", [] { return Text(); }, std::nullopt},
        {"present and empty differs from absent", [] { return Text(""); }, std::string()},
        {"from a C string", [] { return Text("guid"); }, std::string("guid")},
        {"empty braces empty it", [] { Text t = "x"; t = {}; return t; }, std::nullopt},
        {"nullopt empties it", [] { Text t = "x"; t = std::nullopt; return t; }, std::nullopt},
        {"assignment replaces the value", [] { Text t = "old"; t = std::string("new"); return t; }, std::string("new")},
        {"emplace makes it present", [] { Text t; t.emplace(3, 'a'); return t; }, std::string("aaa")},
        {"from an absent optional", [] { return Text(std::optional<std::string>()); }, std::nullopt},
        {"from a present optional", [] { return Text(std::optional<std::string>("v")); }, std::string("v")},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        const Text text = row.make();
        EXPECT_EQ(text.has_value(), row.expected.has_value());
        EXPECT_EQ(static_cast<std::optional<std::string>>(text), row.expected);
        EXPECT_TRUE(text == row.expected);
    }
}

TEST(Text, CopiesAreDeepAndMovesTakeTheValue) {
    Text original = "name";
    Text copy = original;
    copy = std::string(*copy) + "2";
    EXPECT_EQ(original, "name");
    EXPECT_EQ(copy, "name2");

    Text moved = std::move(copy);
    EXPECT_EQ(moved, "name2");
    EXPECT_FALSE(copy.has_value());  // NOLINT: a moved-from text is absent
    Text assigned;
    assigned = moved;
    moved = "changed";
    EXPECT_EQ(assigned, "name2");
    assigned = *assigned;  // from its own characters
    EXPECT_EQ(assigned, "name2");
}

// The characters are kept whole, NULs and all, and a NUL follows them.
TEST(Text, KeepsEveryByteAndEndsInNul) {
    const std::string bytes("a\0b\xff", 4);
    const Text text = bytes;
    EXPECT_EQ(text->size(), 4u);
    EXPECT_EQ(std::string(*text), bytes);
    EXPECT_EQ(text->c_str()[4], '\0');
    const Text empty = "";
    EXPECT_TRUE(empty->empty());
    EXPECT_STREQ(empty->c_str(), "");
}

TEST(Text, ComparesAsAnOptionalDoes) {
    const Text absent;
    const Text empty = "";
    const Text a = "a";
    EXPECT_TRUE(absent == std::nullopt);
    EXPECT_FALSE(empty == std::nullopt);
    EXPECT_FALSE(absent == "");  // an absent text equals no string, not even ""
    EXPECT_TRUE(empty == "");
    EXPECT_FALSE(absent == empty);
    EXPECT_TRUE(a == std::string("a"));
    EXPECT_TRUE(a != "b");
    EXPECT_THROW(static_cast<void>(absent.value()), std::bad_optional_access);
    EXPECT_EQ(absent.value_or("fallback"), "fallback");
    EXPECT_EQ(a.value_or("fallback"), "a");
}

TEST(Boxed, BehavesAsAnOptionalRecord) {
    EXPECT_EQ(sizeof(Boxed<SnapshotPolicy>), sizeof(void*));
    struct Row {
        const char* rule;
        Boxed<SnapshotPolicy> (*make)();
        std::optional<std::int8_t> autoDelete;  // absent: no policy
    };
    const Row rows[] = {
        {"default is absent", [] { return Boxed<SnapshotPolicy>(); }, std::nullopt},
        {"emplace gives a zero record", [] { Boxed<SnapshotPolicy> b; b.emplace(); return b; }, 0},
        {"from a record", [] { return Boxed<SnapshotPolicy>(SnapshotPolicy{.autoDelete = 1}); }, 1},
        {"empty braces empty it",
         [] { Boxed<SnapshotPolicy> b = SnapshotPolicy{.autoDelete = 1}; b = {}; return b; }, std::nullopt},
        {"assignment replaces the record",
         [] { Boxed<SnapshotPolicy> b; b = SnapshotPolicy{.autoDelete = 1}; b->autoDelete = 0; return b; }, 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        const Boxed<SnapshotPolicy> boxed = row.make();
        ASSERT_EQ(boxed.has_value(), row.autoDelete.has_value());
        if (boxed) {
            EXPECT_EQ(boxed->autoDelete, *row.autoDelete);
        }
    }

    // A copy of a device owns its policy: changing one leaves the other.
    VirtualDev device;
    device.snapshotPolicy = SnapshotPolicy{.autoDelete = 1};
    VirtualDev copy = device;
    copy.snapshotPolicy->autoDelete = 0;
    EXPECT_EQ(device.snapshotPolicy->autoDelete, 1);
    VirtualDev moved = std::move(copy);
    EXPECT_EQ(moved.snapshotPolicy->autoDelete, 0);
    EXPECT_TRUE(VirtualDev().snapshotPolicy == std::nullopt);
}

}  // namespace
}  // namespace model
