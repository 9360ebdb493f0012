// The bare I/O floor of a document update: read the input whole, write it to a
// temporary file beside the output, force it to disk, rename it over the output.
//
//     io_floor INPUT OUTPUT
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <string>

namespace {

bool readAll(int fd, char* data, std::size_t size) {
    while (size > 0) {
        const ssize_t got = read(fd, data, size);
        if (got <= 0) return false;
        data += got;
        size -= static_cast<std::size_t>(got);
    }
    return true;
}

bool writeAll(int fd, const char* data, std::size_t size) {
    while (size > 0) {
        const ssize_t put = write(fd, data, size);
        if (put <= 0) return false;
        data += put;
        size -= static_cast<std::size_t>(put);
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("usage: io_floor INPUT OUTPUT\n", stderr);
        return 2;
    }
    const int in = open(argv[1], O_RDONLY);
    struct stat info {};
    if (in < 0 || fstat(in, &info) != 0) {
        std::perror(argv[1]);
        return 1;
    }
    const auto size = static_cast<std::size_t>(info.st_size);
    // Not value-initialised: the floor should not touch the pages twice.
    std::unique_ptr<char[]> data(new char[size]);
    if (!readAll(in, data.get(), size)) {
        std::perror(argv[1]);
        return 1;
    }
    close(in);
    const std::string temporary = std::string(argv[2]) + ".tmp";
    const int out = open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (out < 0 || !writeAll(out, data.get(), size) || fsync(out) != 0 || close(out) != 0 ||
        rename(temporary.c_str(), argv[2]) != 0) {
        std::perror(temporary.c_str());
        return 1;
    }
    return 0;
}
