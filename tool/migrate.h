#pragma once
#include <cstdint>
#include <memory>

#include "legacy/records40.h"
#include "model/records.h"
#include "writer/sink.h"

namespace tool {

class ConversionObserver;

/// A new 4.5 root built from the 4.0 root `old`: the physical side rebuilt
/// (adapters without devices, every disk once in one list), everything else
/// moved across, and the down-level serialiser installed. Null when a part
/// could not be built; the partial root is then released. `old` is left to the
/// caller, emptied of what moved.
std::unique_ptr<model::SANBridge> migrate(legacy::SANBridge& old) noexcept;

/// Reads the 4.0 document in `text` and migrates it; `options` is kept in the
/// new root. *errorOut, when given, is set to 0 and never to anything else.
/// Null when the document yields no bridge or the migration fails.
/// `observer`, when given, is told what the reader reads and is shown the 4.0
/// bridge before the migration.
std::unique_ptr<model::SANBridge> parseAndMigrate(const char* text, std::int32_t length, std::uint32_t options,
                                                  std::uint32_t* errorOut,
                                                  ConversionObserver* observer = nullptr) noexcept;

/// Whether `device` is a disk seen through a further path: its first alias
/// names another address than its own. The migration keeps such a device once,
/// as the device of the first path.
bool isFurtherPath(const model::PhysicalDev& device) noexcept;

/// The serialiser the migration installs, for writing a root in the 4.0
/// layout: 0x9001000D when either argument is missing; else the record is
/// cleared, the root back-converted (tool/backconvert.h) and the 4.0 document
/// written into the record, 0; 0x90010005 when memory runs out on the way
/// (the record then stays empty). The root is as it was afterwards.
std::uint32_t serialiseDownLevel(model::SANBridge* bridge, model::SerializedText* out) noexcept;

}  // namespace tool
