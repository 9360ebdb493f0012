#include "tool/read_input.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "xml/lock_file.h"

namespace tool {

void releaseText(ConfigText& record) noexcept {
    record.text.reset();
    record.length = 0;
}

namespace {

// Closes the input on every path after it was opened.
struct FileCloser {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};

}  // namespace

int readXMLFromFile(const char* path, ConfigText* record, bool verbose) noexcept {
    auto say = [verbose](const char* line) {
        if (verbose) std::fputs(line, stdout);
    };
    if (path == nullptr || record == nullptr) {
        say("readXMLFromFile(): Invalid parameter to read configuration from file\n");
        return -1;
    }
    // Update mode, although nothing is written: a read-only input is refused here.
    std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path, "r+b"));
    if (!file) {
        if (verbose) std::printf("readXMLFromFile(): Failed to open file: %s\n", path);
        return -2;
    }
    if (std::fseek(file.get(), 0, SEEK_END) != 0) {
        say("readXMLFromFile(): seek to file END failed.\n");
        return -3;
    }
    long size = std::ftell(file.get());
    // The position is a 32-bit long on the target: past that, ftell fails with -1.
    if (size > INT32_MAX) size = -1;
    if (size < 1) {
        if (verbose) std::printf("readXMLFromFile(): Invalid file size: %ld\n", size);
        return -4;
    }
    if (std::fseek(file.get(), 0, SEEK_SET) != 0) {
        say("readXMLFromFile(): seek to the begining of the file failed.\n");
        return -5;
    }
    // From malloc: once read, the block can lend its pages to the output text.
    record->text = ConfigText::Bytes(static_cast<char*>(std::malloc(static_cast<std::size_t>(size))), writer::TextRelease{true});
    if (!record->text) {
        say("readXMLFromFile(): buffer allocation failed.\n");
        return -6;
    }
    record->length = static_cast<std::int32_t>(size);
    const std::size_t got = std::fread(record->text.get(), 1, static_cast<std::size_t>(size), file.get());
    if (got != static_cast<std::size_t>(size)) {
        say("readXMLFromFile(): read configuration from file failed.\n");
        return -7;
    }
    return 0;
}

namespace {

// Closes a descriptor on every path; -1 is none.
struct Descriptor {
    int fd = -1;
    ~Descriptor() {
        if (fd >= 0) ::close(fd);
    }
};

int readAll(int fd, char* into, std::size_t size) {
    for (std::size_t done = 0; done < size;) {
        const ssize_t got = ::read(fd, into + done, size - done);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return errno;
        if (got == 0) return EIO;  // the file shrank while it was read
        done += static_cast<std::size_t>(got);
    }
    return 0;
}

}  // namespace

int readDocumentShared(const char* path, ConfigText* record) noexcept {
    try {
        // A writer takes the exclusive lock before it replaces the file; a
        // lock file that does not exist means no writer has been here.
        const std::string lockName = xml::lockFileName(path);
        const sys::Calls& calls = sys::realCalls();
        xml::LockFile lock(calls, ::open(lockName.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
        if (lock.held()) static_cast<void>(xml::setLock(calls, lock.fd(), F_SETLKW, F_RDLCK));
        Descriptor file{::open(path, O_RDONLY | O_CLOEXEC)};
        if (file.fd < 0) return errno;
        struct stat info {};
        if (::fstat(file.fd, &info) != 0) return errno;
        if (S_ISDIR(info.st_mode)) return EISDIR;
        if (info.st_size > INT32_MAX) return EFBIG;
        const std::size_t size = static_cast<std::size_t>(info.st_size);
        *record = ConfigText{};
        if (size == 0) return 0;
        record->text = ConfigText::Bytes(static_cast<char*>(std::malloc(size)), writer::TextRelease{true});
        if (!record->text) return ENOMEM;
        record->length = static_cast<std::int32_t>(size);
        return readAll(file.fd, record->text.get(), size);
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    }
}

}  // namespace tool
