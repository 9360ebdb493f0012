#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string_view>

namespace xml {

/// One character source of the lexer: a caller's buffer, a read-only mapping of
/// a file, or (when the file can't be mapped) a stdio stream on it. A file source
/// holds the shared lock of the file's lock file until it is destroyed.
///
/// Every operation turns CR LF, a lone CR and a lone LF into one LF, so the
/// lexer never sees a CR. The buffer and mapped cases are handled inline here:
/// the stream is only a fallback and takes the out-of-line path.
class Source {
public:
    /// Null when the document can't be opened, or after "fdopen error %s\n".
    static std::unique_ptr<Source> openFile(const char* path);
    /// Null after "Can't access NULL buffer\n". The buffer is borrowed.
    static std::unique_ptr<Source> openMemory(const char* buffer, std::size_t length);
    ~Source();
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

    /// The next character without taking it, or -1 at the end; a CR reads as LF.
    int peek() noexcept {
        if (stream_) [[unlikely]] return streamPeek();
        if (cur_ == end_) return -1;
        const int c = static_cast<unsigned char>(*cur_);
        return c == '\r' ? '\n' : c;
    }

    /// Takes the next character, or -1 at the end, counting lines.
    int get() noexcept {
        if (stream_) [[unlikely]] return streamGet();
        if (cur_ == end_) return -1;
        int c = static_cast<unsigned char>(*cur_++);
        if (c == '\r') {
            c = '\n';
            if (cur_ == end_) {
                // Deliberately, a CR that ends the buffer is stepped back onto and
                // never consumed: every later get returns LF again and counts a line.
                --cur_;
            } else if (*cur_ == '\n') {
                ++cur_;  // CR LF is one line end
            }
        }
        if (c == '\n') ++line_;
        return c;
    }

    /// True for a buffer or a mapped file, where runs can be taken at once.
    bool buffered() const noexcept { return stream_ == nullptr; }

    /// Buffer and mapped sources: takes the bytes up to the first one for which
    /// `stop` holds, a CR, or the end, counting lines, and returns them. Each is
    /// what get() would have returned, so callers append the run as a whole.
    template <typename Stop>
    std::string_view takeRun(Stop stop) noexcept {
        const char* const start = cur_;
        const char* p = cur_;
        unsigned long lines = 0;
        for (; p != end_; ++p) {
            const char c = *p;
            if (c == '\r' || stop(static_cast<unsigned char>(c))) break;
            lines += c == '\n';
        }
        cur_ = p;
        line_ += lines;
        return {start, static_cast<std::size_t>(p - start)};
    }

    /// Takes the bytes up to the first one marked in `stops`, or the end, and
    /// carries `hash` (h = h * 9 + byte) over them, so that a name is measured
    /// as it is read. `stops` must mark CR and LF (so no line is counted here)
    /// and NUL (where a name's key ends).
    std::string_view takeHashedRun(const std::array<bool, 256>& stops, std::uint32_t& hash) noexcept {
        const char* const start = cur_;
        const char* p = cur_;
        std::uint32_t h = hash;
        for (; p != end_; ++p) {
            const unsigned char c = static_cast<unsigned char>(*p);
            if (stops[c]) break;
            h = h * 9 + c;
        }
        cur_ = p;
        hash = h;
        return {start, static_cast<std::size_t>(p - start)};
    }

    /// Buffer and mapped sources: the unread bytes, raw (a CR is still a CR),
    /// for a caller that scans them itself.
    const char* cursor() const noexcept { return cur_; }
    const char* end() const noexcept { return end_; }
    /// Takes the bytes up to `to`, which the caller scanned: none of them is a
    /// CR, and `lines` of them are LF.
    void skipScanned(const char* to, unsigned long lines) noexcept {
        cur_ = to;
        line_ += lines;
    }

    unsigned long line() const noexcept { return line_; }
    bool mapped() const noexcept { return mapStart_ != nullptr; }
    /// Descriptor of the lock file, -1 for a memory source or when it couldn't be opened.
    int lockFd() const noexcept { return lockFd_; }

private:
    Source() = default;
    int streamPeek() noexcept;
    int streamGet() noexcept;

    const char* cur_ = nullptr;
    const char* end_ = nullptr;
    std::FILE* stream_ = nullptr;
    void* mapStart_ = nullptr;
    std::size_t mapLength_ = 0;
    int fd_ = -1;
    int lockFd_ = -1;
    unsigned long line_ = 1;
    const char* path_ = nullptr;  // borrowed, for messages
};

}  // namespace xml
