#include "xml/lexer.h"

#include <array>
#include <bit>
#include <cstdio>
#include <cstring>
#include <new>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "xml/source.h"
#include "xml/token_slot.h"

namespace xml {

namespace {

constexpr const char* kNoError = "0 error";
constexpr const char* kExpectEqualInTag = "expect '=' follows attribute with tag";

constexpr bool isSpace(int c) noexcept { return c == '\t' || c == ' ' || c == '\r' || c == '\n'; }

// Characters that end an element or attribute name without being part of it.
constexpr bool endsName(int c) noexcept { return isSpace(c) || c == '/' || c == '=' || c == '>'; }

// The bytes at which a hashed name run stops: those that end a name, and NUL,
// which ends its key.
constexpr std::array<bool, 256> kNameRunStops = [] {
    std::array<bool, 256> stops{};
    for (int c = 0; c < 256; ++c) stops[c] = c == '\0' || endsName(c);
    return stops;
}();

// Character data and values are scanned 16 bytes at a time where the buffer
// has them: most are shorter, so the scan ends in one step whatever their
// length, where a loop per byte would end at a different count each time.
#if defined(__SSE2__)
struct Block {
    __m128i bytes;
    explicit Block(const char* p) noexcept : bytes(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))) {}
    // Bit i set where byte i is `c`.
    unsigned eq(char c) const noexcept {
        return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_set1_epi8(c))));
    }
};
constexpr std::ptrdiff_t kBlock = 16;

inline unsigned below(unsigned bit) noexcept { return (1u << bit) - 1; }
// Set bits, one step per bit: there are seldom more than one (a line end), and
// without a popcount instruction in the baseline ISA std::popcount is a call.
inline unsigned countBits(unsigned mask) noexcept {
    unsigned n = 0;
    for (; mask != 0; mask &= mask - 1) ++n;
    return n;
}
#endif

// The first byte at or after `p` that is `stop`, counting the LFs before it.
// Null at a CR or the end of input, which the careful path handles.
inline const char* findRaw(const char* p, const char* end, char stop, unsigned long& lines) noexcept {
#if defined(__SSE2__)
    for (; end - p >= kBlock; p += kBlock) {
        const Block block(p);
        const unsigned stops = block.eq(stop) | block.eq('\r');
        const unsigned lineEnds = block.eq('\n');
        if (stops != 0) {
            const unsigned at = static_cast<unsigned>(std::countr_zero(stops));
            lines += countBits(lineEnds & below(at));
            p += at;
            return *p == stop ? p : nullptr;
        }
        lines += countBits(lineEnds);
    }
#endif
    for (; p != end; ++p) {
        const char c = *p;
        if (c == stop) return p;
        if (c == '\r') return nullptr;
        lines += c == '\n';
    }
    return nullptr;
}

// Past the first `stop` (not CR or LF), counting lines on the way; null as findRaw.
inline const char* throughRaw(const char* p, const char* end, char stop, unsigned long& lines) noexcept {
    p = findRaw(p, end, stop, lines);
    return p ? p + 1 : nullptr;
}

// Skips TAB, SPACE and LF, counting lines; null at a CR or the end of input.
inline const char* skipSpaceRaw(const char* p, const char* end, unsigned long& lines) noexcept {
    for (; p != end; ++p) {
        const char c = *p;
        if (c == ' ' || c == '\t') continue;
        if (c != '\n') return c == '\r' ? nullptr : p;
        ++lines;
    }
    return nullptr;
}

// A name from `p` with its hash; null unless it ends at a byte other than CR and
// NUL (a NUL ends the key but not the name).
inline const char* nameRaw(const char* p, const char* end, std::uint32_t& hash) noexcept {
    std::uint32_t h = 0;
    const char* q = p;
    for (; q != end; ++q) {
        const unsigned char c = static_cast<unsigned char>(*q);
        if (kNameRunStops[c]) break;
        h = h * 9 + c;
    }
    hash = h;
    if (q == end || *q == '\r' || *q == '\0') return nullptr;
    return q;
}

// Pieces of a token up to this long are copied as one fixed-size block, which
// the compiler turns into two moves instead of a call.
constexpr std::size_t kShortPiece = 16;

// Copies `length` bytes from `from`; a short piece takes kShortPiece bytes when the
// input has them, so `to` must have room for that many.
inline void copyPiece(char* to, const char* from, std::size_t length, const char* end) noexcept {
    if (length <= kShortPiece && end - from >= static_cast<std::ptrdiff_t>(kShortPiece)) {
        std::memcpy(to, from, kShortPiece);
    } else if (length != 0) {
        std::memcpy(to, from, length);
    }
}

}  // namespace

struct Lexer::Impl {
    // Four slots: a token stays valid while the next three are lexed.
    static constexpr std::size_t kSlots = 4;

    std::unique_ptr<Source> source;
    unsigned long line = 1;
    LexState state = LexState::Prolog;
    int depth = 0;
    const char* errorText = kNoError;
    std::array<TokenSlot, kSlots> slots;
    std::size_t nextSlot = 0;

    // Inlined into next(): a call per token costs more than some of the tokens.
    [[gnu::always_inline]] inline bool fastToken(TokenSlot& t) noexcept;
    // These return true when the token is to be handed out as it is, without the
    // closing NUL that an ordinary token gets.
    void lex(TokenSlot& t);
    bool textOrMarkup(TokenSlot& t);
    bool markup(TokenSlot& t);
    bool declaration(TokenSlot& t);
    bool processingInstruction(TokenSlot& t);
    void startTag(TokenSlot& t);

    LexState afterTag() const noexcept { return depth != 0 ? LexState::Content : LexState::Prolog; }

    void skipSpace() noexcept {
        while (isSpace(source->peek())) source->get();
    }

    // Element or attribute name, as the payload; stops before white space, "/",
    // "=", ">". With `measure`, the token gets the name's key on the way.
    void readName(TokenSlot& t, bool measure) noexcept {
        t.markDataStart();
        std::uint32_t hash = 0;
        std::uint32_t hashed = 0;  // bytes before the first NUL
        std::uint32_t taken = 0;
        bool pastKey = !measure;   // a NUL ends the key, not the name
        for (;;) {
            if (source->buffered()) {
                const std::string_view run = pastKey ? source->takeRun(endsName) : source->takeHashedRun(kNameRunStops, hash);
                t.appendRun(run);
                taken += static_cast<std::uint32_t>(run.size());
                if (!pastKey) hashed += static_cast<std::uint32_t>(run.size());
            }
            if (endsName(source->peek())) break;
            const int c = source->get();
            if (c == -1) {
                t.type = Tok::Eof;
                break;
            }
            t.append(c);
            ++taken;
            pastKey = pastKey || c == 0;
            if (!pastKey) {
                hash = hash * 9 + static_cast<std::uint32_t>(c);
                ++hashed;
            }
        }
        t.markDataEnd();
        // A failed growth loses bytes: the key would no longer match the payload.
        if (measure && t.hasData && t.dataLength == taken) {
            t.named = true;
            t.nameHash = hash;
            t.nameLength = hashed;
        }
    }

    // Takes characters up to and including `delimiter`.
    void readThrough(TokenSlot& t, int delimiter) noexcept {
        for (;;) {
            const int c = source->get();
            if (c == -1) {
                t.type = Tok::Eof;
                return;
            }
            t.append(c);
            if (c == delimiter) return;
        }
    }
};

// Most tokens of a buffered source are lexed here, straight from the buffer:
// tags, attributes and their values, and character data. Where a token needs
// the character-by-character path (a CR, which reads as LF and may never be
// consumed; the end of input; a NUL in a name; declarations, processing
// instructions and "<<"; a missing "="; an accumulator that would have to grow
// past its storage or its limit) this returns false having taken nothing and
// changed no field of the slot, and lex() starts the token afresh. What it
// makes is what lex() would have made, field for field, except that a token
// that is one run of the input is left there rather than copied.
bool Lexer::Impl::fastToken(TokenSlot& t) noexcept {
    const char* p = source->cursor();
    const char* const end = source->end();
    if (p == end) return false;
    unsigned long lines = 0;
    // The accumulator is one or two pieces of the input: white space that lex()
    // skips is not appended.
    const char* const head = p;
    const char* headEnd = head;
    const char* tail = head;
    const char* tailEnd = head;
    Tok type;
    std::uint32_t dataStart = 0;
    std::size_t dataLength = 0;
    bool hasData = false;
    bool named = false;
    std::uint32_t hash = 0;
    int newDepth = depth;
    LexState newState;

    switch (state) {
    case LexState::Content:
    case LexState::Prolog:
        if (*p != '<') {  // character data up to the next "<"
            type = state == LexState::Content ? Tok::Content : Tok::Unknown;
            p = findRaw(p, end, '<', lines);
            if (!p) return false;
            headEnd = p;
            hasData = true;
            dataLength = static_cast<std::size_t>(p - head);
            newState = state;
            break;
        }
        if (end - p < 2) return false;
        if (p[1] == '/') {  // </name ... >
            type = Tok::EndTag;
            const char* nameEnd = nameRaw(p + 2, end, hash);
            if (!nameEnd) return false;
            p = throughRaw(nameEnd, end, '>', lines);
            if (!p) return false;
            headEnd = p;
            dataStart = 2;
            hasData = true;
            dataLength = static_cast<std::size_t>(nameEnd - (head + 2));
            --newDepth;
            newState = newDepth != 0 ? LexState::Content : LexState::Prolog;
            break;
        }
        if (p[1] == '!' || p[1] == '?' || p[1] == '<') return false;
        {  // <name
            headEnd = nameRaw(p + 1, end, hash);
            if (!headEnd) return false;
            dataStart = 1;
            hasData = true;
            named = true;
            dataLength = static_cast<std::size_t>(headEnd - (head + 1));
            p = skipSpaceRaw(headEnd, end, lines);
            if (!p) return false;
            if (*p == '/') {
                type = Tok::EmptyTag;
                tail = p;
                p = throughRaw(p, end, '>', lines);
                if (!p) return false;
                tailEnd = p;
                newState = LexState::Content;  // even at depth 0
            } else if (*p == '>') {
                type = Tok::StartTag;
                tail = p++;
                tailEnd = p;
                ++newDepth;
                newState = LexState::Content;
            } else {
                type = Tok::StartTagOpen;
                newState = LexState::InTag;
            }
        }
        break;
    case LexState::InTag:
        p = skipSpaceRaw(p, end, lines);
        if (!p) return false;
        tail = p;  // white space before the token is not appended
        if (*p == '>') {
            type = Tok::StartTagClose;
            tailEnd = ++p;
            ++newDepth;
            newState = newDepth != 0 ? LexState::Content : LexState::Prolog;
        } else if (*p == '/') {
            type = Tok::EmptyTagClose;
            p = throughRaw(p, end, '>', lines);
            if (!p) return false;
            tailEnd = p;
            newState = newDepth != 0 ? LexState::Content : LexState::Prolog;
        } else {
            type = Tok::Attribute;
            tailEnd = nameRaw(p, end, hash);
            if (!tailEnd) return false;
            hasData = true;
            named = true;
            dataLength = static_cast<std::size_t>(tailEnd - tail);
            p = skipSpaceRaw(tailEnd, end, lines);
            if (!p) return false;
            newState = LexState::AfterAttrName;
        }
        break;
    case LexState::AfterAttrName:
        p = skipSpaceRaw(p, end, lines);
        if (!p || *p != '=') return false;
        type = Tok::Equal;
        tail = p++;
        tailEnd = p;
        p = skipSpaceRaw(p, end, lines);
        if (!p) return false;
        newState = LexState::AfterEqual;
        break;
    case LexState::AfterEqual: {
        // Any character delimits the value; a line end does so only on the careful path.
        const char delimiter = *p;
        if (delimiter == '\r' || delimiter == '\n') return false;
        type = Tok::AttValue;
        p = throughRaw(p + 1, end, delimiter, lines);
        if (!p) return false;
        headEnd = p;
        dataStart = 1;
        hasData = true;
        dataLength = static_cast<std::size_t>(headEnd - head) - 2;
        newState = LexState::InTag;
        break;
    }
    default:
        return false;
    }

    const std::size_t headLength = static_cast<std::size_t>(headEnd - head);
    const std::size_t tailLength = static_cast<std::size_t>(tailEnd - tail);
    const std::uint64_t used = headLength + tailLength;
    const std::uint64_t capacity = TokenSlot::terminatedCapacity(used);
    // Room for the closing NUL, and for copying a short piece as a whole block.
    if (capacity > t.limit || !t.reserve(capacity + kShortPiece + 1)) return false;
    if (headLength == 0) {
        t.input = tail;
    } else if (tailLength == 0 || headEnd == tail) {
        t.input = head;
    } else {  // white space between the pieces: "<name >", say
        copyPiece(t.storage, head, headLength, end);
        copyPiece(t.storage + headLength, tail, tailLength, end);
        t.storage[used] = '\0';
        t.input = nullptr;
    }
    t.type = type;
    t.used = static_cast<std::uint32_t>(used);
    t.capacity = static_cast<std::uint32_t>(capacity);
    t.dataStart = dataStart;
    t.dataLength = static_cast<std::uint32_t>(dataLength);
    t.hasData = hasData;
    t.named = named;
    if (named) {
        t.nameHash = hash;
        t.nameLength = static_cast<std::uint32_t>(dataLength);
    }
    source->skipScanned(p, lines);
    depth = newDepth;
    state = newState;
    return true;
}

void Lexer::Impl::lex(TokenSlot& t) {
    switch (state) {
    case LexState::InTag: {  // <name |
        skipSpace();
        const int c = source->peek();
        if (c == '>') {
            t.type = Tok::StartTagClose;
            t.append(source->get());
            ++depth;
            state = afterTag();
        } else if (c == '/') {
            t.type = Tok::EmptyTagClose;
            readThrough(t, '>');
            state = afterTag();  // depth unchanged
        } else {
            t.type = Tok::Attribute;
            readName(t, true);
            skipSpace();
            state = LexState::AfterAttrName;
        }
        break;
    }
    case LexState::AfterAttrName: {  // <name attr |
        skipSpace();
        if (source->peek() == '=') {
            t.type = Tok::Equal;
            t.append(source->get());
            skipSpace();
            state = LexState::AfterEqual;
            break;
        }
        // No "=": give up on the rest of the tag, but keep the depth as if it had closed.
        t.type = Tok::LexError;
        errorText = kExpectEqualInTag;
        readThrough(t, '>');
        if (t.type == Tok::Eof) return;
        const bool emptyTag = t.used >= 2 && t.storage[t.used - 2] == '/';
        if (!emptyTag) ++depth;
        state = afterTag();
        break;
    }
    case LexState::AfterEqual: {  // <name attr=|
        // Any character delimits the value, not only quotes.
        const int delimiter = source->peek();
        t.type = Tok::AttValue;
        t.append(source->get());
        t.markDataStart();
        for (;;) {
            if (source->buffered()) t.appendRun(source->takeRun([delimiter](int c) { return c == delimiter; }));
            const int c = source->peek();
            if (c == -1) {
                t.type = Tok::Eof;
                state = LexState::InTag;
                return;
            }
            if (c == delimiter) break;
            t.append(source->get());
        }
        t.markDataEnd();
        t.append(source->get());
        state = LexState::InTag;
        break;
    }
    case LexState::Content:
        t.type = Tok::Content;
        if (textOrMarkup(t)) return;
        break;
    case LexState::Prolog:
        if (textOrMarkup(t)) return;  // the type stays TOK_UNKNOWN for text
        break;
    default:
        break;  // not a state this lexer sets: an empty token
    }
    t.terminate();
}

bool Lexer::Impl::textOrMarkup(TokenSlot& t) {
    int c = source->peek();
    if (c == -1) {
        t.type = Tok::Eof;
        return true;
    }
    if (c == '<') return markup(t);
    // Character data, white space included: indentation between tags is a token too.
    t.markDataStart();
    do {
        if (source->buffered()) t.appendRun(source->takeRun([](int b) { return b == '<'; }));
        c = source->peek();
        if (c == '<' || c == -1) break;
        t.append(source->get());
        c = source->peek();
    } while (c != '<' && c != -1);
    t.markDataEnd();
    return false;
}

bool Lexer::Impl::markup(TokenSlot& t) {
    t.append(source->get());  // "<"
    switch (source->peek()) {
    case '!':
        return declaration(t);
    case '/':  // </
        t.type = Tok::EndTag;
        t.append(source->get());
        readName(t, false);   // matched against the open element's name, not looked up
        readThrough(t, '>');  // whatever follows the name is not checked
        // The name is not matched against the open element, and depth may go negative.
        --depth;
        state = afterTag();
        break;
    case '?':
        return processingInstruction(t);
    case '<':
        return true;  // "<" alone; the second "<" starts the next token
    default:
        startTag(t);
        break;
    }
    return false;
}

bool Lexer::Impl::declaration(TokenSlot& t) {  // <!
    t.type = Tok::Comment;
    t.append(source->get());
    for (int i = 0; i < 8; ++i) {
        const int c = source->get();
        if (c == -1) {
            t.type = Tok::Eof;
            return true;
        }
        t.append(c);
        if (c == '>') return true;  // a short comment such as <!---->
    }
    t.terminate();
    const char* head = t.storage;  // "<!" and the 8 characters after it
    if (t.used < 10) {             // some were lost to a failed growth
        readThrough(t, '>');
    } else if (std::memcmp(head + 2, "[CDATA[", 7) == 0) {
        t.type = Tok::CData;
        int before1 = head[9], before2 = head[8];
        for (;;) {
            const int c = source->get();
            if (c == -1) {
                t.type = Tok::Eof;
                break;
            }
            t.append(c);
            if (c == '>' && before1 == ']' && before2 == ']') break;
            before2 = before1;
            before1 = c;
        }
    } else if (std::memcmp(head + 2, "DOCTYPE", 7) == 0) {
        if (!isSpace(static_cast<unsigned char>(head[9]))) return true;  // a comment of 10 characters
        t.type = Tok::Doctype;
        bool inSubset = false;
        for (;;) {
            const int c = source->get();
            if (c == -1) {
                t.type = Tok::Eof;
                break;
            }
            t.append(c);
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
        readThrough(t, '>');
    }
    return false;
}

bool Lexer::Impl::processingInstruction(TokenSlot& t) {  // <?
    t.append(source->get());
    for (int i = 0; i < 4; ++i) {
        const int c = source->get();
        if (c == -1) {
            t.type = Tok::Eof;
            return true;
        }
        t.append(c);
        if (c == '>') {
            t.type = Tok::PI;
            return true;
        }
    }
    const char* head = t.storage;
    const bool xmlDecl = t.used >= 6 && std::memcmp(head + 2, "xml", 3) == 0 &&
                         isSpace(static_cast<unsigned char>(head[5]));
    t.type = xmlDecl ? Tok::XmlDec : Tok::PI;
    readThrough(t, '>');
    return false;
}

void Lexer::Impl::startTag(TokenSlot& t) {  // <|name
    // At the end of input the name sets TOK_EOF and the peek below still makes the
    // token a TOK_START_TAG_OPEN: the next tokens end the input inside the tag.
    readName(t, true);
    skipSpace();
    const int c = source->peek();
    if (c == '/') {
        t.type = Tok::EmptyTag;
        readThrough(t, '>');
        state = LexState::Content;  // even at depth 0
    } else if (c == '>') {
        t.type = Tok::StartTag;
        t.append(source->get());
        ++depth;
        state = LexState::Content;
    } else {
        t.type = Tok::StartTagOpen;
        state = LexState::InTag;
    }
}

Lexer::Lexer() : impl_(new (std::nothrow) Impl) {}
Lexer::~Lexer() = default;

std::unique_ptr<Lexer> Lexer::onFile(const char* path) {
    std::unique_ptr<Source> source = Source::openFile(path);
    if (!source) return nullptr;
    std::unique_ptr<Lexer> lexer(new (std::nothrow) Lexer);
    if (!lexer || !lexer->impl_) return nullptr;  // the source closes and unlocks as it goes
    lexer->impl_->source = std::move(source);
    return lexer;
}

std::unique_ptr<Lexer> Lexer::onMemory(const char* buffer, std::size_t length) {
    std::unique_ptr<Source> source = Source::openMemory(buffer, length);
    if (!source) return nullptr;
    std::unique_ptr<Lexer> lexer(new (std::nothrow) Lexer);
    if (!lexer || !lexer->impl_) return nullptr;
    lexer->impl_->source = std::move(source);
    return lexer;
}

Token Lexer::next() {
    Impl& impl = *impl_;
    TokenSlot& slot = impl.slots[impl.nextSlot];
    impl.nextSlot = (impl.nextSlot + 1) % Impl::kSlots;
    impl.line = impl.source->line();
    // The fast path sets every field that reset() would have cleared.
    if (impl.source->buffered() && impl.fastToken(slot)) {
        ++slot.generation;
    } else {
        slot.reset();
        impl.lex(slot);
    }
    return Token(&slot);
}

unsigned long Lexer::line() const noexcept { return impl_->line; }
unsigned long Lexer::sourceLine() const noexcept { return impl_->source->line(); }
LexState Lexer::state() const noexcept { return impl_->state; }
int Lexer::depth() const noexcept { return impl_->depth; }
const char* Lexer::errorText() const noexcept { return impl_->errorText; }
bool Lexer::mapped() const noexcept { return impl_->source->mapped(); }

void Lexer::setAccumulatorLimit(std::uint32_t bytes) noexcept {
    for (TokenSlot& slot : impl_->slots) slot.limit = bytes;
}

void reportLexError(const Lexer* lexer, const char* message) {
    if (lexer) {
        std::fprintf(stderr, "XML lex error at line %lu: %s\n", lexer->sourceLine(), message);
    } else {
        std::fprintf(stderr, "XML lex error %s\n", message);
    }
}

}  // namespace xml
