#pragma once
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

// The output of every element writer: a growing memory buffer or a borrowed
// stdio stream. Depends on nothing else in the project.

namespace writer {

/// A document's text in memory: owned bytes, not NUL-terminated, with their
/// count beside them. The input file's text, a serialised model and a memory
/// sink's output all travel in it.
struct ConfigText {
    std::unique_ptr<char[]> text;  // null when empty
    std::int32_t length = 0;
};

class XmlSink {
public:
    /// A sink that collects the text in memory. Allocation failure drops bytes
    /// silently: the text comes out shorter, never as an error.
    static XmlSink toMemory() noexcept { return XmlSink(nullptr); }
    /// A sink that writes into `file` (borrowed); the owner checks ferror()
    /// after flush() or the sink's destruction.
    static XmlSink toStream(std::FILE* file) noexcept { return XmlSink(file); }

    XmlSink(XmlSink&& other) noexcept;
    XmlSink& operator=(XmlSink&&) = delete;
    XmlSink(const XmlSink&) = delete;
    XmlSink& operator=(const XmlSink&) = delete;
    ~XmlSink();

    /// Indentation depth: newLine() indents two spaces per level above 0.
    std::int32_t level = 0;

    void put(char c) noexcept {
        if (cursor_ < end_) {
            *cursor_++ = c;
        } else {
            putSlow(c);
        }
    }
    void write(std::string_view text) noexcept;
    void newLine() noexcept;
    /// Decimal as "%d".
    void decimal(std::int32_t value) noexcept;
    /// Decimal as "%lu" of a 32-bit unsigned long.
    void unsignedDecimal(std::uint32_t value) noexcept;
    /// "0x%X": upper-case digits, no padding.
    void hex(std::uint32_t value) noexcept;
    /// The text with '"', '&', '\'', '<' and '>' as entities; every other byte as it is.
    void escaped(std::string_view text) noexcept;
    /// As above; a null text writes nothing.
    void escaped(const char* text) noexcept;
    void escaped(const std::optional<std::string>& text) noexcept;

    /// Memory mode: hands the bytes over and empties the sink; null bytes and
    /// length 0 when nothing was written. Stream mode: always empty.
    ConfigText takeBuffer() noexcept;
    /// Stream mode: writes what is buffered. Memory mode: nothing.
    void flush() noexcept;
    /// Bytes written so far (memory mode), or buffered and not yet flushed.
    std::size_t size() const noexcept { return static_cast<std::size_t>(cursor_ - start_); }

private:
    explicit XmlSink(std::FILE* file) noexcept : file_(file) {}
    void putSlow(char c) noexcept;
    /// Makes room for at least `count` more bytes; false when it can't.
    bool reserve(std::size_t count) noexcept;

    std::FILE* file_ = nullptr;  // null: memory mode
    char* start_ = nullptr;
    char* cursor_ = nullptr;
    char* end_ = nullptr;
};

}  // namespace writer
