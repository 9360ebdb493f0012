#pragma once
#include <ctime>

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

/// "<default configuration path>.ndx" with the line "nextVDevID,trapLevel".
/// Nothing is written or reported when the file can't be opened.
void writeIndexFile(const model::SANBridge& bridge) noexcept;

}  // namespace writer
