// The way back, run as the real programs: 4.0 document, upgrade, downgrade,
// upgrade again.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "legacy/names40.h"
#include "tests/support/documents.h"
#include "tests/support/run_program.h"
#include "xml/lexer.h"

namespace {

using testing_support::readFile;
using testing_support::runProgram;
using testing_support::ScratchDir;
using testing_support::writeFile;

// What may differ after the way back and forth: the header's time, the
// instance raised by each run, and what the 4.0 writer does not write.
std::string comparable(const std::string& document45) {
    std::string text = testing_support::withoutTime(document45);
    for (const std::string name : {" instance=\"", " status=\"", " wormEnabled=\"", " quorumDiskMirror=\""}) {
        for (std::size_t at = text.find(name); at != std::string::npos; at = text.find(name, at)) {
            text.erase(at, text.find('"', at + name.size()) + 1 - at);
        }
    }
    return text;
}

// The first element that is not closed in order, or name that the 4.0 reader
// does not know, in a 4.0 text; empty when there is none. (Escapes are the
// round trip's to prove: a value or text written wrongly reads back changed.)
std::string flawIn40(const std::string& text) {
    std::unique_ptr<xml::Lexer> lexer = xml::Lexer::onMemory(text.data(), text.size());
    std::vector<std::string> open;
    for (xml::Token token = lexer->next(); token.type() != xml::Tok::Eof; token = lexer->next()) {
        const std::string payload(token.payload());
        switch (token.type()) {
        case xml::Tok::StartTag:
        case xml::Tok::StartTagOpen:
        case xml::Tok::EmptyTag:
            if (open.size() >= 2 && legacy::lookupElement40(payload.c_str()) < 0) return "element " + payload;
            if (token.type() != xml::Tok::EmptyTag) open.push_back(payload);
            break;
        case xml::Tok::Attribute:
            if (legacy::lookupAttribute40(payload.c_str()) < 0) return "attribute " + payload;
            break;
        case xml::Tok::EmptyTagClose:
        case xml::Tok::EndTag:
            if (open.empty() || (token.type() == xml::Tok::EndTag && open.back() != payload)) return "end " + payload;
            open.pop_back();
            break;
        case xml::Tok::LexError:
            return "lexical error";
        default:
            break;
        }
    }
    return open.empty() ? std::string() : "unclosed " + open.back();
}

// Texts with every character that needs care, in an otherwise small document.
const char kMarkup40[] =
    R"(<SANConfig><SANBridgeList><SANBridge name="a&amp;b" ipAddr="&lt;&gt;&quot;&apos;&#13;x"><PhysicalResources>)"
    R"(<PhysicalAdapter number="0"><PhysicalDev name="d&#13;&#10;e" guid="g"><SCSIAddress adapter="0"/>)"
    R"(<InquiryString>a &amp; b > c</InquiryString><Comments>x&lt;y</Comments></PhysicalDev></PhysicalAdapter>)"
    R"(</PhysicalResources></SANBridge></SANBridgeList></SANConfig>)";

// Upgrade a 4.0 document, downgrade the result, upgrade again: the same 4.5
// text as writing back the first upgrade, but for what may differ.
TEST(Downgrade, RoundTrip) {
    struct Row {
        const char* document;
        const char* leftOut;  // what the downgrade says
    };
    const Row rows[] = {
        {"examples/nimbra40.conf", ""},
        {"tests/testdata/small40.conf", "left out: 1 status attribute\n"},
        {"tests/testdata/tiny40.conf", "left out: 1 status attribute\n"},
        {"tests/testdata/generated40_seed3.conf", ""},
        {"tests/testdata/generated40_seed4.conf", ""},
        {"tests/testdata/generated40_seed6.conf", ""},
        {"markup", ""},
    };
    ScratchDir dir;
    const std::vector<std::string> home = {"NBHOME=" + dir.path()};
    const std::string d = dir.file("d.conf"), a = dir.file("a.conf"), d2 = dir.file("d2.conf"), b = dir.file("b.conf");
    for (const Row& row : rows) {
        SCOPED_TRACE(row.document);
        const std::string name = row.document;
        writeFile(d, name == "markup" ? kMarkup40 : readFile(XLATE45_SOURCE_DIR "/" + name));
        ASSERT_EQ(runProgram({XLATE45_BIN, d, a, "-q"}, home).status, 0);
        const testing_support::ProgramResult down = runProgram({NBCONF_BIN, "downgrade", a, d2}, home);
        ASSERT_EQ(down.status, 0) << down.err;
        EXPECT_EQ(down.err, row.leftOut);
        EXPECT_EQ(flawIn40(readFile(d2)), "");
        ASSERT_EQ(runProgram({XLATE45_BIN, d2, b, "-q"}, home).status, 0);
        const testing_support::ProgramResult check = runProgram({NBCONF_BIN, "check", a}, home);
        ASSERT_EQ(check.status, 0);
        EXPECT_EQ(comparable(readFile(b)), comparable(check.out));
    }
}

// Every 4.5 element and attribute in: only what the 4.0 reader knows out.
TEST(Downgrade, OnlyNamesThe40ReaderKnows) {
    ScratchDir dir;
    const std::string out = dir.file("out.conf");
    const testing_support::ProgramResult run =
        runProgram({NBCONF_BIN, "downgrade", "-q", XLATE45_SOURCE_DIR "/tests/testdata/every_element45.xml", out});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(flawIn40(readFile(out)), "");
}

}  // namespace
