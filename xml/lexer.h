#pragma once
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "xml/name_table.h"
#include "xml/token_type.h"

namespace xml {

/// Name of a token type number as the dump prints it; "Invalid Token" otherwise.
const char* tokenTypeName(int type) noexcept;

/// Lexer states; the numbers are those stored (1 is never assigned).
enum class LexState : int { Prolog = 0, InTag = 2, AfterAttrName = 3, AfterEqual = 4, Content = 5 };

class Lexer;
class Source;
struct TokenSlot;

/// One token, borrowed from the lexer that produced it. It is valid until the
/// lexer produces the next one (a token stream's next(), peek() or skip() that
/// lexes); whatever is kept longer is copied. Most tokens read their bytes in
/// the lexer's input, so a buffer given to onMemory must stay unchanged while
/// its tokens are read. Reading a token after that aborts, in every build.
/// A default-constructed Token is "no token" (what the C interface returned as null).
class Token {
public:
    Token() = default;
    explicit Token(TokenSlot* slot) noexcept;
    explicit operator bool() const noexcept { return slot_ != nullptr; }

    Tok type() const noexcept;
    /// The payload as lexed: element name, attribute name, value between the
    /// delimiters, or character data. Empty when the token has none. May hold NUL.
    std::string_view payload() const noexcept;
    /// Every character the lexer consumed for this token, in order.
    std::string_view accumulated() const noexcept;
    /// The payload's name key (its bytes up to an embedded NUL): measured by the
    /// lexer for element and attribute names, here for any other token. Valid
    /// as long as the token.
    NameKey nameKey() const noexcept;
    /// The payload as a new string, up to an embedded NUL; an AttValue has its
    /// entity references decoded (reporting unknown ones on stderr).
    std::string payloadString() const;
    /// strncmp of the payload against `text` over the payload's length, so a
    /// payload that is a prefix of `text` compares equal; -1 with no payload.
    int comparePayload(const char* text) const noexcept;
    /// Bytes of the accumulator under the 16-byte, doubling rule.
    std::uint32_t capacity() const noexcept;
    /// The token dump: "=====...", type, sizes, payload, accumulator.
    void dump(std::FILE* out) const;

private:
    const TokenSlot* live() const noexcept;
    TokenSlot* slot_ = nullptr;
    std::uint32_t generation_ = 0;
};

/// Prints the dump of a missing token ("NULL TOKEN!").
void dumpToken(const Token& token, std::FILE* out);

/// Decodes the five named and the numeric character references of an
/// attribute value in place (in time linear in its length). Unknown references
/// are kept and reported as "Unrecognized XML reference: %s;\n".
void decodeEntities(std::string& value);

/// The lexer over one character source: a memory-mapped or stdio-read file held
/// under the shared lock of its lock file, or a caller's buffer.
class Lexer {
public:
    /// Null (and the documented message on stderr) when the source can't be opened.
    static std::unique_ptr<Lexer> onFile(const char* path);
    /// The buffer is borrowed, never written: it must outlive the lexer's tokens.
    static std::unique_ptr<Lexer> onMemory(const char* buffer, std::size_t length);
    ~Lexer();
    Lexer(const Lexer&) = delete;
    Lexer& operator=(const Lexer&) = delete;

    /// The next token. Tokens live in slots the lexer owns, so there is always one.
    Token next();

    unsigned long line() const noexcept;        // line at which the current token started
    unsigned long sourceLine() const noexcept;  // the source's line now
    LexState state() const noexcept;
    int depth() const noexcept;
    const char* errorText() const noexcept;     // "0 error" until a TOK_LEX_ERROR
    bool mapped() const noexcept;               // file read through a memory mapping
    /// Largest accumulator capacity a token may reach (1 GiB; tests lower it).
    void setAccumulatorLimit(std::uint32_t bytes) noexcept;

private:
    Lexer();
    static std::unique_ptr<Lexer> on(std::unique_ptr<Source> source);
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

/// "XML lex error at line %lu: %s\n", or "XML lex error %s\n" without a lexer.
void reportLexError(const Lexer* lexer, const char* message);

}  // namespace xml

// The accessors taken once or more per token are inline: a call each would
// cost as much as what they do.
#include "xml/token_slot.h"

namespace xml {

inline Token::Token(TokenSlot* slot) noexcept : slot_(slot), generation_(slot ? slot->generation : 0) {}

/// Aborts: a token was read after the lexer had moved on.
[[noreturn]] void staleToken() noexcept;

inline const TokenSlot* Token::live() const noexcept {
    if (slot_ != nullptr && slot_->generation != generation_) [[unlikely]] staleToken();
    return slot_;
}

inline Tok Token::type() const noexcept {
    const TokenSlot* slot = live();
    return slot ? slot->type : Tok::Unknown;
}

inline std::string_view Token::payload() const noexcept {
    const TokenSlot* slot = live();
    if (!slot || !slot->hasData) return {};
    return {slot->text() + slot->dataStart, slot->dataLength};
}

inline NameKey Token::nameKey() const noexcept {
    const TokenSlot* slot = live();
    if (slot && slot->named) return {slot->text() + slot->dataStart, slot->nameLength, slot->nameHash};
    return xml::nameKey(payload());
}

}  // namespace xml
