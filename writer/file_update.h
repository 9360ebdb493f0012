#pragma once
#include <cstdio>
#include <memory>
#include <string>
#include <sys/types.h>

#include "sys/host_env.h"
#include "xml/lock_file.h"

namespace writer {

/// Replaces one file safely. Opening takes the exclusive lock of the target's
/// lock file and creates the temporary file "<target>_to_Be_<env.pid>" beside it
/// (exclusively, never through a link, with the mode, owner and group of the
/// file it replaces); the new content goes to stream(); commit() makes it the target:
/// fsync, ".previous" hard link to the old file, repository deposit, rename,
/// directory fsync, unlock. Readers of the target (who take the shared lock)
/// never see a partial document. Every system call goes through env.calls.
class FileUpdate {
public:
    /// Null when the temporary file can't be created or given the replaced
    /// file's mode (the lock is then released, the target untouched).
    /// `env` must outlive the update.
    static std::unique_ptr<FileUpdate> open(const sys::HostEnv& env, const char* targetPath) noexcept;
    ~FileUpdate();
    FileUpdate(const FileUpdate&) = delete;
    FileUpdate& operator=(const FileUpdate&) = delete;

    /// Where the new content is written. Write errors are sticky and show at commit.
    std::FILE* stream() noexcept { return stream_; }
    const std::string& targetPath() const noexcept { return path_; }
    const std::string& tempPath() const noexcept { return tmpPath_; }

    /// 0 when the target was replaced; -1 when writing the temporary file
    /// failed ("Abort updating ..." on stderr, temporary file left, target and
    /// ".previous" untouched). `sync` forces data and directory to disk and
    /// hands the file to the configuration repository when there is one.
    /// Call once; the lock is released in both cases.
    int commit(bool sync) noexcept;

private:
    explicit FileUpdate(const sys::HostEnv& env) : env_(env) {}

    const sys::HostEnv& env_;
    std::string path_;
    std::string tmpPath_;
    xml::LockFile lock_;
    int fd_ = -1;                  // the temporary file; the stream closes it
    std::FILE* stream_ = nullptr;
};

/// What stands in the way of replacing `targetPath` by a new configuration
/// file: "" when nothing does; else the reason, naming the file: it is not a
/// regular file (a directory, a symbolic link, a device...), or its directory
/// is missing or not writable. The update itself would not say: its rename
/// is not checked, and it would replace whatever the name holds.
std::string updateObstacle(const char* targetPath);

/// A process-wide operation called when the repository refused a deposit of a
/// main configuration file. The tool registers none.
using RepositoryFailureHook = void (*)();
void setRepositoryFailureHook(RepositoryFailureHook hook) noexcept;

}  // namespace writer
