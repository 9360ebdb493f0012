#pragma once
#include <cstddef>
#include <cstdio>
#include <memory>

namespace xml {

/// The bytes the lexer reads: a caller's buffer, a read-only mapping of a file,
/// or (when the file can't be mapped) the file read into memory through stdio.
/// A file source holds the shared lock of the file's lock file until it is
/// destroyed.
class Source {
public:
    /// Null when the document can't be opened, or after "fdopen error %s\n".
    static std::unique_ptr<Source> openFile(const char* path);
    /// Null after "Can't access NULL buffer\n". The buffer is borrowed.
    static std::unique_ptr<Source> openMemory(const char* buffer, std::size_t length);
    ~Source();
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

    const char* begin() const noexcept { return begin_; }
    const char* end() const noexcept { return end_; }
    /// True for a buffer or a mapping, whose last byte, when it is a CR, reads
    /// as LF forever; a stream consumed it like any other line end.
    bool endlessFinalCr() const noexcept { return read_ == nullptr; }
    bool mapped() const noexcept { return mapStart_ != nullptr; }
    /// Descriptor of the lock file, -1 for a memory source or when it couldn't be opened.
    int lockFd() const noexcept { return lockFd_; }

private:
    Source() = default;
    bool readStream(std::FILE* stream) noexcept;

    const char* begin_ = nullptr;
    const char* end_ = nullptr;
    std::unique_ptr<char[]> read_;  // the bytes of a file that could not be mapped
    void* mapStart_ = nullptr;
    std::size_t mapLength_ = 0;
    int fd_ = -1;
    int lockFd_ = -1;
};

}  // namespace xml
