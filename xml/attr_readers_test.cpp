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

template <typename T>
struct ReaderRow {
    const char* tag;
    T value;
    const char* message;
};

template <typename T>
void runRows(const std::vector<ReaderRow<T>>& rows, T (*reader)(TokenStream&)) {
    for (const ReaderRow<T>& r : rows) {
        SCOPED_TRACE(r.tag);
        std::unique_ptr<TokenStream> ts = streamOn(r.tag);
        takeThroughAttributeName(*ts);
        EXPECT_EQ(reader(*ts), r.value);
        EXPECT_STREQ(ts->error(), r.message);
    }
}

// Messages spelled out, not taken from the constants.
TEST(AttrReaders, DecimalValueAndMessage) {
    runRows<std::int32_t>({
        {R"(<X a="-1"/>)", -1, nullptr},           // a value, not a failure
        {R"(<X a = "5"/>)", 5, nullptr},           // white space around "=" is dropped
        {R"(<X a="12abc"/>)", 12, nullptr},        // no whole-value check
        {R"(<X a="abc"/>)", 0, nullptr},
        {R"(<X a="0x10"/>)", 0, nullptr},          // decimal stops at 'x'
        {R"(<X a=" +7"/>)", 7, nullptr},
        {R"(<X a="&#49;"/>)", 0, nullptr},         // raw, not entity-decoded
        {R"(<X a="2147483647"/>)", 2147483647, nullptr},
        {R"(<X a="4294967296"/>)", 2147483647, nullptr},  // 32-bit long saturates
        {R"(<X a="-2147483649"/>)", INT32_MIN, nullptr},
        {R"(<X a 5/>)", -1, kEqual},               // the lexer has already flagged the tag
        {R"(<X a=)", -1, kIntegral},               // input ends: TOK_EOF instead of a value
    }, readDecimalInt);
}

TEST(AttrReaders, HexValueAndMessage) {
    runRows<std::uint32_t>({
        {R"(<X a="0x10"/>)", 16, nullptr},
        {R"(<X a="10"/>)", 16, nullptr},
        {R"(<X a="FFFF"/>)", 0xFFFF, nullptr},
        {R"(<X a="0x7FFFFFFF"/>)", 0x7FFFFFFF, nullptr},
        {R"(<X a="0x80000000"/>)", 0x7FFFFFFF, nullptr},  // strtol, so it saturates
        {R"(<X a="-1"/>)", 0xFFFFFFFF, nullptr},
        {R"(<X a="zz"/>)", 0, nullptr},
        {R"(<X a 5/>)", 0xFFFFFFFF, kEqual},
        {R"(<X a=)", 0xFFFFFFFF, kIntegral},
    }, readHexInt);
}

TEST(AttrReaders, LongValueAndMessage) {
    runRows<std::int32_t>({
        {R"(<X a="-5"/>)", -5, nullptr},
        {R"(<X a="99999999999"/>)", 2147483647, nullptr},
        {R"(<X a 5/>)", -1, kEqual},
        {R"(<X a=)", -1, kLongIntegral},
    }, readLong);
}

TEST(AttrReaders, UnsignedLongValueAndMessage) {
    runRows<std::uint32_t>({
        {R"(<X a="4294967295"/>)", 4294967295u, nullptr},
        {R"(<X a="4294967296"/>)", 4294967295u, nullptr},  // overflow saturates
        {R"(<X a="-1"/>)", 4294967295u, nullptr},          // "%lu" takes a sign
        {R"(<X a=" 12x"/>)", 12, nullptr},
        {R"(<X a="abc"/>)", 0, nullptr},                   // nothing matched: 0
        {R"(<X a 5/>)", 0, kEqual},
        {R"(<X a=)", 0, kLongIntegral},
    }, readUnsignedLong);
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

TEST(Strtol32, Boundaries) {
    struct Row {
        const char* text;
        int base;
        std::int32_t value;
    };
    const Row rows[] = {
        {"2147483647", 10, INT32_MAX},   {"2147483648", 10, INT32_MAX},
        {"-2147483648", 10, INT32_MIN},  {"-2147483649", 10, INT32_MIN},
        {"99999999999999999999999", 10, INT32_MAX},
        {" \t\n-12", 10, -12},           {"+0", 10, 0},
        {"- 1", 10, 0},                  {"", 10, 0},
        {"7fffffff", 16, INT32_MAX},     {"0X80000000", 16, INT32_MAX},
        {"-0x80000000", 16, INT32_MIN},  {"-0x80000001", 16, INT32_MIN},
        {"0xg", 16, 0},                  {"aBc", 16, 0xABC},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(strtol32(row.text, row.base), row.value);
    }
    EXPECT_EQ(strtol32(nullptr, 10), 0);
}

// A payload is read as the C string it holds: its end or a NUL stops the
// number, and nothing past the end is looked at (a "0x" cut after the "0"
// is a plain 0).
TEST(Strtol32, PayloadEndsTheNumber) {
    struct Row {
        const char* rule;
        std::string_view text;
        int base;
        std::int32_t value;
        std::uint32_t unsignedValue;
        bool matched;
    };
    const Row rows[] = {
        {"the end cuts the digits", std::string_view("123456", 3), 10, 123, 123, true},
        {"a NUL inside stops", std::string_view("12\0" "34", 5), 10, 12, 12, true},
        {"white space up to the end", std::string_view(" \t5", 2), 10, 0, 0, false},
        {"a sign at the end", std::string_view("-7", 1), 10, 0, 0, false},
        {"an empty payload", std::string_view(), 10, 0, 0, false},
        {"\"0x\" cut after the 0", std::string_view("0x1F", 1), 16, 0, 0, true},
        {"\"0x\" cut after the x", std::string_view("0x1F", 2), 16, 0, 0, true},
        {"hex digits cut", std::string_view("0x1F", 3), 16, 1, 1, true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        EXPECT_EQ(strtol32(row.text, row.base), row.value);
        bool matched = !row.matched;
        EXPECT_EQ(scanUnsigned32(row.text, row.base, &matched), row.unsignedValue);
        EXPECT_EQ(matched, row.matched);
    }
}

TEST(ScanUnsignedLong32, Boundaries) {
    struct Row {
        const char* text;
        std::uint32_t value;
        bool matched;
    };
    const Row rows[] = {
        {"0", 0, true},
        {"4294967295", 4294967295u, true},
        {"4294967296", 4294967295u, true},       // overflow saturates
        {"-1", 4294967295u, true},               // negated as unsigned
        {"-4294967295", 1, true},
        {"-4294967296", 4294967295u, true},      // overflow wins over the sign
        {"  +42abc", 42, true},
        {"\v\f7", 7, true},
        {"", 0, false},
        {"-", 0, false},
        {"x1", 0, false},
        {"0x10", 0, true},                       // base 10: the "0" only
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        bool matched = !row.matched;
        EXPECT_EQ(scanUnsignedLong32(row.text, &matched), row.value);
        EXPECT_EQ(matched, row.matched);
    }
    bool matched = true;
    EXPECT_EQ(scanUnsigned32("0x", 16, &matched), 0u);  // "0x" alone reads as 0
    EXPECT_TRUE(matched);
    EXPECT_EQ(scanUnsigned32("-0x1", 16, &matched), 0xFFFFFFFFu);
    EXPECT_EQ(scanUnsigned32("100000000", 16, &matched), 0xFFFFFFFFu);
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
