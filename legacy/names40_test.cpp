#include "legacy/names40.h"

#include <gtest/gtest.h>

namespace {

// The spellings that differ from the 4.5 table are the ones a conversion trips on.
// The spellings that differ from the 4.5 table are the ones a conversion
// trips on; the reader's own tests cover the multi-word spellings.
TEST(Names40, WhereThe40TablesDiffer) {
    struct Row {
        const char* name;
        int attribute, element;
    };
    const Row rows[] = {
        {"base", 257, -1},                 // only in 4.0
        {"Linux", 1104, -1},               // shares its number with BMR
        {"generateHash", 388, -1},
        {"user", 6002, -1},
        {"biosWWPN", -1, -1},              // new in 4.5
        {"Name", -1, -1},                  // case matters
        {"", -1, -1},
        {"PhysicalResource", -1, 5},       // both names of one element
        {"PhysicalResources", -1, 5},
        {"WWPNMap", -1, 58},
        {"ConnectionList", -1, 93},        // known, with no parser
        {"PhysicalAdapters", -1, -1},      // new in 4.5
        {"SANConfig", -1, -1},             // a wrapper, not an element
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(legacy::lookupAttribute40(row.name), row.attribute);
        EXPECT_EQ(legacy::lookupElement40(row.name), row.element);
    }
    EXPECT_EQ(legacy::lookupAttribute40(nullptr), -1);
}

}  // namespace
