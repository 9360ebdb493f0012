#pragma once
#include <string>

#include "legacy/records40.h"
#include "model/layout.h"

// The element layouts of the 4.0 document, for reading and writing. Each lists
// the attributes the 4.0 parser reads, in the order they are written, and the
// children it keeps, in the order they are written; any other known child is
// parsed and released, and an attribute a value-first parser does not list is
// consumed with its value. Forms and write conditions are those of the same
// element in 4.5.

namespace legacy {

// Physical side (layout40_physical.cpp).
extern const model::Layout<model::SCSIAddress> kSCSIAddress40;
extern const model::Layout<model::DeviceAlias> kDeviceAlias40;
extern const model::Layout<model::Geometry> kGeometry40;
extern const model::Layout<model::InfoItem> kInfoItem40;
extern const model::Layout<std::string> kInquiryString40;
extern const model::Layout<std::string> kComments40;
extern const model::Layout<model::SCSIAliasing> kSCSIAliasing40;
extern const model::Layout<model::ConfPartition> kConfPartition40;
extern const model::Layout<model::DynamicDiskSegment> kDynamicDiskSegment40;
extern const model::Layout<model::StripeElement> kStripeElement40;
extern const model::Layout<model::StripeSet> kStripeSet40;
extern const model::Layout<model::NimbraPartition> kNimbraPartition40;
extern const model::Layout<model::PhysicalDev> kPhysicalDev40;
extern const model::Layout<model::Binding> kBinding40;
extern const model::Layout<model::PersistentBinding> kPersistentBinding40;
extern const model::Layout<model::WWPN> kWWPN40;
extern const model::Layout<model::WWPNList> kWWPNList40;
extern const model::Layout<model::WWPNList> kAliasWWPNList40;
extern const model::Layout<model::WWPNList> kStandbyAliasWWPNList40;
extern const model::Layout<PhysicalAdapter> kPhysicalAdapter40;
extern const model::Layout<model::StripeDevice> kStripeDevice40;
extern const model::Layout<model::BlockDevices> kBlockDevices40;
extern const model::Layout<PhysicalResources> kPhysicalResources40;
extern const model::Layout<model::PDevSection> kPDevSection40;
extern const model::Layout<model::UmapSegment> kUmapSegment40;

// Logical resources (layout40_logical.cpp).
extern const model::Layout<model::ReplicationPolicy> kReplicationPolicy40;
extern const model::Layout<model::LocalDataSet> kLocalDataSet40;
extern const model::Layout<model::RemoteDataSet> kRemoteDataSet40;
extern const model::Layout<model::RemoteAccessedDisk> kRemoteAccessedDisk40;
extern const model::Layout<model::SnapshotPolicy> kSnapshotPolicy40;
extern const model::Layout<model::AutoMountLookback> kAutoMountLookback40;
extern const model::Layout<model::KeyframePolicy> kKeyframePolicy40;
extern const model::Layout<model::LookbackDataSet> kLookbackDataSet40;
extern const model::Layout<model::BackupPolicy> kBackupPolicy40;
extern const model::Layout<model::CacheProperty> kCacheProperty40;
extern const model::Layout<model::FastlanePolicy> kFastlanePolicy40;
extern const model::Layout<model::PrefetchProperties> kPrefetchProperties40;
extern const model::Layout<model::NASFileSystem> kEXT2FileSystem40;
extern const model::Layout<model::NASFileSystem> kReiserFileSystem40;
extern const model::Layout<model::NASFileSystem> kJFSFileSystem40;
extern const model::Layout<model::NASFileSystem> kXFSFileSystem40;
extern const model::Layout<model::NASFileSystem> kEXT3FileSystem40;
extern const model::Layout<model::NASFileSystem> kUFSSUNFileSystem40;
extern const model::Layout<model::NASFileSystem> kVXFSFileSystem40;
extern const model::Layout<model::VirtualDev> kVirtualDev40;
extern const model::Layout<model::VirtualDevList> kSANResources40;
extern const model::Layout<model::VirtualDevList> kNASResources40;
extern const model::Layout<model::VirtualDevList> kReplicaResources40;
extern const model::Layout<model::VirtualDevList> kSnapshotResources40;
extern const model::Layout<model::VirtualDevList> kCacheResources40;
extern const model::Layout<model::VirtualDevList> kFastlaneResources40;
extern const model::Layout<model::VirtualDevList> kBMRResources40;
extern const model::Layout<model::VirtualDevList> kCopyManagerResources40;
extern const model::Layout<model::SystemResources> kSystemResources40;
extern const model::Layout<model::SnapshotGroupMember> kSnapshotGroupMember40;
extern const model::Layout<model::SnapshotGroup> kSnapshotGroup40;
extern const model::Layout<model::SnapshotGroupList> kSnapshotGroupList40;
extern const model::Layout<model::ISCSIVirtualDevice> kISCSIVirtualDevice40;
extern const model::Layout<model::ISCSITarget> kISCSITarget40;
extern const model::Layout<model::ISCSITargetList> kISCSITargetList40;
extern const model::Layout<model::LogicalResources> kLogicalResources40;

// Clients, failover, options and the bridge (layout40_clients.cpp).
extern const model::Layout<model::WWPNPair> kWWPNPair40;
extern const model::Layout<model::WWPNPair> kWWPNMap40;
extern const model::Layout<model::WWPNPairList> kWWPNPairList40;
extern const model::Layout<model::FibreChannelProperties> kFibreChannelProperties40;
extern const model::Layout<model::VirtualDevConnection> kVirtualDevConnection40;
extern const model::Layout<model::VirtualAdapter> kVirtualAdapter40;
extern const model::Layout<model::FibreChannelDevice> kFibreChannelDevice40;
extern const model::Layout<model::FibreChannelAdapter> kFibreChannelAdapter40;
extern const model::Layout<model::ISCSIInitiator> kISCSIInitiator40;
extern const model::Layout<model::ISCSIInitiatorProperties> kISCSIInitiatorProperties40;
extern const model::Layout<model::ISCSIProperties> kISCSIProperties40;
extern const model::Layout<model::TargetID> kTargetID40;
extern const model::Layout<model::TargetIDList> kTargetIDList40;
extern const model::Layout<model::SelfRegistrationPolicy> kSelfRegistrationPolicy40;
extern const model::Layout<model::BMRProperties> kBMRProperties40;
extern const model::Layout<model::BootImage> kLinuxBoot40;
extern const model::Layout<model::BootImage> kWindowsBoot40;
extern const model::Layout<model::BootList> kLinuxBootList40;
extern const model::Layout<model::BootList> kWindowsBootList40;
extern const model::Layout<model::BootProperties> kBootProperties40;
extern const model::Layout<model::SANClient> kSANClient40;
extern const model::Layout<model::SANClientList> kSANClientList40;
extern const model::Layout<SANBridgeInfo> kSANBridgeInfo40;
extern const model::Layout<model::NICInfo> kNICInfo40;
extern const model::Layout<model::NICInfoList> kNICInfoList40;
extern const model::Layout<model::FailoverPrimary> kFailoverPrimary40;
extern const model::Layout<model::FailoverSecondary> kFailoverSecondary40;
extern const model::Layout<std::string> kIPAddress40;
extern const model::Layout<model::IPAliasing> kIPAliasing40;
extern const model::Layout<model::ConfVol> kConfVol40;
extern const model::Layout<model::SNMP> kSNMP40;
extern const model::Layout<model::Report> kReport40;
extern const model::Layout<model::Log> kLog40;
extern const model::Layout<model::IDRange> kUIDRange40;
extern const model::Layout<model::IDRange> kGIDRange40;
extern const model::Layout<model::IDRangeList> kUIDRangeList40;
extern const model::Layout<model::IDRangeList> kGIDRangeList40;
extern const model::Layout<model::NASOption> kNASOption40;
extern const model::Layout<model::AdapterWWPN> kAdapterWWPN40;
extern const model::Layout<model::AdapterWWPNList> kAdapterWWPNList40;
extern const model::Layout<model::FibreChannelOption> kFibreChannelOption40;
extern const model::Layout<model::ISCSIOption> kISCSIOption40;
extern const model::Layout<model::EnabledOption> kCallHomeOption40;
extern const model::Layout<model::EnabledOption> kXBootOption40;
extern const model::Layout<model::EnabledOption> kSANBridgeOption40;
extern const model::Layout<model::ReplicationOption> kReplicationOption40;
extern const model::Layout<model::MirrorOption> kMirrorOption40;
extern const model::Layout<model::BMROption> kBMROption40;
extern const model::Layout<model::StatisticOption> kStatisticOption40;
extern const model::Layout<model::DHCPOption> kDHCPOption40;
extern const model::Layout<model::DHCPOptionList> kDHCPOptionList40;
extern const model::Layout<model::Properties> kProperties40;
extern const model::Layout<SANBridge> kSANBridge40;

}  // namespace legacy
