#pragma once
#include <cstdint>

#include "model/records.h"

// Queries across the model.
namespace model {

/// The first virtual device numbered `id` in any list of the bridge's logical
/// resources (CopyManagerResources and the single VirtualDev included); null
/// when there is none. Borrowed from `bridge`.
const VirtualDev* findVirtualDev(const SANBridge& bridge, std::int32_t id) noexcept;

}  // namespace model
