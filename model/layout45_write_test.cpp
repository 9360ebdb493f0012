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
        {"a bare virtual device writes Geometry and InquiryString; osType 0 is left out",
         [] { return written(kVirtualDev45, VirtualDev{.status = 255}); },
         "<VirtualDev id=\"0\" name=\"\" guid=\"\" owner=\"\" type=\"SAN\" personality=\"none\" isForeign=\"false\" lunType=\"0\" "
         "datasetGuid=\"\" snapshotGroupID=\"0\" snapshotEnabled=\"false\" keyframeEnabled=\"false\" replicationEnabled=\"false\" "
         "backupEnabled=\"false\" wormEnabled=\"false\" rawDevice=\"\" cacheEnabled=\"false\" fastlaneEnabled=\"false\" "
         "sedPDGuid=\"\" suspendMount=\"false\" prefetchEnabled=\"false\" status=\"0xFF\">\n"
         "  <Geometry startingSector=\"0\" endingSector=\"0\" sectorSize=\"0\"/>\n  <InquiryString/>\n</VirtualDev>"},
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
        {"a data set with neither usage map nor sections is short",
         [] { return written(kLocalDataSet45, LocalDataSet{.id = 4, .type = 2}); }, R"(<LocalDataSet id="4" type="mirror"/>)"},
        {"a client without its optional children",
         [] { return written(kSANClient45, SANClient{.type = 255}); },
         "<SANClient name=\"\" username=\"\" id=\"0\" type=\"Generic\" serverIP=\"\" isSANIPEnabled=\"false\" "
         "isFibreChannelEnabled=\"false\" isiSCSIEnabled=\"false\" isBMREnabled=\"false\" isxBootEnabled=\"false\" "
         "persistentReservation=\"false\">\n"
         "  <FibreChannelProperties authMode=\"false\" heartbeatInterval=\"0\" heartbeatTimeout=\"0\" handshakeTimeout=\"0\" "
         "scsiTimeout=\"0\" authenticationGracePeriod=\"0\" vsaEnabled=\"false\" as400Enabled=\"false\" qos=\"medium\">\n"
         "    <WWPNPairList/>\n  </FibreChannelProperties>\n</SANClient>"},
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
        {"a binding reads as one line",
         [] { return written(kBinding45, Binding{.targetPort = "p", .targetWWPN = "w", .vsaEnabled = 1, .comment = "c"}); },
         R"(<Binding targetPort="p" targetWWPN="w" vsaEnabled="true" comment="c"/>)"},
        {"a key frame policy without AutoMountLookback is short",
         [] { return written(kKeyframePolicy45, KeyframePolicy{.unit = 4}); },
         R"(<KeyframePolicy maxKeyframeCount="0" automatic="false" interval="0" initialTime="0" unit="years" startingTime="0" timeOfDay=""/>)"},
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
        {"a legacy -1 flag is written true",
         [] { return written(kStripeElement45, StripeElement{.isLast = -1}); },
         R"(<StripeElement guid="" seqNo="0" isLast="true"/>)"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        EXPECT_EQ(row.write(), row.expected);
    }
}

// The value-to-spelling side of each table at its edges.
TEST(Writer45, EnumerationSpellings) {
    struct Spell {
        const char* table;
        const EnumTable& spellings;
        std::int32_t value;
        const char* text;
    };
    const Spell rows[] = {
        {"type", kDeviceType, 0, "SAN"},          {"type", kDeviceType, 1, "SAN"},
        {"type", kDeviceType, 17, "SAN"},         {"type", kDeviceType, 31, "Adaptive"},
        {"type", kDeviceType, 101, "ReiserFS"},   {"type", kDeviceType, 106, "VXFS"},
        {"fileSystem", kFileSystemType, 100, "EXT2"}, {"fileSystem", kFileSystemType, 107, "EXT2"},
        {"category", kCategory, 0, "n/a"},        {"category", kCategory, 6, "Stripe Device"},
        {"category", kCategory, 7, "n/a"},        {"connectionType", kConnectionType, 0, ""},
        {"connectionType", kConnectionType, 7, "stripe"}, {"mode", kPortMode, 4, ""},
        {"isNew", kNewUnit, -1, "n/a"},           {"isNew", kNewUnit, 2, "n/a"},
        {"boolean", kBoolean, -1, "true"},        {"role", kDataSetRole, 0, "n/a"},
        {"osType", kOsType, 3, ""},               {"client", kClientOs, 0, "Undefined"},
        {"client", kClientOs, 255, "Generic"},    {"client", kClientOs, 11, "Undefined"},
        {"qos", kQualityOfService, 2, "medium"},  {"qos", kQualityOfService, 0, "medium"},
        {"qos", kQualityOfService, 3, "low"},     {"unit", kTimeUnit, 0, "minutes"},
        {"unit", kTimeUnit, 3, "seconds"},        {"unit", kTimeUnit, 4, "years"},
        {"unit", kTimeUnit, 99, "years"},         {"unit", kTimeUnit, 6, "months"},
        {"size", kSizeUnit, 0, "KB"},             {"size", kSizeUnit, 2, "GB"},
        {"unlock", kUnlockMethod, 3, "none"},     {"access", kAccessMode, 5, "n/a"},
        {"access", kAccessMode, 4, "write_nonexclusive"}, {"adapter", kVirtualAdapterType, 0, "n/a"},
        {"personality", kPersonality, 2, "none"}, {"takeover", kTakeoverCondition, 0, "Any IP Failed"},
        {"takeover", kTakeoverCondition, 1, "All IPs Failed"}, {"protocol", kReplicationProtocol, 2, "rudp"},
        {"atomic", kAtomicMode, 1, "if-possible"}, {"action", kSnapshotAction, 0, "create"},
        {"auth", kAuthMethod, 2, "None"},         {"accessType", kInitiatorAccessType, 0, ""},
        {"accessType", kInitiatorAccessType, 4, "machine"}, {"trap", kTrapLevel, 5, "None"},
        {"trap", kTrapLevel, 4, "Informational"}, {"boot", kDefaultBoot, 0, "Local"},
        {"boot", kDefaultBoot, 2, "Linux"},       {"failover", kFailoverState, 0, "normal"},
        {"failover", kFailoverState, 2, "takenover"}, {"trigger", kReplicationTrigger, 4, "console"},
        {"trigger", kReplicationTrigger, 0, "n/a"}, {"recovery", kRecoveryAction, 2, "rollback"},
        {"recovery", kRecoveryAction, 3, "n/a"},  {"quiescing", kQuiescingState, 0, "idle"},
        {"quiescing", kQuiescingState, 3, "wakeupClient"},
    };
    for (const Spell& row : rows) {
        SCOPED_TRACE(std::string(row.table) + " " + std::to_string(row.value));
        EXPECT_STREQ(row.spellings.spell(row.value), row.text);
    }
}

// The spelling-to-value side, through the attribute table's symbols.
TEST(Reader45, EnumerationReadings) {
    struct Read {
        const EnumTable& table;
        const char* text;
        std::int32_t value;
    };
    const Read rows[] = {
        {kCategory, "n/a", 0},           {kCategory, "Service Enabled Device", 5},
        {kDeviceType, "SAN", 1},         {kDeviceType, "EXT3", 1},
        {kDeviceType, "Linux", 14},      {kDeviceType, "Adaptive", 31},
        {kDeviceType, "nonsense", 1},    {kFileSystemType, "EXT2", 100},
        {kFileSystemType, "VXFS", 106},  {kOsType, "BMR", 2},
        {kOsType, "Windows", 1},         {kClientOs, "Windows", 3},
        {kClientOs, "Undefined", 0},     {kClientOs, "BMR", 4},
        {kQualityOfService, "medium", 2}, {kQualityOfService, "", 2},
        {kReplicationProtocol, "tcp", 1}, {kUnlockMethod, "delete", 2},
        {kPersonality, "rdac", 1},       {kInitiatorAccessType, "public", 3},
        {kTimeUnit, "years", 4},         {kTimeUnit, "weeks", 5},
        {kTimeUnit, "Years", 4},         {kConnectionType, "ram", 6},
        {kConnectionType, "true", 0},    {kSizeUnit, "GB", 2},
        {kAccessMode, "write_nonexclusive", 4}, {kPortMode, "standby", 3},
        {kDataSetRole, "replica", 3},    {kVirtualAdapterType, "virtual", 2},
        {kTakeoverCondition, "All IPs Failed", 1}, {kTakeoverCondition, "All", 0},
        {kAtomicMode, "if-possible", 1}, {kSnapshotAction, "useExisted", 1},
        {kAuthMethod, "CHAP", 1},        {kTrapLevel, "Critical", 1},
        {kDefaultBoot, "Linux", 2},      {kDefaultBoot, "Local", 0},
        {kNewUnit, "false", 0},          {kNewUnit, "n/a", -1},
        {kBoolean, "true", 1},           {kBoolean, "yes", 0},
    };
    for (const Read& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(row.table.read(lookupAttribute45(row.text)), row.value);
    }
}

}  // namespace
}  // namespace model
