#include "xml/source.h"

#include <cstdio>
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
    source->path_ = path;

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
            source->cur_ = static_cast<const char*>(map);
            source->end_ = source->cur_ + size;
        }
    }
    if (!source->mapStart_) {
        // Empty files, pipes and /proc files can't be mapped: read them as a stream.
        source->stream_ = ::fdopen(source->fd_, "rb");
        if (!source->stream_) {
            std::fprintf(stderr, kFdopenError, path);
            return nullptr;  // the destructor closes the document, then the lock
        }
        source->fd_ = -1;  // owned by the stream now
    }
    source->line_ = 1;
    return source;
}

std::unique_ptr<Source> Source::openMemory(const char* buffer, std::size_t length) {
    if (!buffer) {
        std::fputs(kNullBuffer, stderr);
        return nullptr;
    }
    std::unique_ptr<Source> source(new (std::nothrow) Source);
    if (!source) return nullptr;
    source->cur_ = buffer;
    source->end_ = buffer + length;
    return source;
}

Source::~Source() {
    // Document first, then the lock: a writer waiting for it may replace the file at once.
    if (mapStart_) ::munmap(mapStart_, mapLength_);
    if (stream_) std::fclose(stream_);
    if (fd_ >= 0) ::close(fd_);
    unlockAndClose(sys::realCalls(), lockFd_);
}

int Source::streamPeek() noexcept {
    const int c = std::fgetc(stream_);
    std::ungetc(c, stream_);  // no-op for EOF
    return c == '\r' ? '\n' : c;
}

int Source::streamGet() noexcept {
    int c = std::fgetc(stream_);
    if (c == '\r') {
        const int after = std::fgetc(stream_);
        if (after != '\n') std::ungetc(after, stream_);
        c = '\n';
    }
    if (c == '\n') ++line_;
    return c;
}

}  // namespace xml
