// The output sink in memory, where the whole documents of tests/ do not reach:
// NULs, deep indentation, lent blocks, bytes dropped. Number formats, the
// entities, the file mode and the framing are pinned by those documents.
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "writer/sink.h"

#if defined(__SANITIZE_ADDRESS__)
// A request no allocator can meet returns null under the sanitizer too, as it
// does in production, instead of ending the test program.
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }
#endif

namespace writer {
namespace {

std::string taken(XmlSink& sink) {
    ConfigText bytes = sink.takeBuffer();
    return bytes.text ? std::string(bytes.text.get(), static_cast<std::size_t>(bytes.length)) : "(null)";
}

TEST(Sink, FormatsAndEscapes) {
    struct Row {
        const char* rule;
        void (*write)(XmlSink&);
        std::string expected;
    };
    const Row rows[] = {
        {"nothing written gives no buffer", [](XmlSink&) {}, "(null)"},
        {"the five entities, nothing else translated",
         [](XmlSink& s) { s.escaped("\"&'<>\xC3\xA9\t"); }, "&quot;&amp;&apos;&lt;&gt;\xC3\xA9\t"},
        {"a null text writes nothing", [](XmlSink& s) { s.escaped(static_cast<const char*>(nullptr)); s.put('x'); }, "x"},
        {"a stored text ends at a NUL", [](XmlSink& s) { s.escaped(std::optional<std::string>(std::string("a\0b", 3))); }, "a"},
        {"a stored text escapes up to its NUL and nothing after it",
         [](XmlSink& s) { s.escaped(std::optional<std::string>(std::string("x>y\0<z", 7))); }, "x&gt;y"},
        {"a text given with its length keeps its NULs",
         [](XmlSink& s) { s.escaped(std::string_view("a\0<b", 4)); s.put('|'); }, std::string("a\0&lt;b|", 8)},
        {"new line indents two spaces per level above 0",
         [](XmlSink& s) { s.newLine(); s.level = 3; s.newLine(); s.level = -1; s.newLine(); s.put('|'); }, "\n\n      \n|"},
        {"an indentation deeper than 64 spaces is written whole",
         [](XmlSink& s) { s.level = 40; s.newLine(); s.put('|'); }, "\n" + std::string(80, ' ') + "|"},
        {"a padded name counts its length only",
         [](XmlSink& s) {
             const XmlSink::Padded name = {'<', 'a', 'b', 0, 'z'};
             s.writePadded(name, 3);
             s.put('|');
         },
         "<ab|"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        XmlSink sink = XmlSink::toMemory();
        row.write(sink);
        EXPECT_EQ(taken(sink), row.expected);
    }
}

// A block lent to the sink is written over from its start; the sink grows
// past it when the text needs more, and a block from new[] is not taken.
TEST(Sink, MemoryStartsInALentBlock) {
    const auto lent = [](std::size_t size, bool fromMalloc) {
        ConfigText block;
        char* bytes = fromMalloc ? static_cast<char*>(std::malloc(size)) : new char[size];
        std::memset(bytes, '#', size);
        block.text = ConfigText::Bytes(bytes, TextRelease{fromMalloc});
        block.length = static_cast<std::int32_t>(size);
        return block;
    };
    const std::string longer(20000, 'z');
    struct Row {
        const char* rule;
        std::size_t size;
        bool fromMalloc;
        std::string text;
    };
    const Row rows[] = {
        {"a text shorter than the block", 64, true, "<a>"},
        {"a text that fills the block", 3, true, "<a>"},
        {"a text longer than the block", 16, true, longer},
        {"a block from new[]", 64, false, "<a>"},
        {"an empty block", 0, true, "<a>"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        XmlSink sink = XmlSink::toMemory(lent(row.size, row.fromMalloc));
        sink.write(row.text);
        EXPECT_TRUE(sink.complete());
        EXPECT_EQ(taken(sink), row.text);
    }
    XmlSink unused = XmlSink::toMemory(lent(64, true));
    EXPECT_EQ(taken(unused), "(null)");  // nothing written, nothing handed over
}

// The text of a memory sink that could not grow is not the whole document:
// the flag tells its users not to take it for one.
TEST(Sink, DroppedBytesMakeTheTextIncomplete) {
    XmlSink sink = XmlSink::toMemory();
    sink.write("ab");
    sink.newLine();
    EXPECT_TRUE(sink.complete());
    const std::size_t room = 8192 - 3;  // what the first buffer has left
    const std::string source(room, 'x');
    // A length no allocation can hold: only what fits is copied, from the
    // first `room` bytes of the source. (Opaque, or the compiler checks the
    // inline copy that never runs against the source's size.)
    volatile std::size_t huge = std::size_t{1} << 62;
    sink.write(std::string_view(source.data(), huge));
    EXPECT_FALSE(sink.complete());
    sink.put('y');  // it stays so when growing works again
    EXPECT_FALSE(sink.complete());
    EXPECT_EQ(taken(sink), "ab\n" + source + "y");
}

}  // namespace
}  // namespace writer
