#pragma once

namespace tool {

/// Converts the 4.0 document at `inputPath` into the 4.5 document at
/// `outputPath`. Returns 0 (also after a parse failure), a readXMLFromFile code,
/// 0x90010037 when serialising failed, or -1 when writing the file failed.
/// Messages on stdout only when `verbose`.
int convert(const char* inputPath, const char* outputPath, bool verbose) noexcept;

}  // namespace tool
