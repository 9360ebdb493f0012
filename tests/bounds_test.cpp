// Documents built to be expensive: deep nesting, many siblings, attributes or
// bridges, huge values, entity storms. Each is lexed to the end and read with
// the 4.5 reader (and what was read written back) in a child process, whose
// peak memory must stay in the order of the input's size. Quadratic time or a
// stack overflow shows as a test that does not finish or a child that crashes.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include "model/sanparse.h"
#include "writer/document.h"
#include "xml/lexer.h"

namespace {

std::string repeat(const std::string& piece, std::size_t times) {
    std::string out;
    out.reserve(piece.size() * times);
    for (std::size_t i = 0; i < times; ++i) out += piece;
    return out;
}

std::size_t count(const std::string& text, const std::string& piece) {
    std::size_t n = 0;
    for (std::size_t at = text.find(piece); at != std::string::npos; at = text.find(piece, at + piece.size())) ++n;
    return n;
}

std::size_t tokensOf(const std::string& text) {
    std::unique_ptr<xml::Lexer> lexer = xml::Lexer::onMemory(text.data(), text.size());
    std::size_t n = 0;
    while (lexer->next().type() != xml::Tok::Eof) ++n;
    return n;
}

std::string written(const model::SANBridge& bridge) {
    const writer::ConfigText bytes = writer::writeDocumentToMemory(&bridge, 0);
    return std::string(bytes.text.get(), static_cast<std::size_t>(bytes.length));
}

#if defined(__SANITIZE_ADDRESS__)
// Shadow memory and redzones grow with what is allocated; freed blocks are
// held back in a quarantine of up to 256 MiB.
constexpr long kMemoryFactor = 24;
constexpr long kBaselineKiB = (64 + 320) * 1024;
#else
constexpr long kMemoryFactor = 8;
constexpr long kBaselineKiB = 64 * 1024;
#endif

// Failures of this test so far; a child compares them with its own count, as
// it inherits the parent's.
int failuresSoFar() {
    const ::testing::TestResult* result = ::testing::UnitTest::GetInstance()->current_test_info()->result();
    int failures = 0;
    for (int i = 0; i < result->total_part_count(); ++i) failures += result->GetTestPartResult(i).failed() ? 1 : 0;
    return failures;
}

struct Case {
    const char* why;
    std::function<std::string()> input;
    std::size_t tokens;                                   // what the lexer yields before TOK_EOF
    std::function<void(const model::SANBridge&)> check;   // on what the 4.5 reader made of it
};

const std::string kBridge = R"(<SANBridge name="x">)";                        // 5 tokens
const std::string kTail = R"(<LogicalResources nextVDevID="7"/></SANBridge>)";  // 6 tokens
constexpr std::size_t kMillion = 1'000'000;

// The bridge read past the expensive part to its last child.
void readOnToTheEnd(const model::SANBridge& bridge) {
    EXPECT_EQ(bridge.name, "x");
    EXPECT_EQ(bridge.logicalResources.nextVDevID, 7);
}

const Case kCases[] = {
    {"10^6 nested known elements: the 1,001st and deeper are passed over",
     [] { return kBridge + repeat("<InfoItem>", kMillion) + repeat("</InfoItem>", kMillion) + kTail; },
     5 + 2 * kMillion + 6, readOnToTheEnd},
    {"10^6 nested unknown elements",
     [] { return kBridge + repeat("<Unknown>", kMillion) + repeat("</Unknown>", kMillion) + kTail; },
     5 + 2 * kMillion + 6, readOnToTheEnd},
    {"10^6 siblings, all kept and written back",
     [] {
         return R"(<SANBridge name="x"><PhysicalResources><PhysicalDevs><PhysicalDev name="d">)" +
                repeat(R"(<InfoItem name="n" value="v"/>)", kMillion) +
                "</PhysicalDev></PhysicalDevs></PhysicalResources>" + kTail;
     },
     12 + 8 * kMillion + 3 + 6,
     [](const model::SANBridge& bridge) {
         readOnToTheEnd(bridge);
         ASSERT_EQ(bridge.physicalResources.physicalDevs.items.size(), 1u);
         EXPECT_EQ(bridge.physicalResources.physicalDevs.items[0].infoItems.size(), kMillion);
         EXPECT_EQ(count(written(bridge), "<InfoItem name=\"n\" value=\"v\"/>"), kMillion);
     }},
    {"10^6 siblings, parsed and released",
     [] { return kBridge + repeat(R"(<WWPNMap initiatorWWPN="a" targetWWPN="b"/>)", kMillion) + kTail; },
     5 + 8 * kMillion + 6, readOnToTheEnd},
    {"10^6 attributes on one element, the last of a name wins",
     [] { return R"(<SANBridge)" + repeat(R"( a="1" name="y")", kMillion / 2) + R"( name="x">)" + kTail; },
     1 + 3 * kMillion + 3 + 1 + 6, readOnToTheEnd},
    {"a 50 MB attribute value",
     [] { return R"(<SANBridge name=")" + std::string(50'000'000, 'n') + R"(">)" + kTail; }, 5 + 6,
     [](const model::SANBridge& bridge) {
         EXPECT_EQ(bridge.name->size(), 50'000'000u);
         EXPECT_EQ(count(written(bridge), std::string(1000, 'n')), 50'000u);
     }},
    {"2 MiB of '&' in one value: no reference, kept as it is",
     [] { return R"(<SANBridge name=")" + std::string(2 << 20, '&') + R"(">)" + kTail; }, 5 + 6,
     [](const model::SANBridge& bridge) {
         EXPECT_EQ(bridge.name, std::string(2 << 20, '&'));
         EXPECT_EQ(count(written(bridge), "&amp;"), std::size_t{2} << 20);
     }},
    {"2 MiB of '&' and one ';': one unknown reference",
     [] { return R"(<SANBridge name=")" + std::string(2 << 20, '&') + R"(;">)" + kTail; }, 5 + 6,
     [](const model::SANBridge& bridge) { EXPECT_EQ(bridge.name, std::string(2 << 20, '&') + ";"); }},
    {"10^6 references decoded in one value",
     [] { return R"(<SANBridge name=")" + repeat("&amp;&#65;", kMillion / 2) + R"(">)" + kTail; }, 5 + 6,
     [](const model::SANBridge& bridge) { EXPECT_EQ(bridge.name, repeat("&A", kMillion / 2)); }},
    {"10^5 bridges: the last one is the document's",
     [] {
         std::string text = "<SANConfig><SANBridgeList>";
         for (int i = 0; i < 100'000; ++i) text += R"(<SANBridge name="b)" + std::to_string(i) + R"("/>)";
         return text + kBridge + kTail + "</SANBridgeList></SANConfig>";
     },
     2 + 5 * 100'000 + 5 + 6 + 2,
     readOnToTheEnd},
};

// A figure of /proc/self/status, in KiB ("VmRSS", "VmHWM").
long statusKiB(const char* field) {
    std::FILE* status = std::fopen("/proc/self/status", "r");
    if (status == nullptr) return 0;
    char line[256];
    long value = 0;
    const std::size_t length = std::strlen(field);
    while (std::fgets(line, sizeof line, status) != nullptr) {
        if (std::strncmp(line, field, length) == 0 && line[length] == ':') value = std::atol(line + length + 1);
    }
    std::fclose(status);
    return value;
}

TEST(Bounds, ExpensiveDocumentsStayLinear) {
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.why);
        const int failuresBefore = failuresSoFar();
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            // The child starts with the pages it shares with this process; it
            // is measured by how far its peak rises above them.
            const long startKiB = statusKiB("VmRSS");
            const std::string text = c.input();
            EXPECT_EQ(tokensOf(text), c.tokens);
            ::fclose(stderr);  // the unknown reference of 2 MiB is reported there
            std::unique_ptr<model::SANBridge> bridge = model::readBridge45(text.data(), text.size());
            if (bridge) c.check(*bridge);
            else ADD_FAILURE() << "no bridge";
            const long inputKiB = static_cast<long>(text.size() / 1024);
            const long grewKiB = statusKiB("VmHWM") - startKiB;
            EXPECT_LE(grewKiB, kBaselineKiB + kMemoryFactor * inputKiB) << "input " << inputKiB << " KiB";
            std::printf("[          ] %-68.68s %4ld MiB in, %5ld MiB peak\n", c.why, inputKiB / 1024,
                        grewKiB / 1024);
            std::fflush(stdout);
            ::_exit(failuresSoFar() == failuresBefore ? 0 : 1);
        }
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
    }
}

}  // namespace
