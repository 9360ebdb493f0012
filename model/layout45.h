#pragma once
#include <string>

#include "model/element_io.h"
#include "model/layout.h"
#include "model/records.h"

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

}  // namespace model
