#pragma once
#include "writer/sink.h"

namespace tool {

/// The input file's text: exactly the file's bytes, not NUL-terminated.
using ConfigText = writer::ConfigText;

/// Frees the text and sets the length to 0; fine on an empty record.
void releaseText(ConfigText& record) noexcept;

/// Reads the whole file at `path` into `record` (opened "r+b", so the file must
/// be writable). Returns 0, or -1 (bad parameter), -2 (open), -3 (seek to end),
/// -4 (size below 1), -5 (seek to start), -6 (allocation), -7 (short read; the
/// partly filled buffer stays in the record). Messages on stdout when `verbose`.
int readXMLFromFile(const char* path, ConfigText* record, bool verbose) noexcept;

/// Reads the whole file at `path` into `record` for looking at it: read-only,
/// under the shared lock of its lock file when that file exists (it is never
/// created here). 0, or the errno of the call that failed (EFBIG past 2 GiB).
int readDocumentShared(const char* path, ConfigText* record) noexcept;

}  // namespace tool
