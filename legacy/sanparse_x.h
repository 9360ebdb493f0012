#pragma once
#include <cstddef>
#include <memory>

#include "legacy/records40.h"

// The 4.0 reader: a configuration document of the 4.0 layout into its bridge.

namespace legacy {

/// Reads the document in `text` (borrowed, not NUL-terminated) and returns its
/// SANBridge, fix-ups applied; with several bridges, the last. Null without a
/// message when the document has none; null after "parse error SANBridge\n" on
/// stderr when a bridge's parser failed. Owned by the caller.
std::unique_ptr<SANBridge> readBridge40(const char* text, std::size_t length) noexcept;

}  // namespace legacy
