#include "legacy/document40.h"

#include <cstdint>

#include "legacy/layout40.h"

namespace legacy {

void writeDocument40(writer::XmlSink& out, const SANBridge& bridge) noexcept {
    // The lexer turns a raw CR into a line feed, so a CR held in a value
    // travels as a character reference.
    const bool entityBefore = out.carriageReturnAsEntity;
    out.carriageReturnAsEntity = true;
    model::writeBridgeList(out, kSANBridge40, &bridge);
    out.carriageReturnAsEntity = entityBefore;
}

writer::ConfigText writeDocument40ToMemory(const SANBridge& bridge) noexcept {
    writer::XmlSink out = writer::XmlSink::toMemory();
    writeDocument40(out, bridge);
    // A text longer than its length field can count is not whole either.
    if (!out.complete() || out.size() > static_cast<std::size_t>(INT32_MAX)) return {};
    return out.takeBuffer();
}

}  // namespace legacy
