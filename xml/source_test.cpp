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

// The bytes written to a pipe, read through /dev/fd: a pipe can't be mapped,
// so the file is read through a stream.
std::unique_ptr<Lexer> pipeLexer(const std::string& content) {
    int fds[2];
    if (::pipe(fds) != 0) return nullptr;
    EXPECT_EQ(::write(fds[1], content.data(), content.size()), static_cast<ssize_t>(content.size()));
    ::close(fds[1]);
    const std::string path = "/dev/fd/" + std::to_string(fds[0]);
    ::testing::internal::CaptureStderr();  // its lock file can't be created
    std::unique_ptr<Lexer> lexer = Lexer::onFile(path.c_str());
    ::testing::internal::GetCapturedStderr();
    ::close(fds[0]);  // the stream has read it all
    return lexer;
}

// Type, payload and line of every token through TOK_EOF (at most 100).
std::string tokens(Lexer& lexer) {
    std::string out;
    for (int i = 0; i < 100; ++i) {
        const Token token = lexer.next();
        out += std::to_string(static_cast<int>(token.type())) + "[" + std::string(token.payload()) + "]@" +
               std::to_string(lexer.line()) + " ";
        if (token.type() == Tok::Eof) break;
    }
    return out;
}

// A stream reads as a buffer does, except that it consumes a CR it ends in:
// in a buffer that CR reads as LF forever (see the lexer's tests).
TEST(Source, StreamReadsAsBuffer) {
    const std::string inputs[] = {
        "<a x=\"1\r\n2\r3\" y=\r\rv\r>\r\rt\r\n<b\rz='q'/></a\r>x",
        std::string("<a\0b c='\0'>\0</a>", 17),
        std::string(20000, 't'),  // more than one read
        "",
    };
    for (const std::string& input : inputs) {
        SCOPED_TRACE(input.substr(0, 20));
        std::unique_ptr<Lexer> buffered = Lexer::onMemory(input.data(), input.size());
        std::unique_ptr<Lexer> streamed = pipeLexer(input);
        ASSERT_TRUE(streamed);
        EXPECT_FALSE(streamed->mapped());
        EXPECT_EQ(tokens(*streamed), tokens(*buffered));
    }
    std::unique_ptr<Lexer> streamed = pipeLexer("<a>t\r");
    EXPECT_EQ(tokens(*streamed), "11[a]@1 18[t\n]@1 26[]@2 ");
}

TEST(Source, NullBuffer) {
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
