#include "xml/posix_ops.h"

#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace xml {

namespace {

int realOpen(const char* path, int flags, mode_t mode) { return ::open(path, flags, mode); }
int realLock(int fd, int command, struct flock* lock) { return ::fcntl(fd, command, lock); }
int realStat(const char* path, struct stat* info) { return ::stat(path, info); }
int realLstat(const char* path, struct stat* info) { return ::lstat(path, info); }

const PosixOps kReal = {
    realOpen, ::write,  ::read,      ::lseek,  ::fsync,    ::close,   realLock,
    ::link,   ::unlink, std::rename, realStat, realLstat,  ::fchmod,  ::fchown,
    ::getcwd, ::sync,
};

}  // namespace

const PosixOps& realPosixOps() noexcept { return kReal; }

PosixOps& posixOps() noexcept {
    static PosixOps inUse = kReal;
    return inUse;
}

}  // namespace xml
