#include "xml/lock_file.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>


namespace xml {

std::string lockFileName(std::string_view documentPath) {
    const std::size_t slash = documentPath.rfind('/');
    const std::size_t nameStart = slash == std::string_view::npos ? 0 : slash + 1;
    std::string name;
    name.reserve(documentPath.size() + 6);
    name.append(documentPath.substr(0, nameStart));
    name.push_back('.');
    name.append(documentPath.substr(nameStart));
    name.append(".lock");
    return name;
}

namespace {

struct flock byteZero(short lockType) {
    struct flock lock {};
    lock.l_type = lockType;
    lock.l_whence = SEEK_SET;
    lock.l_start = 0;
    lock.l_len = 1;
    return lock;
}

}  // namespace

int setLock(const sys::Calls& calls, int fd, int command, short lockType) noexcept {
    struct flock lock = byteZero(lockType);
    return calls.lock(fd, command, &lock);
}

int openAndLock(const sys::Calls& calls, const char* documentPath, bool exclusive) noexcept {
    // The name is built on the stack: a writer gets its lock even when memory
    // has run out. A path too long for it is too long for open() as well.
    char name[PATH_MAX + sizeof ".lock"];
    const std::string_view path(documentPath);
    const std::size_t slash = path.rfind('/');
    const int dirLength = slash == std::string_view::npos ? 0 : static_cast<int>(slash + 1);
    const int written = std::snprintf(name, sizeof name, "%.*s.%s.lock", dirLength, documentPath,
                                      documentPath + dirLength);
    int fd = -1;
    if (written < 0 || static_cast<std::size_t>(written) >= sizeof name) {
        errno = ENAMETOOLONG;
    } else {
        // Never through a link: a planted one would have root create or lock its target.
        fd = calls.open(name, O_RDWR | O_CREAT | O_NOFOLLOW, 0770);
    }
    if (fd < 0) {
        std::fprintf(stderr, "Can't open lock file %s - %d\n", name, errno);
        return -1;
    }
    // Waits for the lock; a signal that interrupts the wait is not a reason to go on unlocked.
    while (setLock(calls, fd, F_SETLKW, exclusive ? F_WRLCK : F_RDLCK) != 0 && errno == EINTR) {
    }
    return fd;
}

pid_t testLock(const sys::Calls& calls, int fd, short lockType) noexcept {
    struct flock lock = byteZero(lockType);
    if (calls.lock(fd, F_GETLK, &lock) != 0) {
        std::perror("XML parser fcntl error");
        return 0;
    }
    return lock.l_type == F_UNLCK ? 0 : lock.l_pid;
}

void unlockAndClose(const sys::Calls& calls, int fd) noexcept {
    if (fd < 0) return;
    static_cast<void>(setLock(calls, fd, F_SETLK, F_UNLCK));  // closing drops it anyway
    calls.close(fd);
}

int removeLockFile(const sys::Calls& calls, const char* documentPath) noexcept {
    return calls.unlink(lockFileName(documentPath).c_str());
}

LockFile& LockFile::operator=(LockFile&& other) noexcept {
    if (this != &other) {
        release();
        calls_ = other.calls_;
        fd_ = other.fd_;
        other.fd_ = -1;
    }
    return *this;
}

void LockFile::release() noexcept {
    if (fd_ >= 0) unlockAndClose(*calls_, fd_);
    fd_ = -1;
}

}  // namespace xml
