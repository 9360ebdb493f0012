#pragma once
#include <ctime>
#include <string_view>

#include "model/records_clients.h"
#include "writer/sink.h"

// The framing of a 4.5 document around its bridge.

namespace writer {

/// Writes the declaration, the header comment with `when` as local time, and
/// SANConfig/SANBridgeList around the bridge; no newline after the last line.
void writeDocument(XmlSink& out, const model::SANBridge& bridge, std::time_t when) noexcept;

/// The document in memory; null bytes and length 0 when there is no root or
/// nothing could be written. `complete` (when given) tells whether the text
/// is the whole document: bytes dropped for lack of memory leave it shorter.
/// `storage`, when given, is a block the text is written over first (see
/// XmlSink::toMemory); it is used up either way.
ConfigText writeDocumentToMemory(const model::SANBridge* bridge, std::time_t when, bool* complete = nullptr,
                                 ConfigText storage = {}) noexcept;

/// Whether `text` is a whole document as the writer writes it: the
/// declaration first, every element closed by its own end tag in order,
/// "</SANConfig>" last. A lost or repeated piece of text breaks one of these.
bool isWholeDocument(std::string_view text) noexcept;

/// Writes the bridge element alone, starting at the sink's current position.
void writeBridge(XmlSink& out, const model::SANBridge& bridge) noexcept;

}  // namespace writer
