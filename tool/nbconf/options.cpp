#include "tool/nbconf/options.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tool/nbconf/commands.h"

namespace nbconf {

int finishOutput() {
    if (std::fflush(stdout) == 0 && !std::ferror(stdout)) return kOk;
    std::fprintf(stderr, "nbconf: cannot write standard output: %s\n", std::strerror(errno));
    return kFailed;
}

bool takeTimeOption(int& argc, char**& argv, std::time_t& when) {
    if (argc < 2 || std::strcmp(argv[0], "--time") != 0) return true;
    char* end = nullptr;
    errno = 0;
    const long long seconds = std::strtoll(argv[1], &end, 10);
    if (end == argv[1] || *end != '\0' || errno != 0) return false;
    when = static_cast<std::time_t>(seconds);
    argv += 2;
    argc -= 2;
    return true;
}

bool readDocument(const char* path, tool::ConfigText& text) {
    if (const int error = tool::readDocumentShared(path, &text); error != 0) {
        std::fprintf(stderr, "nbconf: cannot read %s: %s\n", path, std::strerror(error));
        return false;
    }
    return true;
}

bool readInput(const char* path, tool::ConfigText& text) {
    if (!readDocument(path, text)) return false;
    if (text.length == 0) {
        std::fprintf(stderr, "nbconf: %s is empty: xlate45 writes nothing for it\n", path);
        return false;
    }
    if (text.text.get()[text.length - 1] == '\r') {
        std::fprintf(stderr, "nbconf: %s ends in a lone CR: xlate45 would never finish on it\n", path);
        return false;
    }
    return true;
}

}  // namespace nbconf
