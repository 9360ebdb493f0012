#include <gtest/gtest.h>
#include <string>

#include "xml/lexer.h"

namespace xml {
namespace {

struct EntityRow {
    std::string value;
    std::string decoded;
    const char* report;  // what goes to stderr
};

TEST(Entities, Decoding) {
    const EntityRow rows[] = {
        {"&#65;", "A", ""},
        {"&#x41;", "A", ""},
        {"&#X41;", "&#X41;", "Unrecognized XML reference: &#X41;\n"},  // only a lower-case x
        {"&lt;&gt;&apos;&quot;&amp;", "<>'\"&", ""},
        {"&amp;lt;", "&lt;", ""},                   // a replacement is not decoded again
        {"&AMP;", "&AMP;", "Unrecognized XML reference: &AMP;\n"},
        {"a&foo;b", "a&foo;b", "Unrecognized XML reference: &foo;\n"},
        {"&foo;&amp;", "&foo;&", "Unrecognized XML reference: &foo;\n"},  // goes on after ";"
        {"a&b", "a&b", ""},                         // no ";" later: plain text
        {"&&amp;", "&&amp;", "Unrecognized XML reference: &&amp;\n"},  // the name runs to the ";"
        {"&;", "&;", "Unrecognized XML reference: &;\n"},
        {"&#;", "&#;", "Unrecognized XML reference: &#;\n"},
        {"&#x;", "&#x;", "Unrecognized XML reference: &#x;\n"},
        {"&#xg;", "&#xg;", "Unrecognized XML reference: &#xg;\n"},
        {"&#321;", "A", ""},                        // cut to one byte
        {"&#-191;", "A", ""},                       // sign accepted, wraps, then cut
        {"&# 66;", "B", ""},                        // leading white space accepted
        {"&#66abc;", "B", ""},                      // trailing characters ignored
        {"&#x0x43;", "C", ""},                      // "%x" takes a 0x prefix
        {"&#99999999999;", "\xFF", ""},             // overflow gives 0xFFFFFFFF
        {"x&#0;y&foo;", "x", ""},                   // a NUL ends the value: nothing after is read
        {"&#256;z", "", ""},
        {"", "", ""},
        {"no reference at all", "no reference at all", ""},
        {"text before&lt;and after", "text before<and after", ""},
        {std::string("a&amp;\0&foo;", 12), "a&", ""},  // a NUL ends the value
    };
    for (const EntityRow& row : rows) {
        SCOPED_TRACE(row.value);
        std::string value = row.value;
        ::testing::internal::CaptureStderr();
        decodeEntities(value);
        EXPECT_EQ(::testing::internal::GetCapturedStderr(), row.report);
        EXPECT_EQ(value, row.decoded);
    }
}

// Megabytes of "&" with no ";" must not take quadratic time: this finishes in
// milliseconds when each "&" is looked at once, and in minutes otherwise.
TEST(Entities, LongRunsOfAmpersands) {
    std::string value(2u << 20, '&');
    decodeEntities(value);
    EXPECT_EQ(value.size(), 2u << 20);

    std::string mixed;
    for (int i = 0; i < 200000; ++i) mixed += "&#65;";
    mixed += std::string(1u << 20, '&');
    decodeEntities(mixed);
    EXPECT_EQ(mixed.size(), 200000u + (1u << 20));
    EXPECT_EQ(mixed.substr(199998, 4), "AA&&");
}

struct PayloadFixture {
    std::string text;
    std::unique_ptr<Lexer> lexer;
    explicit PayloadFixture(std::string input) : text(std::move(input)), lexer(Lexer::onMemory(text.data(), text.size())) {}
    // The n-th token (0-based).
    Token at(int n) {
        Token token;
        for (int i = 0; i <= n; ++i) token = lexer->next();
        return token;
    }
};

TEST(Token, PayloadString) {
    struct Row {
        std::string input;
        int index;
        std::string expected;
    };
    const Row rows[] = {
        {"<a x='&lt;b&gt;'/>", 3, "<b>"},                  // values are decoded
        {"<a>&lt;b&gt;</a>", 1, "&lt;b&gt;"},              // character data is not
        {"<a x=''/>", 3, ""},
        {std::string("<a x='1\0002'/>", 12), 3, "1"},      // a C string ends at NUL
        {std::string("<a>t\0u</a>", 10), 1, "t"},
        {"<a>", 0, "a"},
        {"<!-- c -->", 0, ""},                             // no payload
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.input);
        PayloadFixture f(row.input);
        EXPECT_EQ(f.at(row.index).payloadString(), row.expected);
    }
}

TEST(Token, ComparePayload) {
    struct Row {
        std::string input;
        int index;
        const char* other;
        int sign;  // of the result; 2 means exactly -1
    };
    const Row rows[] = {
        {"</Bridge>", 0, "Bridge", 0},
        {"</Bri>", 0, "Bridge", 0},        // deliberately a prefix matches: over the payload's length
        {"</Bridges>", 0, "Bridge", 1},
        {"</>", 0, "Bridge", 0},           // an empty name closes any element
        {"</Bridge>", 0, "Brick", 1},
        {"</Brick>", 0, "Bridge", -1},
        {"<!-- c -->", 0, "x", 2},         // no payload at all
        {"", 0, "", 2},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.input + " vs " + row.other);
        PayloadFixture f(row.input);
        const int result = f.at(row.index).comparePayload(row.other);
        if (row.sign == 2) {
            EXPECT_EQ(result, -1);
        } else {
            EXPECT_EQ((result > 0) - (result < 0), row.sign);
        }
    }
}

}  // namespace
}  // namespace xml
