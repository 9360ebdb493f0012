#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "tool/nbconf/commands.h"

namespace nbconf {

namespace {

const Command* const kCommands[] = {&kTokens, &kCheck, &kReport, &kPreview, &kVerify, &kDowngrade, &kRepo, &kSem};

void printUsageLines(const Command& command, std::FILE* out) {
    const char* lead = "Usage: nbconf ";
    for (std::string_view forms = command.usage; !forms.empty();) {
        const std::size_t end = forms.find('\n');
        const std::string_view form = forms.substr(0, end);
        std::fprintf(out, "%s%.*s\n", lead, static_cast<int>(form.size()), form.data());
        lead = "       nbconf ";
        forms = end == std::string_view::npos ? std::string_view() : forms.substr(end + 1);
    }
}

void printOverview(std::FILE* out) {
    std::fputs("Usage: nbconf COMMAND [ARGUMENTS]\n"
               "       nbconf help [COMMAND]\n"
               "       nbconf --help | --version\n"
               "\n"
               "Looks into configuration documents, configuration stores and semaphores\n"
               "with the configuration library that xlate45 uses.\n"
               "\n"
               "Commands:\n",
               out);
    for (const Command* command : kCommands) std::fprintf(out, "  %-9s %s\n", command->name, command->summary);
    std::fputs("\n\"nbconf help COMMAND\" or \"nbconf COMMAND --help\" describes one command.\n"
               "Exit status: 0 done, 1 failed (the reason is on standard error), 2 wrong arguments.\n",
               out);
}

const Command* find(const char* name) {
    for (const Command* command : kCommands) {
        if (std::strcmp(command->name, name) == 0) return command;
    }
    return nullptr;
}

bool isHelp(const char* arg) { return std::strcmp(arg, "--help") == 0 || std::strcmp(arg, "-h") == 0; }

int printHelp(const Command& command) {
    printUsageLines(command, stdout);
    std::printf("\n%s", command.help);
    return kOk;
}

int unknown(const char* name) {
    std::fprintf(stderr, "nbconf: unknown command %s; \"nbconf --help\" lists the commands\n", name);
    return kBadUsage;
}

}  // namespace

int usageError(const Command& command) {
    printUsageLines(command, stderr);
    return kBadUsage;
}

bool canRead(const char* path) {
    int reason = 0;
    const int fd = ::open(path, O_RDONLY);
    struct stat info {};
    if (fd < 0 || ::fstat(fd, &info) != 0) reason = errno;
    else if (S_ISDIR(info.st_mode)) reason = EISDIR;
    if (fd >= 0) ::close(fd);
    if (reason != 0) std::fprintf(stderr, "nbconf: cannot open %s: %s\n", path, std::strerror(reason));
    return reason == 0;
}

}  // namespace nbconf

int main(int argc, char** argv) {
    using namespace nbconf;
    if (argc < 2) {
        printOverview(stderr);
        return kBadUsage;
    }
    const char* name = argv[1];
    if (isHelp(name) || std::strcmp(name, "help") == 0) {
        if (argc == 2) {
            printOverview(stdout);
            return kOk;
        }
        const Command* command = find(argv[2]);
        return command != nullptr ? printHelp(*command) : unknown(argv[2]);
    }
    if (std::strcmp(name, "--version") == 0) {
        std::puts("nbconf " NBCONF_VERSION);
        return kOk;
    }
    const Command* command = find(name);
    if (command == nullptr) return unknown(name);
    if (argc > 2 && isHelp(argv[2])) return printHelp(*command);
    return command->run(argc - 2, argv + 2);
}
