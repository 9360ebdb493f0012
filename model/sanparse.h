#pragma once
#include <cstddef>
#include <memory>

#include "model/records.h"

// The 4.5 readers: a bridge from a file or a buffer, a partition from a buffer.

namespace model {

/// Reads the last SANBridge of the document at `path` (file source, shared
/// lock) and runs validateSANBridge on it. Null, after "parse error SANBridge\n"
/// on stderr, when there is none or its parser failed.
std::unique_ptr<SANBridge> readBridge45(const char* path) noexcept;
/// As above, over a buffer (borrowed, not NUL-terminated).
std::unique_ptr<SANBridge> readBridge45(const char* buffer, std::size_t length) noexcept;

/// Reads the last NimbraPartition of the buffer; null after
/// "parse error NimbraPartition\n" on stderr.
std::unique_ptr<NimbraPartition> readPartition45(const char* buffer, std::size_t length) noexcept;

}  // namespace model
