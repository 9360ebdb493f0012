#pragma once

#include "model/records_clients.h"

namespace model {

/// The consistency pass run on every bridge the 4.5 reader returns: raises the
/// low next-identifier counters to the bridge's identifier base, sorts the
/// physical adapters by number, and fills in the inquiry strings of virtual
/// devices that have none.
void validateSANBridge(SANBridge& bridge) noexcept;

}  // namespace model
