#include "xml/lexer.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace xml {
namespace {

// Short names for the sequences below, by type number from 10 on.
std::string shortName(Tok type) {
    static const char* const kNames[] = {"XmlDec",  "Start", "Open",    "Attr",    "Eq",       "Value",   "Close",
                                         "EmptyClose", "Content", "End", "Empty", "PI", "Comment", "CData",
                                         "Doctype", "Unknown", "Eof", "LexError", "MemError"};
    return kNames[static_cast<int>(type) - 10];
}

// "Open[a] Attr[x] Eq Value[1] EmptyClose Eof": each token with its payload when
// it has one, through the first TOK_EOF (at most 50 tokens).
std::string sequence(Lexer& lexer) {
    std::string out;
    for (int i = 0; i < 50; ++i) {
        const Token token = lexer.next();
        if (!out.empty()) out += ' ';
        out += shortName(token.type());
        if (!token.payload().empty()) {
            out += '[';
            for (const char c : token.payload()) out += c == '\n' ? std::string("\\n") : std::string(1, c);
            out += ']';
        }
        if (token.type() == Tok::Eof) return out;
    }
    return out + " ...";
}

// The lexer borrows the text: pass something that outlives it.
std::unique_ptr<Lexer> lexerOn(std::string_view text) { return Lexer::onMemory(text.data(), text.size()); }

struct SequenceRow {
    const char* input;
    const char* tokens;
    LexState endState;
    int endDepth;
};

TEST(Lexer, Constructs) {
    const SequenceRow rows[] = {
        // tags
        {R"(<a x="1"/>)", "Open[a] Attr[x] Eq Value[1] EmptyClose Eof", LexState::Prolog, 0},
        {"<a>", "Start[a] Eof", LexState::Content, 1},
        {"<a/>", "Empty[a] Eof", LexState::Content, 0},  // Content even at depth 0
        {"</a >", "End[a] Eof", LexState::Content, -1},  // depth is not kept from going below 0
        {"<a><b/></a>", "Start[a] Empty[b] End[a] Eof", LexState::Prolog, 0},
        {R"(<a x="1">t</a>)", "Open[a] Attr[x] Eq Value[1] Close Content[t] End[a] Eof", LexState::Prolog, 0},
        {"<a x = \"5\" \n y='6' >", "Open[a] Attr[x] Eq Value[5] Attr[y] Eq Value[6] Close Eof",
         LexState::Content, 1},
        {"<a x=|abc|>", "Open[a] Attr[x] Eq Value[abc] Close Eof", LexState::Content, 1},  // any delimiter
        {"<a x=\"\">", "Open[a] Attr[x] Eq Value Close Eof", LexState::Content, 1},
        {"<a x='<b>'>", "Open[a] Attr[x] Eq Value[<b>] Close Eof", LexState::Content, 1},
        {"<a =\"v\">", "Open[a] Attr Eq Value[v] Close Eof", LexState::Content, 1},  // empty name
        {"<>", "Start Eof", LexState::Content, 1},
        {"</ab/x>", "End[ab] Eof", LexState::Content, -1},  // after the name is not checked
        // an attribute without "=": the rest of the tag is skipped, depth as if it closed
        {R"(<a x y="1">t</a>)", "Open[a] Attr[x] LexError Content[t] End[a] Eof", LexState::Prolog, 0},
        {"<a b>", "Open[a] Attr[b] LexError Eof", LexState::Content, 1},  // ">" alone: not "/"
        {"<a b/>", "Open[a] Attr[b] LexError Eof", LexState::Prolog, 0},
        {"<a b c/>", "Open[a] Attr[b] LexError Eof", LexState::Prolog, 0},
        // character data: outside elements TOK_UNKNOWN, white space kept
        {"hi<a>\n  <b/>x</a>", "Unknown[hi] Start[a] Content[\\n  ] Empty[b] Content[x] End[a] Eof",
         LexState::Prolog, 0},
        {"<a><<b>", "Start[a] Content Start[b] Eof", LexState::Content, 2},  // "<" alone
        {"<<a>", "Unknown Start[a] Eof", LexState::Content, 1},
        // declarations
        {"<!-- a > b -->", "Comment Unknown[ b -->] Eof", LexState::Prolog, 0},  // ends at the first ">"
        {"<!---->", "Comment Eof", LexState::Prolog, 0},
        {"<!>", "Comment Eof", LexState::Prolog, 0},
        {"<![CDATA[x]>y]]>", "CData Eof", LexState::Prolog, 0},
        {"<![CDATA[]]>", "CData Eof", LexState::Prolog, 0},
        {"<![CDATA[>", "Comment Eof", LexState::Prolog, 0},  // ">" within the first 8
        {"<!DOCTYPE r [ <!ENTITY e \"v\"> ]>", "Doctype Eof", LexState::Prolog, 0},
        {"<!DOCTYPE\nr>", "Doctype Eof", LexState::Prolog, 0},
        {"<!DOCTYPEx>", "Comment Unknown[>] Eof", LexState::Prolog, 0},  // 10 characters only
        {"<!doctype r>", "Comment Eof", LexState::Prolog, 0},
        {R"(<?xml version="1.0"?>)", "XmlDec Eof", LexState::Prolog, 0},
        {"<?xml\tv?>", "XmlDec Eof", LexState::Prolog, 0},
        {R"(<?xml-stylesheet href="s"?>)", "PI Eof", LexState::Prolog, 0},
        {"<?XML v?>", "PI Eof", LexState::Prolog, 0},
        {"<?xml?>", "PI Eof", LexState::Prolog, 0},
        {"<?a?>", "PI Eof", LexState::Prolog, 0},
        // end of input inside every construct
        {"", "Eof", LexState::Prolog, 0},
        {"<a", "Open[a] Eof", LexState::AfterAttrName, 0},  // the name ends in EOF, then the peek
        {"<", "Open Eof", LexState::AfterAttrName, 0},
        {"<a x", "Open[a] Eof[x]", LexState::AfterAttrName, 0},
        {"<a x=", "Open[a] Attr[x] Eq Eof", LexState::InTag, 0},
        {"<a x=\"1", "Open[a] Attr[x] Eq Eof", LexState::InTag, 0},
        {"<a x /", "Open[a] Attr[x] Eof", LexState::AfterAttrName, 0},  // the TOK_LEX_ERROR ends in EOF
        {"<a x=\"1\" /", "Open[a] Attr[x] Eq Value[1] Eof", LexState::Prolog, 0},
        {"<a/", "Eof[a]", LexState::Content, 0},
        {"</a", "Eof[a]", LexState::Content, -1},
        {"<!-- x", "Eof", LexState::Prolog, 0},
        {"<!-", "Eof", LexState::Prolog, 0},
        {"<![CDATA[x]]", "Eof", LexState::Prolog, 0},
        {"<!DOCTYPE r [ >", "Eof", LexState::Prolog, 0},  // ">" inside the subset
        {"<?xm", "Eof", LexState::Prolog, 0},
        {"<?xml v", "Eof", LexState::Prolog, 0},
        {"<a>text", "Start[a] Content[text] Eof", LexState::Content, 1},
    };
    for (const SequenceRow& row : rows) {
        SCOPED_TRACE(row.input);
        std::unique_ptr<Lexer> lexer = lexerOn(row.input);
        ASSERT_TRUE(lexer);
        EXPECT_EQ(sequence(*lexer), row.tokens);
        EXPECT_EQ(lexer->state(), row.endState);
        EXPECT_EQ(lexer->depth(), row.endDepth);
        EXPECT_EQ(lexer->next().type(), Tok::Eof);  // and again, whatever was left open
    }
}

// The n-th token's accumulator: every character consumed for it (white space
// skipped around names and "=" is not), and its capacity under the 16-byte,
// doubling rule, where the closing NUL of a full one makes it grow once more.
TEST(Lexer, Accumulator) {
    struct Row {
        std::string input;
        int index;
        std::string accumulated;
        std::uint32_t capacity;
    };
    const std::string v14(14, 'v');
    const Row rows[] = {
        {R"(<a  x="1">)", 0, "<a", 16},
        {"<a x = 'v' />", 2, "=", 16},
        {"<a x = 'v' />", 3, "'v'", 16},
        {"<a x = 'v' />", 4, "/>", 16},
        {"<a b>", 0, "<a", 16},
        {"</a >", 0, "</a >", 16},
        {"<!-- c -->x", 0, "<!-- c -->", 16},
        {"<![CDATA[a]]>", 0, "<![CDATA[a]]>", 16},
        {"<!DOCTYPE r [<!X>]>x", 0, "<!DOCTYPE r [<!X>]>", 32},
        {"<?xml v?>", 0, "<?xml v?>", 16},
        {"a\r\nb\rc<", 0, "a\nb\nc", 16},  // the lexer only ever sees LF
        {std::string(15, 't') + "<", 0, std::string(15, 't'), 16},
        {std::string(16, 't') + "<", 0, std::string(16, 't'), 32},  // full: the NUL needs room
        {std::string(100, 't'), 0, std::string(100, 't'), 128},
        {"", 0, "", 0},                                   // TOK_EOF with nothing consumed
        {"<a x=\"" + v14, 3, "\"" + v14, 16},            // EOF in a value: no NUL counted
        {"<a x=", 3, "\xff", 16},                        // the end of input is appended as a byte
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.input + " #" + std::to_string(row.index));
        std::unique_ptr<Lexer> lexer = lexerOn(row.input);
        Token token;
        for (int i = 0; i <= row.index; ++i) token = lexer->next();
        EXPECT_EQ(token.accumulated(), row.accumulated);
        EXPECT_EQ(token.capacity(), row.capacity);
    }
}

// Every token with the line it started on, and the state and depth after it.
TEST(Lexer, LinesStatesAndDepth) {
    struct Row {
        Tok type;
        const char* payload;
        unsigned long line;
        LexState state;
        int depth;
    };
    const std::string input = "<?xml v?>\r\n<a\r x='1'>\r<b/>\n<!--\n-->\n</a>\r\n";
    const Row rows[] = {
        {Tok::XmlDec, "", 1, LexState::Prolog, 0},
        {Tok::Unknown, "\n", 1, LexState::Prolog, 0},
        {Tok::StartTagOpen, "a", 2, LexState::InTag, 0},
        {Tok::Attribute, "x", 3, LexState::AfterAttrName, 0},  // the CR went with the name
        {Tok::Equal, "", 3, LexState::AfterEqual, 0},
        {Tok::AttValue, "1", 3, LexState::InTag, 0},
        {Tok::StartTagClose, "", 3, LexState::Content, 1},
        {Tok::Content, "\n", 3, LexState::Content, 1},
        {Tok::EmptyTag, "b", 4, LexState::Content, 1},
        {Tok::Content, "\n", 4, LexState::Content, 1},
        {Tok::Comment, "", 5, LexState::Content, 1},
        {Tok::Content, "\n", 6, LexState::Content, 1},
        {Tok::EndTag, "a", 7, LexState::Prolog, 0},
        {Tok::Unknown, "\n", 7, LexState::Prolog, 0},
        {Tok::Eof, "", 8, LexState::Prolog, 0},
    };
    std::unique_ptr<Lexer> lexer = lexerOn(input);
    for (const Row& row : rows) {
        SCOPED_TRACE(shortName(row.type) + " " + row.payload);
        const Token token = lexer->next();
        EXPECT_EQ(token.type(), row.type);
        EXPECT_EQ(token.payload(), row.payload);
        EXPECT_EQ(lexer->line(), row.line);
        EXPECT_EQ(lexer->state(), row.state);
        EXPECT_EQ(lexer->depth(), row.depth);
    }
    EXPECT_EQ(lexer->sourceLine(), 8u);
}

// Line ends inside runs that are scanned in blocks: wherever they fall, they
// read as one LF and count one line.
TEST(Lexer, LineEndsAnywhereInARun) {
    for (const std::string lineEnd : {"\n", "\r\n", "\r"}) {
        for (std::size_t n = 0; n < 40; ++n) {
            const std::string text(n, 't');
            const std::string input = "<a x='" + text + lineEnd + text + "'>" + text + lineEnd + text + "<b/>";
            SCOPED_TRACE(::testing::PrintToString(input));
            std::unique_ptr<Lexer> lexer = lexerOn(input);
            for (int i = 0; i < 3; ++i) lexer->next();
            EXPECT_EQ(lexer->next().payload(), text + "\n" + text);
            lexer->next();
            EXPECT_EQ(lexer->line(), 2u);
            EXPECT_EQ(lexer->next().payload(), text + "\n" + text);
            EXPECT_EQ(lexer->next().type(), Tok::EmptyTag);
            EXPECT_EQ(lexer->line(), 3u);
        }
    }
}

TEST(Lexer, ErrorTextAndReport) {
    std::unique_ptr<Lexer> lexer = lexerOn("\n\n<a x y='1'><b z/>");
    EXPECT_STREQ(lexer->errorText(), "0 error");
    lexer->next();
    lexer->next();
    ::testing::internal::CaptureStderr();
    reportLexError(lexer.get(), "Can't allocate new token");
    reportLexError(nullptr, "Can't allocate new token");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "XML lex error at line 3: Can't allocate new token\n"
              "XML lex error Can't allocate new token\n");
    sequence(*lexer);
    EXPECT_STREQ(lexer->errorText(), "expect '=' follows attribute with tag");
}

// A token is valid until the next one is lexed; reading it later aborts in
// every build, rather than reading the next token's bytes.
TEST(LexerDeathTest, StaleTokenAborts) {
    std::unique_ptr<Lexer> lexer = lexerOn("<a x='1'>");
    const Token first = lexer->next();
    EXPECT_EQ(first.payload(), "a");
    lexer->next();
    EXPECT_DEATH(static_cast<void>(first.payload()), "moved on");
    EXPECT_DEATH(static_cast<void>(first.type()), "moved on");
}

// Deliberate: a CR that ends a buffer reads as LF forever, so a token that
// reaches it never ends; the accumulator limit keeps its memory bounded.
TEST(LexerDeathTest, LoneCrAtEndOfBufferNeverEnds) {
    for (const std::string input : {"<a>t\r", "<a x='v\r", "\r"}) {
        SCOPED_TRACE(input);
        EXPECT_EXIT(
            {
                ::alarm(1);
                std::unique_ptr<Lexer> lexer = lexerOn(input);
                lexer->setAccumulatorLimit(64);
                for (;;) {
                    if (lexer->next().type() == Tok::Eof) std::_Exit(0);
                }
            },
            ::testing::KilledBySignal(SIGALRM), "");
    }
}

// An accumulator can't pass its limit; that token becomes TOK_MEMORY_ERROR and
// lexing goes on with the next one.
TEST(Lexer, AccumulatorLimit) {
    const std::string input = "<a>" + std::string(100, 't') + "<b x='" + std::string(100, 'v') + "'/>";
    std::unique_ptr<Lexer> lexer = lexerOn(input);
    lexer->setAccumulatorLimit(64);
    EXPECT_EQ(lexer->next().type(), Tok::StartTag);
    const Token text = lexer->next();
    EXPECT_EQ(text.type(), Tok::MemoryError);
    EXPECT_EQ(text.capacity(), 64u);
    EXPECT_EQ(text.payload(), std::string(64, 't'));
    EXPECT_EQ(sequence(*lexer), "Open[b] Attr[x] Eq MemError[" + std::string(63, 'v') + "] EmptyClose Eof");
}

// Names carry the key the lexer measured as it read them; it must be the key
// of the payload up to its first NUL, whatever the token.
TEST(Lexer, NameKeyMatchesPayload) {
    using namespace std::string_literals;
    const std::string long40(40, 'n');
    const std::string rows[] = {
        "<a x='1' yy=\"2\"/>",
        "<" + long40 + " " + long40 + "='v'>text</" + long40 + ">",
        "<a\0b x\0y='p\0q'></a\0b>"s,
        "<\0a x=1>"s,
        "<a\r\nx='1'\r\n/>",
        "<a x",
    };
    for (const std::string& input : rows) {
        SCOPED_TRACE(input);
        std::unique_ptr<Lexer> lexer = lexerOn(input);
        for (int i = 0; i < 20; ++i) {
            const Token token = lexer->next();
            const NameKey key = token.nameKey();
            const NameKey expected = nameKey(token.payload());
            EXPECT_EQ(key.length, expected.length) << i;
            EXPECT_EQ(key.hash, expected.hash) << i;
            if (key.length != 0) {
                EXPECT_EQ(key.data, token.payload().data()) << i;
            }
            if (token.type() == Tok::Eof) break;
        }
    }
    // A name cut short by the accumulator limit is measured over what was kept.
    const std::string input = "<" + long40 + " a='1'/>";
    std::unique_ptr<Lexer> lexer = lexerOn(input);
    lexer->setAccumulatorLimit(16);
    const Token cut = lexer->next();
    EXPECT_EQ(cut.payload(), std::string(15, 'n'));
    EXPECT_EQ(cut.nameKey().length, 15u);
    EXPECT_EQ(cut.nameKey().hash, nameHash(std::string(15, 'n')));
}

TEST(Lexer, DumpFormat) {
    std::unique_ptr<Lexer> lexer = lexerOn("<a x='&lt;1'/>");
    Token value;
    for (int i = 0; i < 4; ++i) value = lexer->next();
    char* text = nullptr;
    std::size_t size = 0;
    std::FILE* out = ::open_memstream(&text, &size);
    value.dump(out);
    dumpToken(Token(), out);
    std::fclose(out);
    EXPECT_EQ(std::string(text, size),
              "=============================\n"
              "Token Type: TOK_ATTVALUE\n"
              "Data size: 5 Accum size: 16\n"
              "Data: [<1]\n"
              "Accumulator:\n"
              "['&lt;1']\n"
              "=============================\n"
              "NULL TOKEN!\n");
    std::free(text);
}

TEST(Lexer, TypeNames) {
    struct Row {
        int type;
        const char* name;
    };
    const Row rows[] = {
        {9, "Invalid Token"}, {10, "TOK_XML_DEC"}, {17, "TOK_EMPTY_TAG_CLOSE"},
        {28, "TOK_MEMORY_ERROR"}, {29, "Invalid Token"}, {-1, "Invalid Token"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.type);
        EXPECT_STREQ(tokenTypeName(row.type), row.name);
    }
}

}  // namespace
}  // namespace xml
