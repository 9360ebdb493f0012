#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "model/boxed.h"
#include "model/records_physical.h"

// Records of the logical resources: virtual devices, their data sets and
// policies, snapshot groups, and the boot descriptions of clients.

namespace model {

struct ReplicationPolicy {
    std::int32_t watermark = 0, watermarkRetry = 0;
    Flag compression = 0, encryption = 0, useExistingKF = 0;
    Text timeOfDay;
    std::int32_t interval = 0, initialTime = 0;
    std::int32_t unit = 0;    // kTimeUnit
    std::int32_t atomic = 0;  // kAtomicMode
    Flag suspended = 0;
    std::int32_t timeout = 0, retryInterval = 0, retryCount = 0;
    Flag adaptiveMode = 0;
    std::int32_t adaptiveID = 0, bandwidth = 0, latency = 0, connections = 0, bufferSize = 0;
    std::int32_t protocol = 0;  // kReplicationProtocol
    std::int32_t targetServerVersion = 0;
};

struct LocalDataSet {
    std::int32_t id = 0;
    std::int32_t type = 0;  // kDataSetRole
    std::optional<UmapSegment> umapSegment;
    std::vector<PDevSection> pdevSections;
};

struct RemoteDataSet {
    std::int32_t type = 0;  // kDataSetRole
    std::int32_t id = 0;
    Text serverName, serverAlias;
    std::int32_t port = 0, virtualDeviceID = 0;
    Text remoteGuid;
    ReplicationPolicy replicationPolicy;
};

struct RemoteAccessedDisk {
    Text serverName, serverAlias;
    std::int32_t virtualDeviceID = 0;
    Text remoteGuid;
};

struct SnapshotPolicy {
    std::int32_t vid = 0;
    Flag writeCacheEnabled = 0;
    std::int32_t threshold = 0, incrementPercentage = 0, incrementSizeMB = 0, maxSize = 0;
    Flag autoDelete = 0, stopWrite = 0, snapshotNotificationEnabled = 0;
};

struct AutoMountLookback {
    Flag cifsEnabled = 0, nfsEnabled = 0;
    Text autoFSRoot, cifsMountRoot;
    std::int32_t timeToLive = 0, checkInterval = 0;
};

struct KeyframePolicy {
    std::int32_t maxKeyframeCount = 0;
    Flag automatic = 0;
    std::int32_t interval = 0, initialTime = 0;
    std::int32_t unit = 0;  // kTimeUnit
    std::int32_t startingTime = 0;
    Text timeOfDay;
    std::optional<AutoMountLookback> autoMountLookback;
};

struct LookbackDataSet {
    std::int32_t vid = 0, timestamp = 0;
};

struct BackupPolicy {
    std::int32_t inactivityTimeout = 0, closeSnapshotAfter = 0;
    std::int32_t snapshotAction = 0;  // kSnapshotAction
    Text windowStart, windowEnd;
    std::int32_t duration = 0;
    std::int32_t durationUnit = 0;  // kTimeUnit
};

/// Shared by the seven file-system elements; `kind` (100 to 106) selects the element.
struct NASFileSystem {
    std::int32_t kind = 0;
    std::int32_t blockSize = 0, logSizeMB = 0;
    Text mountOptions, formatOptions, mountPoint;
};

struct CacheProperty {
    std::int32_t vid = 0;
    Flag suspended = 0;
};

struct FastlanePolicy {
    std::int32_t vid = 0;
    Flag suspended = 0;
    std::uint32_t zoneSize = 0;
    std::int32_t zoneSizeUnit = 0;  // kSizeUnit
    std::int32_t readWeight = 0, ioWeight = 0, monitorInterval = 0;
    std::int32_t intervalUnit = 0;  // kTimeUnit
    Flag writeThrough = 0;
};

struct PrefetchProperties {
    std::int32_t vid = 0, maxChains = 0, maxReadahead = 0, readahead = 0, chainTimeout = 0;
};

struct LockPolicy {
    Flag auto_ = 0, generateHash = 0;
    std::int32_t interval = 0;
    std::int32_t unit = 0;  // kTimeUnit
    std::int32_t startTime = 0;
};

struct RetentionPeriod {
    std::int32_t duration = 0;
    std::int32_t unit = 0;  // kTimeUnit
};

struct WormPolicy {
    std::int32_t unlockMethod = 0;  // kUnlockMethod
    Flag useComplianceClock = 0, useLastAccessTime = 0;
    LockPolicy lockPolicy;
    RetentionPeriod retentionPeriod;
};

struct VirtualDev {
    std::int32_t id = 0;
    Text name, guid, owner;
    std::int32_t type = 0;         // kDeviceType
    std::int32_t personality = 0;  // kPersonality
    Flag isForeign = 0;
    std::int32_t lunType = 0;
    Text datasetGuid;
    std::int32_t snapshotGroupID = 0;
    Flag snapshotEnabled = 0, keyframeEnabled = 0, replicationEnabled = 0, backupEnabled = 0, wormEnabled = 0;
    Text rawDevice;
    Flag cacheEnabled = 0, fastlaneEnabled = 0;
    Text sedPDGuid;
    Flag suspendMount = 0, prefetchEnabled = 0;
    std::int32_t osType = 0;  // kOsType, written only when not 0
    std::uint32_t status = 0;
    Boxed<NASFileSystem> fileSystem;
    std::vector<LocalDataSet> localDataSets;
    Geometry geometry;
    Text inquiryString;  // text content
    Boxed<RemoteDataSet> remoteDataSet;
    Boxed<RemoteAccessedDisk> remoteAccessedDisk;
    Boxed<SnapshotPolicy> snapshotPolicy;
    Boxed<KeyframePolicy> keyframePolicy;
    std::optional<LookbackDataSet> lookbackDataSet;
    Boxed<BackupPolicy> backupPolicy;
    Boxed<WormPolicy> wormPolicy;
    std::optional<CacheProperty> cacheProperty;
    Boxed<FastlanePolicy> fastlanePolicy;
    Boxed<PrefetchProperties> prefetchProperties;
    std::vector<InfoItem> infoItems;
};

/// SANResources, NASResources, ReplicaResources, SnapshotResources,
/// CacheResources, FastlaneResources, BMRResources and CopyManagerResources.
struct VirtualDevList {
    std::vector<VirtualDev> items;
};

struct AdaptiveResources {
    std::int32_t nextID = 0;  // 0 is written as 7000001
    std::vector<VirtualDev> items;
};

struct SystemResources {
    std::optional<VirtualDevList> copyManagerResources;  // absent writes <CopyManagerResources/>
};

struct SnapshotGroupMember {
    std::int32_t vid = 0;
};

struct SnapshotGroup {
    Text name;
    std::int32_t id = 0, remoteGroupID = 0;
    Text remoteServerName, remoteServerAlias;
    Flag keyframeEnabled = 0, replicationEnabled = 0, backupEnabled = 0, cacheEnabled = 0,
         snapshotNotificationEnabled = 0;
    std::optional<KeyframePolicy> keyframePolicy;
    std::optional<BackupPolicy> backupPolicy;
    std::optional<ReplicationPolicy> replicationPolicy;
    std::vector<SnapshotGroupMember> members;
    std::optional<CacheProperty> cacheProperty;
};

struct SnapshotGroupList {
    std::int32_t nextGroupID = 0;
    std::vector<SnapshotGroup> items;
};

struct SelfRegistrationPolicy {
    std::int32_t type = 0, usedSizePercentage = 0, fixedDiskSizeMB = 0, maxDiskSizeMB = 0;
};

struct BMRProperties {
    SelfRegistrationPolicy selfRegistrationPolicy;
};

/// LinuxBoot and WindowsBoot.
struct BootImage {
    std::int32_t vid = 0, timestamp = 0;
    Text label;
};

/// LinuxBootList and WindowsBootList.
struct BootList {
    Text defaultLabel;
    std::vector<BootImage> items;
};

struct BootProperties {
    Text ipAddr;
    Flag useStaticIP = 0;
    Text macAddress;
    std::int32_t defaultBoot = 0;  // kDefaultBoot
    std::int32_t timeout = 0;
    Text comment;
    std::optional<BootList> linuxBootList;
    std::optional<BootList> windowsBootList;
    std::optional<BMRProperties> bmrProperties;
};

struct ISCSIVirtualDevice {
    std::int32_t id = 0, lun = 0;
    std::int32_t access = 0;  // kAccessMode
};

struct ISCSITarget {
    std::int32_t id = 0;
    Text name, ipAddr, iscsiurl;
    std::int32_t access = 0;  // kAccessMode
    std::int32_t startingLun = 0;
    std::vector<ISCSIVirtualDevice> items;
};

struct ISCSITargetList {
    std::int32_t nextTargetID = 0;
    std::vector<ISCSITarget> items;
};

struct LogicalResources {
    std::int32_t nextVDevID = 0;
    SystemResources systemResources;
    VirtualDevList sanResources, nasResources, replicaResources, snapshotResources, cacheResources;
    AdaptiveResources adaptiveResources;
    VirtualDevList fastlaneResources, bmrResources;
    SnapshotGroupList snapshotGroupList;
    ISCSITargetList iscsiTargetList;
    std::optional<VirtualDev> virtualDev;  // one device kept directly under LogicalResources
};

}  // namespace model
