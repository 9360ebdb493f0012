#include "writer/sink.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <new>

namespace writer {

namespace {

constexpr std::size_t kFirstCapacity = 8192;
constexpr std::size_t kStreamChunk = 64 * 1024;
constexpr char kIndent[] = "                                                                ";

}  // namespace

XmlSink::XmlSink(XmlSink&& other) noexcept
    : level(other.level),
      carriageReturnAsEntity(other.carriageReturnAsEntity),
      file_(other.file_),
      start_(other.start_),
      cursor_(other.cursor_),
      end_(other.end_),
      complete_(other.complete_) {
    other.start_ = other.cursor_ = other.end_ = nullptr;
    other.file_ = nullptr;
}

void TextRelease::operator()(char* bytes) const noexcept {
    if (fromMalloc) {
        std::free(bytes);
    } else {
        delete[] bytes;
    }
}

XmlSink XmlSink::toMemory(ConfigText storage) noexcept {
    XmlSink sink(nullptr);
    if (storage.text && storage.length > 0 && storage.text.get_deleter().fromMalloc) {
        sink.start_ = sink.cursor_ = storage.text.release();
        sink.end_ = sink.start_ + storage.length;
    }
    return sink;
}

XmlSink::~XmlSink() {
    flush();
    if (file_ != nullptr) {
        delete[] start_;
    } else {
        std::free(start_);
    }
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
    // realloc: a large buffer is moved by remapping its pages, so the text is
    // neither copied nor resident twice while it grows.
    char* grown = static_cast<char*>(std::realloc(start_, capacity));
    if (grown == nullptr) return false;
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
    } else {
        complete_ = false;
    }
}

void XmlSink::writeSlow(std::string_view text) noexcept {
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
        complete_ = false;
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
    constexpr std::size_t kIndentWidth = sizeof kIndent - 1;
    const auto indent = static_cast<std::size_t>(level) * 2;
    if (level >= 0 && indent <= kIndentWidth && kIndentWidth + 1 <= static_cast<std::size_t>(end_ - cursor_)) {
        // The common case: the line feed and up to 64 spaces as fixed-size copies.
        *cursor_ = '\n';
        std::memcpy(cursor_ + 1, kIndent, kIndentWidth);
        cursor_ += 1 + indent;
        return;
    }
    put('\n');
    for (std::int32_t remaining = level * 2; remaining > 0;) {
        const std::int32_t piece = remaining < 64 ? remaining : 64;
        write(std::string_view(kIndent, static_cast<std::size_t>(piece)));
        remaining -= piece;
    }
}

void XmlSink::unsignedDecimal(std::uint32_t value) noexcept {
    char text[10];
    char* first = text + sizeof text;
    do {
        *--first = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value != 0);
    write(std::string_view(first, static_cast<std::size_t>(text + sizeof text - first)));
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

namespace {

// 1: written as an entity; 2: a NUL, which ends a C string; 3: a CR, an
// entity only when the sink asks for it.
constexpr std::array<std::uint8_t, 256> kEscapeClass = [] {
    std::array<std::uint8_t, 256> classes{};
    for (const unsigned char c : {'"', '&', '\'', '<', '>'}) classes[c] = 1;
    classes[0] = 2;
    classes['\r'] = 3;
    return classes;
}();

std::string_view entityOf(char c) noexcept {
    switch (c) {
    case '"': return "&quot;";
    case '&': return "&amp;";
    case '\'': return "&apos;";
    case '<': return "&lt;";
    default: return "&gt;";
    }
}

}  // namespace

// One pass that copies the runs between special bytes whole (and, for a C
// string, finds its end on the way instead of measuring it first).
void XmlSink::escapedRun(const char* text, std::size_t length, bool nulEnds) noexcept {
    const char* run = text;
    const char* const end = text + length;
    for (const char* p = text; p != end; ++p) {
        const std::uint8_t kind = kEscapeClass[static_cast<unsigned char>(*p)];
        if (kind == 0) continue;
        if (kind == 2) {
            if (!nulEnds) continue;
            write(std::string_view(run, static_cast<std::size_t>(p - run)));
            return;
        }
        if (kind == 3 && !carriageReturnAsEntity) continue;
        write(std::string_view(run, static_cast<std::size_t>(p - run)));
        write(kind == 3 ? std::string_view("&#13;") : entityOf(*p));
        run = p + 1;
    }
    write(std::string_view(run, static_cast<std::size_t>(end - run)));
}

void XmlSink::literalStored(std::string_view text) noexcept {
    const std::size_t nul = text.find('\0');
    if (nul != std::string_view::npos) text = text.substr(0, nul);
    for (std::size_t lt = text.find('<'); lt != std::string_view::npos; lt = text.find('<')) {
        write(text.substr(0, lt));
        write("&lt;");
        text = text.substr(lt + 1);
    }
    write(text);
}

void XmlSink::escaped(std::string_view text) noexcept { escapedRun(text.data(), text.size(), false); }

void XmlSink::escaped(const char* text) noexcept {
    if (text != nullptr) escaped(std::string_view(text));
}

void XmlSink::escaped(const std::optional<std::string>& text) noexcept {
    // Stored texts are C strings: a NUL ends them.
    if (text) escapedRun(text->data(), text->size(), true);
}

ConfigText XmlSink::takeBuffer() noexcept {
    ConfigText taken;
    if (file_ != nullptr || cursor_ == start_) return taken;
    taken.length = static_cast<std::int32_t>(size());
    // Shrunk to the exact length; when that fails the larger buffer is handed over.
    char* exact = static_cast<char*>(std::realloc(start_, size()));
    taken.text = ConfigText::Bytes(exact != nullptr ? exact : start_, TextRelease{true});
    start_ = cursor_ = end_ = nullptr;
    return taken;
}

void XmlSink::flush() noexcept {
    if (file_ == nullptr || cursor_ == start_) return;
    static_cast<void>(std::fwrite(start_, 1, size(), file_));  // the owner checks ferror
    cursor_ = start_;
}

}  // namespace writer
