#pragma once
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

// The output of every element writer: a growing memory buffer or a borrowed
// stdio stream. Depends on nothing else in the project.

namespace writer {

/// Releases a text's bytes as they were allocated: a memory sink grows its
/// buffer with realloc, so that a large document is remapped rather than copied
/// on growth (and never held twice); other texts come from new[].
struct TextRelease {
    bool fromMalloc = false;
    void operator()(char* bytes) const noexcept;
};

/// A document's text in memory: owned bytes, not NUL-terminated, with their
/// count beside them. The input file's text, a serialised model and a memory
/// sink's output all travel in it.
struct ConfigText {
    using Bytes = std::unique_ptr<char[], TextRelease>;
    Bytes text;  // null when empty
    std::int32_t length = 0;
};

class XmlSink {
public:
    /// A sink that collects the text in memory. Allocation failure drops bytes
    /// silently: the text comes out shorter, never as an error.
    static XmlSink toMemory() noexcept { return XmlSink(nullptr); }
    /// A memory sink that starts in the bytes of `storage`, a block from
    /// malloc that is done with (what it held is overwritten), and grows from
    /// there: its pages are already backed by memory, so the text does not
    /// fault in pages of its own. Other storage is released and not used.
    static XmlSink toMemory(ConfigText storage) noexcept;
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
    /// Escaped text writes a CR byte as "&#13;", for a reader that would take
    /// a raw one for a line end. Off: a CR is written as it is.
    bool carriageReturnAsEntity = false;

    void put(char c) noexcept {
        if (cursor_ < end_) {
            *cursor_++ = c;
        } else {
            putSlow(c);
        }
    }
    void write(std::string_view text) noexcept {
        // Inline for the common case: the text fits into what is already there.
        if (!text.empty() && text.size() <= static_cast<std::size_t>(end_ - cursor_)) {
            std::memcpy(cursor_, text.data(), text.size());
            cursor_ += text.size();
        } else {
            writeSlow(text);
        }
    }
    /// A short C string (an element or attribute name, a spelling), written
    /// as it is read instead of being measured first.
    void writeName(const char* text) noexcept {
        // A local cursor: stores through char* could alias the members.
        char* cursor = cursor_;
        char* const end = end_;
        for (; *text != '\0'; ++text) {
            if (cursor == end) {
                cursor_ = cursor;
                writeSlow(text);
                return;
            }
            *cursor++ = *text;
        }
        cursor_ = cursor;
    }
    /// Bytes kept zero-padded to a fixed width (a name with what surrounds
    /// it), so that the common case is one copy of fixed size, which the
    /// compiler does in a few moves; only `length` of them count.
    static constexpr std::size_t kPaddedWidth = 32;
    using Padded = char[kPaddedWidth];
    void writePadded(const Padded& bytes, std::size_t length) noexcept {
        if (kPaddedWidth <= static_cast<std::size_t>(end_ - cursor_)) {
            std::memcpy(cursor_, bytes, kPaddedWidth);
            cursor_ += length;
        } else {
            write(std::string_view(bytes, length));
        }
    }
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
    /// A stored text: escaped as above, and a NUL ends it (texts are C strings).
    void escapedStored(std::string_view text) noexcept { escapedRun(text.data(), text.size(), true); }
    /// A stored text as held, for a reader that takes content literally: only
    /// '<', which would open a tag, is written "&lt;"; a NUL ends it.
    void literalStored(std::string_view text) noexcept;

    /// Memory mode: hands the bytes over and empties the sink; null bytes and
    /// length 0 when nothing was written. Stream mode: always empty.
    ConfigText takeBuffer() noexcept;
    /// Stream mode: writes what is buffered. Memory mode: nothing.
    void flush() noexcept;
    /// Bytes written so far (memory mode), or buffered and not yet flushed.
    std::size_t size() const noexcept { return static_cast<std::size_t>(cursor_ - start_); }
    /// Memory mode: false once a byte was dropped for lack of memory, so the
    /// text is not the whole of what was written. Stream mode: always true
    /// (the stream's own error state tells).
    bool complete() const noexcept { return complete_; }

private:
    explicit XmlSink(std::FILE* file) noexcept : file_(file) {}
    void putSlow(char c) noexcept;
    void writeSlow(std::string_view text) noexcept;
    /// Escapes `length` bytes, stopping early at a NUL when `nulEnds`.
    void escapedRun(const char* text, std::size_t length, bool nulEnds) noexcept;
    /// Makes room for at least `count` more bytes; false when it can't.
    bool reserve(std::size_t count) noexcept;

    std::FILE* file_ = nullptr;  // null: memory mode
    char* start_ = nullptr;
    char* cursor_ = nullptr;
    char* end_ = nullptr;
    bool complete_ = true;
};

}  // namespace writer
