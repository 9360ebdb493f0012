#include "model/layout45.h"

// The 4.5 layout of the physical side of a bridge.

namespace model {

using A = AttrId;
using E = ElementId;
using W = WriteIf;

const Layout<SCSIAddress> kSCSIAddress45{
    E::SCSIAddress, "SCSIAddress", "parseSCSIAddress", Form::AlwaysShort,
    {
        attr::i32<&SCSIAddress::adapter>(A::adapter),
        attr::i32<&SCSIAddress::channel>(A::channel),
        attr::i32<&SCSIAddress::id>(A::id),
        attr::i32<&SCSIAddress::lun>(A::lun),
    },
    {}, {.record = "SCSI Address"}};

const Layout<Geometry> kGeometry45{
    E::Geometry, "Geometry", "parseGeometry", Form::AlwaysShort,
    {
        attr::sector<&Geometry::startingSector>(A::startingSector),
        attr::sector<&Geometry::endingSector>(A::endingSector),
        attr::i32<&Geometry::sectorSize>(A::sectorSize),
    }};

const Layout<InfoItem> kInfoItem45{
    E::InfoItem, "InfoItem", "parseInfoItem", Form::AlwaysShort,
    {
        attr::text<&InfoItem::name>(A::name),
        attr::text<&InfoItem::value>(A::value),
    }};

const Layout<std::string> kInquiryString45{E::InquiryString, "InquiryString", "parseInquiryString",
                                           Form::TextContent, {}};
const Layout<std::string> kComments45{E::Comments, "Comments", "parseComments", Form::TextContent, {}};

const Layout<DeviceAlias> kDeviceAlias45{
    E::DeviceAlias, "DeviceAlias", "parseDeviceAlias", Form::AlwaysShort,
    {
        attr::text<&DeviceAlias::wwid>(A::wwid),
        attr::i32<&DeviceAlias::adapter>(A::adapter),
        attr::i32<&DeviceAlias::channel>(A::channel),
        attr::i32<&DeviceAlias::id>(A::id),
        attr::i32<&DeviceAlias::lun>(A::lun),
        attr::text<&DeviceAlias::name>(A::name),
        attr::text<&DeviceAlias::guid>(A::guid),
    }};

const Layout<SCSIAliasing> kSCSIAliasing45{
    E::SCSIAliasing, "SCSIAliasing", "parseSCSIAliasing", Form::ShortWhenEmpty, {},
    {child::repeated<&SCSIAliasing::items>(kDeviceAlias45)}};

const Layout<ConfPartition> kConfPartition45{
    E::ConfPartition, "ConfPartition", "parseConfPartition", Form::AlwaysShort,
    {
        attr::sector<&ConfPartition::firstSector>(A::firstSector),
        attr::sector<&ConfPartition::lastSector>(A::lastSector),
        attr::long32<&ConfPartition::timestamp>(A::timestamp),
    }};

// The optional attributes follow the always-written ones, each under its own
// condition: flags only when true, identifiers only when not empty, the last
// three texts whenever present.
const Layout<DynamicDiskSegment> kDynamicDiskSegment45{
    E::DynamicDiskSegment, "DynamicDiskSegment", "parseDynamicDiskSegment", Form::AlwaysShort,
    {
        attr::text<&DynamicDiskSegment::guid>(A::guid),
        attr::sector<&DynamicDiskSegment::firstSector>(A::firstSector),
        attr::sector<&DynamicDiskSegment::lastSector>(A::lastSector),
        attr::text<&DynamicDiskSegment::owner>(A::owner),
        attr::i32<&DynamicDiskSegment::dataset>(A::dataset),
        attr::i32<&DynamicDiskSegment::seqNo>(A::seqNo),
        attr::boolean<&DynamicDiskSegment::isLastSegment>(A::isLastSegment),
        attr::i32<&DynamicDiskSegment::sectorSize>(A::sectorSize),
        attr::spelled<&DynamicDiskSegment::type>(A::type, kDeviceType),
        attr::i32<&DynamicDiskSegment::lunType>(A::lunType),
        attr::long32<&DynamicDiskSegment::timestamp>(A::timestamp),
        attr::long32<&DynamicDiskSegment::umapTimestamp>(A::umapTimestamp),
        attr::boolean<&DynamicDiskSegment::isDeleted>(A::isDeleted, W::IfTrue),
        attr::boolean<&DynamicDiskSegment::isMirror>(A::isMirror, W::IfTrue),
        attr::boolean<&DynamicDiskSegment::isWorm>(A::isWorm, W::IfTrue),
        attr::text<&DynamicDiskSegment::linkGuid>(A::linkGuid, W::IfNonEmpty),
        attr::text<&DynamicDiskSegment::cacheGuid>(A::cacheGuid, W::IfNonEmpty),
        attr::text<&DynamicDiskSegment::fastlaneGuid>(A::fastlaneGuid, W::IfNonEmpty),
        attr::text<&DynamicDiskSegment::snapshotGuid>(A::snapshotGuid, W::IfNonEmpty),
        attr::text<&DynamicDiskSegment::deviceName>(A::deviceName, W::IfNonEmpty),
        attr::text<&DynamicDiskSegment::remoteServer>(A::remoteServer, W::IfNonEmpty),
        attr::text<&DynamicDiskSegment::remoteGuid>(A::remoteGuid, W::IfNonEmpty),
        attr::spelled<&DynamicDiskSegment::fileSystem>(A::fileSystem, kFileSystemType, W::IfPositive),
        attr::sector<&DynamicDiskSegment::fastlaneSize>(A::fastlaneSize, W::IfNonZero),
        attr::text<&DynamicDiskSegment::ssgName>(A::ssgName, W::IfPresent),
        attr::text<&DynamicDiskSegment::mac>(A::mac, W::IfPresent),
        attr::text<&DynamicDiskSegment::clientName>(A::clientName, W::IfPresent),
        attr::spelled<&DynamicDiskSegment::osType>(A::osType, kOsType, W::IfNonZero),
    }};

const Layout<StripeElement> kStripeElement45{
    E::StripeElement, "StripeElement", "parseStripeElement", Form::AlwaysShort,
    {
        attr::text<&StripeElement::guid>(A::guid),
        attr::i32<&StripeElement::seqNo>(A::seqNo),
        attr::boolean<&StripeElement::isLast>(A::isLast),
    }};

const Layout<StripeSet> kStripeSet45{
    E::StripeSet, "StripeSet", "parseStripeSet", Form::ShortWhenEmpty,
    {
        attr::text<&StripeSet::guid>(A::guid),
        attr::i32<&StripeSet::chunkSizeKB>(A::chunkSizeKB),
    },
    {child::repeated<&StripeSet::stripeElements>(kStripeElement45)}};

const Layout<NimbraPartition> kNimbraPartition45{
    E::NimbraPartition, "NimbraPartition", "parseNimbraPartition", Form::ShortWhenEmpty,
    {attr::text<&NimbraPartition::checksum>(A::checksum)},
    {
        child::repeated<&NimbraPartition::segments>(kDynamicDiskSegment45),
        child::optional<&NimbraPartition::stripeSet>(kStripeSet45),
    }};

const Layout<PhysicalDev> kPhysicalDev45{
    E::PhysicalDev, "PhysicalDev", "parsePhysicalDev", Form::AlwaysLong,
    {
        attr::text<&PhysicalDev::name>(A::name),
        attr::text<&PhysicalDev::wwid>(A::wwid),
        attr::text<&PhysicalDev::type>(A::type),
        attr::newUnit<&PhysicalDev::isNew>(A::isNew),
        attr::text<&PhysicalDev::owner>(A::owner),
        attr::text<&PhysicalDev::devName>(A::devName),
        attr::spelled<&PhysicalDev::category>(A::category, kCategory),
        attr::text<&PhysicalDev::guid>(A::guid),
        attr::text<&PhysicalDev::fsid>(A::fsid),
        attr::boolean<&PhysicalDev::fsidRelianceEnabled>(A::fsidRelianceEnabled),
        attr::i32<&PhysicalDev::queueDepth>(A::queueDepth),
        attr::spelled<&PhysicalDev::connectionType>(A::connectionType, kConnectionType),
        attr::i32<&PhysicalDev::lunType>(A::lunType),
    },
    {
        child::optional<&PhysicalDev::confPartition>(kConfPartition45),
        child::single<&PhysicalDev::nimbraPartition>(kNimbraPartition45),
        child::single<&PhysicalDev::scsiAddress>(kSCSIAddress45),
        child::single<&PhysicalDev::scsiAliasing>(kSCSIAliasing45),
        child::single<&PhysicalDev::geometry>(kGeometry45),
        child::always<&PhysicalDev::inquiryString>(kInquiryString45),
        child::always<&PhysicalDev::comments>(kComments45),
        child::repeated<&PhysicalDev::infoItems>(kInfoItem45),
    }};

const Layout<PhysicalDevs> kPhysicalDevs45{
    E::PhysicalDevs, "PhysicalDevs", "parsePhysicalDevs", Form::ShortWhenEmpty, {},
    {child::repeated<&PhysicalDevs::items>(kPhysicalDev45)}};

const Layout<Binding> kBinding45{
    E::Binding, "Binding", "parseBinding", Form::AlwaysShort,
    {
        attr::text<&Binding::targetPort>(A::targetPort),
        attr::text<&Binding::targetWWPN>(A::targetWWPN),
        attr::boolean<&Binding::vsaEnabled>(A::vsaEnabled),
        attr::text<&Binding::comment>(A::comment),
    }};

const Layout<PersistentBinding> kPersistentBinding45{
    E::PersistentBinding, "PersistentBinding", "parsePersistentBinding", Form::ShortWhenEmpty, {},
    {child::repeated<&PersistentBinding::items>(kBinding45)}};

const Layout<WWPN> kWWPN45{
    E::WWPN, "WWPN", "parseWWPN", Form::AlwaysShort,
    {
        attr::text<&WWPN::name>(A::name),
        attr::text<&WWPN::alpa>(A::alpa),
        attr::spelled<&WWPN::mode>(A::mode, kPortMode),
    }};

// The three lists of WWPN records share one record name in messages; the two
// alias lists share one routine.
const Layout<WWPNList> kWWPNList45{
    E::WWPNList, "WWPNList", "parseWWPNList", Form::ShortWhenEmpty, {},
    {child::repeated<&WWPNList::items>(kWWPN45)}};
const Layout<WWPNList> kAliasWWPNList45{
    E::AliasWWPNList, "AliasWWPNList", "parseAliasWWPNList", Form::ShortWhenEmpty, {},
    {child::repeated<&WWPNList::items>(kWWPN45)}, {.record = "WWPNList"}};
const Layout<WWPNList> kStandbyAliasWWPNList45{
    E::StandbyAliasWWPNList, "StandbyAliasWWPNList", "parseAliasWWPNList", Form::ShortWhenEmpty, {},
    {child::repeated<&WWPNList::items>(kWWPN45)}, {.record = "WWPNList"}};

const Layout<PhysicalAdapter> kPhysicalAdapter45{
    E::PhysicalAdapter, "PhysicalAdapter", "parsePhysicalAdapter", Form::ShortWhenEmpty,
    {
        attr::i32<&PhysicalAdapter::number>(A::number),
        attr::i32<&PhysicalAdapter::bus>(A::bus),
        attr::i32<&PhysicalAdapter::device>(A::device),
        attr::i32<&PhysicalAdapter::irq>(A::irq),
        attr::text<&PhysicalAdapter::info>(A::info),
        attr::text<&PhysicalAdapter::WWPN>(A::WWPN),
        attr::text<&PhysicalAdapter::biosWWPN>(A::biosWWPN),
        attr::text<&PhysicalAdapter::spoofWWPN>(A::spoofWWPN),
        attr::spelled<&PhysicalAdapter::mode>(A::mode, kPortMode),
        attr::text<&PhysicalAdapter::monitorWWPN>(A::monitorWWPN),
        attr::text<&PhysicalAdapter::secondaryStandbyWWPN>(A::secondaryStandbyWWPN),
        attr::text<&PhysicalAdapter::moduleName>(A::moduleName),
        attr::boolean<&PhysicalAdapter::vsaEnabled>(A::vsaEnabled),
        attr::boolean<&PhysicalAdapter::mismatch>(A::mismatch),
        attr::i32<&PhysicalAdapter::maxAliasCount>(A::maxAliasCount),
        attr::text<&PhysicalAdapter::alpa>(A::alpa),
    },
    {
        child::optional<&PhysicalAdapter::persistentBinding>(kPersistentBinding45),
        child::optional<&PhysicalAdapter::aliasWWPNList>(kAliasWWPNList45),
        child::optional<&PhysicalAdapter::standbyAliasWWPNList>(kStandbyAliasWWPNList45),
    }};

const Layout<PhysicalAdapters> kPhysicalAdapters45{
    E::PhysicalAdapters, "PhysicalAdapters", "parsePhysicalAdapters", Form::ShortWhenEmpty, {},
    {child::repeated<&PhysicalAdapters::items>(kPhysicalAdapter45)}};

const Layout<BlockDevice> kBlockDevice45{
    E::BlockDevice, "BlockDevice", "parseBlockDevice", Form::AlwaysShort,
    {
        attr::text<&BlockDevice::devName>(A::devName),
        attr::sector<&BlockDevice::sectors>(A::sectors),
        attr::i32<&BlockDevice::scsi>(A::scsi),
        attr::i32<&BlockDevice::lun>(A::lun),
        attr::i32<&BlockDevice::major>(A::major_),
        attr::i32<&BlockDevice::minor>(A::minor_),
    }};

const Layout<StripeDevice> kStripeDevice45{
    E::StripeDevice, "StripeDevice", "parseStripeDevice", Form::ShortWhenEmpty,
    {
        attr::i32<&StripeDevice::chunkSizeKB>(A::chunkSizeKB),
        attr::i32<&StripeDevice::scsi>(A::scsi),
        attr::i32<&StripeDevice::lun>(A::lun),
    },
    {child::repeated<&StripeDevice::stripeElements>(kStripeElement45)}};

const Layout<BlockDevices> kBlockDevices45{
    E::BlockDevices, "BlockDevices", "parseBlockDevices", Form::ShortWhenEmpty, {},
    {
        child::repeated<&BlockDevices::blockDevices>(kBlockDevice45),
        child::repeated<&BlockDevices::stripeDevices>(kStripeDevice45),
    }};

const Layout<PhysicalResources> kPhysicalResources45{
    E::PhysicalResources, "PhysicalResources", "parsePhysicalResources", Form::AlwaysLong, {},
    {
        child::single<&PhysicalResources::physicalAdapters>(kPhysicalAdapters45),
        child::single<&PhysicalResources::physicalDevs>(kPhysicalDevs45),
        child::single<&PhysicalResources::blockDevices>(kBlockDevices45),
    },
    {.record = "PhysicalResource"}};

const Layout<PDevSection> kPDevSection45{
    E::PDevSection, "PDevSection", "parsePDevSection", Form::AlwaysShort,
    {
        attr::text<&PDevSection::guid>(A::guid),
        attr::i32<&PDevSection::seq>(A::seq),
        attr::sector<&PDevSection::firstSector>(A::firstSector),
        attr::sector<&PDevSection::lastSector>(A::lastSector),
        attr::boolean<&PDevSection::isLastSegment>(A::isLastSegment),
        attr::long32<&PDevSection::timestamp>(A::timestamp),
    }};

const Layout<UmapSegment> kUmapSegment45{
    E::UmapSegment, "UmapSegment", "parseUmapSegment", Form::AlwaysShort,
    {
        attr::text<&UmapSegment::guid>(A::guid),
        attr::sector<&UmapSegment::firstSector>(A::firstSector),
        attr::sector<&UmapSegment::lastSector>(A::lastSector),
        attr::long32<&UmapSegment::lowResolutionSize>(A::lowResolutionSize),
        attr::long32<&UmapSegment::highResolutionSize>(A::highResolutionSize),
        attr::long32<&UmapSegment::timestamp>(A::timestamp),
    }};

}  // namespace model
