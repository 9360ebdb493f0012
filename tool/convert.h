#pragma once
#include <cstdint>
#include <ctime>

#include "model/records.h"
#include "tool/read_input.h"

namespace tool {

/// The serialise step: raises the root's `instance` by one (also when it then
/// fails) and writes the root into `out` (emptied first): through the root's
/// serialiser when it has one, whose status is returned; else as the 4.5
/// document with `now` as the header's time, 0, or 0x90010037 when that
/// yields nothing.
std::uint32_t serialise(model::SANBridge& root, ConfigText& out, std::time_t now) noexcept;

/// Converts the 4.0 document at `inputPath` into the 4.5 document at
/// `outputPath`. Returns 0 (also after a parse failure), a readXMLFromFile code,
/// 0x90010037 when serialising failed, or -1 when writing the file failed.
/// Messages on stdout only when `verbose`.
///
/// `keepModel`: the converted model is not released but kept until the next
/// call or the process's end. The tool exits right after converting, and
/// releasing the model of a large document record by record costs several
/// per cent of the run for memory the exit gives back anyway.
int convert(const char* inputPath, const char* outputPath, bool verbose, bool keepModel = false) noexcept;

}  // namespace tool
