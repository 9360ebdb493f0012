#include "xml/source.h"

#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "xml/lexer.h"
#include "xml/lock_file.h"
#include "xml/token_stream.h"

namespace xml {
namespace {

// A fresh directory per test, removed with what the test left in it.
class TempDir {
public:
    TempDir() {
        std::string pattern = ::testing::TempDir() + "xmlsrcXXXXXX";
        path_ = ::mkdtemp(pattern.data());
    }
    ~TempDir() { static_cast<void>(std::system(("rm -rf '" + path_ + "'").c_str())); }
    std::string file(const std::string& name, const std::string& content) const {
        const std::string path = path_ + "/" + name;
        std::ofstream(path, std::ios::binary) << content;
        return path;
    }
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

// Takes characters until the end, with a bound so a source that never ends fails.
std::string drain(Source& source) {
    std::string out;
    for (int i = 0; i < 1000; ++i) {
        const int c = source.get();
        if (c == -1) return out;
        out.push_back(static_cast<char>(c));
    }
    return out + "...";
}

// A pipe read through /dev/fd: it can't be mapped, so the stream path reads it.
std::unique_ptr<Source> pipeSource(const std::string& content, int* readEnd) {
    int fds[2];
    if (::pipe(fds) != 0) return nullptr;
    EXPECT_EQ(::write(fds[1], content.data(), content.size()), static_cast<ssize_t>(content.size()));
    ::close(fds[1]);
    *readEnd = fds[0];
    const std::string path = "/dev/fd/" + std::to_string(fds[0]);
    ::testing::internal::CaptureStderr();  // its lock file can't be created
    std::unique_ptr<Source> source = Source::openFile(path.c_str());
    ::testing::internal::GetCapturedStderr();
    return source;
}

struct LineEndRow {
    const char* input;
    const char* chars;  // what the lexer sees
    unsigned long line; // line number at the end
};

const LineEndRow kLineEnds[] = {
    {"a\r\nb", "a\nb", 2},           // CR LF is one line end
    {"a\rb", "a\nb", 2},             // lone CR
    {"a\nb", "a\nb", 2},             // lone LF
    {"\r\r\n\n\n\r", "\n\n\n\n\n", 6}, // CR, CR LF, LF, LF, CR (stream only: see LoneCr...)
    {"\n\r\r", "\n\n\n", 4},         // CR CR: two lines
    {"", "", 1},
};

TEST(Source, LineEndsInBuffer) {
    for (const LineEndRow& row : kLineEnds) {
        SCOPED_TRACE(::testing::PrintToString(std::string(row.input)));
        const std::string input = row.input;
        if (!input.empty() && input.back() == '\r') continue;  // never ends: see LoneCrAtEnd
        std::unique_ptr<Source> source = Source::openMemory(input.data(), input.size());
        ASSERT_TRUE(source);
        EXPECT_EQ(drain(*source), row.chars);
        EXPECT_EQ(source->line(), row.line);
        EXPECT_EQ(source->peek(), -1);
    }
}

TEST(Source, LineEndsInStream) {
    for (const LineEndRow& row : kLineEnds) {
        SCOPED_TRACE(::testing::PrintToString(std::string(row.input)));
        int readEnd = -1;
        std::unique_ptr<Source> source = pipeSource(row.input, &readEnd);
        ASSERT_TRUE(source);
        EXPECT_FALSE(source->mapped());
        EXPECT_EQ(drain(*source), row.chars);
        EXPECT_EQ(source->line(), row.line);
        source.reset();
        ::close(readEnd);
    }
}

// Every token dumped, with the line it started on, through TOK_EOF.
std::string dumpAll(Lexer& lexer) {
    char* text = nullptr;
    std::size_t size = 0;
    std::FILE* out = ::open_memstream(&text, &size);
    for (int i = 0; i < 100000; ++i) {
        const Token token = lexer.next();
        std::fprintf(out, "line %lu\n", lexer.line());
        token.dump(out);
        // Names are measured while the stream is read too.
        const NameKey key = token.nameKey();
        std::fprintf(out, "key %zu %u state %d depth %d\n", key.length, key.hash, static_cast<int>(lexer.state()),
                     lexer.depth());
        if (token.type() == Tok::Eof) break;
    }
    std::fclose(out);
    std::string all(text, size);
    std::free(text);
    return all;
}

// Buffers are lexed in runs, streams character by character: same tokens.
TEST(Source, StreamAndBufferAgree) {
    std::ifstream in(std::string(XLATE45_SOURCE_DIR) + "/examples/nimbra40.conf", std::ios::binary);
    const std::string sample((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    ASSERT_GT(sample.size(), 1000u);
    std::string crlf;
    for (const char c : sample) crlf += c == '\n' ? std::string("\r\n") : std::string(1, c);
    std::string loneCr = sample;
    for (char& c : loneCr) c = c == '\n' ? '\r' : c;
    loneCr += "x";  // a final CR would never end in a buffer
    const std::string odd = "<a x=\"1\r\n2\r3\" y=\r\rv\r>\r\rt\r\n<b\rz='q'/></a\r>x";
    // Names, values and text that fill, just miss or cross the 16-byte blocks a
    // buffer is scanned in, with line ends, CRs and NULs at their edges.
    std::string edges;
    for (const std::size_t n : {1, 14, 15, 16, 17, 31, 33}) {
        const std::string name(n, 'n'), text(n, 't'), nul(1, '\0');
        edges += "<" + name + " " + name + "='" + text + "\n" + text + "'>" + text + "\n\n" + text + "</" + name + "\r>";
        edges += "<" + name + "\t" + name + " =\n\"" + text + "\r\n\"\n/>" + std::string(n, ' ') + "\n";
        edges += "<" + name + nul + "x y" + nul + "=|" + text + "|></" + name + nul + ">" + text + "\r";
        edges += "<" + name + "/>\n<" + name + " />" + "<" + name + ">" + "<" + name + " a=\n'v'\n>";
    }
    edges += "<a b='1' c=\"" + std::string(20, 'v');  // the input ends in a value
    for (const std::string* input :
         std::initializer_list<const std::string*>{&sample, &crlf, &loneCr, &odd, &edges}) {
        SCOPED_TRACE(input->substr(0, 20));
        std::unique_ptr<Lexer> buffered = Lexer::onMemory(input->data(), input->size());
        const std::string expected = dumpAll(*buffered);
        int readEnd = -1;
        int fds[2];
        ASSERT_EQ(::pipe(fds), 0);
        // Writing first needs the pipe's buffer to hold the document.
        ASSERT_LT(input->size(), 60000u);
        ASSERT_EQ(::write(fds[1], input->data(), input->size()), static_cast<ssize_t>(input->size()));
        ::close(fds[1]);
        readEnd = fds[0];
        const std::string path = "/dev/fd/" + std::to_string(readEnd);
        ::testing::internal::CaptureStderr();
        std::unique_ptr<Lexer> streamed = Lexer::onFile(path.c_str());
        ::testing::internal::GetCapturedStderr();
        ASSERT_TRUE(streamed);
        EXPECT_FALSE(streamed->mapped());
        EXPECT_EQ(dumpAll(*streamed), expected);
        streamed.reset();
        ::close(readEnd);
    }
}

TEST(Source, PeekNeitherTakesNorCounts) {
    const std::string input = "\r\nx";
    std::unique_ptr<Source> source = Source::openMemory(input.data(), input.size());
    EXPECT_EQ(source->peek(), '\n');  // CR reads as LF
    EXPECT_EQ(source->peek(), '\n');
    EXPECT_EQ(source->line(), 1u);
    EXPECT_EQ(source->get(), '\n');
    EXPECT_EQ(source->line(), 2u);
    EXPECT_EQ(source->peek(), 'x');
}

// Deliberate: a CR as the buffer's last byte is never consumed; each get gives LF
// and a line. The stream path has no such quirk.
TEST(Source, LoneCrAtEndOfBufferNeverEnds) {
    const std::string input = "a\r";
    std::unique_ptr<Source> source = Source::openMemory(input.data(), input.size());
    EXPECT_EQ(source->get(), 'a');
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(source->get(), '\n') << i;
        ASSERT_EQ(source->peek(), '\n') << i;
    }
    EXPECT_EQ(source->line(), 1001u);

    int readEnd = -1;
    std::unique_ptr<Source> stream = pipeSource(input, &readEnd);
    EXPECT_EQ(drain(*stream), "a\n");
    stream.reset();
    ::close(readEnd);
}

TEST(Source, NullBuffer) {
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(Source::openMemory(nullptr, 3));
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Can't access NULL buffer\n");
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(Lexer::onMemory(nullptr, 0));
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Can't access NULL buffer\n");
}

TEST(Source, RegularFileIsMappedEmptyFileIsStreamed) {
    TempDir dir;
    const std::string full = dir.file("full.conf", "<a/>");
    const std::string empty = dir.file("empty.conf", "");

    std::unique_ptr<Lexer> lexer = Lexer::onFile(full.c_str());
    ASSERT_TRUE(lexer);
    EXPECT_TRUE(lexer->mapped());
    EXPECT_EQ(lexer->next().type(), Tok::EmptyTag);
    EXPECT_EQ(lexer->next().type(), Tok::Eof);

    lexer = Lexer::onFile(empty.c_str());
    ASSERT_TRUE(lexer);
    EXPECT_FALSE(lexer->mapped());
    EXPECT_EQ(lexer->next().type(), Tok::Eof);
}

// The mapping is read-only: a NUL stored after a payload goes elsewhere.
TEST(Source, MappedTokensTakeTheirNul) {
    TempDir dir;
    const std::string content = "<a x='12' y=\"ab\">t</a>";
    const std::string path = dir.file("doc.xml", content);
    std::unique_ptr<Lexer> lexer = Lexer::onFile(path.c_str());
    ASSERT_TRUE(lexer);
    ASSERT_TRUE(lexer->mapped());
    std::vector<std::string> terminated;
    for (Token token = lexer->next(); token.type() != Tok::Eof; token = lexer->next()) {
        terminated.push_back(token.terminatedPayload());
    }
    EXPECT_EQ(terminated, (std::vector<std::string>{"a", "x", "", "12", "y", "", "ab", "", "t", "a"}));
    lexer.reset();
    std::ifstream in(path, std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), content);
}

TEST(Source, UnlockableFileIsReadWithoutLock) {
    int fds[2];
    ASSERT_EQ(::pipe(fds), 0);
    ASSERT_EQ(::write(fds[1], "<a>", 3), 3);
    ::close(fds[1]);
    const std::string path = "/dev/fd/" + std::to_string(fds[0]);
    ::testing::internal::CaptureStderr();
    std::unique_ptr<Lexer> lexer = Lexer::onFile(path.c_str());
    const std::string err = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(err.rfind("Can't open lock file /dev/fd/." + std::to_string(fds[0]) + ".lock - ", 0), 0u)
        << err;
    ASSERT_TRUE(lexer);
    const Token token = lexer->next();
    EXPECT_EQ(token.type(), Tok::StartTag);
    EXPECT_EQ(token.payload(), "a");
    lexer.reset();
    ::close(fds[0]);
}

// What a second process sees on the lock file: the pid of a holder whose lock
// conflicts with a writer's, or 0.
pid_t writerConflictSeenByChild(const std::string& document) {
    const pid_t child = ::fork();
    if (child == 0) {
        const int fd = ::open(lockFileName(document).c_str(), O_RDWR);
        const pid_t holder = fd < 0 ? -1 : testLock(sys::realCalls(), fd, F_WRLCK);
        ::_exit(holder == ::getppid() ? 1 : holder == 0 ? 0 : 2);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    if (!WIFEXITED(status)) return -1;
    return WEXITSTATUS(status) == 1 ? ::getpid() : WEXITSTATUS(status) == 0 ? 0 : -1;
}

TEST(Source, FileLexerHoldsSharedLockUntilClosed) {
    TempDir dir;
    const std::string document = dir.file("nimbra.conf", "<a/>");
    {
        std::unique_ptr<TokenStream> stream = TokenStream::onFile(document.c_str());
        ASSERT_TRUE(stream);
        EXPECT_EQ(writerConflictSeenByChild(document), ::getpid());
        // A second reader is not kept out.
        const pid_t child = ::fork();
        if (child == 0) {
            const int fd = ::open(lockFileName(document).c_str(), O_RDWR);
            ::_exit(testLock(sys::realCalls(), fd, F_RDLCK) == 0 ? 0 : 1);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    EXPECT_EQ(writerConflictSeenByChild(document), 0);
}

TEST(Source, MissingFileReleasesLockAndKeepsLockFile) {
    TempDir dir;
    const std::string document = dir.path() + "/absent.conf";
    EXPECT_FALSE(Lexer::onFile(document.c_str()));
    EXPECT_EQ(::access(lockFileName(document).c_str(), F_OK), 0);
    EXPECT_EQ(writerConflictSeenByChild(document), 0);
}

}  // namespace
}  // namespace xml
