#include <iterator>

#include "legacy/layout40.h"

// The 4.0 layout of the logical resources: virtual devices, their data sets
// and policies, snapshot groups and iSCSI targets.

namespace legacy {

namespace {

// The device types of 4.0: no "Adaptive", so an adaptive device is written as
// the type a 4.0 reader makes of that word, SAN. Read as in 4.5.
constexpr model::Spelling kDeviceTypeSpellings40[] = {
    {2, "NAS"},          {3, "Scratch"},     {4, "Umap"},        {5, "SANReplica"}, {6, "NASReplica"},
    {7, "CopyManager"},  {8, "ConfVol"},     {9, "Keyframe"},    {10, "SANLookback"}, {11, "NASLookback"},
    {12, "Cache"},       {13, "Fastlane"},   {14, "BMR"},        {15, "BMRLookback"}, {16, "BMRReplica"},
    {30, "Quorum"},      {100, "EXT2"},      {101, "ReiserFS"},  {102, "JFS"},        {103, "XFS"},
    {104, "EXT3"},       {105, "UFS"},       {106, "VXFS"},
};
const model::EnumTable kDeviceType40{kDeviceTypeSpellings40, static_cast<int>(std::size(kDeviceTypeSpellings40)),
                                     model::kDeviceType.otherText, model::kDeviceType.readings,
                                     model::kDeviceType.readingCount, model::kDeviceType.otherValue};

}  // namespace

using model::Layout;
using model::ReadOrder;
using A = model::AttrId;
using E = model::ElementId;
using W = model::WriteIf;
namespace attr = model::attr;
namespace child = model::child;
namespace m = model;

const Layout<m::ReplicationPolicy> kReplicationPolicy40{
    E::ReplicationPolicy, "ReplicationPolicy", "parseReplicationPolicy", m::Form::AlwaysShort,
    {
        attr::long32<&m::ReplicationPolicy::watermark>(A::watermark),
        attr::text<&m::ReplicationPolicy::timeOfDay>(A::timeOfDay),
        attr::long32<&m::ReplicationPolicy::interval>(A::interval),
        attr::spelled<&m::ReplicationPolicy::unit>(A::unit, m::kTimeUnit),
        attr::bool3<&m::ReplicationPolicy::compression>(A::compression),
        attr::bool3<&m::ReplicationPolicy::suspended>(A::suspended),
        attr::spelled<&m::ReplicationPolicy::atomic>(A::atomic, m::kAtomicMode),
        attr::long32<&m::ReplicationPolicy::watermarkRetry>(A::watermarkRetry),
        attr::bool3<&m::ReplicationPolicy::encryption>(A::encryption),
        attr::i32<&m::ReplicationPolicy::timeout>(A::timeout),
        attr::i32<&m::ReplicationPolicy::retryInterval>(A::retryInterval),
        attr::i32<&m::ReplicationPolicy::retryCount>(A::retryCount),
    }};

const Layout<m::LocalDataSet> kLocalDataSet40{
    E::LocalDataSet, "LocalDataSet", "parseLocalDataSet", m::Form::ShortWhenEmpty,
    {
        attr::i32<&m::LocalDataSet::id>(A::id),
        attr::spelled<&m::LocalDataSet::type>(A::type, m::kDataSetRole),
    },
    {
        child::repeated<&m::LocalDataSet::pdevSections>(kPDevSection40, 64),
        child::optional<&m::LocalDataSet::umapSegment>(kUmapSegment40),
    }};

const Layout<m::RemoteDataSet> kRemoteDataSet40{
    E::RemoteDataSet, "RemoteDataSet", "parseRemoteDataSet", m::Form::AlwaysLong,
    {
        attr::i32<&m::RemoteDataSet::id>(A::id),
        attr::spelled<&m::RemoteDataSet::type>(A::type, m::kDataSetRole),
        attr::text<&m::RemoteDataSet::serverName>(A::serverName),
        attr::i32<&m::RemoteDataSet::virtualDeviceID>(A::virtualDeviceID),
        attr::i32<&m::RemoteDataSet::port>(A::port),
        attr::text<&m::RemoteDataSet::serverAlias>(A::serverAlias),
        attr::text<&m::RemoteDataSet::remoteGuid>(A::remoteGuid),
    },
    {child::single<&m::RemoteDataSet::replicationPolicy>(kReplicationPolicy40)}};

// The 4.0 reader's list does not give its attributes; it reads those of 4.5.
const Layout<m::RemoteAccessedDisk> kRemoteAccessedDisk40{
    E::RemoteAccessedDisk, "RemoteAccessedDisk", "parseRemoteAccessedDisk", m::Form::AlwaysShort,
    {
        attr::text<&m::RemoteAccessedDisk::serverName>(A::serverName),
        attr::text<&m::RemoteAccessedDisk::serverAlias>(A::serverAlias),
        attr::i32<&m::RemoteAccessedDisk::virtualDeviceID>(A::virtualDeviceID),
        attr::text<&m::RemoteAccessedDisk::remoteGuid>(A::remoteGuid),
    }};

const Layout<m::SnapshotPolicy> kSnapshotPolicy40{
    E::SnapshotPolicy, "SnapshotPolicy", "parseSnapshotPolicy", m::Form::AlwaysShort,
    {
        attr::i32<&m::SnapshotPolicy::maxSize>(A::maxSize),
        attr::bool3<&m::SnapshotPolicy::writeCacheEnabled>(A::writeCacheEnabled),
        attr::i32<&m::SnapshotPolicy::vid>(A::vid),
        attr::bool3<&m::SnapshotPolicy::autoDelete>(A::autoDelete),
        attr::i32<&m::SnapshotPolicy::threshold>(A::threshold),
        attr::i32<&m::SnapshotPolicy::incrementPercentage>(A::incrementPercentage),
        attr::i32<&m::SnapshotPolicy::incrementSizeMB>(A::incrementSizeMB),
        attr::bool3<&m::SnapshotPolicy::stopWrite>(A::stopWrite),
        attr::bool3<&m::SnapshotPolicy::snapshotNotificationEnabled>(A::snapshotNotificationEnabled),
    }};

const Layout<m::AutoMountLookback> kAutoMountLookback40{
    E::AutoMountLookback, "AutoMountLookback", "parseAutoMountLookback", m::Form::AlwaysShort,
    {
        attr::bool3<&m::AutoMountLookback::cifsEnabled>(A::cifsEnabled),
        attr::bool3<&m::AutoMountLookback::nfsEnabled>(A::nfsEnabled),
        attr::text<&m::AutoMountLookback::autoFSRoot>(A::autoFSRoot),
        attr::i32<&m::AutoMountLookback::timeToLive>(A::timeToLive),
        attr::i32<&m::AutoMountLookback::checkInterval>(A::checkInterval),
        attr::text<&m::AutoMountLookback::cifsMountRoot>(A::cifsMountRoot),
    }};

const Layout<m::KeyframePolicy> kKeyframePolicy40{
    E::KeyframePolicy, "KeyframePolicy", "parseKeyframePolicy", m::Form::ShortWhenEmpty,
    {
        attr::text<&m::KeyframePolicy::timeOfDay>(A::timeOfDay),
        attr::long32<&m::KeyframePolicy::interval>(A::interval),
        attr::spelled<&m::KeyframePolicy::unit>(A::unit, m::kTimeUnit),
        attr::i32<&m::KeyframePolicy::maxKeyframeCount>(A::maxKeyframeCount),
        attr::bool3<&m::KeyframePolicy::automatic>(A::automatic),
        attr::i32<&m::KeyframePolicy::startingTime>(A::startingTime),
    },
    {child::optional<&m::KeyframePolicy::autoMountLookback>(kAutoMountLookback40)}};

const Layout<m::LookbackDataSet> kLookbackDataSet40{
    E::LookbackDataSet, "LookbackDataSet", "parseLookbackDataSet", m::Form::AlwaysShort,
    {
        attr::long32<&m::LookbackDataSet::timestamp>(A::timestamp),
        attr::i32<&m::LookbackDataSet::vid>(A::vid),
    }};

const Layout<m::BackupPolicy> kBackupPolicy40{
    E::BackupPolicy, "BackupPolicy", "parseBackupPolicy", m::Form::AlwaysShort,
    {
        attr::long32<&m::BackupPolicy::duration>(A::duration),
        attr::spelled<&m::BackupPolicy::durationUnit>(A::durationUnit, m::kTimeUnit),
        attr::i32<&m::BackupPolicy::inactivityTimeout>(A::inactivityTimeout),
        attr::i32<&m::BackupPolicy::closeSnapshotAfter>(A::closeSnapshotAfter),
        attr::spelled<&m::BackupPolicy::snapshotAction>(A::snapshotAction, m::kSnapshotAction),
        attr::text<&m::BackupPolicy::windowStart>(A::windowStart),
        attr::text<&m::BackupPolicy::windowEnd>(A::windowEnd),
    }};

const Layout<m::CacheProperty> kCacheProperty40{
    E::CacheProperty, "CacheProperty", "parseCacheProperty", m::Form::AlwaysShort,
    {
        attr::bool3<&m::CacheProperty::suspended>(A::suspended),
        attr::i32<&m::CacheProperty::vid>(A::vid),
    }};

const Layout<m::FastlanePolicy> kFastlanePolicy40{
    E::FastlanePolicy, "FastlanePolicy", "parseFastlanePolicy", m::Form::AlwaysShort,
    {
        attr::bool3<&m::FastlanePolicy::suspended>(A::suspended),
        attr::i32<&m::FastlanePolicy::vid>(A::vid),
        attr::sector<&m::FastlanePolicy::zoneSize>(A::zoneSize),
        attr::spelled<&m::FastlanePolicy::zoneSizeUnit>(A::zoneSizeUnit, m::kSizeUnit),
        attr::i32<&m::FastlanePolicy::readWeight>(A::readWeight),
        attr::i32<&m::FastlanePolicy::ioWeight>(A::ioWeight),
        attr::i32<&m::FastlanePolicy::monitorInterval>(A::monitorInterval),
        attr::spelled<&m::FastlanePolicy::intervalUnit>(A::intervalUnit, m::kTimeUnit),
        attr::bool3<&m::FastlanePolicy::writeThrough>(A::writeThrough),
    }};

const Layout<m::PrefetchProperties> kPrefetchProperties40{
    E::PrefetchProperties, "PrefetchProperties", "parsePrefetchProperties", m::Form::AlwaysShort,
    {
        attr::i32<&m::PrefetchProperties::vid>(A::vid),
        attr::i32<&m::PrefetchProperties::maxChains>(A::maxChains),
        attr::i32<&m::PrefetchProperties::maxReadahead>(A::maxReadahead),
        attr::i32<&m::PrefetchProperties::readahead>(A::readahead),
        attr::i32<&m::PrefetchProperties::chainTimeout>(A::chainTimeout),
    }};

// Seven elements share one file-system parser, each stamping its kind, which
// the 4.5 writer turns back into the element.
template <std::int32_t Kind>
void stampKind(m::NASFileSystem& fs) {
    fs.kind = Kind;
}

#define NAS_FILE_SYSTEM(Element, Kind)                                                  \
    const Layout<m::NASFileSystem> k##Element##40 {                                     \
        E::Element, #Element, "parseNASFileSystem", m::Form::AlwaysShort,                          \
            {                                                                           \
                attr::i32<&m::NASFileSystem::blockSize>(A::blockSize),                  \
                attr::i32<&m::NASFileSystem::logSizeMB>(A::logSizeMB),                  \
                attr::text<&m::NASFileSystem::mountOptions>(A::mountOptions),           \
                attr::text<&m::NASFileSystem::mountPoint>(A::mountPoint),               \
                attr::text<&m::NASFileSystem::formatOptions>(A::formatOptions),         \
            },                                                                          \
            {}, {.record = "NASFileSystem", .prepare = &stampKind<Kind> }               \
    }

NAS_FILE_SYSTEM(EXT2FileSystem, 100);
NAS_FILE_SYSTEM(ReiserFileSystem, 101);
NAS_FILE_SYSTEM(JFSFileSystem, 102);
NAS_FILE_SYSTEM(XFSFileSystem, 103);
NAS_FILE_SYSTEM(EXT3FileSystem, 104);
NAS_FILE_SYSTEM(UFSSUNFileSystem, 105);
NAS_FILE_SYSTEM(VXFSFileSystem, 106);
#undef NAS_FILE_SYSTEM

namespace {

const model::LayoutBase* const kFileSystems40[] = {
    &kEXT2FileSystem40, &kReiserFileSystem40, &kJFSFileSystem40,   &kXFSFileSystem40,
    &kEXT3FileSystem40, &kUFSSUNFileSystem40, &kVXFSFileSystem40,
};

// Any of the seven is kept; its kind names it.
int fileSystemByKind(const void* record) {
    const std::int32_t kind = static_cast<const m::NASFileSystem*>(record)->kind;
    return kind >= 100 && kind <= 106 ? kind - 100 : -1;
}

}  // namespace

// A 4.0 device would also keep element 130 (WormPolicy in 4.5), which the 4.0
// element table never yields: a device read here has no WormPolicy. The
// worm flag and the run-time status are read but never written; the
// operating system is written only when set, as in 4.5.
const Layout<m::VirtualDev> kVirtualDev40{
    E::VirtualDev, "VirtualDev", "parseVirtualDev", m::Form::AlwaysLong,
    {
        attr::i32<&m::VirtualDev::id>(A::id),
        attr::i32<&m::VirtualDev::snapshotGroupID>(A::snapshotGroupID),
        attr::text<&m::VirtualDev::name>(A::name),
        attr::spelled<&m::VirtualDev::type>(A::type, kDeviceType40),
        attr::text<&m::VirtualDev::guid>(A::guid),
        attr::bool3<&m::VirtualDev::isForeign>(A::isForeign),
        attr::text<&m::VirtualDev::datasetGuid>(A::datasetGuid),
        attr::bool3<&m::VirtualDev::backupEnabled>(A::backupEnabled),
        attr::bool3<&m::VirtualDev::keyframeEnabled>(A::keyframeEnabled),
        attr::bool3<&m::VirtualDev::replicationEnabled>(A::replicationEnabled),
        attr::bool3<&m::VirtualDev::cacheEnabled>(A::cacheEnabled),
        attr::bool3<&m::VirtualDev::fastlaneEnabled>(A::fastlaneEnabled),
        attr::text<&m::VirtualDev::sedPDGuid>(A::sedPDGuid),
        attr::bool3<&m::VirtualDev::suspendMount>(A::suspendMount),
        attr::bool3<&m::VirtualDev::prefetchEnabled>(A::prefetchEnabled),
        attr::i32<&m::VirtualDev::lunType>(A::lunType),
        attr::bool3<&m::VirtualDev::wormEnabled>(A::wormEnabled, W::Never),
        attr::text<&m::VirtualDev::rawDevice>(A::rawDevice),
        attr::hex<&m::VirtualDev::status>(A::status, W::Never),
        attr::bool3<&m::VirtualDev::snapshotEnabled>(A::snapshotEnabled),
        attr::text<&m::VirtualDev::owner>(A::owner),
        attr::spelled<&m::VirtualDev::osType>(A::osType, m::kOsType, W::IfNonZero),
    },
    {
        child::single<&m::VirtualDev::geometry>(kGeometry40),
        child::repeated<&m::VirtualDev::infoItems>(kInfoItem40),
        child::always<&m::VirtualDev::inquiryString>(kInquiryString40),
        child::repeated<&m::VirtualDev::localDataSets>(kLocalDataSet40, 2),
        child::optional<&m::VirtualDev::remoteDataSet>(kRemoteDataSet40),
        child::optional<&m::VirtualDev::remoteAccessedDisk>(kRemoteAccessedDisk40),
        child::optionalOneOf<&m::VirtualDev::fileSystem>(kFileSystems40, &fileSystemByKind),
        child::optional<&m::VirtualDev::keyframePolicy>(kKeyframePolicy40),
        child::optional<&m::VirtualDev::snapshotPolicy>(kSnapshotPolicy40),
        child::optional<&m::VirtualDev::lookbackDataSet>(kLookbackDataSet40),
        child::optional<&m::VirtualDev::backupPolicy>(kBackupPolicy40),
        child::optional<&m::VirtualDev::cacheProperty>(kCacheProperty40),
        child::optional<&m::VirtualDev::fastlanePolicy>(kFastlanePolicy40),
        child::optional<&m::VirtualDev::prefetchProperties>(kPrefetchProperties40),
    }};

#define VIRTUAL_DEV_LIST(Element, Step)                                     \
    const Layout<m::VirtualDevList> k##Element##40 {                        \
        E::Element, #Element, "parse" #Element, m::Form::ShortWhenEmpty, {},              \
        {                                                                   \
            child::repeated<&m::VirtualDevList::items>(kVirtualDev40, Step) \
        }                                                                   \
    }
VIRTUAL_DEV_LIST(SANResources, 64);
VIRTUAL_DEV_LIST(NASResources, 64);
VIRTUAL_DEV_LIST(ReplicaResources, 64);
VIRTUAL_DEV_LIST(SnapshotResources, 64);
VIRTUAL_DEV_LIST(CacheResources, 64);
VIRTUAL_DEV_LIST(FastlaneResources, 64);
VIRTUAL_DEV_LIST(BMRResources, 64);
VIRTUAL_DEV_LIST(CopyManagerResources, 5);
#undef VIRTUAL_DEV_LIST

const Layout<m::SystemResources> kSystemResources40{
    E::SystemResources, "SystemResources", "parseSystemResources", m::Form::AlwaysLong, {},
    {child::optional<&m::SystemResources::copyManagerResources>(kCopyManagerResources40)}};

const Layout<m::SnapshotGroupMember> kSnapshotGroupMember40{
    E::SnapshotGroupMember, "SnapshotGroupMember", "parseSnapshotGroupMember", m::Form::AlwaysShort,
    {attr::i32<&m::SnapshotGroupMember::vid>(A::vid)}};

const Layout<m::SnapshotGroup> kSnapshotGroup40{
    E::SnapshotGroup, "SnapshotGroup", "parseSnapshotGroup", m::Form::AlwaysLong,
    {
        attr::i32<&m::SnapshotGroup::id>(A::id),
        attr::text<&m::SnapshotGroup::name>(A::name),
        attr::bool3<&m::SnapshotGroup::backupEnabled>(A::backupEnabled),
        attr::bool3<&m::SnapshotGroup::keyframeEnabled>(A::keyframeEnabled),
        attr::bool3<&m::SnapshotGroup::replicationEnabled>(A::replicationEnabled),
        attr::i32<&m::SnapshotGroup::remoteGroupID>(A::remoteGroupID),
        attr::text<&m::SnapshotGroup::remoteServerName>(A::remoteServerName),
        attr::text<&m::SnapshotGroup::remoteServerAlias>(A::remoteServerAlias),
        attr::bool3<&m::SnapshotGroup::cacheEnabled>(A::cacheEnabled),
        attr::bool3<&m::SnapshotGroup::snapshotNotificationEnabled>(A::snapshotNotificationEnabled),
    },
    {
        child::repeated<&m::SnapshotGroup::members>(kSnapshotGroupMember40, 4),
        child::optional<&m::SnapshotGroup::replicationPolicy>(kReplicationPolicy40),
        child::optional<&m::SnapshotGroup::keyframePolicy>(kKeyframePolicy40),
        child::optional<&m::SnapshotGroup::backupPolicy>(kBackupPolicy40),
        child::optional<&m::SnapshotGroup::cacheProperty>(kCacheProperty40),
    }};

const Layout<m::SnapshotGroupList> kSnapshotGroupList40{
    E::SnapshotGroupList, "SnapshotGroupList", "parseSnapshotGroupList", m::Form::ShortWhenEmpty,
    {attr::i32<&m::SnapshotGroupList::nextGroupID>(A::nextGroupID)},
    {child::repeated<&m::SnapshotGroupList::items>(kSnapshotGroup40)},
    {.order = ReadOrder::NameFirst}};

const Layout<m::ISCSIVirtualDevice> kISCSIVirtualDevice40{
    E::ISCSIVirtualDevice, "ISCSIVirtualDevice", "parseISCSIVirtualDevice", m::Form::AlwaysShort,
    {
        attr::i32<&m::ISCSIVirtualDevice::id>(A::id),
        attr::i32<&m::ISCSIVirtualDevice::lun>(A::lun),
        attr::spelled<&m::ISCSIVirtualDevice::access>(A::access, m::kAccessMode),
    }};

const Layout<m::ISCSITarget> kISCSITarget40{
    E::ISCSITarget, "ISCSITarget", "parseISCSITarget", m::Form::ShortWhenEmpty,
    {
        attr::i32<&m::ISCSITarget::id>(A::id),
        attr::text<&m::ISCSITarget::name>(A::name),
        attr::spelled<&m::ISCSITarget::access>(A::access, m::kAccessMode),
        attr::text<&m::ISCSITarget::ipAddr>(A::ipAddr),
        attr::text<&m::ISCSITarget::iscsiurl>(A::iscsiurl),
        attr::i32<&m::ISCSITarget::startingLun>(A::startingLun),
    },
    {child::repeated<&m::ISCSITarget::items>(kISCSIVirtualDevice40)}};

const Layout<m::ISCSITargetList> kISCSITargetList40{
    E::ISCSITargetList, "ISCSITargetList", "parseISCSITargetList", m::Form::ShortWhenEmpty,
    {attr::i32<&m::ISCSITargetList::nextTargetID>(A::nextTargetID)},
    {child::repeated<&m::ISCSITargetList::items>(kISCSITarget40)},
    {.order = ReadOrder::NameFirst}};

const Layout<m::LogicalResources> kLogicalResources40{
    E::LogicalResources, "LogicalResources", "parseLogicalResources", m::Form::AlwaysLong,
    {attr::i32<&m::LogicalResources::nextVDevID>(A::nextVDevID)},
    {
        child::optional<&m::LogicalResources::virtualDev>(kVirtualDev40),
        child::single<&m::LogicalResources::sanResources>(kSANResources40),
        child::single<&m::LogicalResources::nasResources>(kNASResources40),
        child::single<&m::LogicalResources::systemResources>(kSystemResources40),
        child::single<&m::LogicalResources::replicaResources>(kReplicaResources40),
        child::single<&m::LogicalResources::iscsiTargetList>(kISCSITargetList40),
        child::single<&m::LogicalResources::snapshotGroupList>(kSnapshotGroupList40),
        child::single<&m::LogicalResources::snapshotResources>(kSnapshotResources40),
        child::single<&m::LogicalResources::cacheResources>(kCacheResources40),
        child::single<&m::LogicalResources::fastlaneResources>(kFastlaneResources40),
        child::single<&m::LogicalResources::bmrResources>(kBMRResources40),
    },
    {.order = ReadOrder::NameFirst}};

}  // namespace legacy
