#pragma once
#include <cstdint>
#include <string_view>

#include "xml/token_stream.h"

namespace xml {

// Typed readers, called right after an attribute name was taken: each takes "="
// and the value. On a syntax error they set the stream's error slot; since the
// error values are also legal values, callers decide by ts.failed() alone.

/// strtol base 10 on a 32-bit long; error value -1.
std::int32_t readDecimalInt(TokenStream& ts);
/// strtol base 16 on a 32-bit long, as unsigned; error value 0xFFFFFFFF.
std::uint32_t readHexInt(TokenStream& ts);
/// strtol base 10 on a 32-bit long ("%ld" fields); error value -1.
std::int32_t readLong(TokenStream& ts);
/// sscanf "%lu" on a 32-bit unsigned long; error value 0, or 0xFFFFFFFF when
/// the value token could not be had at all.
std::uint32_t readUnsignedLong(TokenStream& ts);
/// The AttValue token itself, or no token on error.
Token readValueToken(TokenStream& ts);

/// The C library on the 32-bit platform: strtol saturating at the 32-bit range
/// (leading white space and sign accepted, "12abc" gives 12, "abc" gives 0).
std::int32_t strtol32(const char* text, int base) noexcept;
/// sscanf "%u" or "%lu" (base 10) or "%x" (base 16, optional "0x") into a 32-bit
/// unsigned: "-1" gives 4294967295, overflow saturates; `matched` is false when
/// no number was found (value then 0).
std::uint32_t scanUnsigned32(const char* text, int base, bool* matched = nullptr) noexcept;

/// The same over a token's payload, as over the C string it holds: a NUL or
/// the payload's end stops the number. The readers use these, so that a
/// number is read where the lexer left it, without a terminated copy.
std::int32_t strtol32(std::string_view text, int base) noexcept;
std::uint32_t scanUnsigned32(std::string_view text, int base, bool* matched = nullptr) noexcept;

}  // namespace xml
