// The 4.5 reader: the child loop's rules, failures and limits.
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "model/layout45.h"
#include "model/sanparse.h"
#include "tests/support/failing_alloc.h"
#include "xml/log.h"
#include "xml/name_table.h"

namespace model {
namespace {

struct Parsed {
    bool ok = false;
    std::string error;  // the stream's error slot, "" when none
    PhysicalDev dev;
};

// `failAt`: the allocation to fail once the stream is open (0: none).
Parsed parseDev(const std::string& text, long failAt = 0) {
    Parsed result;
    auto ts = xml::TokenStream::onMemory(text.data(), text.size());
    ParseContext ctx{*ts, schema45()};
    testing_support::failAllocation(failAt);
    result.ok = parseInto(ctx, kPhysicalDev45, result.dev, "PhysicalDev");
    testing_support::stopFailingAllocations();
    result.error = ts->error() != nullptr ? ts->error() : "";
    return result;
}

std::unique_ptr<SANBridge> bridgeOf(const std::string& text) { return readBridge45(text.data(), text.size()); }

TEST(Reader45, ChildLoopRules) {
    struct Row {
        const char* rule;
        const char* text;
        std::size_t infoItems;
        std::int32_t lun;
        const char* comments;
    };
    const Row rows[] = {
        {"an end tag that is a prefix of the name closes the element",
         R"(<PhysicalDev></Phys><InfoItem name="after"/>)", 0, 0, ""},
        {"a non-matching end tag is skipped", R"(<PhysicalDev></Other><InfoItem name="a"/></PhysicalDev>)", 1, 0, ""},
        {"an unknown wrapper's children are read as this element's",
         R"(<PhysicalDev><Wrapper><InfoItem name="a"/></Wrapper><InfoItem name="b"/></PhysicalDev>)", 2, 0, ""},
        {"a single child met twice keeps the later one",
         R"(<PhysicalDev><SCSIAddress lun="1"/><SCSIAddress lun="2"/></PhysicalDev>)", 0, 2, ""},
        {"a known child not kept is parsed and dropped with its content",
         R"(<PhysicalDev><PhysicalAdapter number="1"><InfoItem name="inside"/></PhysicalAdapter><InfoItem name="b"/></PhysicalDev>)",
         1, 0, ""},
        {"comments, content and other markup between children are skipped",
         "<PhysicalDev>\n  <!-- note -->text<?pi x?><InfoItem name=\"a\"/>\n</PhysicalDev>", 1, 0, ""},
        {"text content is the concatenation of its character data",
         R"(<PhysicalDev><Comments>one<!-- c -->two</Comments></PhysicalDev>)", 0, 0, "onetwo"},
        {"the input may end inside the element", R"(<PhysicalDev><InfoItem name="a"/>)", 1, 0, ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        Parsed parsed = parseDev(row.text);
        ASSERT_TRUE(parsed.ok);
        EXPECT_EQ(parsed.dev.infoItems.size(), row.infoItems);
        EXPECT_EQ(parsed.dev.scsiAddress.lun, row.lun);
        EXPECT_EQ(parsed.dev.comments.value_or(""), row.comments);
    }
}

TEST(Reader45, AttributesAndDefaults) {
    Parsed plain = parseDev(R"(<PhysicalDev name = "a&amp;b" bogus="x" queueDepth="12abc" category="Reserved"/>)");
    ASSERT_TRUE(plain.ok);
    EXPECT_EQ(plain.dev.name, "a&b");  // decoded
    EXPECT_EQ(plain.dev.queueDepth, 12);  // no whole-value check
    EXPECT_EQ(plain.dev.category, 4);
    EXPECT_EQ(plain.dev.isNew, -1);  // defaults of a unit read without them
    EXPECT_EQ(plain.dev.fsidRelianceEnabled, 1);

    Parsed flags = parseDev(R"(<PhysicalDev isNew="false" fsidRelianceEnabled="yes"/>)");
    EXPECT_EQ(flags.dev.isNew, 0);
    EXPECT_EQ(flags.dev.fsidRelianceEnabled, 0);  // two-way: anything but "true" is 0

    Parsed sectors = parseDev(R"(<PhysicalDev><Geometry startingSector="-1" endingSector="4294967295"/></PhysicalDev>)");
    EXPECT_EQ(sectors.dev.geometry.startingSector, 4294967295u);
    EXPECT_EQ(sectors.dev.geometry.endingSector, 4294967295u);
}

// Elements repeat their attributes in one order, and a name met at the same
// place again is recognised by its bytes: a name of the same hash and length
// ("ROCHpcr" hashes as "adapter" does) is still unknown there, and a known
// name at a new place is still found.
TEST(Reader45, RepeatedElementsKeepTheirAttributesApart) {
    Parsed aliases = parseDev(
        R"(<PhysicalDev><SCSIAliasing>)"
        R"(<DeviceAlias adapter="1" lun="2"/>)"
        R"(<DeviceAlias ROCHpcr="7" lun="3"/>)"
        R"(<DeviceAlias lun="4" adapter="5"/>)"
        R"(<DeviceAlias adapter="6" lun="5"/>)"
        R"(</SCSIAliasing></PhysicalDev>)");
    ASSERT_TRUE(aliases.ok);
    ASSERT_EQ(xml::nameHash("ROCHpcr"), xml::nameHash("adapter"));
    const std::vector<DeviceAlias>& items = aliases.dev.scsiAliasing.items;
    ASSERT_EQ(items.size(), 4u);
    const std::int32_t adapters[] = {1, 0, 5, 6};
    const std::int32_t luns[] = {2, 3, 4, 5};
    for (std::size_t i = 0; i < items.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(items[i].adapter, adapters[i]);
        EXPECT_EQ(items[i].lun, luns[i]);
    }
}

TEST(Reader45, SyntaxErrorFailsOnlyTheElement) {
    Parsed own = parseDev(R"(<PhysicalDev name "x"/>)");
    EXPECT_FALSE(own.ok);
    EXPECT_EQ(own.error, "expect '=' within XML attribute-value pair");

    // A failed child drops one token and the parent reads on.
    // Here the failed item took the next start tag as its "=", so the second
    // item's tokens pass one by one and the third is read.
    Parsed child = parseDev(R"(<PhysicalDev><InfoItem name/><InfoItem name="b"/><InfoItem name="c"/></PhysicalDev>)");
    ASSERT_TRUE(child.ok);
    EXPECT_EQ(child.error, "expect '=' within XML attribute-value pair");
    ASSERT_EQ(child.dev.infoItems.size(), 1u);
    EXPECT_EQ(child.dev.infoItems[0].name, "c");
}

TEST(Reader45, VirtualDevHoldsOneFileSystemOfAnyKind) {
    auto bridge = bridgeOf(R"(<SANBridge><LogicalResources><SANResources><VirtualDev>
        <XFSFileSystem blockSize="1" logSizeMB="2"/><EXT2FileSystem blockSize="3" logSizeMB="4"/>
        </VirtualDev></SANResources></LogicalResources></SANBridge>)");
    ASSERT_NE(bridge, nullptr);
    const VirtualDev& dev = bridge->logicalResources.sanResources.items.at(0);
    ASSERT_TRUE(dev.fileSystem.has_value());
    EXPECT_EQ(dev.fileSystem->kind, 100);  // the later one
    EXPECT_EQ(dev.fileSystem->blockSize, 3);
    EXPECT_EQ(dev.fileSystem->logSizeMB, 0);  // EXT2 carries no log size
}

TEST(Reader45, DocumentLoop) {
    struct Row {
        const char* rule;
        const char* text;
        const char* name;  // of the bridge read, null when none
        const char* stderrText;
    };
    const Row rows[] = {
        {"a bridge in its wrappers is found", "<SANConfig><SANBridgeList><SANBridge name=\"a\"/></SANBridgeList></SANConfig>",
         "a", ""},
        {"the second bridge wins", R"(<SANBridge name="a"/><SANBridge name="b"/>)", "b", ""},
        {"no bridge", "<SANConfig></SANConfig>", nullptr, "parse error SANBridge\n"},
        {"a failing bridge stops the loop", R"(<SANBridge name="a"/><SANBridge name/><SANBridge name="c"/>)", nullptr,
         "parse error SANBridge\n"},
        {"a known element at top level is read and dropped", R"(<PhysicalDev><SANBridge name="inner"/></PhysicalDev>)",
         nullptr, "parse error SANBridge\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        ::testing::internal::CaptureStderr();
        auto bridge = bridgeOf(row.text);
        EXPECT_EQ(::testing::internal::GetCapturedStderr(), row.stderrText);
        if (row.name == nullptr) {
            EXPECT_EQ(bridge, nullptr);
        } else {
            ASSERT_NE(bridge, nullptr);
            EXPECT_EQ(bridge->name, row.name);
        }
    }
}

TEST(Reader45, PartitionReader) {
    const std::string text = R"(<X><NimbraPartition checksum="s"><DynamicDiskSegment seqNo="2"/></NimbraPartition></X>)";
    auto partition = readPartition45(text.data(), text.size());
    ASSERT_NE(partition, nullptr);
    EXPECT_EQ(partition->checksum, "s");
    ASSERT_EQ(partition->segments.size(), 1u);
    EXPECT_EQ(partition->segments[0].seqNo, 2);

    ::testing::internal::CaptureStderr();
    EXPECT_EQ(readPartition45("<X/>", 4), nullptr);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "parse error NimbraPartition\n");
}

// Known elements nest at most 1000 deep. Inside the 1000th, a known child is
// passed over like an unknown one: only its start tag goes, so its end tag
// closes the 1000th early and the outer end tag is left over.
TEST(Reader45, NestingIsBounded) {
    const std::string text = R"(<PhysicalDev><PhysicalDev name="inner"></PhysicalDev></PhysicalDev>)";
    struct Row {
        int openBefore;  // known elements open around the outer device
        xml::Tok next;   // what the outer device leaves in the stream
    };
    const Row rows[] = {{998, xml::Tok::Eof}, {999, xml::Tok::EndTag}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.openBefore);
        auto ts = xml::TokenStream::onMemory(text.data(), text.size());
        ParseContext ctx{*ts, schema45(), row.openBefore + 1};  // the outer device counts itself
        PhysicalDev outer;
        ASSERT_TRUE(parseInto(ctx, kPhysicalDev45, outer, "PhysicalDev"));
        EXPECT_EQ(ts->peek().type(), row.next);
    }
}

TEST(Reader45, DeepDocumentDoesNotExhaustTheStack) {
    std::string text = "<SANBridge name=\"x\">";
    for (int i = 0; i < 100000; ++i) text += "<PhysicalDev>";
    auto bridge = bridgeOf(text);
    ASSERT_NE(bridge, nullptr);
    EXPECT_EQ(bridge->name, "x");
}

std::vector<std::string> gLogLines;
void collectLog(const char* identity, const char* message) {
    gLogLines.push_back(std::string(identity) + " " + message);
}

// Failing each allocation in turn: every outcome is a defined one.
TEST(Reader45, AllocationFailures) {
    const std::string text =
        R"(<PhysicalDev name="a name long enough to need the heap"><InfoItem name="first item with a long name"/>)"
        R"(<InfoItem name="second"/></PhysicalDev>)";
    ASSERT_TRUE(parseDev(text).ok);  // builds the name tables outside the failing window
    xml::setLogObserver(&collectLog);
    bool sawRecordMessage = false, sawGrowthLog = false;
    for (long n = 1; n < 200; ++n) {
        gLogLines.clear();
        Parsed parsed = parseDev(text, n);
        const bool reachedEnd = parsed.ok && parsed.dev.infoItems.size() == 2 && gLogLines.empty() && parsed.error.empty();
        if (parsed.error == "Can't allocate memory for PhysicalDev") sawRecordMessage = true;
        for (const std::string& line : gLogLines) {
            if (line.rfind("kxutil [sanparse.c:parsePhysicalDev:", 0) == 0 &&
                line.find("] cannot allocate memory") != std::string::npos) {
                sawGrowthLog = true;
                EXPECT_FALSE(parsed.ok);
            }
        }
        if (reachedEnd && n > 50) break;  // well past the last allocation of the parse
    }
    xml::setLogObserver(nullptr);
    EXPECT_TRUE(sawRecordMessage);
    EXPECT_TRUE(sawGrowthLog);
}

}  // namespace
}  // namespace model
