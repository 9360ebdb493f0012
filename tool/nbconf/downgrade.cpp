#include <cstdio>
#include <cstring>

#include "tool/downgrade.h"
#include "tool/nbconf/commands.h"

namespace nbconf {

// nbconf downgrade [-q] INPUT45 OUTPUT40
int downgrade(int argc, char** argv) {
    bool quiet = false;
    if (argc > 0 && std::strcmp(argv[0], "-q") == 0) {
        quiet = true;
        ++argv;
        --argc;
    }
    if (argc != 2) {
        std::fputs("Usage: nbconf downgrade [-q] INPUT45 OUTPUT40\n", stderr);
        return 2;
    }
    return tool::downgradeFile(argv[0], argv[1], quiet, /*keepModel=*/true);  // the process ends here
}

}  // namespace nbconf
