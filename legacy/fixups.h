#pragma once
#include <cstdint>

#include "legacy/records40.h"

namespace legacy {

/// What the 4.0 reader does to a bridge once its element ends, in this order:
/// raises the low next-identifier counters to the bridge's identifier base,
/// sorts the physical adapters by number (stable), gives owner-less virtual
/// devices an owner, expands wildcard WWPN targets to the target-mode adapters,
/// and links snapshot-group members to their group. A step that cannot
/// allocate leaves what it would have changed as it was.
void applyFixups(SANBridge& bridge) noexcept;

/// The snapshot group that lists the device with id `vid` (the last such group
/// when several do), or null.
const model::SnapshotGroup* snapshotGroupOf(const SANBridge& bridge, std::int32_t vid) noexcept;

}  // namespace legacy
