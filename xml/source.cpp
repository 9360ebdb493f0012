#include "xml/source.h"

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "xml/lock_file.h"

namespace xml {

namespace {
constexpr const char* kNullBuffer = "Can't access NULL buffer\n";
constexpr const char* kFdopenError = "fdopen error %s\n";
constexpr const char* kFstatError = "fstat error";
}  // namespace

std::unique_ptr<Source> Source::openFile(const char* path) {
    if (!path) return nullptr;
    std::unique_ptr<Source> source(new (std::nothrow) Source);
    if (!source) return nullptr;

    // Readers share the lock; a writer holding it exclusively is never read half-written.
    // Without a lock file (already reported) the document is read unlocked.
    source->lockFd_ = openAndLock(sys::realCalls(), path, false);

    source->fd_ = ::open(path, O_RDONLY);
    if (source->fd_ < 0) return nullptr;  // the destructor unlocks and closes the lock

    struct stat info {};
    off_t size = 0;
    if (::fstat(source->fd_, &info) != 0) {
        std::perror(kFstatError);
    } else {
        size = info.st_size;
    }
    if (size > 0) {
        void* map = ::mmap(nullptr, static_cast<std::size_t>(size), PROT_READ, MAP_SHARED, source->fd_, 0);
        if (map != MAP_FAILED) {
            source->mapStart_ = map;
            source->mapLength_ = static_cast<std::size_t>(size);
            source->begin_ = static_cast<const char*>(map);
            source->end_ = source->begin_ + size;
            return source;
        }
    }
    // Empty files, pipes and /proc files can't be mapped: they are read whole
    // through a stream and lexed as a buffer is.
    std::FILE* stream = ::fdopen(source->fd_, "rb");
    if (!stream) {
        std::fprintf(stderr, kFdopenError, path);
        return nullptr;  // the destructor closes the document, then the lock
    }
    source->fd_ = -1;  // owned by the stream now
    const bool complete = source->readStream(stream);
    std::fclose(stream);
    if (!complete) return nullptr;
    return source;
}

// A read error ends the input as the end of the stream would.
bool Source::readStream(std::FILE* stream) noexcept {
    std::size_t size = 0, room = 4096;
    std::unique_ptr<char[]> bytes(new (std::nothrow) char[room]);
    if (!bytes) return false;
    for (;;) {
        size += std::fread(bytes.get() + size, 1, room - size, stream);
        if (size < room) break;
        std::unique_ptr<char[]> bigger(new (std::nothrow) char[room * 2]);
        if (!bigger) return false;
        std::memcpy(bigger.get(), bytes.get(), size);
        bytes = std::move(bigger);
        room *= 2;
    }
    read_ = std::move(bytes);
    begin_ = read_.get();
    end_ = begin_ + size;
    return true;
}

std::unique_ptr<Source> Source::openMemory(const char* buffer, std::size_t length) {
    if (!buffer) {
        std::fputs(kNullBuffer, stderr);
        return nullptr;
    }
    std::unique_ptr<Source> source(new (std::nothrow) Source);
    if (!source) return nullptr;
    source->begin_ = buffer;
    source->end_ = buffer + length;
    return source;
}

Source::~Source() {
    // Document first, then the lock: a writer waiting for it may replace the file at once.
    if (mapStart_) ::munmap(mapStart_, mapLength_);
    if (fd_ >= 0) ::close(fd_);
    unlockAndClose(sys::realCalls(), lockFd_);
}

}  // namespace xml
