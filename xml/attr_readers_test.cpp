#include "xml/attr_readers.h"

#include <climits>
#include <cstring>
#include <gtest/gtest.h>
#include <string>

namespace xml {
namespace {

std::unique_ptr<TokenStream> streamOn(const char* text) { return TokenStream::onMemory(text, std::strlen(text)); }

// Takes "<X" and the attribute name, as an element parser does before a reader.
void takeThroughAttributeName(TokenStream& ts) {
    ts.skip();
    ts.skip();
}

constexpr const char* kEqual = "expect '=' within XML attribute-value pair";
constexpr const char* kIntegral = "expect integral value after '='";
constexpr const char* kLongIntegral = "expect long integral value after '='";

enum class Reader { Decimal, Hex, Long, UnsignedLong };

std::int64_t read(Reader reader, TokenStream& ts) {
    switch (reader) {
    case Reader::Decimal: return readDecimalInt(ts);
    case Reader::Hex: return readHexInt(ts);
    case Reader::Long: return readLong(ts);
    case Reader::UnsignedLong: return readUnsignedLong(ts);
    }
    return 0;
}

// Messages spelled out, not taken from the constants.
TEST(AttrReaders, ValuesAndMessages) {
    struct Row {
        Reader reader;
        const char* tag;
        std::int64_t value;
        const char* message;
    };
    using R = Reader;
    const Row rows[] = {
        {R::Decimal, R"(<X a="-1"/>)", -1, nullptr},           // a value, not a failure
        {R::Decimal, R"(<X a = "5"/>)", 5, nullptr},           // white space around "=" is dropped
        {R::Decimal, R"(<X a="12abc"/>)", 12, nullptr},        // no whole-value check
        {R::Decimal, R"(<X a="0x10"/>)", 0, nullptr},          // decimal stops at 'x'
        {R::Decimal, R"(<X a="&#49;"/>)", 0, nullptr},         // raw, not entity-decoded
        {R::Decimal, R"(<X a="4294967296"/>)", 2147483647, nullptr},  // 32-bit long saturates
        {R::Decimal, R"(<X a 5/>)", -1, kEqual},               // the lexer has already flagged the tag
        {R::Decimal, R"(<X a=)", -1, kIntegral},               // input ends: TOK_EOF instead of a value
        {R::Hex, R"(<X a="0x10"/>)", 16, nullptr},
        {R::Hex, R"(<X a="FFFF"/>)", 0xFFFF, nullptr},
        {R::Hex, R"(<X a="0x80000000"/>)", 0x7FFFFFFF, nullptr},  // strtol, so it saturates
        {R::Hex, R"(<X a="-1"/>)", 0xFFFFFFFF, nullptr},
        {R::Hex, R"(<X a 5/>)", 0xFFFFFFFF, kEqual},
        {R::Hex, R"(<X a=)", 0xFFFFFFFF, kIntegral},
        {R::Long, R"(<X a="99999999999"/>)", 2147483647, nullptr},
        {R::Long, R"(<X a 5/>)", -1, kEqual},
        {R::Long, R"(<X a=)", -1, kLongIntegral},
        {R::UnsignedLong, R"(<X a="4294967296"/>)", 4294967295u, nullptr},  // overflow saturates
        {R::UnsignedLong, R"(<X a="-1"/>)", 4294967295u, nullptr},          // "%lu" takes a sign
        {R::UnsignedLong, R"(<X a="abc"/>)", 0, nullptr},                   // nothing matched: 0
        {R::UnsignedLong, R"(<X a 5/>)", 0, kEqual},
        {R::UnsignedLong, R"(<X a=)", 0, kLongIntegral},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.tag);
        std::unique_ptr<TokenStream> ts = streamOn(row.tag);
        takeThroughAttributeName(*ts);
        EXPECT_EQ(read(row.reader, *ts), row.value);
        EXPECT_STREQ(ts->error(), row.message);
    }
}

TEST(AttrReaders, ValueToken) {
    std::unique_ptr<TokenStream> ts = streamOn(R"(<X a="x &amp; y"/>)");
    takeThroughAttributeName(*ts);
    const Token value = readValueToken(*ts);
    ASSERT_TRUE(value);
    EXPECT_EQ(value.payloadString(), "x & y");
    EXPECT_FALSE(ts->failed());

    ts = streamOn(R"(<X a=)");
    takeThroughAttributeName(*ts);
    EXPECT_FALSE(readValueToken(*ts));
    EXPECT_STREQ(ts->error(), "expect attribute value after '='");

    ts = streamOn(R"(<X a 5/>)");
    takeThroughAttributeName(*ts);
    EXPECT_FALSE(readValueToken(*ts));
    EXPECT_STREQ(ts->error(), kEqual);
}

// Nothing clears the slot: a later good read leaves the first message.
TEST(AttrReaders, ErrorIsSticky) {
    std::unique_ptr<TokenStream> ts = streamOn(R"(<X a 5/><Y b="2"/>)");
    takeThroughAttributeName(*ts);
    EXPECT_EQ(readDecimalInt(*ts), -1);
    EXPECT_STREQ(ts->error(), kEqual);
    takeThroughAttributeName(*ts);  // "<Y" and "b"
    EXPECT_EQ(readDecimalInt(*ts), 2);
    EXPECT_STREQ(ts->error(), kEqual);
}

// strtol and sscanf as on the 32-bit platform; a payload is read as the C
// string it holds, so its end or a NUL stops the number and nothing past the
// end is looked at.
TEST(Numbers, BoundariesAndPayloadEnds) {
    struct Row {
        std::string_view text;
        int base;
        std::int32_t value;           // strtol32
        std::uint32_t unsignedValue;  // scanUnsigned32
        bool matched;
    };
    const Row rows[] = {
        {"2147483647", 10, INT32_MAX, 2147483647u, true},
        {"2147483648", 10, INT32_MAX, 2147483648u, true},
        {"-2147483649", 10, INT32_MIN, 2147483647u, true},
        {"4294967296", 10, INT32_MAX, 4294967295u, true},     // overflow saturates
        {"-1", 10, -1, 4294967295u, true},                    // negated as unsigned
        {"-4294967296", 10, INT32_MIN, 4294967295u, true},    // overflow wins over the sign
        {" \t\n-12", 10, -12, 4294967284u, true},
        {"\v\f7", 10, 7, 7, true},
        {"  +42abc", 10, 42, 42, true},
        {"- 1", 10, 0, 0, false},
        {"", 10, 0, 0, false},
        {"0x10", 10, 0, 0, true},                             // base 10: the "0" only
        {"7fffffff", 16, INT32_MAX, 0x7FFFFFFF, true},
        {"0X80000000", 16, INT32_MAX, 0x80000000u, true},
        {"-0x80000001", 16, INT32_MIN, 0x7FFFFFFF, true},
        {"0xg", 16, 0, 0, true},                              // "0x" alone reads as 0
        {"100000000", 16, INT32_MAX, 0xFFFFFFFF, true},
        {std::string_view("123456", 3), 10, 123, 123, true},  // the end cuts the digits
        {std::string_view("12\0" "34", 5), 10, 12, 12, true},
        {std::string_view(" \t5", 2), 10, 0, 0, false},       // white space up to the end
        {std::string_view("-7", 1), 10, 0, 0, false},
        {std::string_view("0x1F", 1), 16, 0, 0, true},        // "0x" cut after the 0
        {std::string_view("0x1F", 3), 16, 1, 1, true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(::testing::PrintToString(std::string(row.text)));
        EXPECT_EQ(strtol32(row.text, row.base), row.value);
        bool matched = !row.matched;
        EXPECT_EQ(scanUnsigned32(row.text, row.base, &matched), row.unsignedValue);
        EXPECT_EQ(matched, row.matched);
    }
    EXPECT_EQ(strtol32(nullptr, 10), 0);
}

TEST(TokenStream, PeekNextSkip) {
    std::unique_ptr<TokenStream> ts = streamOn("<a><b/>t</a>");
    const Token peeked = ts->peek();
    EXPECT_EQ(ts->peek().payload(), "a");  // the same token again
    const Token taken = ts->next();
    EXPECT_EQ(taken.type(), Tok::StartTag);
    EXPECT_EQ(taken.payload(), peeked.payload());
    EXPECT_EQ(ts->next().type(), Tok::EmptyTag);  // a new one
    EXPECT_EQ(ts->peek().type(), Tok::Content);
    ts->skip();  // takes the peeked token, not a new one
    EXPECT_EQ(ts->next().type(), Tok::EndTag);
    EXPECT_EQ(ts->next().type(), Tok::Eof);
}

TEST(TokenStream, ReportPosition) {
    std::unique_ptr<TokenStream> ts = streamOn("<a>\n<b c d='1'/>\n");
    ::testing::internal::CaptureStderr();
    ts->reportPosition();
    for (int i = 0; i < 5; ++i) ts->skip();  // through the TOK_LEX_ERROR on line 2
    ts->reportPosition();
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "\nline 1 : 0 error"
              "\nline 2 : expect '=' follows attribute with tag");
}

TEST(TokenStream, OpenFailures) {
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(TokenStream::onMemory(nullptr, 1));
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Can't access NULL buffer\n");
    const std::string missing = ::testing::TempDir() + "no-such-dir-xml/x.conf";
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(TokenStream::onFile(missing.c_str()));
    const std::string err = ::testing::internal::GetCapturedStderr();
    EXPECT_NE(err.find("Can't open lock file "), std::string::npos) << err;
}

}  // namespace
}  // namespace xml
