#include "sys/calls.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

namespace sys {

namespace {

int realOpen(const char* path, int flags, mode_t mode) { return ::open(path, flags, mode); }
int realLock(int fd, int command, struct flock* lock) { return ::fcntl(fd, command, lock); }
int realStat(const char* path, struct stat* info) { return ::stat(path, info); }
int realLstat(const char* path, struct stat* info) { return ::lstat(path, info); }
int realSystem(const char* command) { return std::system(command); }
std::time_t realTime(std::time_t* now) { return std::time(now); }

const Calls kReal = {
    realOpen,  ::write,  ::read,     ::lseek,   ::fsync,  ::close,  realLock,   ::link,
    ::unlink,  std::rename, realStat, realLstat, ::fchmod, ::fchown, ::getcwd, ::sync,
    realSystem, realTime, ::nanosleep,
};

struct Cookie {
    const Calls* calls;
    int fd;
};

ssize_t cookieRead(void* cookie, char* data, std::size_t size) {
    const Cookie& c = *static_cast<Cookie*>(cookie);
    ssize_t n;
    while ((n = c.calls->read(c.fd, data, size)) < 0 && errno == EINTR) {
    }
    return n;
}

// A short count makes stdio mark the stream failed, so write all or fail.
ssize_t cookieWrite(void* cookie, const char* data, std::size_t size) {
    const Cookie& c = *static_cast<Cookie*>(cookie);
    std::size_t done = 0;
    while (done < size) {
        const ssize_t n = c.calls->write(c.fd, data + done, size - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return done > 0 ? static_cast<ssize_t>(done) : -1;
        done += static_cast<std::size_t>(n);
    }
    return static_cast<ssize_t>(size);
}

int cookieSeek(void* cookie, off64_t* offset, int whence) {
    const Cookie& c = *static_cast<Cookie*>(cookie);
    const off_t at = c.calls->lseek(c.fd, static_cast<off_t>(*offset), whence);
    if (at < 0) return -1;
    *offset = at;
    return 0;
}

int cookieClose(void* cookie) {
    const Cookie* c = static_cast<Cookie*>(cookie);
    const int result = c->calls->close(c->fd);
    delete c;
    return result;
}

// fopen's modes ("r", "r+", "w", "w+", "a", "a+", any with "b") as open flags.
int openFlags(const char* mode) {
    const bool update = std::strchr(mode, '+') != nullptr;
    switch (mode[0]) {
    case 'w': return (update ? O_RDWR : O_WRONLY) | O_CREAT | O_TRUNC;
    case 'a': return (update ? O_RDWR : O_WRONLY) | O_CREAT | O_APPEND;
    default:  return update ? O_RDWR : O_RDONLY;
    }
}

}  // namespace

const Calls& realCalls() noexcept { return kReal; }

std::FILE* streamOver(const Calls& calls, int fd, const char* mode) noexcept {
    Cookie* cookie = new (std::nothrow) Cookie{&calls, fd};
    if (cookie == nullptr) {
        errno = ENOMEM;
        return nullptr;
    }
    const cookie_io_functions_t io = {cookieRead, cookieWrite, cookieSeek, cookieClose};
    std::FILE* stream = ::fopencookie(cookie, mode, io);
    if (stream == nullptr) delete cookie;
    return stream;
}

std::FILE* openStream(const Calls& calls, const char* path, const char* mode) noexcept {
    const int fd = calls.open(path, openFlags(mode), 0666);
    if (fd < 0) return nullptr;
    std::FILE* stream = streamOver(calls, fd, mode);
    if (stream == nullptr) {
        const int error = errno;
        static_cast<void>(calls.close(fd));
        errno = error;
    }
    return stream;
}

}  // namespace sys
