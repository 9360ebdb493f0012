#include <cstdio>
#include <cstring>

#include "host/kxsem.h"
#include "tool/nbconf/commands.h"

namespace nbconf {

// Removes every semaphore set the installation recorded, and the keys file.
int sem(int argc, char** argv) {
    if (argc != 1 || std::strcmp(argv[0], "remove-all") != 0) {
        std::fputs("Usage: nbconf sem remove-all\n", stderr);
        return 2;
    }
    if (host::kxRemoveAllSem() != 0) {
        std::fprintf(stderr, "nbconf: no keys file %s\n", host::semaphoreKeysPath().c_str());
        return 1;
    }
    return 0;
}

}  // namespace nbconf
