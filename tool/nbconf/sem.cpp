#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "host/kxsem.h"
#include "tool/nbconf/commands.h"

namespace nbconf {

namespace {

void report(host::SemKey key, int semid, void* /*context*/) {
    if (semid >= 0) std::printf("removed semaphore set %d (key 0x%x)\n", semid, static_cast<unsigned int>(key));
    else std::printf("no semaphore set for key 0x%x\n", static_cast<unsigned int>(key));
}

// Removes every semaphore set the installation recorded, and the keys file.
int sem(int argc, char** argv) {
    if (argc != 1 || std::strcmp(argv[0], "remove-all") != 0) return usageError(kSem);
    const sys::HostEnv env = sys::systemHostEnv();
    const std::string keys = host::semaphoreKeysPath(env);
    if (host::kxRemoveAllSem(env, report, nullptr) != 0) {
        std::fprintf(stderr, "nbconf: cannot remove the keys file %s: %s\n", keys.c_str(), std::strerror(errno));
        return kFailed;
    }
    std::printf("removed the keys file %s\n", keys.c_str());
    return kOk;
}

}  // namespace

const Command kSem = {
    "sem",
    "sem remove-all",
    "remove every semaphore set of the installation",
    "Removes each System V semaphore set whose key is listed in the keys file,\n"
    "$NBHOME/etc/.semaphorekeys, then the keys file itself, and says what it\n"
    "removed: one line per key, then the keys file. Use it only while no server\n"
    "process runs: a process waiting on a removed set fails.\n"
    "\n"
    "Exit status 0 when the keys file was removed; 1 when it cannot be (most\n"
    "often because there is none: nothing was recorded since the last removal).\n",
    sem,
};

}  // namespace nbconf
