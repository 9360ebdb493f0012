#pragma once
#include <cstddef>
#include <sys/types.h>

struct flock;
struct stat;

namespace xml {

/// The system calls of the file-update path (lock files, temporary file and
/// the mode and owner it takes over, backup link, rename, directory sync,
/// index file, repository device).
/// Production code calls them through posixOps() so that a test can make any
/// one of them fail on cue, or stop the process right after it.
struct PosixOps {
    int (*open)(const char* path, int flags, mode_t mode);
    ssize_t (*write)(int fd, const void* data, std::size_t size);
    ssize_t (*read)(int fd, void* data, std::size_t size);
    off_t (*lseek)(int fd, off_t offset, int whence);
    int (*fsync)(int fd);
    int (*close)(int fd);
    int (*lock)(int fd, int command, struct flock* lock);  // fcntl record locks
    int (*link)(const char* from, const char* to);
    int (*unlink)(const char* path);
    int (*rename)(const char* from, const char* to);
    int (*stat)(const char* path, struct stat* info);
    int (*lstat)(const char* path, struct stat* info);
    int (*fchmod)(int fd, mode_t mode);
    int (*fchown)(int fd, uid_t owner, gid_t group);
    char* (*getcwd)(char* buffer, std::size_t size);
    void (*sync)();
};

/// The table in use: the real calls unless a test replaced entries.
PosixOps& posixOps() noexcept;
/// The real calls.
const PosixOps& realPosixOps() noexcept;

}  // namespace xml
