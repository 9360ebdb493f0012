#pragma once
#include <cstddef>
#include <cstdio>
#include <ctime>
#include <sys/types.h>

struct flock;
struct stat;
struct timespec;

// The system calls of the safe file update and of the configuration
// repository. The library makes them through the table it is handed (in
// HostEnv), never directly, so that a test can fail any one of them on cue,
// record their order, or stop the process right after one.
namespace sys {

struct Calls {
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
    int (*system)(const char* command);  // runs the repository's compressor
    std::time_t (*time)(std::time_t* now);  // the clock a busy device is waited for by
    int (*nanosleep)(const struct timespec* pause, struct timespec* left);
};

/// The real calls.
const Calls& realCalls() noexcept;

/// A stdio stream whose reads, writes, seeks and close go through `calls`;
/// it owns `fd` from then on. `mode` as fopen's. Null (and `fd` still the
/// caller's) when no stream can be made.
std::FILE* streamOver(const Calls& calls, int fd, const char* mode) noexcept;

/// fopen through `calls`: the file opened with the flags fopen gives `mode`
/// (created with 0666 under the umask), as a stream over the table. Null
/// with errno on failure.
std::FILE* openStream(const Calls& calls, const char* path, const char* mode) noexcept;

}  // namespace sys
