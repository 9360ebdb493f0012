#include "host/kxsem.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <sys/ipc.h>
#include <sys/sem.h>

#include "xml/home.h"
#include "xml/lock_file.h"
#include "xml/log.h"

namespace host {

namespace {

#define KXSEM_TAG(function) \
    xml::SourceTag { "kxutil", "kxsem.c", function, __LINE__ }

constexpr int kPermissions = 0666;
constexpr long kPollNanoseconds = 10'000'000;
constexpr long kPollMicroseconds = 10'000;

// glibc leaves this union to the caller.
union SemArg {
    int val;
    struct semid_ds* buf;
    unsigned short* array;
};

// Status of the set, zeroed when it cannot be read: a vanished set then reads
// as one without members, which every caller refuses.
struct semid_ds statusOf(int semid) {
    struct semid_ds status {};
    SemArg arg{};
    arg.buf = &status;
    if (::semctl(semid, 0, IPC_STAT, arg) != 0) status = {};
    return status;
}

int operate(int semid, short delta, bool wait) {
    struct sembuf op {};
    op.sem_num = 0;
    op.sem_op = delta;
    op.sem_flg = static_cast<short>(SEM_UNDO | (wait ? 0 : IPC_NOWAIT));
    return ::semop(semid, &op, 1);
}

bool keyListed(const std::string& keysPath, SemKey key) {
    std::FILE* keys = std::fopen(keysPath.c_str(), "rt");
    if (keys == nullptr) return false;
    bool listed = false;
    char line[256];
    while (!listed && std::fgets(line, sizeof line, keys) != nullptr) {
        unsigned int listedKey = 0;
        listed = std::sscanf(line, "%x", &listedKey) == 1 && listedKey == static_cast<unsigned int>(key);
    }
    std::fclose(keys);
    return listed;
}

// Appends under the keys file's lock so that concurrent creators never
// interleave their lines. A failure here leaves the set unlisted, nothing more.
void recordKey(const sys::HostEnv& env, const std::string& keysPath, SemKey key) {
    xml::LockFile lock = xml::LockFile::acquire(*env.calls, keysPath.c_str(), true);
    std::FILE* keys = std::fopen(keysPath.c_str(), "at");
    if (keys == nullptr) return;
    std::fprintf(keys, "%x\n", static_cast<unsigned int>(key));
    std::fclose(keys);
}

}  // namespace

std::string semaphoreKeysPath(const sys::HostEnv& env) { return xml::homePath(env, "etc") + "/.semaphorekeys"; }

int kxOpenSem(SemKey key) noexcept {
    const int semid = ::semget(key, 0, kPermissions);
    if (semid < 0) {
        xml::logNotice(1, KXSEM_TAG("kxOpenSem"), "Semaphore set does not exist! key=%x, errno=%d",
                       static_cast<unsigned int>(key), errno);
    }
    return semid;
}

int kxCreateSem(const sys::HostEnv& env, SemKey key) noexcept {
    const std::string keysPath = semaphoreKeysPath(env);
    const int semid = ::semget(key, 1, IPC_CREAT | IPC_EXCL | kPermissions);
    if (semid >= 0) {
        SemArg arg{};
        arg.val = 1;
        static_cast<void>(::semctl(semid, 0, SETVAL, arg));  // a fresh set reads 0: held by nobody
    } else {
        if (errno != EEXIST) return -1;  // nothing was made, so nothing to record
        if (keyListed(keysPath, key)) return -1;
    }
    recordKey(env, keysPath, key);
    return semid;
}

int kxLockSem(int semid, bool wait) noexcept {
    const struct semid_ds status = statusOf(semid);
    if (status.sem_nsems < 1) {
        xml::logNotice(0, KXSEM_TAG("kxLockSem"), "semaphore member %d out of range", 0);
        return -1;
    }
    if (!wait && ::semctl(semid, 0, GETVAL) == 0) return -1;  // held: the caller asked not to wait
    if (operate(semid, -1, wait) != 0) {
        xml::logNotice(0, KXSEM_TAG("kxLockSem"), "Semaphore lock failed, errno=%d", errno);
        return -1;
    }
    return 0;
}

int kxUnlockSem(int semid, bool wait) noexcept {
    if (semid < 0) return -1;
    const struct semid_ds status = statusOf(semid);
    if (status.sem_nsems < 1) {
        xml::logNotice(0, KXSEM_TAG("kxUnlockSem"), "semaphore member %d out of range", 0);
        return -1;
    }
    if (::semctl(semid, 0, GETVAL) == 1) {
        // Deliberately success: the directory lock hands out sets it may not have locked.
        xml::logNotice(0, KXSEM_TAG("kxUnlockSem"), "Semaphore not locked!");
        return 0;
    }
    if (operate(semid, +1, wait) != 0) {
        xml::logNotice(0, KXSEM_TAG("kxUnlockSem"), "Semaphore unlock failed");
        return -1;
    }
    return 0;
}

void kxRemoveSem(int semid) noexcept {
    static_cast<void>(::semctl(semid, 0, IPC_RMID));  // a set already gone needs nothing
    xml::logNotice(2, KXSEM_TAG("kxRemoveSem"), "Semaphore removed");
}

int kxRemoveAllSem(const sys::HostEnv& env, RemovedSem removed, void* context) noexcept {
    const std::string keysPath = semaphoreKeysPath(env);
    if (std::FILE* keys = std::fopen(keysPath.c_str(), "rt")) {
        xml::logNotice(1, KXSEM_TAG("kxRemoveAllSem"), "removing sem keys");
        char line[256];
        while (std::fgets(line, sizeof line, keys) != nullptr) {
            unsigned int key = 0;
            if (std::sscanf(line, "%x", &key) != 1) continue;
            const int semid = kxOpenSem(static_cast<SemKey>(key));
            if (semid >= 0) kxRemoveSem(semid);
            if (removed != nullptr) removed(static_cast<SemKey>(key), semid, context);
        }
        std::fclose(keys);
    }
    return std::remove(keysPath.c_str());
}

int kxModSem(int semid, const char* octalMode) noexcept {
    struct semid_ds status {};
    SemArg arg{};
    arg.buf = &status;
    if (::semctl(semid, 0, IPC_STAT, arg) != 0) {
        xml::logNotice(0, KXSEM_TAG("kxModSem"), "semctl");
        return -1;
    }
    xml::logNotice(2, KXSEM_TAG("kxModSem"), "Old permissions were %o",
                   static_cast<unsigned int>(status.sem_perm.mode));
    unsigned short mode = status.sem_perm.mode;
    if (octalMode != nullptr) static_cast<void>(std::sscanf(octalMode, "%ho", &mode));  // unparsed keeps the old mode
    status.sem_perm.mode = mode;
    static_cast<void>(::semctl(semid, 0, IPC_SET, arg));  // the status was readable, so the set is ours to change
    xml::logNotice(2, KXSEM_TAG("kxModSem"), "Updated...");
    return 0;
}

int kxLockDir(const sys::HostEnv& env, const char* path, int seconds) noexcept {
    std::string directory = path != nullptr ? std::string(path) : xml::localConfigPath(env);
    const std::size_t slash = directory.rfind('/');
    if (slash != std::string::npos) directory.resize(slash);
    const key_t key = ::ftok(directory.c_str(), 'D');
    if (key == -1) return -1;  // no such directory: its key would be shared by every failure

    static_cast<void>(kxCreateSem(env, key));  // -1 when it existed; the open below decides
    const int semid = kxOpenSem(key);
    if (semid < 0) return -1;

    // The caller goes on without the lock when the budget runs out.
    for (long budget = static_cast<long>(seconds) * 1'000'000L; budget > 0; budget -= kPollMicroseconds) {
        if (kxLockSem(semid, false) == 0) break;
        struct timespec wanted {0, kPollNanoseconds};
        struct timespec left {};
        while (::nanosleep(&wanted, &left) != 0 && errno == EINTR) wanted = left;
    }
    return semid;
}

}  // namespace host
