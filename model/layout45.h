#pragma once
#include <string>

#include "model/element_io.h"
#include "model/layout.h"
#include "model/records.h"
#include "model/validate.h"

// The element layouts of the 4.5 document, and its schema for the generic reader.

namespace model {

/// Attribute and element tables, parsers by number, "sanparse.c" in log lines.
const Schema& schema45() noexcept;

// Physical side (layout45_physical.cpp).
extern const Layout<SCSIAddress> kSCSIAddress45;
extern const Layout<Geometry> kGeometry45;
extern const Layout<InfoItem> kInfoItem45;
extern const Layout<std::string> kInquiryString45;
extern const Layout<std::string> kComments45;
extern const Layout<DeviceAlias> kDeviceAlias45;
extern const Layout<SCSIAliasing> kSCSIAliasing45;
extern const Layout<ConfPartition> kConfPartition45;
extern const Layout<DynamicDiskSegment> kDynamicDiskSegment45;
extern const Layout<StripeElement> kStripeElement45;
extern const Layout<StripeSet> kStripeSet45;
extern const Layout<NimbraPartition> kNimbraPartition45;
extern const Layout<PhysicalDev> kPhysicalDev45;
extern const Layout<PhysicalDevs> kPhysicalDevs45;
extern const Layout<Binding> kBinding45;
extern const Layout<PersistentBinding> kPersistentBinding45;
extern const Layout<WWPN> kWWPN45;
extern const Layout<WWPNList> kWWPNList45;
extern const Layout<WWPNList> kAliasWWPNList45;
extern const Layout<WWPNList> kStandbyAliasWWPNList45;
extern const Layout<PhysicalAdapter> kPhysicalAdapter45;
extern const Layout<PhysicalAdapters> kPhysicalAdapters45;
extern const Layout<BlockDevice> kBlockDevice45;
extern const Layout<StripeDevice> kStripeDevice45;
extern const Layout<BlockDevices> kBlockDevices45;
extern const Layout<PhysicalResources> kPhysicalResources45;
extern const Layout<PDevSection> kPDevSection45;
extern const Layout<UmapSegment> kUmapSegment45;

// Logical resources (layout45_logical.cpp).
extern const Layout<ReplicationPolicy> kReplicationPolicy45;
extern const Layout<LocalDataSet> kLocalDataSet45;
extern const Layout<RemoteDataSet> kRemoteDataSet45;
extern const Layout<RemoteAccessedDisk> kRemoteAccessedDisk45;
extern const Layout<SnapshotPolicy> kSnapshotPolicy45;
extern const Layout<AutoMountLookback> kAutoMountLookback45;
extern const Layout<KeyframePolicy> kKeyframePolicy45;
extern const Layout<LookbackDataSet> kLookbackDataSet45;
extern const Layout<BackupPolicy> kBackupPolicy45;
extern const Layout<CacheProperty> kCacheProperty45;
extern const Layout<FastlanePolicy> kFastlanePolicy45;
extern const Layout<PrefetchProperties> kPrefetchProperties45;
extern const Layout<LockPolicy> kLockPolicy45;
extern const Layout<RetentionPeriod> kRetentionPeriod45;
extern const Layout<WormPolicy> kWormPolicy45;
extern const Layout<VirtualDev> kVirtualDev45;
extern const Layout<AdaptiveResources> kAdaptiveResources45;
extern const Layout<SystemResources> kSystemResources45;
extern const Layout<SnapshotGroupMember> kSnapshotGroupMember45;
extern const Layout<SnapshotGroup> kSnapshotGroup45;
extern const Layout<SnapshotGroupList> kSnapshotGroupList45;
extern const Layout<ISCSIVirtualDevice> kISCSIVirtualDevice45;
extern const Layout<ISCSITarget> kISCSITarget45;
extern const Layout<ISCSITargetList> kISCSITargetList45;
extern const Layout<LogicalResources> kLogicalResources45;
extern const Layout<SelfRegistrationPolicy> kSelfRegistrationPolicy45;
extern const Layout<BMRProperties> kBMRProperties45;
extern const Layout<BootImage> kLinuxBoot45;
extern const Layout<BootImage> kWindowsBoot45;
extern const Layout<BootList> kLinuxBootList45;
extern const Layout<BootList> kWindowsBootList45;
extern const Layout<BootProperties> kBootProperties45;
extern const Layout<VirtualDevList> kSANResources45;
extern const Layout<VirtualDevList> kNASResources45;
extern const Layout<VirtualDevList> kReplicaResources45;
extern const Layout<VirtualDevList> kSnapshotResources45;
extern const Layout<VirtualDevList> kCacheResources45;
extern const Layout<VirtualDevList> kFastlaneResources45;
extern const Layout<VirtualDevList> kBMRResources45;
extern const Layout<VirtualDevList> kCopyManagerResources45;
extern const Layout<NASFileSystem> kEXT2FileSystem45;
extern const Layout<NASFileSystem> kReiserFileSystem45;
extern const Layout<NASFileSystem> kJFSFileSystem45;
extern const Layout<NASFileSystem> kXFSFileSystem45;
extern const Layout<NASFileSystem> kEXT3FileSystem45;
extern const Layout<NASFileSystem> kUFSSUNFileSystem45;
extern const Layout<NASFileSystem> kVXFSFileSystem45;

// Clients, failover, options and the bridge (layout45_clients.cpp).
extern const Layout<WWPNPair> kWWPNPair45;
extern const Layout<WWPNPairList> kWWPNPairList45;
extern const Layout<FibreChannelProperties> kFibreChannelProperties45;
extern const Layout<VirtualDevConnection> kVirtualDevConnection45;
extern const Layout<VirtualAdapter> kVirtualAdapter45;
extern const Layout<FibreChannelDevice> kFibreChannelDevice45;
extern const Layout<FibreChannelAdapter> kFibreChannelAdapter45;
extern const Layout<ISCSIInitiator> kISCSIInitiator45;
extern const Layout<ISCSIInitiatorProperties> kISCSIInitiatorProperties45;
extern const Layout<ISCSIProperties> kISCSIProperties45;
extern const Layout<TargetID> kTargetID45;
extern const Layout<TargetIDList> kTargetIDList45;
extern const Layout<SANClient> kSANClient45;
extern const Layout<SANClientList> kSANClientList45;
extern const Layout<SANBridgeInfo> kSANBridgeInfo45;
extern const Layout<NICInfo> kNICInfo45;
extern const Layout<NICInfoList> kNICInfoList45;
extern const Layout<FailoverPrimary> kFailoverPrimary45;
extern const Layout<FailoverSecondary> kFailoverSecondary45;
extern const Layout<std::string> kIPAddress45;
extern const Layout<IPAliasing> kIPAliasing45;
extern const Layout<ConfVol> kConfVol45;
extern const Layout<SNMP> kSNMP45;
extern const Layout<Report> kReport45;
extern const Layout<Log> kLog45;
extern const Layout<IDRange> kUIDRange45;
extern const Layout<IDRange> kGIDRange45;
extern const Layout<IDRangeList> kUIDRangeList45;
extern const Layout<IDRangeList> kGIDRangeList45;
extern const Layout<NASOption> kNASOption45;
extern const Layout<AdapterWWPN> kAdapterWWPN45;
extern const Layout<AdapterWWPNList> kAdapterWWPNList45;
extern const Layout<FibreChannelOption> kFibreChannelOption45;
extern const Layout<AutoSaveConfigOption> kAutoSaveConfigOption45;
extern const Layout<ISCSIOption> kISCSIOption45;
extern const Layout<EnabledOption> kCallHomeOption45;
extern const Layout<EnabledOption> kXBootOption45;
extern const Layout<EnabledOption> kSANBridgeOption45;
extern const Layout<ReplicationOption> kReplicationOption45;
extern const Layout<MirrorOption> kMirrorOption45;
extern const Layout<QlogicOption> kQlogicOption45;
extern const Layout<BMROption> kBMROption45;
extern const Layout<StatisticOption> kStatisticOption45;
extern const Layout<DHCPOption> kDHCPOption45;
extern const Layout<DHCPOptionList> kDHCPOptionList45;
extern const Layout<Properties> kProperties45;
extern const Layout<SANBridge> kSANBridge45;

}  // namespace model
