#pragma once
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "model/records.h"

// The 4.0 records that differ from the 4.5 ones. Every other element of a 4.0
// document reads into the 4.5 record of the same name, which the migration
// then moves across as it stands.

namespace legacy {

using model::Flag;
using model::Text;

/// A 4.0 adapter owns the devices seen through it; 4.5 keeps them in one list
/// beside the adapters.
struct PhysicalAdapter {
    std::int32_t number = 0, channels = 0;
    Text info, WWPN, spoofWWPN;
    std::int32_t mode = 0;  // model::kPortMode
    Text monitorWWPN, secondaryStandbyWWPN, moduleName;
    Flag vsaEnabled = 0;
    std::int32_t maxAliasCount = 0;
    Text alpa;
    std::vector<model::PhysicalDev> physicalDevs;
    std::optional<model::PersistentBinding> persistentBinding;
    std::optional<model::WWPNList> aliasWWPNList;
    std::optional<model::WWPNList> standbyAliasWWPNList;
};

struct PhysicalResources {
    std::vector<PhysicalAdapter> physicalAdapters;  // sorted by number once the bridge is read
    model::BlockDevices blockDevices;               // only stripe devices exist in 4.0
};

/// 4.0 lists the clients here once more; 4.5 has no room for them.
struct SANBridgeInfo {
    std::vector<model::SANClient> clients;
};

/// The 4.0 root: one server.
struct SANBridge {
    Text name, timestamp, checksum, ipAddr;
    std::int32_t ipsanPort = 0, instance = 0;
    model::Properties properties;
    SANBridgeInfo sanBridgeInfo;
    std::optional<model::FailoverPrimary> failoverPrimary;
    std::optional<model::FailoverSecondary> failoverSecondary;
    PhysicalResources physicalResources;
    model::LogicalResources logicalResources;
    model::SANClientList sanClientList;
    /// The snapshot group of each member device: device id to the group's index
    /// in logicalResources.snapshotGroupList. Held in memory only, never written.
    std::map<std::int32_t, std::size_t> snapshotGroupOfDevice;
};

}  // namespace legacy
