#include "model/sanparse.h"

#include <array>
#include <new>

#include "model/layout45.h"

namespace model {

namespace {

constexpr const char* kParseErrorBridge = "parse error SANBridge\n";
constexpr const char* kParseErrorPartition = "parse error NimbraPartition\n";
constexpr int kElementSlots = 139;

// The parser of each element number; several numbers share one where elements
// share a layout. Numbers without a parser stay null and read as unknown.
std::array<const LayoutBase*, kElementSlots> buildParsers() {
    std::array<const LayoutBase*, kElementSlots> parsers{};
    const LayoutBase* const layouts[] = {
        &kSCSIAddress45, &kGeometry45, &kInfoItem45, &kInquiryString45, &kComments45, &kDeviceAlias45,
        &kSCSIAliasing45, &kConfPartition45, &kDynamicDiskSegment45, &kStripeElement45, &kStripeSet45,
        &kNimbraPartition45, &kPhysicalDev45, &kPhysicalDevs45, &kBinding45, &kPersistentBinding45, &kWWPN45,
        &kWWPNList45, &kAliasWWPNList45, &kStandbyAliasWWPNList45, &kPhysicalAdapter45, &kPhysicalAdapters45,
        &kBlockDevice45, &kStripeDevice45, &kBlockDevices45, &kPhysicalResources45, &kPDevSection45,
        &kUmapSegment45, &kReplicationPolicy45, &kLocalDataSet45, &kRemoteDataSet45, &kRemoteAccessedDisk45,
        &kSnapshotPolicy45, &kAutoMountLookback45, &kKeyframePolicy45, &kLookbackDataSet45, &kBackupPolicy45,
        &kCacheProperty45, &kFastlanePolicy45, &kPrefetchProperties45, &kLockPolicy45, &kRetentionPeriod45,
        &kWormPolicy45, &kVirtualDev45, &kAdaptiveResources45, &kSystemResources45, &kSnapshotGroupMember45,
        &kSnapshotGroup45, &kSnapshotGroupList45, &kISCSIVirtualDevice45, &kISCSITarget45,
        &kISCSITargetList45, &kLogicalResources45, &kSelfRegistrationPolicy45, &kBMRProperties45,
        &kLinuxBoot45, &kWindowsBoot45, &kLinuxBootList45, &kWindowsBootList45, &kBootProperties45,
        &kSANResources45, &kNASResources45, &kReplicaResources45, &kSnapshotResources45, &kCacheResources45,
        &kFastlaneResources45, &kBMRResources45, &kCopyManagerResources45, &kEXT2FileSystem45,
        &kReiserFileSystem45, &kJFSFileSystem45, &kXFSFileSystem45, &kEXT3FileSystem45, &kUFSSUNFileSystem45,
        &kVXFSFileSystem45, &kWWPNPair45, &kWWPNPairList45, &kFibreChannelProperties45,
        &kVirtualDevConnection45, &kVirtualAdapter45, &kFibreChannelDevice45, &kFibreChannelAdapter45,
        &kISCSIInitiator45, &kISCSIInitiatorProperties45, &kISCSIProperties45, &kTargetID45, &kTargetIDList45,
        &kSANClient45, &kSANClientList45, &kSANBridgeInfo45, &kNICInfo45, &kNICInfoList45,
        &kFailoverPrimary45, &kFailoverSecondary45, &kIPAddress45, &kIPAliasing45, &kConfVol45, &kSNMP45,
        &kReport45, &kLog45, &kUIDRange45, &kGIDRange45, &kUIDRangeList45, &kGIDRangeList45, &kNASOption45,
        &kAdapterWWPN45, &kAdapterWWPNList45, &kFibreChannelOption45, &kAutoSaveConfigOption45,
        &kISCSIOption45, &kCallHomeOption45, &kXBootOption45, &kSANBridgeOption45, &kReplicationOption45,
        &kMirrorOption45, &kQlogicOption45, &kBMROption45, &kStatisticOption45, &kDHCPOption45,
        &kDHCPOptionList45, &kProperties45, &kSANBridge45,
    };
    for (const LayoutBase* layout : layouts) parsers[static_cast<std::size_t>(layout->element)] = layout;
    // WWPNMap is read as a WWPNPair.
    parsers[static_cast<std::size_t>(ElementId::WWPNMap)] = &kWWPNPair45;
    return parsers;
}

const LayoutBase* parserFor45(int number) {
    static const std::array<const LayoutBase*, kElementSlots> parsers = buildParsers();
    return number >= 0 && number < kElementSlots ? parsers[static_cast<std::size_t>(number)] : nullptr;
}

const Schema kSchema45{&lookupAttribute45, &findElement45, &parserFor45, "sanparse.c"};

// A file source holds the shared lock of the document's lock file while it reads.
std::unique_ptr<xml::TokenStream> openStream(const char* pathOrBuffer, std::size_t length, bool file) noexcept {
    try {
        return file ? xml::TokenStream::onFile(pathOrBuffer) : xml::TokenStream::onMemory(pathOrBuffer, length);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

template <class R>
std::unique_ptr<R> readAll(std::unique_ptr<xml::TokenStream> ts, const Layout<R>& target,
                           const char* parseError) noexcept {
    if (ts == nullptr) {
        std::fputs(parseError, stderr);
        return nullptr;
    }
    ParseContext ctx{*ts, kSchema45};
    return readDocument(ctx, target, parseError);
}

}  // namespace

const Schema& schema45() noexcept { return kSchema45; }

std::unique_ptr<SANBridge> readBridge45(const char* path) noexcept {
    return readAll(openStream(path, 0, true), kSANBridge45, kParseErrorBridge);
}

std::unique_ptr<SANBridge> readBridge45(const char* buffer, std::size_t length) noexcept {
    return readAll(openStream(buffer, length, false), kSANBridge45, kParseErrorBridge);
}

std::unique_ptr<NimbraPartition> readPartition45(const char* buffer, std::size_t length) noexcept {
    return readAll(openStream(buffer, length, false), kNimbraPartition45, kParseErrorPartition);
}

}  // namespace model
