#include "legacy/layout40.h"

// The 4.0 layout of the physical side of a bridge: adapters hold their devices.

namespace legacy {

using model::Layout;
using A = model::AttrId;
using E = model::ElementId;
using W = model::WriteIf;
namespace attr = model::attr;
namespace child = model::child;
namespace m = model;

const Layout<m::SCSIAddress> kSCSIAddress40{
    E::SCSIAddress, "SCSIAddress", "parseSCSIAddress", m::Form::AlwaysShort,
    {
        attr::i32<&m::SCSIAddress::adapter>(A::adapter),
        attr::i32<&m::SCSIAddress::channel>(A::channel),
        attr::i32<&m::SCSIAddress::id>(A::id),
        attr::i32<&m::SCSIAddress::lun>(A::lun),
    },
    {}, {.record = "SCSI Address"}};

const Layout<m::DeviceAlias> kDeviceAlias40{
    E::DeviceAlias, "DeviceAlias", "parseDeviceAlias", m::Form::AlwaysShort,
    {
        attr::i32<&m::DeviceAlias::adapter>(A::adapter),
        attr::i32<&m::DeviceAlias::channel>(A::channel),
        attr::i32<&m::DeviceAlias::id>(A::id),
        attr::i32<&m::DeviceAlias::lun>(A::lun),
        attr::text<&m::DeviceAlias::name>(A::name),
        attr::text<&m::DeviceAlias::guid>(A::guid),
        attr::text<&m::DeviceAlias::wwid>(A::wwid),
    }};

const Layout<m::Geometry> kGeometry40{
    E::Geometry, "Geometry", "parseGeometry", m::Form::AlwaysShort,
    {
        attr::sector<&m::Geometry::startingSector>(A::startingSector),
        attr::sector<&m::Geometry::endingSector>(A::endingSector),
        attr::i32<&m::Geometry::sectorSize>(A::sectorSize),
    }};

const Layout<m::InfoItem> kInfoItem40{
    E::InfoItem, "InfoItem", "parseInfoItem", m::Form::AlwaysShort,
    {
        attr::text<&m::InfoItem::name>(A::name),
        attr::text<&m::InfoItem::value>(A::value),
    }};

// InquiryString, Comments and IPAddress share one text-content reader, which
// takes the characters literally: they are written as held.
const Layout<std::string> kInquiryString40{E::InquiryString, "InquiryString", "parseTextContent",
                                           m::Form::TextAsHeld, {}};
const Layout<std::string> kComments40{E::Comments, "Comments", "parseTextContent", m::Form::TextAsHeld, {}};

const Layout<m::SCSIAliasing> kSCSIAliasing40{
    E::SCSIAliasing, "SCSIAliasing", "parseSCSIAliasing", m::Form::ShortWhenEmpty, {},
    {child::repeated<&m::SCSIAliasing::items>(kDeviceAlias40, 8)}};

const Layout<m::ConfPartition> kConfPartition40{
    E::ConfPartition, "ConfPartition", "parseConfPartition", m::Form::AlwaysShort,
    {
        attr::sector<&m::ConfPartition::firstSector>(A::firstSector),
        attr::sector<&m::ConfPartition::lastSector>(A::lastSector),
    }};

// 4.0 reads no more of a segment than this: firstSector, dataset, type,
// timestamp and the flags of a segment element are consumed and dropped. The
// write conditions are those of 4.5, so that an attribute absent there comes
// back absent, not empty or as a default spelling.
const Layout<m::DynamicDiskSegment> kDynamicDiskSegment40{
    E::DynamicDiskSegment, "DynamicDiskSegment", "parseDynamicDiskSegment", m::Form::AlwaysShort,
    {
        attr::i32<&m::DynamicDiskSegment::sectorSize>(A::sectorSize),
        attr::text<&m::DynamicDiskSegment::guid>(A::guid),
        attr::sector<&m::DynamicDiskSegment::lastSector>(A::lastSector),
        attr::i32<&m::DynamicDiskSegment::lunType>(A::lunType),
        attr::long32<&m::DynamicDiskSegment::umapTimestamp>(A::umapTimestamp),
        attr::text<&m::DynamicDiskSegment::deviceName>(A::deviceName, W::IfNonEmpty),
        attr::text<&m::DynamicDiskSegment::remoteGuid>(A::remoteGuid, W::IfNonEmpty),
        attr::spelled<&m::DynamicDiskSegment::fileSystem>(A::fileSystem, m::kFileSystemType, W::IfPositive),
        attr::i32<&m::DynamicDiskSegment::seqNo>(A::seqNo),
        attr::text<&m::DynamicDiskSegment::owner>(A::owner),
        attr::text<&m::DynamicDiskSegment::cacheGuid>(A::cacheGuid, W::IfNonEmpty),
        attr::text<&m::DynamicDiskSegment::fastlaneGuid>(A::fastlaneGuid, W::IfNonEmpty),
        attr::text<&m::DynamicDiskSegment::ssgName>(A::ssgName, W::IfPresent),
        attr::text<&m::DynamicDiskSegment::clientName>(A::clientName, W::IfPresent),
    }};

const Layout<m::StripeElement> kStripeElement40{
    E::StripeElement, "StripeElement", "parseStripeElement", m::Form::AlwaysShort,
    {
        attr::text<&m::StripeElement::guid>(A::guid),
        attr::bool3<&m::StripeElement::isLast>(A::isLast),
        attr::i32<&m::StripeElement::seqNo>(A::seqNo),
    }};

const Layout<m::StripeSet> kStripeSet40{
    E::StripeSet, "StripeSet", "parseStripeSet", m::Form::ShortWhenEmpty,
    {
        attr::text<&m::StripeSet::guid>(A::guid),
        attr::i32<&m::StripeSet::chunkSizeKB>(A::chunkSizeKB),
    },
    {child::repeated<&m::StripeSet::stripeElements>(kStripeElement40, 8)}};

// "version" is read by 4.0 but has no place in the record: the partition is
// carried to 4.5 through the 4.5 partition writer, which has no such attribute.
// Written, it is the partition layout that 4.0 servers know, 1.
const Layout<m::NimbraPartition> kNimbraPartition40{
    E::NimbraPartition, "NimbraPartition", "parseNimbraPartition", m::Form::ShortWhenEmpty,
    {attr::text<&m::NimbraPartition::checksum>(A::checksum), attr::fixed(A::version, 1)},
    {
        child::repeated<&m::NimbraPartition::segments>(kDynamicDiskSegment40, 10),
        child::optional<&m::NimbraPartition::stripeSet>(kStripeSet40),
    }};

const Layout<m::PhysicalDev> kPhysicalDev40{
    E::PhysicalDev, "PhysicalDev", "parsePhysicalDev", m::Form::AlwaysLong,
    {
        attr::text<&m::PhysicalDev::name>(A::name),
        attr::text<&m::PhysicalDev::type>(A::type),
        attr::spelled<&m::PhysicalDev::category>(A::category, m::kCategory),
        attr::text<&m::PhysicalDev::guid>(A::guid),
        attr::text<&m::PhysicalDev::wwid>(A::wwid),
        attr::newUnit<&m::PhysicalDev::isNew>(A::isNew),
        attr::text<&m::PhysicalDev::devName>(A::devName),
        attr::text<&m::PhysicalDev::fsid>(A::fsid),
        attr::bool3<&m::PhysicalDev::fsidRelianceEnabled>(A::fsidRelianceEnabled),
        attr::i32<&m::PhysicalDev::queueDepth>(A::queueDepth),
        attr::spelled<&m::PhysicalDev::connectionType>(A::connectionType, m::kConnectionType),
        attr::text<&m::PhysicalDev::owner>(A::owner),
    },
    {
        child::single<&m::PhysicalDev::scsiAddress>(kSCSIAddress40),
        child::single<&m::PhysicalDev::geometry>(kGeometry40),
        child::repeated<&m::PhysicalDev::infoItems>(kInfoItem40),
        child::always<&m::PhysicalDev::inquiryString>(kInquiryString40),
        child::always<&m::PhysicalDev::comments>(kComments40),
        child::single<&m::PhysicalDev::nimbraPartition>(kNimbraPartition40),
        child::single<&m::PhysicalDev::scsiAliasing>(kSCSIAliasing40),
        child::optional<&m::PhysicalDev::confPartition>(kConfPartition40),
    }};

const Layout<m::Binding> kBinding40{
    E::Binding, "Binding", "parseBinding", m::Form::AlwaysShort,
    {
        attr::text<&m::Binding::targetWWPN>(A::targetWWPN),
        attr::bool3<&m::Binding::vsaEnabled>(A::vsaEnabled),
        attr::text<&m::Binding::targetPort>(A::targetPort),
    }};

const Layout<m::PersistentBinding> kPersistentBinding40{
    E::PersistentBinding, "PersistentBinding", "parsePersistentBinding", m::Form::ShortWhenEmpty, {},
    {child::repeated<&m::PersistentBinding::items>(kBinding40, 8)}};

const Layout<m::WWPN> kWWPN40{
    E::WWPN, "WWPN", "parseWWPN", m::Form::AlwaysShort,
    {
        attr::text<&m::WWPN::name>(A::name),
        attr::spelled<&m::WWPN::mode>(A::mode, m::kPortMode),
        attr::text<&m::WWPN::alpa>(A::alpa),
    }};

// The three lists of WWPN records share one record name in messages; the two
// alias lists share one routine.
const Layout<m::WWPNList> kWWPNList40{
    E::WWPNList, "WWPNList", "parseWWPNList", m::Form::ShortWhenEmpty, {},
    {child::repeated<&m::WWPNList::items>(kWWPN40, 16)}};
const Layout<m::WWPNList> kAliasWWPNList40{
    E::AliasWWPNList, "AliasWWPNList", "parseAliasWWPNList", m::Form::ShortWhenEmpty, {},
    {child::repeated<&m::WWPNList::items>(kWWPN40, 16)}, {.record = "WWPNList"}};
const Layout<m::WWPNList> kStandbyAliasWWPNList40{
    E::StandbyAliasWWPNList, "StandbyAliasWWPNList", "parseAliasWWPNList", m::Form::ShortWhenEmpty, {},
    {child::repeated<&m::WWPNList::items>(kWWPN40, 16)}, {.record = "WWPNList"}};

const Layout<PhysicalAdapter> kPhysicalAdapter40{
    E::PhysicalAdapter, "PhysicalAdapter", "parsePhysicalAdapter", m::Form::ShortWhenEmpty,
    {
        attr::i32<&PhysicalAdapter::number>(A::number),
        attr::i32<&PhysicalAdapter::channels>(A::channels),
        attr::text<&PhysicalAdapter::info>(A::info),
        attr::spelled<&PhysicalAdapter::mode>(A::mode, m::kPortMode),
        attr::text<&PhysicalAdapter::WWPN>(A::WWPN),
        attr::text<&PhysicalAdapter::monitorWWPN>(A::monitorWWPN),
        attr::text<&PhysicalAdapter::secondaryStandbyWWPN>(A::secondaryStandbyWWPN),
        attr::text<&PhysicalAdapter::spoofWWPN>(A::spoofWWPN),
        attr::bool3<&PhysicalAdapter::vsaEnabled>(A::vsaEnabled),
        attr::text<&PhysicalAdapter::moduleName>(A::moduleName),
        attr::text<&PhysicalAdapter::alpa>(A::alpa),
        attr::i32<&PhysicalAdapter::maxAliasCount>(A::maxAliasCount),
    },
    {
        child::repeated<&PhysicalAdapter::physicalDevs>(kPhysicalDev40, 64),
        child::optional<&PhysicalAdapter::persistentBinding>(kPersistentBinding40),
        child::optional<&PhysicalAdapter::aliasWWPNList>(kAliasWWPNList40),
        child::optional<&PhysicalAdapter::standbyAliasWWPNList>(kStandbyAliasWWPNList40),
    }};

const Layout<m::StripeDevice> kStripeDevice40{
    E::StripeDevice, "StripeDevice", "parseStripeDevice", m::Form::ShortWhenEmpty,
    {
        attr::i32<&m::StripeDevice::lun>(A::lun),
        attr::i32<&m::StripeDevice::chunkSizeKB>(A::chunkSizeKB),
    },
    {child::repeated<&m::StripeDevice::stripeElements>(kStripeElement40, 8)}};

// 4.0 has no BlockDevice element: its block devices are stripe devices only.
const Layout<m::BlockDevices> kBlockDevices40{
    E::BlockDevices, "BlockDevices", "parseBlockDevices", m::Form::ShortWhenEmpty, {},
    {child::repeated<&m::BlockDevices::stripeDevices>(kStripeDevice40, 8)}};

const Layout<PhysicalResources> kPhysicalResources40{
    E::PhysicalResources, "PhysicalResources", "parsePhysicalResources", m::Form::AlwaysLong, {},
    {
        child::repeated<&PhysicalResources::physicalAdapters>(kPhysicalAdapter40, 10),
        child::single<&PhysicalResources::blockDevices>(kBlockDevices40),
    },
    {.record = "PhysicalResource"}};

const Layout<m::PDevSection> kPDevSection40{
    E::PDevSection, "PDevSection", "parsePDevSection", m::Form::AlwaysShort,
    {
        attr::text<&m::PDevSection::guid>(A::guid),
        attr::sector<&m::PDevSection::firstSector>(A::firstSector),
        attr::long32<&m::PDevSection::timestamp>(A::timestamp),
    }};

// The 4.0 reader's list does not give its attributes; it reads those of 4.5.
const Layout<m::UmapSegment> kUmapSegment40{
    E::UmapSegment, "UmapSegment", "parseUmapSegment", m::Form::AlwaysShort,
    {
        attr::text<&m::UmapSegment::guid>(A::guid),
        attr::sector<&m::UmapSegment::firstSector>(A::firstSector),
        attr::sector<&m::UmapSegment::lastSector>(A::lastSector),
        attr::long32<&m::UmapSegment::lowResolutionSize>(A::lowResolutionSize),
        attr::long32<&m::UmapSegment::highResolutionSize>(A::highResolutionSize),
        attr::long32<&m::UmapSegment::timestamp>(A::timestamp),
    }};

}  // namespace legacy
