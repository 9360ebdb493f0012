// Element writers: forms, conditional attributes, substitutions, enumerations.
// Records are built with designated initializers that name only the fields a case sets.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "model/layout45.h"
#include "writer/sink.h"

namespace model {
namespace {

template <class R>
std::string written(const Layout<R>& layout, const R& record) {
    writer::XmlSink out = writer::XmlSink::toMemory();
    writeRecord(out, layout, record);
    writer::ConfigText bytes = out.takeBuffer();
    return std::string(bytes.text.get(), static_cast<std::size_t>(bytes.length));
}

struct Row {
    const char* rule;
    std::function<std::string()> write;
    const char* expected;
};


TEST(Writer45, ShortAndLongForms) {
    const Row rows[] = {
        {"an adapter without its three lists is one short line",
         [] { return written(kPhysicalAdapter45, PhysicalAdapter{.number = 2, .mode = 2}); },
         R"(<PhysicalAdapter number="2" bus="0" device="0" irq="0" info="" WWPN="" biosWWPN="" spoofWWPN="" mode="target" monitorWWPN="" secondaryStandbyWWPN="" moduleName="" vsaEnabled="false" mismatch="false" maxAliasCount="0" alpa=""/>)"},
        {"an adapter with an empty alias list writes it short inside",
         [] {
             PhysicalAdapter adapter;
             adapter.aliasWWPNList.emplace();
             return written(kPhysicalAdapter45, adapter);
         },
         "<PhysicalAdapter number=\"0\" bus=\"0\" device=\"0\" irq=\"0\" info=\"\" WWPN=\"\" biosWWPN=\"\" spoofWWPN=\"\" mode=\"\" "
         "monitorWWPN=\"\" secondaryStandbyWWPN=\"\" moduleName=\"\" vsaEnabled=\"false\" mismatch=\"false\" maxAliasCount=\"0\" alpa=\"\">\n"
         "  <AliasWWPNList/>\n</PhysicalAdapter>"},
        {"PhysicalResources is never short",
         [] { return written(kPhysicalResources45, PhysicalResources{}); },
         "<PhysicalResources>\n  <PhysicalAdapters/>\n  <PhysicalDevs/>\n  <BlockDevices/>\n</PhysicalResources>"},
        {"a partition without segments or stripe set is short",
         [] { return written(kNimbraPartition45, NimbraPartition{.checksum = "c"}); },
         R"(<NimbraPartition checksum="c"/>)"},
        {"BlockDevices is long when only stripe devices exist",
         [] {
             BlockDevices devices;
             devices.stripeDevices.emplace_back();
             return written(kBlockDevices45, devices);
         },
         "<BlockDevices>\n  <StripeDevice chunkSizeKB=\"0\" scsi=\"0\" lun=\"0\"/>\n</BlockDevices>"},
        {"a bare device writes its always-present children short",
         [] { return written(kPhysicalDev45, PhysicalDev{}); },
         "<PhysicalDev name=\"\" wwid=\"\" type=\"\" isNew=\"n/a\" owner=\"\" devName=\"\" category=\"n/a\" guid=\"\" fsid=\"\" "
         "fsidRelianceEnabled=\"true\" queueDepth=\"0\" connectionType=\"\" lunType=\"0\">\n"
         "  <NimbraPartition checksum=\"\"/>\n  <SCSIAddress adapter=\"0\" channel=\"0\" id=\"0\" lun=\"0\"/>\n  <SCSIAliasing/>\n"
         "  <Geometry startingSector=\"0\" endingSector=\"0\" sectorSize=\"0\"/>\n  <InquiryString/>\n  <Comments/>\n</PhysicalDev>"},
        {"a file system of kind 107 writes nothing; 105 has no logSizeMB",
         [] {
             VirtualDev dev;
             dev.fileSystem = NASFileSystem{.kind = 107};
             const std::string none = written(kVirtualDev45, dev);
             dev.fileSystem = NASFileSystem{.kind = 105, .blockSize = 4, .logSizeMB = 9};
             const std::string ufs = written(kVirtualDev45, dev);
             const std::size_t from = ufs.find('\n') + 1;
             return (none.find("FileSystem") == std::string::npos ? "none|" : "some|") +
                    ufs.substr(from, ufs.find('\n', from) - from);
         },
         "none|  <UFSSUNFileSystem blockSize=\"4\" mountOptions=\"\" formatOptions=\"\" mountPoint=\"\"/>"},
        {"a text-content record written on its own",
         [] { return written(kComments45, std::string("a<b")) + written(kInquiryString45, std::string()); },
         "<Comments>a&lt;b</Comments><InquiryString/>"},
        {"an empty IP address is short; text content is escaped",
         [] {
             IPAliasing aliasing;
             aliasing.addresses = {"", "a<b"};
             return written(kIPAliasing45, aliasing);
         },
         "<IPAliasing>\n  <IPAddress/>\n  <IPAddress>a&lt;b</IPAddress>\n</IPAliasing>"},
        {"an absent CopyManagerResources is written short",
         [] { return written(kSystemResources45, SystemResources{}); },
         "<SystemResources>\n  <CopyManagerResources/>\n</SystemResources>"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        EXPECT_EQ(row.write(), row.expected);
    }
}

// Names too long for the writer's fixed-width copy take the long way round.
TEST(Writer45, LongElementNames) {
    const Layout<Geometry> shortForm{ElementId::Geometry, "AGeometryNamedAtMoreThanThirtyTwoBytes", "parseGeometry",
                                     Form::AlwaysShort, {attr::i32<&Geometry::sectorSize>(AttrId::sectorSize)}};
    EXPECT_EQ(written(shortForm, Geometry{.sectorSize = 512}),
              R"(<AGeometryNamedAtMoreThanThirtyTwoBytes sectorSize="512"/>)");
    const Layout<Geometry> longForm{ElementId::Geometry, "AGeometryNamedAtMoreThanThirtyTwoBytes", "parseGeometry",
                                    Form::AlwaysLong, {}};
    EXPECT_EQ(written(longForm, Geometry{}),
              "<AGeometryNamedAtMoreThanThirtyTwoBytes>\n</AGeometryNamedAtMoreThanThirtyTwoBytes>");
}

TEST(Writer45, ConditionalAttributesAndSubstitutions) {
    const Row rows[] = {
        {"a segment writes no optional attribute when all are unset",
         [] { return written(kDynamicDiskSegment45, DynamicDiskSegment{}); },
         R"(<DynamicDiskSegment guid="" firstSector="0" lastSector="0" owner="" dataset="0" seqNo="0" isLastSegment="false" sectorSize="0" type="SAN" lunType="0" timestamp="0" umapTimestamp="0"/>)"},
        {"flags only when true, identifiers only when not empty, ssgName even when empty",
         [] {
             DynamicDiskSegment segment;
             segment.isMirror = 1;
             segment.linkGuid = "";
             segment.cacheGuid = "c";
             segment.ssgName = "";
             segment.fileSystem = 100;
             segment.fastlaneSize = 4294967295u;
             segment.osType = 1;
             const std::string line = written(kDynamicDiskSegment45, segment);
             return line.substr(line.find("umapTimestamp"));
         },
         R"(umapTimestamp="0" isMirror="true" cacheGuid="c" fileSystem="EXT2" fastlaneSize="4294967295" ssgName="" osType="Windows"/>)"},
        {"fileSystem 0 and below is left out",
         [] {
             DynamicDiskSegment segment;
             segment.fileSystem = -3;
             const std::string line = written(kDynamicDiskSegment45, segment);
             return line.substr(line.find("umapTimestamp"));
         },
         R"(umapTimestamp="0"/>)"},
        {"AdaptiveResources nextID 0 is written 7000001, other values as they are",
         [] {
             return written(kAdaptiveResources45, AdaptiveResources{}) +
                    written(kAdaptiveResources45, AdaptiveResources{.nextID = -1});
         },
         R"(<AdaptiveResources nextID="7000001"/><AdaptiveResources nextID="-1"/>)"},
        {"AutoSaveConfigOption port 0 is written 21, 2121 as it is",
         [] {
             const std::string zero = written(kAutoSaveConfigOption45, AutoSaveConfigOption{});
             const std::string other = written(kAutoSaveConfigOption45, AutoSaveConfigOption{.port = 2121});
             return zero.substr(zero.find("port")) + other.substr(other.find("port"));
         },
         R"(port="21"/>port="2121"/>)"},
        {"sectors are unsigned, %d and %ld fields signed",
         [] {
             return written(kConfPartition45, ConfPartition{.firstSector = 2147483648u, .lastSector = 4294967295u,
                                                            .timestamp = -2147483647 - 1});
         },
         R"(<ConfPartition firstSector="2147483648" lastSector="4294967295" timestamp="-2147483648"/>)"},
        {"status is upper-case hexadecimal without padding",
         [] {
             const std::string big = written(kVirtualDev45, VirtualDev{.status = 0xABCDEF01u});
             const std::string zero = written(kVirtualDev45, VirtualDev{});
             return big.substr(big.find("status"), 20) + zero.substr(zero.find("status"), 13);
         },
         R"(status="0xABCDEF01">status="0x0">)"},
        {"texts are escaped; an absent text is an empty value",
         [] { return written(kInfoItem45, InfoItem{.name = "<\"&'>", .value = std::nullopt}); },
         R"(<InfoItem name="&lt;&quot;&amp;&apos;&gt;" value=""/>)"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        EXPECT_EQ(row.write(), row.expected);
    }
}

// The two directions of a table are deliberately not inverse: a value without
// a spelling is written as the table's other text, and a spelling reads as
// its symbol's value, whatever the table spells that value as.
TEST(Spellings45, WrittenAndReadBack) {
    struct Row {
        const char* rule;
        const EnumTable& table;
        std::int32_t value;
        const char* written;
        std::int32_t readBack;
    };
    const Row rows[] = {
        {"a value without a spelling is SAN", kDeviceType, 17, "SAN", 1},
        {"0 is SAN too", kDeviceType, 0, "SAN", 1},
        {"Linux and BMR share one symbol", kDeviceType, 14, "BMR", 14},
        {"a file-system type is written, but reads as SAN", kDeviceType, 106, "VXFS", 1},
        {"a file system without a spelling", kFileSystemType, 107, "EXT2", 100},
        {"an unset connection is empty and reads as 0", kConnectionType, 0, "", 0},
        {"an unset unit is n/a and reads as unset", kNewUnit, -1, "n/a", -1},
        {"a legacy flag of -1 is true", kBoolean, -1, "true", 1},
        {"quality 0 is medium, read as 2", kQualityOfService, 0, "medium", 2},
        {"an unknown client OS is Undefined", kClientOs, 11, "Undefined", 0},
        {"an OS type without a spelling is empty", kOsType, 3, "", 0},
        {"a time unit past the table is years", kTimeUnit, 99, "years", 4},
        {"a multi-word spelling", kTakeoverCondition, 1, "All IPs Failed", 1},
        {"a run-time status", kQuiescingState, 3, "wakeupClient", 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        EXPECT_STREQ(row.table.spell(row.value), row.written);
        EXPECT_EQ(row.table.read(lookupAttribute45(row.written)), row.readBack);
    }
}

// Spellings that the 4.5 layout does not write but a document may hold.
TEST(Spellings45, ReadOnly) {
    EXPECT_EQ(kDeviceType.read(lookupAttribute45("EXT3")), 1);
    EXPECT_EQ(kDeviceType.read(lookupAttribute45("Linux")), 14);
    EXPECT_EQ(kTimeUnit.read(lookupAttribute45("Years")), 4);
    EXPECT_EQ(kTakeoverCondition.read(lookupAttribute45("All")), 0);
    EXPECT_EQ(kBoolean.read(lookupAttribute45("yes")), 0);
}

}  // namespace
}  // namespace model
