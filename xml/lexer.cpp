#include "xml/lexer.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <new>

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
    slot.reset();
    impl.line = impl.source->line();
    impl.lex(slot);
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
