#pragma once

namespace tool {

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
