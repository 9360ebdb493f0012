#include "xml/attr_readers.h"

#include <cstdint>

namespace xml {

namespace {

constexpr const char* kExpectEqual = "expect '=' within XML attribute-value pair";
constexpr const char* kExpectIntegral = "expect integral value after '='";
constexpr const char* kExpectLongIntegral = "expect long integral value after '='";
constexpr const char* kExpectValue = "expect attribute value after '='";

constexpr std::int64_t kLongMax32 = 2147483647;
constexpr std::uint64_t kULongMax32 = 4294967295u;

// White space as the C locale's isspace sees it.
constexpr bool isCSpace(char c) noexcept { return c == ' ' || (c >= '\t' && c <= '\r'); }

int digitValue(char c) noexcept {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'z') return c - 'a' + 10;
    if (c >= 'A' && c <= 'Z') return c - 'A' + 10;
    return 99;
}

// White space, sign and, for base 16, a "0x" prefix, as strtol and scanf take
// them, within [p, end). Returns the first digit's position; `prefixZero`
// tells that "0x" was skipped, whose "0" alone is a number when no hex digit
// follows.
const char* skipLead(const char* p, const char* end, int base, bool* negative, bool* prefixZero) noexcept {
    while (p != end && isCSpace(*p)) ++p;
    *negative = false;
    if (p != end && (*p == '+' || *p == '-')) *negative = *p++ == '-';
    *prefixZero = false;
    if (base == 16 && end - p >= 2 && p[0] == '0' && (p[1] == 'x' || p[1] == 'X')) {
        p += 2;
        *prefixZero = true;
    }
    return p;
}

// Takes the "=" and the value token after an attribute name; on a wrong token
// sets `valueMessage` (or the "=" message) and gives no token.
Token takeValue(TokenStream& ts, const char* valueMessage, bool* valueMissing) {
    *valueMissing = false;
    const Token equal = ts.next();
    if (!equal) return Token();
    if (equal.type() != Tok::Equal) {
        ts.fail(kExpectEqual);
        return Token();
    }
    const Token value = ts.next();
    if (!value) {
        *valueMissing = true;
        return Token();
    }
    if (value.type() != Tok::AttValue) {
        ts.fail(valueMessage);
        return Token();
    }
    return value;
}

}  // namespace

std::int32_t strtol32(std::string_view text, int base) noexcept {
    bool negative = false, prefixZero = false;
    const char* const end = text.data() + text.size();
    const char* p = skipLead(text.data(), end, base, &negative, &prefixZero);
    // The magnitude saturates one past the 32-bit range; the sign picks the bound.
    const std::uint64_t bound = negative ? kLongMax32 + 1 : kLongMax32;
    std::uint64_t magnitude = 0;
    for (int d; p != end && (d = digitValue(*p)) < base; ++p) {
        magnitude = magnitude * base + d;
        if (magnitude > bound) magnitude = bound + 1;
    }
    if (magnitude > bound) return negative ? INT32_MIN : INT32_MAX;
    return negative ? static_cast<std::int32_t>(-static_cast<std::int64_t>(magnitude))
                    : static_cast<std::int32_t>(magnitude);
}

std::int32_t strtol32(const char* text, int base) noexcept {
    return text != nullptr ? strtol32(std::string_view(text), base) : 0;
}

std::uint32_t scanUnsigned32(std::string_view text, int base, bool* matched) noexcept {
    if (matched) *matched = false;
    bool negative = false, prefixZero = false;
    const char* const end = text.data() + text.size();
    const char* p = skipLead(text.data(), end, base, &negative, &prefixZero);
    bool anyDigit = prefixZero;
    std::uint64_t value = 0;
    for (int d; p != end && (d = digitValue(*p)) < base; ++p) {
        anyDigit = true;
        value = value * base + d;
        if (value > kULongMax32) value = kULongMax32 + 1;
    }
    if (!anyDigit) return 0;
    if (matched) *matched = true;
    // strtoul: overflow gives the largest value whatever the sign; "-1" wraps round.
    if (value > kULongMax32) return static_cast<std::uint32_t>(kULongMax32);
    return negative ? static_cast<std::uint32_t>(0u - static_cast<std::uint32_t>(value))
                    : static_cast<std::uint32_t>(value);
}

std::uint32_t scanUnsigned32(const char* text, int base, bool* matched) noexcept {
    if (text == nullptr) {
        if (matched) *matched = false;
        return 0;
    }
    return scanUnsigned32(std::string_view(text), base, matched);
}

// "= value" readers. The value is converted raw (no entity decoding) and need not
// be all digits: "12abc" reads 12 and "abc" 0, without a message.

std::int32_t readDecimalInt(TokenStream& ts) {
    bool missing = false;
    Token value = takeValue(ts, kExpectIntegral, &missing);
    if (!value) return -1;
    return strtol32(value.payload(), 10);
}

std::uint32_t readHexInt(TokenStream& ts) {
    bool missing = false;
    Token value = takeValue(ts, kExpectIntegral, &missing);
    if (!value) return 0xFFFFFFFFu;
    // strtol, not strtoul: values above 0x7FFFFFFF saturate as on the 32-bit platform.
    return static_cast<std::uint32_t>(strtol32(value.payload(), 16));
}

std::int32_t readLong(TokenStream& ts) {
    bool missing = false;
    Token value = takeValue(ts, kExpectLongIntegral, &missing);
    if (!value) return -1;
    return strtol32(value.payload(), 10);
}

std::uint32_t readUnsignedLong(TokenStream& ts) {
    bool missing = false;
    Token value = takeValue(ts, kExpectLongIntegral, &missing);
    if (!value) return missing ? 0xFFFFFFFFu : 0u;
    // A value without digits leaves the result at 0.
    return scanUnsigned32(value.payload(), 10);
}

Token readValueToken(TokenStream& ts) {
    bool missing = false;
    return takeValue(ts, kExpectValue, &missing);
}

}  // namespace xml
