#include "xml/lexer.h"

#include <array>
#include <bit>
#include <cstdio>
#include <cstring>
#include <new>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "xml/name_table.h"
#include "xml/source.h"
#include "xml/token_slot.h"

namespace xml {

namespace {

constexpr const char* kNoError = "0 error";
constexpr const char* kExpectEqualInTag = "expect '=' follows attribute with tag";

constexpr bool isSpace(int c) noexcept { return c == '\t' || c == ' ' || c == '\r' || c == '\n'; }

// Characters that end an element or attribute name without being part of it.
constexpr bool endsName(int c) noexcept { return isSpace(c) || c == '/' || c == '=' || c == '>'; }

// Bytes that end a name's run: those that end a name, and NUL, which ends its key.
constexpr std::array<bool, 256> kNameRunStops = [] {
    std::array<bool, 256> stops{};
    for (int c = 0; c < 256; ++c) stops[c] = c == '\0' || endsName(c);
    return stops;
}();

#if defined(__SSE2__)
// Bit i set where byte i of the 16 at `p` is `c`.
inline unsigned bytesEqual(__m128i block, char c) noexcept {
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(block, _mm_set1_epi8(c))));
}
// Half `half` of the block as a little-endian word, with the bytes from
// position `length` on as zero: a name's last block as the hash takes it.
inline std::uint64_t wordBefore(__m128i block, unsigned length, int half) noexcept {
    const std::uint64_t word = static_cast<std::uint64_t>(
        _mm_cvtsi128_si64(half == 0 ? block : _mm_unpackhi_epi64(block, block)));
    const unsigned bytes = length > 8u * half ? length - 8u * half : 0;
    return bytes >= 8 ? word : word & ((std::uint64_t{1} << (8 * bytes)) - 1);
}
// Set bits, one step per bit: there are seldom more than one (a line end), and
// without a popcount instruction in the baseline ISA std::popcount is a call.
inline unsigned countBits(unsigned mask) noexcept {
    unsigned n = 0;
    for (; mask != 0; mask &= mask - 1) ++n;
    return n;
}
#endif

}  // namespace

// The lexer is one scanner over the source's bytes. Each state's rule is
// written once below, in the order its steps take characters; runs of plain
// characters (names, values, character data) are taken a run at a time, and
// single characters through peek() and take(), which read a CR as a line end.
struct Lexer::Impl {
    std::unique_ptr<Source> source;
    const char* p = nullptr;  // the next byte
    const char* end = nullptr;
    bool endlessFinalCr = true;
    unsigned long sourceLine = 1;  // the line of the next byte
    unsigned long line = 1;        // where the current token started
    LexState state = LexState::Prolog;
    int depth = 0;
    const char* errorText = kNoError;
    TokenSlot t;

    explicit Impl(std::unique_ptr<Source> from) noexcept
        : source(std::move(from)), p(source->begin()), end(source->end()), endlessFinalCr(source->endlessFinalCr()) {}

    // The rules of the frequent tokens are inlined into next(): a call per
    // token costs as much as some of the tokens.
    [[gnu::always_inline]] inline void lex() noexcept;
    [[gnu::always_inline]] inline void textOrMarkup() noexcept;
    [[gnu::always_inline]] inline void markup() noexcept;
    [[gnu::always_inline]] inline void startTag() noexcept;
    [[gnu::noinline]] void declaration() noexcept;
    [[gnu::noinline]] void processingInstruction() noexcept;

    LexState afterTag() const noexcept { return depth != 0 ? LexState::Content : LexState::Prolog; }

    // The next character without taking it, or -1 at the end; a CR reads as LF.
    [[gnu::always_inline]] int peek() const noexcept {
        if (p == end) return -1;
        const int c = static_cast<unsigned char>(*p);
        return c == '\r' ? '\n' : c;
    }

    // Takes the line end at a CR: CR LF is one, a lone CR another. Deliberately,
    // a CR that ends a buffer is never taken: it reads as LF, and a line, forever.
    [[gnu::always_inline]] void takeCr() noexcept {
        ++sourceLine;
        if (p + 1 != end) {
            p += p[1] == '\n' ? 2 : 1;
        } else if (!endlessFinalCr) {
            ++p;
        }
    }

    // Takes the next character into the token; -1 at the end (nothing kept).
    [[gnu::always_inline]] int take() noexcept {
        if (p == end) return -1;
        const int c = static_cast<unsigned char>(*p);
        if (c == '\r') {
            takeCr();
            t.appendByte('\n');
            return '\n';
        }
        t.appendRaw(p++, 1);
        if (c == '\n') ++sourceLine;
        return c;
    }

    [[gnu::always_inline]] void skipSpace() noexcept {
        while (p != end) {
            const char c = *p;
            if (c == ' ' || c == '\t') {
                ++p;
            } else if (c == '\n') {
                ++p;
                ++sourceLine;
            } else if (c == '\r') {
                takeCr();
            } else {
                return;
            }
        }
    }

    // Takes the run of bytes before the first `stop`, CR or the end into the
    // token, counting its line ends, and returns its length. Values and
    // character data are scanned 16 bytes at a time: most are shorter, so one
    // step ends the scan whatever their length. A run that ends in its first
    // block without a NUL has its key measured on the way (a value may be an
    // enumeration's word, to be looked up).
    [[gnu::always_inline]] std::size_t takeUntil(char stop, NameKey* key = nullptr) noexcept {
        const char* q = p;
        unsigned long lines = 0;
#if defined(__SSE2__)
        for (; end - q >= 16; q += 16) {
            const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(q));
            const unsigned stops = bytesEqual(block, stop) | bytesEqual(block, '\r');
            const unsigned lineEnds = bytesEqual(block, '\n');
            if (stops != 0) {
                const unsigned at = static_cast<unsigned>(std::countr_zero(stops));
                const unsigned before = (1u << at) - 1;
                lines += countBits(lineEnds & before);
                if (key != nullptr && q == p && (bytesEqual(block, '\0') & before) == 0) {
                    key->data = q;
                    key->length = at;
                    key->hash = hashEnd(at == 0 ? kNameHashSeed : hashBlock(kNameHashSeed, wordBefore(block, at, 0),
                                                                           wordBefore(block, at, 1)),
                                        at);
                }
                q += at;
                goto found;
            }
            lines += countBits(lineEnds);
        }
#endif
        for (; q != end && *q != stop && *q != '\r'; ++q) lines += *q == '\n';
#if defined(__SSE2__)
    found:
#endif
        // A stop that is LF itself ends the run before any line is counted.
        sourceLine += lines;
        const std::size_t length = static_cast<std::size_t>(q - p);
        t.appendRaw(p, length);
        p = q;
        return length;
    }

    // Element or attribute name, as the payload; stops before white space, "/",
    // "=", ">". With `measure`, the token gets the name's key on the way.
    [[gnu::always_inline]] void readName(bool measure) noexcept {
        t.markDataStart();
        const char* q = p;
        std::uint32_t hash = 0;
        bool hashed = false;
#if defined(__SSE2__)
        // A name's end and its hash, a block at a time; a byte below "!" that
        // is not white space (a NUL ends the key there) goes the careful way.
        std::uint64_t h = kNameHashSeed;
        while (end - q >= 16) {
            const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(q));
            const __m128i low = _mm_min_epu8(block, _mm_set1_epi8(' '));
            const unsigned stops = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(low, block))) |
                                   bytesEqual(block, '/') | bytesEqual(block, '=') | bytesEqual(block, '>');
            if (stops == 0) {
                h = hashBlock(h, wordBefore(block, 16, 0), wordBefore(block, 16, 1));
                q += 16;
                continue;
            }
            const unsigned at = static_cast<unsigned>(std::countr_zero(stops));
            if (!endsName(static_cast<unsigned char>(q[at]))) break;
            if (at != 0) h = hashBlock(h, wordBefore(block, at, 0), wordBefore(block, at, 1));
            q += at;
            hash = hashEnd(h, static_cast<std::size_t>(q - p));
            hashed = true;
            break;
        }
#endif
        std::size_t keyLength = static_cast<std::size_t>(q - p);
        if (!hashed) {
            while (q != end && !kNameRunStops[static_cast<unsigned char>(*q)]) ++q;
            keyLength = static_cast<std::size_t>(q - p);
            hash = nameHash(std::string_view(p, keyLength));
            while (q != end && !endsName(static_cast<unsigned char>(*q))) ++q;  // past a NUL, which ends only the key
        }
        t.appendRaw(p, static_cast<std::size_t>(q - p));
        const std::uint32_t taken = static_cast<std::uint32_t>(q - p);
        p = q;
        if (p == end) t.type = Tok::Eof;
        t.markDataEnd();
        // A failed growth loses bytes: the key would no longer match the payload.
        if (measure && t.hasData && t.dataLength == taken) {
            t.named = true;
            t.nameHash = hash;
            t.nameLength = static_cast<std::uint32_t>(keyLength);
        }
    }

    // Takes characters up to and including ">".
    [[gnu::always_inline]] void readThroughClose() noexcept {
        for (;;) {
            takeUntil('>');
            const int c = take();
            if (c == -1) {
                t.type = Tok::Eof;
                return;
            }
            if (c == '>') return;
        }
    }
};

inline void Lexer::Impl::lex() noexcept {
    switch (state) {
    case LexState::InTag: {  // <name |
        skipSpace();
        const int c = peek();
        if (c == '>') {
            t.type = Tok::StartTagClose;
            take();
            ++depth;
            state = afterTag();
        } else if (c == '/') {
            t.type = Tok::EmptyTagClose;
            readThroughClose();
            state = afterTag();  // depth unchanged
        } else {
            t.type = Tok::Attribute;
            readName(true);
            skipSpace();
            state = LexState::AfterAttrName;
        }
        break;
    }
    case LexState::AfterAttrName: {  // <name attr |
        skipSpace();
        if (peek() == '=') {
            t.type = Tok::Equal;
            take();
            skipSpace();
            state = LexState::AfterEqual;
            break;
        }
        // No "=": give up on the rest of the tag, but keep the depth as if it had closed.
        t.type = Tok::LexError;
        errorText = kExpectEqualInTag;
        readThroughClose();
        if (t.type == Tok::Eof) return;
        const bool emptyTag = t.used >= 2 && t.text()[t.used - 2] == '/';
        if (!emptyTag) ++depth;
        state = afterTag();
        break;
    }
    case LexState::AfterEqual: {  // <name attr=|
        // Any character delimits the value, not only quotes.
        const int delimiter = peek();
        t.type = Tok::AttValue;
        if (take() == -1) t.appendByte(static_cast<char>(-1));  // the end of input, kept as a byte
        t.markDataStart();
        NameKey key;
        for (bool first = true;; first = false) {
            if (delimiter != -1) takeUntil(static_cast<char>(delimiter), first ? &key : nullptr);
            const int c = peek();
            if (c == -1) {
                t.type = Tok::Eof;
                state = LexState::InTag;
                return;
            }
            if (c == delimiter) break;
            key.data = nullptr;  // the value goes on past a line end
            take();
        }
        t.markDataEnd();
        if (key.data != nullptr && t.hasData && t.dataLength == key.length) {
            t.named = true;
            t.nameHash = key.hash;
            t.nameLength = static_cast<std::uint32_t>(key.length);
        }
        take();
        state = LexState::InTag;
        break;
    }
    case LexState::Content:
        t.type = Tok::Content;
        textOrMarkup();
        return;
    case LexState::Prolog:
        textOrMarkup();  // the type stays TOK_UNKNOWN for text
        return;
    default:
        break;  // not a state this lexer sets: an empty token
    }
    t.terminate();
}

inline void Lexer::Impl::textOrMarkup() noexcept {
    if (p == end) {
        t.type = Tok::Eof;
        return;
    }
    if (*p == '<') {
        markup();
        return;
    }
    // Character data, white space included: indentation between tags is a token too.
    t.markDataStart();
    for (;;) {
        takeUntil('<');
        if (p == end || *p == '<') break;
        take();  // a line end at a CR
    }
    t.markDataEnd();
    t.terminate();
}

inline void Lexer::Impl::markup() noexcept {
    take();  // "<"
    switch (peek()) {
    case '!':
        declaration();
        return;
    case '/':  // </
        t.type = Tok::EndTag;
        take();
        readName(false);     // matched against the open element's name, not looked up
        readThroughClose();  // whatever follows the name is not checked
        // The name is not matched against the open element, and depth may go negative.
        --depth;
        state = afterTag();
        break;
    case '?':
        processingInstruction();
        return;
    case '<':
        return;  // "<" alone; the second "<" starts the next token
    default:
        startTag();
        break;
    }
    t.terminate();
}

void Lexer::Impl::declaration() noexcept {  // <!
    t.type = Tok::Comment;
    take();
    for (int i = 0; i < 8; ++i) {
        const int c = take();
        if (c == -1) {
            t.type = Tok::Eof;
            return;
        }
        if (c == '>') return;  // a short comment such as <!---->
    }
    t.terminate();
    const char* head = t.text();  // "<!" and the 8 characters after it
    if (t.used < 10) {            // some were lost to a failed growth
        readThroughClose();
    } else if (std::memcmp(head + 2, "[CDATA[", 7) == 0) {
        t.type = Tok::CData;
        int before1 = static_cast<unsigned char>(head[9]), before2 = static_cast<unsigned char>(head[8]);
        for (;;) {
            const int c = take();
            if (c == -1) {
                t.type = Tok::Eof;
                break;
            }
            if (c == '>' && before1 == ']' && before2 == ']') break;
            before2 = before1;
            before1 = c;
        }
    } else if (std::memcmp(head + 2, "DOCTYPE", 7) == 0) {
        if (!isSpace(static_cast<unsigned char>(head[9]))) return;  // a comment of 10 characters
        t.type = Tok::Doctype;
        bool inSubset = false;
        for (;;) {
            const int c = take();
            if (c == -1) {
                t.type = Tok::Eof;
                break;
            }
            if (c == '[') {
                inSubset = true;
            } else if (c == ']') {
                inSubset = false;
            } else if (c == '>' && !inSubset) {
                break;
            }
        }
    } else {
        // Deliberately a comment ends at the first ">", not at "-->": the server's
        // own documents never put ">" in a comment.
        readThroughClose();
    }
    t.terminate();
}

void Lexer::Impl::processingInstruction() noexcept {  // <?
    take();
    for (int i = 0; i < 4; ++i) {
        const int c = take();
        if (c == -1) {
            t.type = Tok::Eof;
            return;
        }
        if (c == '>') {
            t.type = Tok::PI;
            return;
        }
    }
    const char* head = t.text();
    const bool xmlDecl = t.used >= 6 && std::memcmp(head + 2, "xml", 3) == 0 &&
                         isSpace(static_cast<unsigned char>(head[5]));
    t.type = xmlDecl ? Tok::XmlDec : Tok::PI;
    readThroughClose();
    t.terminate();
}

inline void Lexer::Impl::startTag() noexcept {  // <|name
    // At the end of input the name sets TOK_EOF and the peek below still makes the
    // token a TOK_START_TAG_OPEN: the next tokens end the input inside the tag.
    readName(true);
    skipSpace();
    const int c = peek();
    if (c == '/') {
        t.type = Tok::EmptyTag;
        readThroughClose();
        state = LexState::Content;  // even at depth 0
    } else if (c == '>') {
        t.type = Tok::StartTag;
        take();
        ++depth;
        state = LexState::Content;
    } else {
        t.type = Tok::StartTagOpen;
        state = LexState::InTag;
    }
}

Lexer::Lexer() = default;
Lexer::~Lexer() = default;

std::unique_ptr<Lexer> Lexer::onFile(const char* path) {
    return on(Source::openFile(path));
}

std::unique_ptr<Lexer> Lexer::onMemory(const char* buffer, std::size_t length) {
    return on(Source::openMemory(buffer, length));
}

std::unique_ptr<Lexer> Lexer::on(std::unique_ptr<Source> source) {
    if (!source) return nullptr;
    std::unique_ptr<Lexer> lexer(new (std::nothrow) Lexer);
    if (!lexer) return nullptr;  // the source closes and unlocks as it goes
    lexer->impl_.reset(new (std::nothrow) Impl(std::move(source)));
    if (!lexer->impl_) return nullptr;
    return lexer;
}

Token Lexer::next() {
    Impl& impl = *impl_;
    impl.t.reset();
    impl.line = impl.sourceLine;
    impl.lex();
    return Token(&impl.t);
}

unsigned long Lexer::line() const noexcept { return impl_->line; }
unsigned long Lexer::sourceLine() const noexcept { return impl_->sourceLine; }
LexState Lexer::state() const noexcept { return impl_->state; }
int Lexer::depth() const noexcept { return impl_->depth; }
const char* Lexer::errorText() const noexcept { return impl_->errorText; }
bool Lexer::mapped() const noexcept { return impl_->source->mapped(); }
void Lexer::setAccumulatorLimit(std::uint32_t bytes) noexcept { impl_->t.limit = bytes; }

void reportLexError(const Lexer* lexer, const char* message) {
    if (lexer) {
        std::fprintf(stderr, "XML lex error at line %lu: %s\n", lexer->sourceLine(), message);
    } else {
        std::fprintf(stderr, "XML lex error %s\n", message);
    }
}

}  // namespace xml
