#include <cstdio>
#include <cstring>

#include "tool/nbconf/commands.h"

namespace {

struct Command {
    const char* name;
    const char* usage;
    int (*run)(int argc, char** argv);
};

const Command kCommands[] = {
    {"tokens", "tokens FILE            print every token of FILE through the end of input", nbconf::tokens},
    {"check", "check [--time N] FILE  read FILE as a 4.5 document and write it back to standard output", nbconf::check},
    {"repo", "repo [--devices DIR] show BASE             print the store's master header and items\n"
             "  nbconf repo [--devices DIR] add BASE FILE [NAME]  deposit FILE as the writer does\n"
             "  nbconf repo [--devices DIR] get BASE NAME OUT     copy the last good copy of NAME out to OUT",
     nbconf::repo},
    {"report", "report [--json] INPUT40 [TARGET]  what upgrading INPUT40 would do; exit 0 clean, 1 changes, 3 stop",
     nbconf::report},
    {"preview", "preview [--time N] INPUT40  the 4.5 document xlate45 would write, on standard output",
     nbconf::preview},
    {"verify", "verify INPUT40 OUTPUT45   exit 0 when OUTPUT45 is what converting INPUT40 gives",
     nbconf::verify},
    {"sem", "sem remove-all         remove every semaphore set listed in the keys file", nbconf::sem},
};

void printUsage(std::FILE* out) {
    std::fputs("Usage: nbconf COMMAND ARGS...\n", out);
    for (const Command& command : kCommands) std::fprintf(out, "  nbconf %s\n", command.usage);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        printUsage(stderr);
        return 2;
    }
    for (const Command& command : kCommands) {
        if (std::strcmp(argv[1], command.name) == 0) return command.run(argc - 2, argv + 2);
    }
    std::fprintf(stderr, "nbconf: unknown command %s\n", argv[1]);
    printUsage(stderr);
    return 2;
}
