// A record's text and a boxed sub-record behave as std::optional does.
#include "model/boxed.h"
#include "model/text.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "model/records.h"

namespace model {
namespace {

TEST(Text, BehavesAsAnOptionalString) {
    struct Row {
        const char* rule;
        Text (*make)();
        std::optional<std::string> expected;
    };
    const Row rows[] = {
        {"default is absent", [] { return Text(); }, std::nullopt},
        {"present and empty differs from absent", [] { return Text(""); }, std::string()},
        {"empty braces empty it", [] { Text t = "x"; t = {}; return t; }, std::nullopt},
        {"assignment from its own characters", [] { Text t = "old"; t = *t; return t; }, std::string("old")},
        {"emplace makes it present", [] { Text t; t.emplace(3, 'a'); return t; }, std::string("aaa")},
        {"a copy is deep", [] { Text t = "a"; Text c = t; t = "b"; return c; }, std::string("a")},
        {"a moved-from text is absent", [] { Text t = "a"; Text m = std::move(t); return t; }, std::nullopt},
        {"every byte is kept", [] { return Text(std::string("a\0b\xff", 4)); }, std::string("a\0b\xff", 4)},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        const Text text = row.make();
        EXPECT_EQ(static_cast<std::optional<std::string>>(text), row.expected);
        EXPECT_TRUE(text == row.expected);
        if (text) {
            EXPECT_EQ(text->c_str()[text->size()], '\0');  // a NUL follows the characters
        }
    }
    EXPECT_FALSE(Text() == "") << "an absent text equals no string, not even \"\"";
}

// A copy of a device owns its policy: changing one leaves the other.
TEST(Boxed, CopiesOwnTheirRecord) {
    VirtualDev device;
    EXPECT_TRUE(device.snapshotPolicy == std::nullopt);
    device.snapshotPolicy = SnapshotPolicy{.autoDelete = 1};
    VirtualDev copy = device;
    copy.snapshotPolicy->autoDelete = 0;
    EXPECT_EQ(device.snapshotPolicy->autoDelete, 1);
    VirtualDev moved = std::move(copy);
    EXPECT_EQ(moved.snapshotPolicy->autoDelete, 0);
    moved.snapshotPolicy = {};
    EXPECT_FALSE(moved.snapshotPolicy.has_value());
}

}  // namespace
}  // namespace model
