#include "legacy/sanparse_x.h"

#include <array>
#include <new>

#include "legacy/layout40.h"
#include "legacy/names40.h"
#include "model/element_io.h"

namespace legacy {

namespace {

constexpr const char* kParseErrorBridge = "parse error SANBridge\n";
constexpr int kElementSlots = 186;

// The parser of each element number. Numbers without one (ConnectionList,
// ISCSITargetMember, ISCSIInitiatorList) read as unknown elements.
std::array<const model::LayoutBase*, kElementSlots> buildParsers() {
    std::array<const model::LayoutBase*, kElementSlots> parsers{};
    const model::LayoutBase* const layouts[] = {
        &kSCSIAddress40, &kDeviceAlias40, &kGeometry40, &kInfoItem40, &kInquiryString40, &kComments40,
        &kSCSIAliasing40, &kConfPartition40, &kDynamicDiskSegment40, &kStripeElement40, &kStripeSet40,
        &kNimbraPartition40, &kPhysicalDev40, &kBinding40, &kPersistentBinding40, &kWWPN40, &kWWPNList40,
        &kAliasWWPNList40, &kStandbyAliasWWPNList40, &kPhysicalAdapter40, &kStripeDevice40,
        &kBlockDevices40, &kPhysicalResources40, &kPDevSection40, &kUmapSegment40, &kReplicationPolicy40,
        &kLocalDataSet40, &kRemoteDataSet40, &kRemoteAccessedDisk40, &kSnapshotPolicy40,
        &kAutoMountLookback40, &kKeyframePolicy40, &kLookbackDataSet40, &kBackupPolicy40,
        &kCacheProperty40, &kFastlanePolicy40, &kPrefetchProperties40, &kEXT2FileSystem40,
        &kReiserFileSystem40, &kJFSFileSystem40, &kXFSFileSystem40, &kEXT3FileSystem40,
        &kUFSSUNFileSystem40, &kVXFSFileSystem40, &kVirtualDev40, &kSANResources40, &kNASResources40,
        &kReplicaResources40, &kSnapshotResources40, &kCacheResources40, &kFastlaneResources40,
        &kBMRResources40, &kCopyManagerResources40, &kSystemResources40, &kSnapshotGroupMember40,
        &kSnapshotGroup40, &kSnapshotGroupList40, &kISCSIVirtualDevice40, &kISCSITarget40,
        &kISCSITargetList40, &kLogicalResources40, &kWWPNPair40, &kWWPNMap40, &kWWPNPairList40,
        &kFibreChannelProperties40, &kVirtualDevConnection40, &kVirtualAdapter40, &kFibreChannelDevice40,
        &kFibreChannelAdapter40, &kISCSIInitiator40, &kISCSIInitiatorProperties40, &kISCSIProperties40,
        &kTargetID40, &kTargetIDList40, &kSelfRegistrationPolicy40, &kBMRProperties40, &kLinuxBoot40,
        &kWindowsBoot40, &kLinuxBootList40, &kWindowsBootList40, &kBootProperties40, &kSANClient40,
        &kSANClientList40, &kSANBridgeInfo40, &kNICInfo40, &kNICInfoList40, &kFailoverPrimary40,
        &kFailoverSecondary40, &kIPAddress40, &kIPAliasing40, &kConfVol40, &kSNMP40, &kReport40, &kLog40,
        &kUIDRange40, &kGIDRange40, &kUIDRangeList40, &kGIDRangeList40, &kNASOption40, &kAdapterWWPN40,
        &kAdapterWWPNList40, &kFibreChannelOption40, &kISCSIOption40, &kCallHomeOption40, &kXBootOption40,
        &kSANBridgeOption40, &kReplicationOption40, &kMirrorOption40, &kBMROption40, &kStatisticOption40,
        &kDHCPOption40, &kDHCPOptionList40, &kProperties40, &kSANBridge40,
    };
    for (const model::LayoutBase* layout : layouts) parsers[static_cast<std::size_t>(layout->element)] = layout;
    return parsers;
}

const model::LayoutBase* parserFor40(int number) {
    static const std::array<const model::LayoutBase*, kElementSlots> parsers = buildParsers();
    return number >= 0 && number < kElementSlots ? parsers[static_cast<std::size_t>(number)] : nullptr;
}

// Attribute and element tables, parsers by number, and the source name that
// the 4.0 reader's log lines carry.
const model::Schema kSchema40{&lookupAttribute40, &findElement40, &parserFor40, "../ksnxmlx/sanparse_x.c"};

}  // namespace

const model::LayoutBase* layout40(int number) noexcept { return parserFor40(number); }

std::unique_ptr<SANBridge> readBridge40(const char* text, std::size_t length, model::ReadObserver* observer) noexcept {
    std::unique_ptr<xml::TokenStream> ts;
    try {
        ts = xml::TokenStream::onMemory(text, length);
    } catch (const std::bad_alloc&) {
    }
    if (ts == nullptr) return nullptr;
    model::ParseContext ctx{*ts, kSchema40};
    ctx.observer = observer;
    // Unlike the 4.5 reader, a document without any bridge is not reported.
    return model::readDocument(ctx, kSANBridge40, kParseErrorBridge, model::WhenNone::Silent);
}

}  // namespace legacy
