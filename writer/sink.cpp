#include "writer/sink.h"

#include <cstring>
#include <new>

namespace writer {

namespace {

constexpr std::size_t kFirstCapacity = 8192;
constexpr std::size_t kStreamChunk = 64 * 1024;
constexpr char kIndent[] = "                                                                ";

}  // namespace

XmlSink::XmlSink(XmlSink&& other) noexcept
    : level(other.level), file_(other.file_), start_(other.start_), cursor_(other.cursor_), end_(other.end_) {
    other.start_ = other.cursor_ = other.end_ = nullptr;
    other.file_ = nullptr;
}

XmlSink::~XmlSink() {
    flush();
    delete[] start_;
}

// Memory mode grows geometrically, so the whole document is copied a bounded
// number of times; stream mode empties its chunk into the file instead.
bool XmlSink::reserve(std::size_t count) noexcept {
    if (static_cast<std::size_t>(end_ - cursor_) >= count) return true;
    if (file_ != nullptr) {
        flush();
        if (start_ == nullptr) {
            start_ = new (std::nothrow) char[kStreamChunk];
            if (start_ == nullptr) return false;
            cursor_ = start_;
            end_ = start_ + kStreamChunk;
        }
        return static_cast<std::size_t>(end_ - cursor_) >= count;
    }
    const std::size_t used = size();
    std::size_t capacity = start_ == nullptr ? kFirstCapacity : static_cast<std::size_t>(end_ - start_) * 2;
    while (capacity - used < count) capacity *= 2;
    char* grown = new (std::nothrow) char[capacity];
    if (grown == nullptr) return false;
    if (used != 0) std::memcpy(grown, start_, used);
    delete[] start_;
    start_ = grown;
    cursor_ = grown + used;
    end_ = grown + capacity;
    return true;
}

void XmlSink::putSlow(char c) noexcept {
    if (reserve(1)) {
        *cursor_++ = c;
    } else if (file_ != nullptr) {
        static_cast<void>(std::fputc(c, file_));  // no chunk: a file loses nothing, it goes unbuffered
    }
}

void XmlSink::write(std::string_view text) noexcept {
    if (text.empty()) return;
    if (file_ != nullptr && text.size() > kStreamChunk) {
        flush();
        static_cast<void>(std::fwrite(text.data(), 1, text.size(), file_));  // the owner checks ferror
        return;
    }
    if (!reserve(text.size())) {
        if (file_ != nullptr) {  // no chunk: a file loses nothing, it goes unbuffered
            static_cast<void>(std::fwrite(text.data(), 1, text.size(), file_));
            return;
        }
        // Keep what fits: a memory sink that can't grow drops the rest.
        const std::size_t room = static_cast<std::size_t>(end_ - cursor_);
        if (room == 0) return;  // also no buffer at all: memcpy must not see its null pointer
        std::memcpy(cursor_, text.data(), room);
        cursor_ += room;
        return;
    }
    std::memcpy(cursor_, text.data(), text.size());
    cursor_ += text.size();
}

void XmlSink::newLine() noexcept {
    put('\n');
    for (std::int32_t remaining = level * 2; remaining > 0;) {
        const std::int32_t piece = remaining < 64 ? remaining : 64;
        write(std::string_view(kIndent, static_cast<std::size_t>(piece)));
        remaining -= piece;
    }
}

void XmlSink::unsignedDecimal(std::uint32_t value) noexcept {
    char digits[10];
    int count = 0;
    do {
        digits[count++] = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value != 0);
    char text[10];
    for (int i = 0; i < count; ++i) text[i] = digits[count - 1 - i];
    write(std::string_view(text, static_cast<std::size_t>(count)));
}

void XmlSink::decimal(std::int32_t value) noexcept {
    if (value < 0) {
        put('-');
        // Negate in unsigned arithmetic: -2147483648 has no positive int32.
        unsignedDecimal(0u - static_cast<std::uint32_t>(value));
    } else {
        unsignedDecimal(static_cast<std::uint32_t>(value));
    }
}

void XmlSink::hex(std::uint32_t value) noexcept {
    char text[10] = {'0', 'x'};
    char digits[8];
    int count = 0;
    do {
        digits[count++] = "0123456789ABCDEF"[value & 0xF];
        value >>= 4;
    } while (value != 0);
    for (int i = 0; i < count; ++i) text[2 + i] = digits[count - 1 - i];
    write(std::string_view(text, static_cast<std::size_t>(count + 2)));
}

void XmlSink::escaped(std::string_view text) noexcept {
    std::size_t plainFrom = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char* entity = nullptr;
        switch (text[i]) {
        case '"': entity = "&quot;"; break;
        case '&': entity = "&amp;"; break;
        case '\'': entity = "&apos;"; break;
        case '<': entity = "&lt;"; break;
        case '>': entity = "&gt;"; break;
        default: continue;
        }
        write(text.substr(plainFrom, i - plainFrom));
        write(entity);
        plainFrom = i + 1;
    }
    write(text.substr(plainFrom));
}

void XmlSink::escaped(const char* text) noexcept {
    if (text != nullptr) escaped(std::string_view(text));
}

void XmlSink::escaped(const std::optional<std::string>& text) noexcept {
    // Stored texts are C strings: a NUL ends them.
    if (text) escaped(std::string_view(text->c_str()));
}

ConfigText XmlSink::takeBuffer() noexcept {
    ConfigText taken;
    if (file_ != nullptr || cursor_ == start_) return taken;
    taken.length = static_cast<std::int32_t>(size());
    taken.text.reset(start_);
    start_ = cursor_ = end_ = nullptr;
    return taken;
}

void XmlSink::flush() noexcept {
    if (file_ == nullptr || cursor_ == start_) return;
    static_cast<void>(std::fwrite(start_, 1, size(), file_));  // the owner checks ferror
    cursor_ = start_;
}

}  // namespace writer
