#include "host/kxsem.h"

#include <chrono>
#include <stdexcept>
#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/log_capture.h"
#include "tests/support/run_program.h"

namespace host {
namespace {

using testing_support::LogCapture;
using testing_support::TempDir;
using testing_support::readFile;

int valueOf(int semid) { return ::semctl(semid, 0, GETVAL); }

std::string hexLine(SemKey key) {
    char line[16];
    std::snprintf(line, sizeof line, "%x\n", static_cast<unsigned int>(key));
    return line;
}

// Each test gets keys nobody else uses (from its own directory) and leaves no set behind.
class KxSem : public ::testing::Test {
protected:
    SemKey freshKey(int project) { return ::ftok(dir_.path().c_str(), project); }
    void TearDown() override { static_cast<void>(kxRemoveAllSem()); }
    TempDir dir_;
};

TEST_F(KxSem, LockUnlockAndNotLocked) {
    const int semid = kxCreateSem(freshKey('a'));
    ASSERT_GE(semid, 0);
    EXPECT_EQ(valueOf(semid), 1) << "a new set is free";

    LogCapture log;
    EXPECT_EQ(kxLockSem(semid, true), 0);
    EXPECT_EQ(valueOf(semid), 0);
    EXPECT_EQ(kxLockSem(semid, false), -1) << "held, and the caller will not wait";
    EXPECT_TRUE(log.messages().empty()) << "a busy lock is not worth a log line";

    EXPECT_EQ(kxUnlockSem(semid, true), 0);
    EXPECT_EQ(valueOf(semid), 1);
    EXPECT_EQ(kxUnlockSem(semid, true), 0) << "releasing a free lock is tolerated";
    EXPECT_EQ(log.messages(), std::vector<std::string>{"Semaphore not locked!"});
    ASSERT_EQ(log.identities().size(), 1u);
    EXPECT_EQ(log.identities()[0].rfind("kxutil [kxsem.c:kxUnlockSem:", 0), 0u) << log.identities()[0];
    EXPECT_EQ(valueOf(semid), 1) << "and does not raise the value past 1";
}

TEST_F(KxSem, OperationsOnMissingSets) {
    const int semid = kxCreateSem(freshKey('b'));
    ASSERT_GE(semid, 0);
    kxRemoveSem(semid);

    LogCapture log;
    EXPECT_EQ(kxLockSem(semid, true), -1);
    EXPECT_EQ(kxUnlockSem(semid, true), -1);
    EXPECT_EQ(kxUnlockSem(-1, true), -1);
    EXPECT_EQ(kxModSem(semid, "600"), -1);
    EXPECT_EQ(log.messages(), (std::vector<std::string>{"semaphore member 0 out of range",
                                                        "semaphore member 0 out of range", "semctl"}));
}

TEST_F(KxSem, OpenLogsMissingSetFromLevelOne) {
    const SemKey key = freshKey('c');
    struct Row { int level; bool logged; };
    for (const Row row : {Row{0, false}, Row{1, true}}) {
        SCOPED_TRACE(row.level);
        LogCapture log(row.level);
        EXPECT_EQ(kxOpenSem(key), -1);
        char expected[80];
        std::snprintf(expected, sizeof expected, "Semaphore set does not exist! key=%x, errno=2",
                      static_cast<unsigned int>(key));
        EXPECT_EQ(log.has(expected), row.logged);
    }
}

TEST_F(KxSem, CreateRecordsKeyOnce) {
    const std::string keysPath = semaphoreKeysPath();
    const SemKey listed = freshKey('d');
    const int semid = kxCreateSem(listed);
    ASSERT_GE(semid, 0);
    const std::string afterCreate = readFile(keysPath);
    EXPECT_NE(afterCreate.find(hexLine(listed)), std::string::npos);

    EXPECT_EQ(kxCreateSem(listed), -1) << "the set exists";
    EXPECT_EQ(readFile(keysPath), afterCreate) << "a listed key is not written again";
    EXPECT_EQ(kxOpenSem(listed), semid);

    // A set made behind the library's back gets listed, so that remove-all finds it.
    const SemKey unlisted = freshKey('e');
    const int foreign = ::semget(unlisted, 1, IPC_CREAT | IPC_EXCL | 0666);
    ASSERT_GE(foreign, 0);
    EXPECT_EQ(kxCreateSem(unlisted), -1);
    EXPECT_EQ(readFile(keysPath), afterCreate + hexLine(unlisted));
}

TEST_F(KxSem, ModSemSetsPermissions) {
    const int semid = kxCreateSem(freshKey('f'));
    ASSERT_GE(semid, 0);
    LogCapture log(2);
    EXPECT_EQ(kxModSem(semid, "600"), 0);
    struct semid_ds status {};
    ASSERT_EQ(::semctl(semid, 0, IPC_STAT, &status), 0);
    EXPECT_EQ(status.sem_perm.mode & 0777, 0600u);
    EXPECT_EQ(log.messages(), (std::vector<std::string>{"Old permissions were 666", "Updated..."}));
}

TEST_F(KxSem, RemoveAllRemovesListedSetsAndTheKeysFile) {
    const int first = kxCreateSem(freshKey('g'));
    const int second = kxCreateSem(freshKey('h'));
    ASSERT_GE(first, 0);
    ASSERT_GE(second, 0);
    {
        LogCapture log(1);
        EXPECT_EQ(kxRemoveAllSem(), 0);
        EXPECT_TRUE(log.has("removing sem keys"));
    }
    EXPECT_EQ(valueOf(first), -1) << "removed";
    EXPECT_EQ(valueOf(second), -1);
    EXPECT_NE(::access(semaphoreKeysPath().c_str(), F_OK), 0);
    EXPECT_EQ(kxRemoveAllSem(), -1) << "no keys file: removing it fails";
}

// The directory lock of the directory holding `path`, with the budget in seconds.
struct DirLockTiming {
    int semid;
    double seconds;
};
DirLockTiming timedLockDir(const std::string& path, int budget) {
    const auto start = std::chrono::steady_clock::now();
    const int semid = kxLockDir(path.c_str(), budget);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    return {semid, took.count()};
}

TEST_F(KxSem, DirectoryLockBudget) {
    const std::string path = dir_.file("nimbra.dat");
    const DirLockTiming none = timedLockDir(path, 0);
    ASSERT_GE(none.semid, 0);
    EXPECT_EQ(valueOf(none.semid), 1) << "a 0-second budget never tries";
    EXPECT_LT(none.seconds, 0.5);
    EXPECT_EQ(::ftok(dir_.path().c_str(), 'D'), [&] {
        struct semid_ds status {};
        ::semctl(none.semid, 0, IPC_STAT, &status);
        return status.sem_perm.__key;
    }()) << "keyed on the directory, not the file";

    const DirLockTiming taken = timedLockDir(dir_.file("other.file"), 1);
    EXPECT_EQ(taken.semid, none.semid) << "same directory, same set";
    EXPECT_EQ(valueOf(taken.semid), 0);
    EXPECT_EQ(kxUnlockSem(taken.semid, true), 0);

    EXPECT_EQ(kxLockDir(dir_.file("missing/x").c_str(), 1), -1) << "no directory, no key";
}

// A child holds the directory lock until told (through `release`) or until it exits.
class LockHolder {
public:
    LockHolder(const std::string& path, bool waitForRelease) {
        int ready[2];
        if (::pipe(ready) != 0 || ::pipe(release_) != 0) throw std::runtime_error("pipe");
        pid_ = ::fork();
        if (pid_ == 0) {
            const int semid = kxLockDir(path.c_str(), 5);
            const char took = semid >= 0 && ::semctl(semid, 0, GETVAL) == 0 ? 'y' : 'n';
            static_cast<void>(::write(ready[1], &took, 1));
            char ignored;
            if (waitForRelease) static_cast<void>(::read(release_[0], &ignored, 1));
            else ::usleep(300'000);
            ::_exit(0);  // the undo entry releases the lock
        }
        ::close(ready[1]);
        char took = 'n';
        static_cast<void>(::read(ready[0], &took, 1));
        ::close(ready[0]);
        locked_ = took == 'y';
    }
    ~LockHolder() {
        static_cast<void>(::write(release_[1], "x", 1));
        ::waitpid(pid_, nullptr, 0);
        ::close(release_[0]);
        ::close(release_[1]);
    }
    bool locked() const { return locked_; }

private:
    pid_t pid_ = -1;
    int release_[2] = {-1, -1};
    bool locked_ = false;
};

TEST_F(KxSem, DirectoryLockBetweenProcesses) {
    const std::string path = dir_.file("nimbra.dat");
    {
        SCOPED_TRACE("holder exits after 300 ms: the waiter gets the lock");
        LockHolder holder(path, false);
        ASSERT_TRUE(holder.locked());
        const DirLockTiming waited = timedLockDir(path, 3);
        ASSERT_GE(waited.semid, 0);
        EXPECT_EQ(valueOf(waited.semid), 0);
        EXPECT_GT(waited.seconds, 0.1);
        EXPECT_LT(waited.seconds, 2.5);
        EXPECT_EQ(kxUnlockSem(waited.semid, true), 0);
    }
    {
        SCOPED_TRACE("holder keeps it: the budget runs out and the set comes back unlocked by us");
        LockHolder holder(path, true);
        ASSERT_TRUE(holder.locked());
        const DirLockTiming gaveUp = timedLockDir(path, 1);
        ASSERT_GE(gaveUp.semid, 0);
        EXPECT_GE(gaveUp.seconds, 0.95);
        EXPECT_LT(gaveUp.seconds, 2.5);
        EXPECT_EQ(valueOf(gaveUp.semid), 0) << "still the holder's";
    }
}

}  // namespace
}  // namespace host
