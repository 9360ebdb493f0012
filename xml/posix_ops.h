#pragma once
#include <cstddef>
#include <sys/types.h>

struct flock;
struct stat;

namespace xml {

/// The system calls of the file-update path (lock files, temporary file,
/// backup link, rename, directory sync). Production code calls them through
/// posixOps() so that a test can make any one of them fail on cue.
struct PosixOps {
    int (*open)(const char* path, int flags, mode_t mode);
    ssize_t (*write)(int fd, const void* data, std::size_t size);
    int (*fsync)(int fd);
    int (*close)(int fd);
    int (*lock)(int fd, int command, struct flock* lock);  // fcntl record locks
    int (*link)(const char* from, const char* to);
    int (*unlink)(const char* path);
    int (*rename)(const char* from, const char* to);
    int (*stat)(const char* path, struct stat* info);
    char* (*getcwd)(char* buffer, std::size_t size);
    void (*sync)();
};

/// The table in use: the real calls unless a test replaced entries.
PosixOps& posixOps() noexcept;
/// The real calls.
const PosixOps& realPosixOps() noexcept;

}  // namespace xml
