#include "model/layout45.h"

// The 4.5 layout of the logical resources: virtual devices, their data sets
// and policies, snapshot groups, iSCSI targets and boot descriptions.

namespace model {

using A = AttrId;
using E = ElementId;
using W = WriteIf;

const Layout<ReplicationPolicy> kReplicationPolicy45{
    E::ReplicationPolicy, "ReplicationPolicy", "parseReplicationPolicy", Form::AlwaysShort,
    {
        attr::long32<&ReplicationPolicy::watermark>(A::watermark),
        attr::long32<&ReplicationPolicy::watermarkRetry>(A::watermarkRetry),
        attr::boolean<&ReplicationPolicy::compression>(A::compression),
        attr::boolean<&ReplicationPolicy::encryption>(A::encryption),
        attr::boolean<&ReplicationPolicy::useExistingKF>(A::useExistingKF),
        attr::text<&ReplicationPolicy::timeOfDay>(A::timeOfDay),
        attr::long32<&ReplicationPolicy::interval>(A::interval),
        attr::long32<&ReplicationPolicy::initialTime>(A::initialTime),
        attr::spelled<&ReplicationPolicy::unit>(A::unit, kTimeUnit),
        attr::spelled<&ReplicationPolicy::atomic>(A::atomic, kAtomicMode),
        attr::boolean<&ReplicationPolicy::suspended>(A::suspended),
        attr::i32<&ReplicationPolicy::timeout>(A::timeout),
        attr::i32<&ReplicationPolicy::retryInterval>(A::retryInterval),
        attr::i32<&ReplicationPolicy::retryCount>(A::retryCount),
        attr::boolean<&ReplicationPolicy::adaptiveMode>(A::adaptiveMode),
        attr::i32<&ReplicationPolicy::adaptiveID>(A::adaptiveID),
        attr::i32<&ReplicationPolicy::bandwidth>(A::bandwidth),
        attr::i32<&ReplicationPolicy::latency>(A::latency),
        attr::i32<&ReplicationPolicy::connections>(A::connections),
        attr::i32<&ReplicationPolicy::bufferSize>(A::bufferSize),
        attr::spelled<&ReplicationPolicy::protocol>(A::protocol, kReplicationProtocol),
        attr::i32<&ReplicationPolicy::targetServerVersion>(A::targetServerVersion),
    }};

const Layout<LocalDataSet> kLocalDataSet45{
    E::LocalDataSet, "LocalDataSet", "parseLocalDataSet", Form::ShortWhenEmpty,
    {
        attr::i32<&LocalDataSet::id>(A::id),
        attr::spelled<&LocalDataSet::type>(A::type, kDataSetRole),
    },
    {
        child::optional<&LocalDataSet::umapSegment>(kUmapSegment45),
        child::repeated<&LocalDataSet::pdevSections>(kPDevSection45),
    }};

const Layout<RemoteDataSet> kRemoteDataSet45{
    E::RemoteDataSet, "RemoteDataSet", "parseRemoteDataSet", Form::AlwaysLong,
    {
        attr::spelled<&RemoteDataSet::type>(A::type, kDataSetRole),
        attr::i32<&RemoteDataSet::id>(A::id),
        attr::text<&RemoteDataSet::serverName>(A::serverName),
        attr::text<&RemoteDataSet::serverAlias>(A::serverAlias),
        attr::i32<&RemoteDataSet::port>(A::port),
        attr::i32<&RemoteDataSet::virtualDeviceID>(A::virtualDeviceID),
        attr::text<&RemoteDataSet::remoteGuid>(A::remoteGuid),
    },
    {child::single<&RemoteDataSet::replicationPolicy>(kReplicationPolicy45)}};

const Layout<RemoteAccessedDisk> kRemoteAccessedDisk45{
    E::RemoteAccessedDisk, "RemoteAccessedDisk", "parseRemoteAccessedDisk", Form::AlwaysShort,
    {
        attr::text<&RemoteAccessedDisk::serverName>(A::serverName),
        attr::text<&RemoteAccessedDisk::serverAlias>(A::serverAlias),
        attr::i32<&RemoteAccessedDisk::virtualDeviceID>(A::virtualDeviceID),
        attr::text<&RemoteAccessedDisk::remoteGuid>(A::remoteGuid),
    }};

const Layout<SnapshotPolicy> kSnapshotPolicy45{
    E::SnapshotPolicy, "SnapshotPolicy", "parseSnapshotPolicy", Form::AlwaysShort,
    {
        attr::i32<&SnapshotPolicy::vid>(A::vid),
        attr::boolean<&SnapshotPolicy::writeCacheEnabled>(A::writeCacheEnabled),
        attr::i32<&SnapshotPolicy::threshold>(A::threshold),
        attr::i32<&SnapshotPolicy::incrementPercentage>(A::incrementPercentage),
        attr::i32<&SnapshotPolicy::incrementSizeMB>(A::incrementSizeMB),
        attr::i32<&SnapshotPolicy::maxSize>(A::maxSize),
        attr::boolean<&SnapshotPolicy::autoDelete>(A::autoDelete),
        attr::boolean<&SnapshotPolicy::stopWrite>(A::stopWrite),
        attr::boolean<&SnapshotPolicy::snapshotNotificationEnabled>(A::snapshotNotificationEnabled),
    }};

const Layout<AutoMountLookback> kAutoMountLookback45{
    E::AutoMountLookback, "AutoMountLookback", "parseAutoMountLookback", Form::AlwaysShort,
    {
        attr::boolean<&AutoMountLookback::cifsEnabled>(A::cifsEnabled),
        attr::boolean<&AutoMountLookback::nfsEnabled>(A::nfsEnabled),
        attr::text<&AutoMountLookback::autoFSRoot>(A::autoFSRoot),
        attr::text<&AutoMountLookback::cifsMountRoot>(A::cifsMountRoot),
        attr::i32<&AutoMountLookback::timeToLive>(A::timeToLive),
        attr::i32<&AutoMountLookback::checkInterval>(A::checkInterval),
    }};

const Layout<KeyframePolicy> kKeyframePolicy45{
    E::KeyframePolicy, "KeyframePolicy", "parseKeyframePolicy", Form::ShortWhenEmpty,
    {
        attr::i32<&KeyframePolicy::maxKeyframeCount>(A::maxKeyframeCount),
        attr::boolean<&KeyframePolicy::automatic>(A::automatic),
        attr::long32<&KeyframePolicy::interval>(A::interval),
        attr::long32<&KeyframePolicy::initialTime>(A::initialTime),
        attr::spelled<&KeyframePolicy::unit>(A::unit, kTimeUnit),
        attr::i32<&KeyframePolicy::startingTime>(A::startingTime),
        attr::text<&KeyframePolicy::timeOfDay>(A::timeOfDay),
    },
    {child::optional<&KeyframePolicy::autoMountLookback>(kAutoMountLookback45)}};

const Layout<LookbackDataSet> kLookbackDataSet45{
    E::LookbackDataSet, "LookbackDataSet", "parseLookbackDataSet", Form::AlwaysShort,
    {
        attr::i32<&LookbackDataSet::vid>(A::vid),
        attr::long32<&LookbackDataSet::timestamp>(A::timestamp),
    }};

const Layout<BackupPolicy> kBackupPolicy45{
    E::BackupPolicy, "BackupPolicy", "parseBackupPolicy", Form::AlwaysShort,
    {
        attr::i32<&BackupPolicy::inactivityTimeout>(A::inactivityTimeout),
        attr::i32<&BackupPolicy::closeSnapshotAfter>(A::closeSnapshotAfter),
        attr::spelled<&BackupPolicy::snapshotAction>(A::snapshotAction, kSnapshotAction),
        attr::text<&BackupPolicy::windowStart>(A::windowStart),
        attr::text<&BackupPolicy::windowEnd>(A::windowEnd),
        attr::long32<&BackupPolicy::duration>(A::duration),
        attr::spelled<&BackupPolicy::durationUnit>(A::durationUnit, kTimeUnit),
    }};

// Seven elements share the NASFileSystem record; each one's parser stamps its
// kind, and the kind chooses the element when writing. EXT2 and UFS carry no
// log size.
template <std::int32_t Kind>
void stampKind(NASFileSystem& fs) {
    fs.kind = Kind;
}

#define NAS_FILE_SYSTEM(Element, Kind, WithLog)                                                     \
    const Layout<NASFileSystem> k##Element##45 {                                                    \
        E::Element, #Element, "parseNASFileSystem", Form::AlwaysShort,                              \
            WithLog ? std::initializer_list<AttrSpec>{                                              \
                          attr::i32<&NASFileSystem::blockSize>(A::blockSize),                       \
                          attr::i32<&NASFileSystem::logSizeMB>(A::logSizeMB),                       \
                          attr::text<&NASFileSystem::mountOptions>(A::mountOptions),                \
                          attr::text<&NASFileSystem::formatOptions>(A::formatOptions),              \
                          attr::text<&NASFileSystem::mountPoint>(A::mountPoint)}                    \
                    : std::initializer_list<AttrSpec>{                                              \
                          attr::i32<&NASFileSystem::blockSize>(A::blockSize),                       \
                          attr::text<&NASFileSystem::mountOptions>(A::mountOptions),                \
                          attr::text<&NASFileSystem::formatOptions>(A::formatOptions),              \
                          attr::text<&NASFileSystem::mountPoint>(A::mountPoint)},                   \
            {}, {.record = "NASFileSystem", .prepare = &stampKind<Kind> }                           \
    }

NAS_FILE_SYSTEM(EXT2FileSystem, 100, false);
NAS_FILE_SYSTEM(ReiserFileSystem, 101, true);
NAS_FILE_SYSTEM(JFSFileSystem, 102, true);
NAS_FILE_SYSTEM(XFSFileSystem, 103, true);
NAS_FILE_SYSTEM(EXT3FileSystem, 104, true);
NAS_FILE_SYSTEM(UFSSUNFileSystem, 105, false);
NAS_FILE_SYSTEM(VXFSFileSystem, 106, true);
#undef NAS_FILE_SYSTEM

namespace {

// In kind order, 100 first.
const LayoutBase* const kFileSystems45[] = {
    &kEXT2FileSystem45, &kReiserFileSystem45, &kJFSFileSystem45,   &kXFSFileSystem45,
    &kEXT3FileSystem45, &kUFSSUNFileSystem45, &kVXFSFileSystem45,
};

// Any other kind writes nothing.
int fileSystemByKind(const void* record) {
    const std::int32_t kind = static_cast<const NASFileSystem*>(record)->kind;
    return kind >= 100 && kind <= 106 ? kind - 100 : -1;
}

}  // namespace

const Layout<CacheProperty> kCacheProperty45{
    E::CacheProperty, "CacheProperty", "parseCacheProperty", Form::AlwaysShort,
    {
        attr::i32<&CacheProperty::vid>(A::vid),
        attr::boolean<&CacheProperty::suspended>(A::suspended),
    }};

const Layout<FastlanePolicy> kFastlanePolicy45{
    E::FastlanePolicy, "FastlanePolicy", "parseFastlanePolicy", Form::AlwaysShort,
    {
        attr::i32<&FastlanePolicy::vid>(A::vid),
        attr::boolean<&FastlanePolicy::suspended>(A::suspended),
        attr::sector<&FastlanePolicy::zoneSize>(A::zoneSize),
        attr::spelled<&FastlanePolicy::zoneSizeUnit>(A::zoneSizeUnit, kSizeUnit),
        attr::i32<&FastlanePolicy::readWeight>(A::readWeight),
        attr::i32<&FastlanePolicy::ioWeight>(A::ioWeight),
        attr::i32<&FastlanePolicy::monitorInterval>(A::monitorInterval),
        attr::spelled<&FastlanePolicy::intervalUnit>(A::intervalUnit, kTimeUnit),
        attr::boolean<&FastlanePolicy::writeThrough>(A::writeThrough),
    }};

const Layout<PrefetchProperties> kPrefetchProperties45{
    E::PrefetchProperties, "PrefetchProperties", "parsePrefetchProperties", Form::AlwaysShort,
    {
        attr::i32<&PrefetchProperties::vid>(A::vid),
        attr::i32<&PrefetchProperties::maxChains>(A::maxChains),
        attr::i32<&PrefetchProperties::maxReadahead>(A::maxReadahead),
        attr::i32<&PrefetchProperties::readahead>(A::readahead),
        attr::i32<&PrefetchProperties::chainTimeout>(A::chainTimeout),
    }};

const Layout<LockPolicy> kLockPolicy45{
    E::LockPolicy, "LockPolicy", "parseLockPolicy", Form::AlwaysShort,
    {
        attr::boolean<&LockPolicy::auto_>(A::auto_),
        attr::boolean<&LockPolicy::generateHash>(A::generateHash),
        attr::i32<&LockPolicy::interval>(A::interval),
        attr::spelled<&LockPolicy::unit>(A::unit, kTimeUnit),
        attr::i32<&LockPolicy::startTime>(A::startTime),
    }};

const Layout<RetentionPeriod> kRetentionPeriod45{
    E::RetentionPeriod, "RetentionPeriod", "parseRetentionPeriod", Form::AlwaysShort,
    {
        attr::i32<&RetentionPeriod::duration>(A::duration),
        attr::spelled<&RetentionPeriod::unit>(A::unit, kTimeUnit),
    }};

const Layout<WormPolicy> kWormPolicy45{
    E::WormPolicy, "WormPolicy", "parseWormPolicy", Form::AlwaysLong,
    {
        attr::spelled<&WormPolicy::unlockMethod>(A::unlockMethod, kUnlockMethod),
        attr::boolean<&WormPolicy::useComplianceClock>(A::useComplianceClock),
        attr::boolean<&WormPolicy::useLastAccessTime>(A::useLastAccessTime),
    },
    {
        child::single<&WormPolicy::lockPolicy>(kLockPolicy45),
        child::single<&WormPolicy::retentionPeriod>(kRetentionPeriod45),
    }};

const Layout<VirtualDev> kVirtualDev45{
    E::VirtualDev, "VirtualDev", "parseVirtualDev", Form::AlwaysLong,
    {
        attr::i32<&VirtualDev::id>(A::id),
        attr::text<&VirtualDev::name>(A::name),
        attr::text<&VirtualDev::guid>(A::guid),
        attr::text<&VirtualDev::owner>(A::owner),
        attr::spelled<&VirtualDev::type>(A::type, kDeviceType),
        attr::spelled<&VirtualDev::personality>(A::personality, kPersonality),
        attr::boolean<&VirtualDev::isForeign>(A::isForeign),
        attr::i32<&VirtualDev::lunType>(A::lunType),
        attr::text<&VirtualDev::datasetGuid>(A::datasetGuid),
        attr::i32<&VirtualDev::snapshotGroupID>(A::snapshotGroupID),
        attr::boolean<&VirtualDev::snapshotEnabled>(A::snapshotEnabled),
        attr::boolean<&VirtualDev::keyframeEnabled>(A::keyframeEnabled),
        attr::boolean<&VirtualDev::replicationEnabled>(A::replicationEnabled),
        attr::boolean<&VirtualDev::backupEnabled>(A::backupEnabled),
        attr::boolean<&VirtualDev::wormEnabled>(A::wormEnabled),
        attr::text<&VirtualDev::rawDevice>(A::rawDevice),
        attr::boolean<&VirtualDev::cacheEnabled>(A::cacheEnabled),
        attr::boolean<&VirtualDev::fastlaneEnabled>(A::fastlaneEnabled),
        attr::text<&VirtualDev::sedPDGuid>(A::sedPDGuid),
        attr::boolean<&VirtualDev::suspendMount>(A::suspendMount),
        attr::boolean<&VirtualDev::prefetchEnabled>(A::prefetchEnabled),
        attr::spelled<&VirtualDev::osType>(A::osType, kOsType, W::IfNonZero),
        attr::hex<&VirtualDev::status>(A::status),
    },
    {
        child::optionalOneOf<&VirtualDev::fileSystem>(kFileSystems45, &fileSystemByKind),
        child::repeated<&VirtualDev::localDataSets>(kLocalDataSet45),
        child::single<&VirtualDev::geometry>(kGeometry45),
        child::always<&VirtualDev::inquiryString>(kInquiryString45),
        child::optional<&VirtualDev::remoteDataSet>(kRemoteDataSet45),
        child::optional<&VirtualDev::remoteAccessedDisk>(kRemoteAccessedDisk45),
        child::optional<&VirtualDev::snapshotPolicy>(kSnapshotPolicy45),
        child::optional<&VirtualDev::keyframePolicy>(kKeyframePolicy45),
        child::optional<&VirtualDev::lookbackDataSet>(kLookbackDataSet45),
        child::optional<&VirtualDev::backupPolicy>(kBackupPolicy45),
        child::optional<&VirtualDev::wormPolicy>(kWormPolicy45),
        child::optional<&VirtualDev::cacheProperty>(kCacheProperty45),
        child::optional<&VirtualDev::fastlanePolicy>(kFastlanePolicy45),
        child::optional<&VirtualDev::prefetchProperties>(kPrefetchProperties45),
        child::repeated<&VirtualDev::infoItems>(kInfoItem45),
    }};

#define VIRTUAL_DEV_LIST(Element)                                                          \
    const Layout<VirtualDevList> k##Element##45 {                                          \
        E::Element, #Element, "parse" #Element, Form::ShortWhenEmpty, {},                  \
        {                                                                                  \
            child::repeated<&VirtualDevList::items>(kVirtualDev45)                         \
        }                                                                                  \
    }
VIRTUAL_DEV_LIST(SANResources);
VIRTUAL_DEV_LIST(NASResources);
VIRTUAL_DEV_LIST(ReplicaResources);
VIRTUAL_DEV_LIST(SnapshotResources);
VIRTUAL_DEV_LIST(CacheResources);
VIRTUAL_DEV_LIST(FastlaneResources);
VIRTUAL_DEV_LIST(BMRResources);
VIRTUAL_DEV_LIST(CopyManagerResources);
#undef VIRTUAL_DEV_LIST

const Layout<AdaptiveResources> kAdaptiveResources45{
    E::AdaptiveResources, "AdaptiveResources", "parseAdaptiveResources", Form::ShortWhenEmpty,
    {attr::i32<&AdaptiveResources::nextID>(A::nextID, W::Always, 7000001)},
    {child::repeated<&AdaptiveResources::items>(kVirtualDev45)}};

const Layout<SystemResources> kSystemResources45{
    E::SystemResources, "SystemResources", "parseSystemResources", Form::AlwaysLong, {},
    {child::always<&SystemResources::copyManagerResources>(kCopyManagerResources45)}};

const Layout<SnapshotGroupMember> kSnapshotGroupMember45{
    E::SnapshotGroupMember, "SnapshotGroupMember", "parseSnapshotGroupMember", Form::AlwaysShort,
    {attr::i32<&SnapshotGroupMember::vid>(A::vid)}};

const Layout<SnapshotGroup> kSnapshotGroup45{
    E::SnapshotGroup, "SnapshotGroup", "parseSnapshotGroup", Form::AlwaysLong,
    {
        attr::text<&SnapshotGroup::name>(A::name),
        attr::i32<&SnapshotGroup::id>(A::id),
        attr::i32<&SnapshotGroup::remoteGroupID>(A::remoteGroupID),
        attr::text<&SnapshotGroup::remoteServerName>(A::remoteServerName),
        attr::text<&SnapshotGroup::remoteServerAlias>(A::remoteServerAlias),
        attr::boolean<&SnapshotGroup::keyframeEnabled>(A::keyframeEnabled),
        attr::boolean<&SnapshotGroup::replicationEnabled>(A::replicationEnabled),
        attr::boolean<&SnapshotGroup::backupEnabled>(A::backupEnabled),
        attr::boolean<&SnapshotGroup::cacheEnabled>(A::cacheEnabled),
        attr::boolean<&SnapshotGroup::snapshotNotificationEnabled>(A::snapshotNotificationEnabled),
    },
    {
        child::optional<&SnapshotGroup::keyframePolicy>(kKeyframePolicy45),
        child::optional<&SnapshotGroup::backupPolicy>(kBackupPolicy45),
        child::optional<&SnapshotGroup::replicationPolicy>(kReplicationPolicy45),
        child::repeated<&SnapshotGroup::members>(kSnapshotGroupMember45),
        child::optional<&SnapshotGroup::cacheProperty>(kCacheProperty45),
    }};

const Layout<SnapshotGroupList> kSnapshotGroupList45{
    E::SnapshotGroupList, "SnapshotGroupList", "parseSnapshotGroupList", Form::ShortWhenEmpty,
    {attr::i32<&SnapshotGroupList::nextGroupID>(A::nextGroupID)},
    {child::repeated<&SnapshotGroupList::items>(kSnapshotGroup45)}};

const Layout<ISCSIVirtualDevice> kISCSIVirtualDevice45{
    E::ISCSIVirtualDevice, "ISCSIVirtualDevice", "parseISCSIVirtualDevice", Form::AlwaysShort,
    {
        attr::i32<&ISCSIVirtualDevice::id>(A::id),
        attr::i32<&ISCSIVirtualDevice::lun>(A::lun),
        attr::spelled<&ISCSIVirtualDevice::access>(A::access, kAccessMode),
    }};

const Layout<ISCSITarget> kISCSITarget45{
    E::ISCSITarget, "ISCSITarget", "parseISCSITarget", Form::ShortWhenEmpty,
    {
        attr::i32<&ISCSITarget::id>(A::id),
        attr::text<&ISCSITarget::name>(A::name),
        attr::text<&ISCSITarget::ipAddr>(A::ipAddr),
        attr::text<&ISCSITarget::iscsiurl>(A::iscsiurl),
        attr::spelled<&ISCSITarget::access>(A::access, kAccessMode),
        attr::i32<&ISCSITarget::startingLun>(A::startingLun),
    },
    {child::repeated<&ISCSITarget::items>(kISCSIVirtualDevice45)}};

const Layout<ISCSITargetList> kISCSITargetList45{
    E::ISCSITargetList, "ISCSITargetList", "parseISCSITargetList", Form::ShortWhenEmpty,
    {attr::i32<&ISCSITargetList::nextTargetID>(A::nextTargetID)},
    {child::repeated<&ISCSITargetList::items>(kISCSITarget45)}};

const Layout<LogicalResources> kLogicalResources45{
    E::LogicalResources, "LogicalResources", "parseLogicalResources", Form::AlwaysLong,
    {attr::i32<&LogicalResources::nextVDevID>(A::nextVDevID)},
    {
        child::single<&LogicalResources::systemResources>(kSystemResources45),
        child::single<&LogicalResources::sanResources>(kSANResources45),
        child::single<&LogicalResources::nasResources>(kNASResources45),
        child::single<&LogicalResources::replicaResources>(kReplicaResources45),
        child::single<&LogicalResources::snapshotResources>(kSnapshotResources45),
        child::single<&LogicalResources::cacheResources>(kCacheResources45),
        child::single<&LogicalResources::adaptiveResources>(kAdaptiveResources45),
        child::single<&LogicalResources::fastlaneResources>(kFastlaneResources45),
        child::single<&LogicalResources::bmrResources>(kBMRResources45),
        child::single<&LogicalResources::snapshotGroupList>(kSnapshotGroupList45),
        child::single<&LogicalResources::iscsiTargetList>(kISCSITargetList45),
        child::optional<&LogicalResources::virtualDev>(kVirtualDev45),
    }};

const Layout<SelfRegistrationPolicy> kSelfRegistrationPolicy45{
    E::SelfRegistrationPolicy, "SelfRegistrationPolicy", "parseSelfRegistrationPolicy", Form::AlwaysShort,
    {
        attr::i32<&SelfRegistrationPolicy::type>(A::type),
        attr::i32<&SelfRegistrationPolicy::usedSizePercentage>(A::usedSizePercentage),
        attr::i32<&SelfRegistrationPolicy::fixedDiskSizeMB>(A::fixedDiskSizeMB),
        attr::i32<&SelfRegistrationPolicy::maxDiskSizeMB>(A::maxDiskSizeMB),
    }};

const Layout<BMRProperties> kBMRProperties45{
    E::BMRProperties, "BMRProperties", "parseBMRProperties", Form::AlwaysLong, {},
    {child::single<&BMRProperties::selfRegistrationPolicy>(kSelfRegistrationPolicy45)}};

const Layout<BootImage> kLinuxBoot45{
    E::LinuxBoot, "LinuxBoot", "parseLinuxBoot", Form::AlwaysShort,
    {
        attr::i32<&BootImage::vid>(A::vid),
        attr::long32<&BootImage::timestamp>(A::timestamp),
        attr::text<&BootImage::label>(A::label),
    }};
const Layout<BootImage> kWindowsBoot45{
    E::WindowsBoot, "WindowsBoot", "parseWindowsBoot", Form::AlwaysShort,
    {
        attr::i32<&BootImage::vid>(A::vid),
        attr::long32<&BootImage::timestamp>(A::timestamp),
        attr::text<&BootImage::label>(A::label),
    }};

const Layout<BootList> kLinuxBootList45{
    E::LinuxBootList, "LinuxBootList", "parseLinuxBootList", Form::ShortWhenEmpty,
    {attr::text<&BootList::defaultLabel>(A::defaultLabel)},
    {child::repeated<&BootList::items>(kLinuxBoot45)}};
const Layout<BootList> kWindowsBootList45{
    E::WindowsBootList, "WindowsBootList", "parseWindowsBootList", Form::ShortWhenEmpty,
    {attr::text<&BootList::defaultLabel>(A::defaultLabel)},
    {child::repeated<&BootList::items>(kWindowsBoot45)}};

const Layout<BootProperties> kBootProperties45{
    E::BootProperties, "BootProperties", "parseBootProperties", Form::AlwaysLong,
    {
        attr::text<&BootProperties::ipAddr>(A::ipAddr),
        attr::boolean<&BootProperties::useStaticIP>(A::useStaticIP),
        attr::text<&BootProperties::macAddress>(A::macAddress),
        attr::spelled<&BootProperties::defaultBoot>(A::defaultBoot, kDefaultBoot),
        attr::i32<&BootProperties::timeout>(A::timeout),
        attr::text<&BootProperties::comment>(A::comment),
    },
    {
        child::optional<&BootProperties::linuxBootList>(kLinuxBootList45),
        child::optional<&BootProperties::windowsBootList>(kWindowsBootList45),
        child::optional<&BootProperties::bmrProperties>(kBMRProperties45),
    }};

}  // namespace model
