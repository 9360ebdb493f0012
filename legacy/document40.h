#pragma once
#include "legacy/records40.h"
#include "writer/sink.h"

// The framing of a 4.0 document around its bridge.

namespace legacy {

/// Writes SANConfig/SANBridgeList around the bridge in the 4.0 layout: no
/// declaration, no header comment, no newline after the last line.
void writeDocument40(writer::XmlSink& out, const SANBridge& bridge) noexcept;

/// The document in memory; null bytes and length 0 when not all of it could
/// be written (a memory sink that runs out of memory drops bytes).
writer::ConfigText writeDocument40ToMemory(const SANBridge& bridge) noexcept;

}  // namespace legacy
