#pragma once
#include <string>
#include <string_view>
#include <sys/types.h>

#include "sys/calls.h"

namespace xml {

/// "/dir/name.conf" -> "/dir/.name.conf.lock"; "name.conf" -> ".name.conf.lock".
std::string lockFileName(std::string_view documentPath);

/// Opens (creating, mode 0770; a symbolic link there fails to open) the lock
/// file of `documentPath` and waits for a shared (exclusive == false) or
/// exclusive lock on its first byte, every call through `calls`.
/// Returns the descriptor, or -1 after printing "Can't open lock file %s - %d\n".
int openAndLock(const sys::Calls& calls, const char* documentPath, bool exclusive) noexcept;

/// fcntl record lock `command` (F_SETLK, F_SETLKW) of `lockType` on byte 0.
/// Returns fcntl's result.
int setLock(const sys::Calls& calls, int fd, int command, short lockType) noexcept;

/// Process id of a holder whose lock conflicts with `lockType`, or 0 when none
/// (also after an fcntl failure, which is reported as "XML parser fcntl error").
pid_t testLock(const sys::Calls& calls, int fd, short lockType) noexcept;

/// Unlocks byte 0 without waiting and closes `fd`; nothing for -1.
void unlockAndClose(const sys::Calls& calls, int fd) noexcept;

/// Deletes the lock file of `documentPath`; returns unlink's result.
int removeLockFile(const sys::Calls& calls, const char* documentPath) noexcept;

/// Owns a lock descriptor from openAndLock. Record locks belong to the process:
/// closing any descriptor of the file drops them, so keep one per lock file.
class LockFile {
public:
    LockFile() = default;
    LockFile(const sys::Calls& calls, int fd) noexcept : calls_(&calls), fd_(fd) {}
    LockFile(LockFile&& other) noexcept : calls_(other.calls_), fd_(other.fd_) { other.fd_ = -1; }
    LockFile& operator=(LockFile&& other) noexcept;
    LockFile(const LockFile&) = delete;
    LockFile& operator=(const LockFile&) = delete;
    ~LockFile() { release(); }

    static LockFile acquire(const sys::Calls& calls, const char* documentPath, bool exclusive) noexcept {
        return LockFile(calls, openAndLock(calls, documentPath, exclusive));
    }
    bool held() const noexcept { return fd_ >= 0; }
    int fd() const noexcept { return fd_; }
    /// Unlock, then close. Safe to call twice.
    void release() noexcept;

private:
    const sys::Calls* calls_ = nullptr;
    int fd_ = -1;
};

}  // namespace xml
