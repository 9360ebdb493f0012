#pragma once
#include <optional>
#include <string_view>

#include "sys/host_env.h"

namespace model {
struct SANBridge;
}

namespace writer {

/// One replacement of a configuration file, and what goes with it.
struct FileWrite {
    const char* path = nullptr;  // null: the bridge's default configuration path
    // The whole new content; none: the bridge's 4.5 document, written straight into the file.
    std::optional<std::string_view> text = std::nullopt;
    const model::SANBridge* bridge = nullptr;  // the server whose configuration this is, if any
    // Also the bridge's index file and, for a main configuration file, its
    // instance in the status block.
    bool serverState = false;
};

/// The one way a configuration file is written: the safe file update (lock,
/// temporary file, .previous, repository, rename, directory sync), through
/// env.calls, the temporary file named with env.pid, a document's header
/// with env.now. With `serverState` the index file beside the bridge's
/// default path is written and, when the target ends in "nimbra.conf", the
/// bridge's instance recorded in the shared status block (put back when the
/// update fails). Returns 0, or -1 with errno telling why (EINVAL when the
/// request lacks the bridge it needs); the target is then as it was.
int writeConfigFile(const sys::HostEnv& env, const FileWrite& what) noexcept;

/// "<default configuration path>.ndx" with the line "nextVDevID,trapLevel".
/// Nothing is written or reported when the file can't be opened, is a
/// symbolic link, or the bridge's name is not a plain directory name (absent,
/// "", ".", "..", or holding "/").
void writeIndexFile(const sys::HostEnv& env, const model::SANBridge& bridge) noexcept;

}  // namespace writer
