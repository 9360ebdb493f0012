#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tool/nbconf/commands.h"
#include "tool/upgrade_report.h"

namespace nbconf {

// What upgrading INPUT40 (into TARGET) would do, before it is done. The exit
// status is the verdict's: 0 clean, 1 changes, 3 stop; 2 for a usage error or
// a report that could not be written.
int report(int argc, char** argv) {
    bool json = false;
    if (argc >= 1 && std::strcmp(argv[0], "--json") == 0) {
        json = true;
        ++argv;
        --argc;
    }
    if (argc < 1 || argc > 2 || argv[0][0] == '-') {
        std::fputs("Usage: nbconf report [--json] INPUT40 [TARGET]\n", stderr);
        return 2;
    }
    const tool::Report found = tool::reportUpgrade(argv[0], argc == 2 ? argv[1] : nullptr);
    const bool written = json ? found.writeJson(stdout) : found.writeText(stdout);
    if (!written || std::fflush(stdout) != 0) {
        std::fprintf(stderr, "nbconf: cannot write the report: %s\n", std::strerror(errno));
        return 2;
    }
    return found.exitStatus();
}

}  // namespace nbconf
