#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "model/text.h"

// Records of the physical side of a bridge. Copy is the deep clone, the
// destructor the free. Widths are those of the document: %d and %ld fields are
// 32-bit, sectors unsigned 32-bit, flags one byte (a legacy "yes" stores -1).
// A text is absent or present; absent and empty are written alike in
// attributes but not always in conditional ones.

namespace model {

using Flag = std::int8_t;

struct SCSIAddress {
    std::int32_t adapter = 0, channel = 0, id = 0, lun = 0;
};

struct Geometry {
    std::uint32_t startingSector = 0, endingSector = 0;
    std::int32_t sectorSize = 0;
};

struct InfoItem {
    Text name, value;
};

struct DeviceAlias {
    Text wwid;
    std::int32_t adapter = 0, channel = 0, id = 0, lun = 0;
    Text name, guid;
};

struct SCSIAliasing {
    std::vector<DeviceAlias> items;
};

struct ConfPartition {
    std::uint32_t firstSector = 0, lastSector = 0;
    std::int32_t timestamp = 0;
};

struct DynamicDiskSegment {
    Text guid;
    std::uint32_t firstSector = 0, lastSector = 0;
    Text owner;
    std::int32_t dataset = 0, seqNo = 0;
    Flag isLastSegment = 0;
    std::int32_t sectorSize = 0;
    std::int32_t type = 0;  // kDeviceType
    std::int32_t lunType = 0;
    std::int32_t timestamp = 0, umapTimestamp = 0;
    // Written only under their conditions.
    Flag isDeleted = 0, isMirror = 0, isWorm = 0;
    Text linkGuid, cacheGuid, fastlaneGuid, snapshotGuid, deviceName, remoteServer, remoteGuid;
    std::int32_t fileSystem = 0;  // kFileSystemType
    std::uint32_t fastlaneSize = 0;
    Text ssgName, mac, clientName;
    std::int32_t osType = 0;  // kOsType
};

struct StripeElement {
    Text guid;
    std::int32_t seqNo = 0;
    Flag isLast = 0;
};

struct StripeSet {
    Text guid;
    std::int32_t chunkSizeKB = 0;
    std::vector<StripeElement> stripeElements;
};

struct NimbraPartition {
    Text checksum;
    std::vector<DynamicDiskSegment> segments;
    std::optional<StripeSet> stripeSet;
};

struct PhysicalDev {
    Text name, wwid, type;
    std::int32_t isNew = -1;  // kNewUnit: unset until read
    Text owner, devName;
    std::int32_t category = 0;  // kCategory
    Text guid, fsid;
    Flag fsidRelianceEnabled = 1;
    std::int32_t queueDepth = 0;
    std::int32_t connectionType = 0;  // kConnectionType
    std::int32_t lunType = 0;
    std::optional<ConfPartition> confPartition;
    NimbraPartition nimbraPartition;
    SCSIAddress scsiAddress;
    SCSIAliasing scsiAliasing;
    Geometry geometry;
    Text inquiryString;  // text content; absent and empty both write <InquiryString/>
    Text comments;
    std::vector<InfoItem> infoItems;
};

struct PhysicalDevs {
    std::vector<PhysicalDev> items;
};

struct Binding {
    Text targetPort, targetWWPN;
    Flag vsaEnabled = 0;
    Text comment;
};

struct PersistentBinding {
    std::vector<Binding> items;
};

struct WWPN {
    Text name, alpa;
    std::int32_t mode = 0;  // kPortMode
};

/// AliasWWPNList, StandbyAliasWWPNList and WWPNList.
struct WWPNList {
    std::vector<WWPN> items;
};

struct PhysicalAdapter {
    std::int32_t number = 0, bus = 0, device = 0, irq = 0;
    std::int32_t channels = 0;  // carried between the 4.0 layouts; the 4.5 layout does not write it
    Text info, WWPN, biosWWPN, spoofWWPN;
    std::int32_t mode = 0;  // kPortMode
    Text monitorWWPN, secondaryStandbyWWPN, moduleName;
    Flag vsaEnabled = 0, mismatch = 0;
    std::int32_t maxAliasCount = 0;
    Text alpa;
    std::optional<PersistentBinding> persistentBinding;
    std::optional<WWPNList> aliasWWPNList;
    std::optional<WWPNList> standbyAliasWWPNList;
};

struct PhysicalAdapters {
    std::vector<PhysicalAdapter> items;
};

struct BlockDevice {
    Text devName;
    std::uint32_t sectors = 0;
    std::int32_t scsi = 0, lun = 0, major = 0, minor = 0;
};

struct StripeDevice {
    std::int32_t chunkSizeKB = 0, scsi = 0, lun = 0;
    std::vector<StripeElement> stripeElements;
};

struct BlockDevices {
    std::vector<BlockDevice> blockDevices;
    std::vector<StripeDevice> stripeDevices;
};

struct PhysicalResources {
    PhysicalAdapters physicalAdapters;
    PhysicalDevs physicalDevs;
    BlockDevices blockDevices;
};

struct PDevSection {
    Text guid;
    std::int32_t seq = 0;
    std::uint32_t firstSector = 0, lastSector = 0;
    Flag isLastSegment = 0;
    std::int32_t timestamp = 0;
};

struct UmapSegment {
    Text guid;
    std::uint32_t firstSector = 0, lastSector = 0;
    std::int32_t lowResolutionSize = 0, highResolutionSize = 0, timestamp = 0;
};

}  // namespace model
