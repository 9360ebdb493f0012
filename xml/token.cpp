#include <cstdlib>
#include <cstdio>
#include <cstring>
#include <string>

#include "xml/attr_readers.h"
#include "xml/lexer.h"
#include "xml/token_slot.h"

namespace xml {

namespace {

constexpr const char* kTypeNames[] = {
    "TOK_XML_DEC",      "TOK_START_TAG",    "TOK_START_TAG_OPEN",  "TOK_ATTRIBUTE",
    "TOK_EQUAL",        "TOK_ATTVALUE",     "TOK_START_TAG_CLOSE", "TOK_EMPTY_TAG_CLOSE",
    "TOK_CONTENT",      "TOK_END_TAG",      "TOK_EMPTY_TAG",       "TOK_PI",
    "TOK_COMMENT",      "TOK_CDATA",        "TOK_DOCTYPE",         "TOK_UNKNOWN",
    "TOK_EOF",          "TOK_LEX_ERROR",    "TOK_MEMORY_ERROR",
};
constexpr int kFirstType = static_cast<int>(Tok::XmlDec);
constexpr int kLastType = static_cast<int>(Tok::MemoryError);

constexpr const char* kDumpRule = "=============================\n";
constexpr const char* kNullToken = "NULL TOKEN!\n";
constexpr const char* kUnknownReference = "Unrecognized XML reference: %s;\n";

// The character a reference names, or -1 when it names none. `name` is what lies
// between "&" and ";".
int referenceValue(const std::string& name) {
    if (name.size() >= 1 && name[0] == '#') {
        // Only a lower-case "x" selects hexadecimal; the digits are read as sscanf
        // reads them (white space, a sign, trailing junk), then cut to one byte.
        bool matched = false;
        const std::uint32_t value = name.size() >= 2 && name[1] == 'x'
                                        ? scanUnsigned32(name.c_str() + 2, 16, &matched)
                                        : scanUnsigned32(name.c_str() + 1, 10, &matched);
        return matched ? static_cast<int>(value & 0xFFu) : -1;
    }
    if (name == "amp") return '&';
    if (name == "lt") return '<';
    if (name == "gt") return '>';
    if (name == "apos") return '\'';
    if (name == "quot") return '"';
    return -1;
}

}  // namespace

void staleToken() noexcept {
    std::fputs("xml: a token was read after the lexer had moved on\n", stderr);
    std::abort();
}

const char* tokenTypeName(int type) noexcept {
    if (type < kFirstType || type > kLastType) return "Invalid Token";
    return kTypeNames[type - kFirstType];
}

// A reference is looked for only up to the next ";", and scanning goes on after
// what was decoded or kept, so each character is looked at a bounded number of
// times: no rescan of the rest of the value per "&". Reading and writing run over
// the same string (the text only shrinks).
void decodeEntities(std::string& value) {
    const std::size_t nul = value.find('\0');
    if (nul != std::string::npos) value.resize(nul);  // a C string ends at its NUL
    const std::size_t n = value.size();
    // Most values hold no reference: everything before the first "&" stays as it is.
    const std::size_t firstAmpersand = value.find('&');
    if (firstAmpersand == std::string::npos) return;
    std::size_t read = firstAmpersand, write = firstAmpersand;
    std::size_t semicolon = 0;  // the next ";" at or after `read`, n for none
    bool semicolonKnown = false;
    while (read < n) {
        const char c = value[read];
        if (c != '&') {
            value[write++] = value[read++];
            continue;
        }
        if (!semicolonKnown || semicolon <= read) {
            semicolon = value.find(';', read + 1);
            if (semicolon == std::string::npos) semicolon = n;
            semicolonKnown = true;
        }
        if (semicolon == n) {  // no ";" later: "&" is plain text
            value[write++] = value[read++];
            continue;
        }
        const std::string name = value.substr(read + 1, semicolon - read - 1);
        const int decoded = referenceValue(name);
        if (decoded == 0) {  // &#0; ends the value like any NUL
            value.resize(write);
            return;
        }
        if (decoded > 0) {
            value[write++] = static_cast<char>(decoded);
        } else {
            std::fprintf(stderr, kUnknownReference, value.substr(read, semicolon - read).c_str());
            // Kept verbatim; scanning goes on after its ";".
            const std::size_t length = semicolon + 1 - read;
            std::memmove(value.data() + write, value.data() + read, length);
            write += length;
        }
        read = semicolon + 1;
    }
    value.resize(write);
}

std::string_view Token::accumulated() const noexcept {
    const TokenSlot* slot = live();
    if (!slot || slot->capacity == 0) return {};
    return {slot->text(), slot->used};
}

std::string Token::payloadString() const {
    const std::string_view raw = payload();
    // Cut at a NUL here already, so that the copy is made once, at its final size.
    std::string text(raw.data(), raw.empty() ? 0 : ::strnlen(raw.data(), raw.size()));
    if (type() == Tok::AttValue) decodeEntities(text);
    return text;
}

int Token::comparePayload(const char* text) const noexcept {
    const TokenSlot* slot = live();
    if (!slot || !slot->hasData) return -1;
    // Deliberately over the payload's length only: an end tag that is a prefix of
    // the open element's name closes it.
    return std::strncmp(slot->text() + slot->dataStart, text, slot->dataLength);
}

std::uint32_t Token::capacity() const noexcept {
    const TokenSlot* slot = live();
    return slot ? slot->capacity : 0;
}

void Token::dump(std::FILE* out) const {
    std::fputs(kDumpRule, out);
    const TokenSlot* slot = live();
    if (!slot) {
        std::fputs(kNullToken, out);
        return;
    }
    std::fprintf(out, "Token Type: %s\n", tokenTypeName(static_cast<int>(slot->type)));
    std::fprintf(out, "Data size: %u Accum size: %u\n", slot->dataLength, slot->capacity);
    std::fprintf(out, "Data: [%s]\n", payloadString().c_str());
    // The accumulator prints as a C string: a NUL in the input ends it.
    const std::string_view all = accumulated();
    const int shown = all.empty() ? 0 : static_cast<int>(::strnlen(all.data(), all.size()));
    std::fprintf(out, "Accumulator:\n[%.*s]\n", shown, all.empty() ? "" : all.data());
}

void dumpToken(const Token& token, std::FILE* out) { token.dump(out); }

}  // namespace xml
