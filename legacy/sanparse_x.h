#pragma once
#include <cstddef>
#include <memory>

#include "legacy/records40.h"

namespace model {
class ReadObserver;
struct LayoutBase;
}  // namespace model

// The 4.0 reader: a configuration document of the 4.0 layout into its bridge.

namespace legacy {

/// Reads the document in `text` (borrowed, not NUL-terminated) and returns its
/// SANBridge, fix-ups applied; with several bridges, the last. Null without a
/// message when the document has none; null after "parse error SANBridge\n" on
/// stderr when a bridge's parser failed. Owned by the caller. `observer`, when
/// given, is told what the reader reads and passes over.
std::unique_ptr<SANBridge> readBridge40(const char* text, std::size_t length,
                                        model::ReadObserver* observer = nullptr) noexcept;

/// The 4.0 layout that reads element `number`, or null when none does.
const model::LayoutBase* layout40(int number) noexcept;

}  // namespace legacy
