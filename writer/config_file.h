#pragma once
#include <ctime>

#include "writer/sink.h"

namespace model {
struct SANBridge;
}

namespace writer {

/// Writes the 4.5 document of `bridge` to `path` with the safe file update
/// (lock, temporary file, .previous, repository, rename, directory sync);
/// with no path, to the bridge's default configuration path
/// "$NBHOME/etc/<name>/nimbra.conf". Also writes the index file beside the
/// default path and, for a main configuration file, records the bridge's
/// instance in the shared status block (rolled back when the update fails).
/// Returns 0, or -1 on any failure. `when` is the header's time, `pid` names
/// the temporary file.
int writeDocumentToFile(const char* path, const model::SANBridge* bridge, std::time_t when, int pid) noexcept;

/// The same update with the document already serialised: `text` must be the
/// whole document of `bridge` (as writeDocumentToMemory makes it, nothing
/// dropped); its bytes go to the file as they are. The bridge still decides
/// the default path, the index file and the recorded instance. -1 also for
/// an empty text.
int writeDocumentTextToFile(const char* path, const model::SANBridge* bridge, const ConfigText& text,
                            int pid) noexcept;

/// Replaces the file at `path` with `text`, whole, by the same safe update
/// (lock, temporary file, .previous, repository, rename, directory sync), for
/// a text that is no 4.5 document of the server: no index file is written
/// and no instance recorded. Returns 0, or -1 with errno telling why (also
/// for an empty text); the file at `path` is then as it was.
int writeTextToFile(const char* path, const ConfigText& text, int pid) noexcept;

/// "<default configuration path>.ndx" with the line "nextVDevID,trapLevel".
/// Nothing is written or reported when the file can't be opened, is a
/// symbolic link, or the bridge's name is not a plain directory name (absent,
/// "", ".", "..", or holding "/").
void writeIndexFile(const model::SANBridge& bridge) noexcept;

}  // namespace writer
