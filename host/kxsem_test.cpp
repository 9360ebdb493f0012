#include "host/kxsem.h"

#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <sys/stat.h>
#include <thread>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/host_env.h"
#include "tests/support/log_capture.h"
#include "tests/support/run_program.h"

namespace host {
namespace {

using testing_support::LogCapture;
using testing_support::readFile;
using testing_support::TempDir;

int valueOf(int semid) { return ::semctl(semid, 0, GETVAL); }

std::string hexLine(SemKey key) {
    char line[16];
    std::snprintf(line, sizeof line, "%x\n", static_cast<unsigned int>(key));
    return line;
}

// Keys nobody else uses (from the test's own directory), recorded in a home of
// the test's own, and no set left behind.
class KxSem : public ::testing::Test {
protected:
    KxSem() : env_(testing_support::testEnv(home_.path())) { ::mkdir((home_.path() + "/etc").c_str(), 0755); }
    void TearDown() override { static_cast<void>(kxRemoveAllSem(env_)); }
    SemKey freshKey(int project) { return ::ftok(dir_.path().c_str(), project); }
    TempDir home_, dir_;
    sys::HostEnv env_;
};

TEST_F(KxSem, LockUnlockAndMissingSets) {
    const int semid = kxCreateSem(env_, freshKey('a'));
    ASSERT_GE(semid, 0);
    EXPECT_EQ(valueOf(semid), 1) << "a new set is free";
    LogCapture log;
    EXPECT_EQ(kxLockSem(semid, true), 0);
    EXPECT_EQ(valueOf(semid), 0);
    EXPECT_EQ(kxLockSem(semid, false), -1) << "held, and the caller will not wait";
    EXPECT_TRUE(log.messages().empty()) << "a busy lock is not worth a log line";
    EXPECT_EQ(kxUnlockSem(semid, true), 0);
    EXPECT_EQ(kxUnlockSem(semid, true), 0) << "releasing a free lock is tolerated";
    EXPECT_EQ(valueOf(semid), 1) << "and does not raise the value past 1";
    ASSERT_EQ(log.identities().size(), 1u);
    EXPECT_TRUE(log.identities()[0].starts_with("kxutil [kxsem.c:kxUnlockSem:")) << log.identities()[0];

    kxRemoveSem(semid);
    EXPECT_EQ(kxLockSem(semid, true), -1);
    EXPECT_EQ(kxUnlockSem(semid, true), -1);
    EXPECT_EQ(kxUnlockSem(-1, true), -1);
    EXPECT_EQ(kxModSem(semid, "600"), -1);
    EXPECT_EQ(log.messages(), (std::vector<std::string>{"Semaphore not locked!", "semaphore member 0 out of range",
                                                        "semaphore member 0 out of range", "semctl"}));
}

TEST_F(KxSem, KeysAreRecordedOnceAndRemovedTogether) {
    const std::string keysPath = semaphoreKeysPath(env_);
    EXPECT_EQ(keysPath, home_.path() + "/etc/.semaphorekeys");
    const SemKey listed = freshKey('d');
    const int semid = kxCreateSem(env_, listed);
    ASSERT_GE(semid, 0);
    EXPECT_EQ(readFile(keysPath), hexLine(listed));
    EXPECT_EQ(kxCreateSem(env_, listed), -1) << "the set exists";
    EXPECT_EQ(readFile(keysPath), hexLine(listed)) << "a listed key is not written again";
    EXPECT_EQ(kxOpenSem(listed), semid);
    // A set made behind the library's back gets listed, so that remove-all finds it.
    const SemKey unlisted = freshKey('e');
    const int foreign = ::semget(unlisted, 1, IPC_CREAT | IPC_EXCL | 0666);
    ASSERT_GE(foreign, 0);
    EXPECT_EQ(kxCreateSem(env_, unlisted), -1);
    EXPECT_EQ(readFile(keysPath), hexLine(listed) + hexLine(unlisted));

    EXPECT_EQ(kxModSem(semid, "600"), 0);
    struct semid_ds status {};
    ASSERT_EQ(::semctl(semid, 0, IPC_STAT, &status), 0);
    EXPECT_EQ(status.sem_perm.mode & 0777, 0600u);

    EXPECT_EQ(kxRemoveAllSem(env_), 0);
    EXPECT_EQ(valueOf(semid), -1) << "removed";
    EXPECT_EQ(valueOf(foreign), -1);
    EXPECT_NE(::access(keysPath.c_str(), F_OK), 0);
    EXPECT_EQ(kxRemoveAllSem(env_), -1) << "no keys file: removing it fails";
}

// A child takes the directory lock of `path` and holds it until released.
class LockHolder {
public:
    LockHolder(const sys::HostEnv& env, const std::string& path) {
        int ready[2];
        if (::pipe(ready) != 0 || ::pipe(release_) != 0) throw std::runtime_error("pipe");
        pid_ = ::fork();
        if (pid_ == 0) {
            const int semid = kxLockDir(env, path.c_str(), 5);
            const char took = semid >= 0 && valueOf(semid) == 0 ? 'y' : 'n';
            static_cast<void>(::write(ready[1], &took, 1));
            char ignored;
            static_cast<void>(::read(release_[0], &ignored, 1));
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

TEST_F(KxSem, DirectoryLock) {
    const std::string path = dir_.file("nimbra.dat");
    const int none = kxLockDir(env_, path.c_str(), 0);
    ASSERT_GE(none, 0);
    EXPECT_EQ(valueOf(none), 1) << "a 0-second budget never tries";
    struct semid_ds status {};
    ::semctl(none, 0, IPC_STAT, &status);
    EXPECT_EQ(status.sem_perm.__key, ::ftok(dir_.path().c_str(), 'D')) << "keyed on the directory, not the file";
    EXPECT_EQ(kxLockDir(env_, dir_.file("missing/x").c_str(), 1), -1) << "no directory, no key";

    auto holder = std::make_unique<LockHolder>(env_, dir_.file("other.file"));
    ASSERT_TRUE(holder->locked());
    EXPECT_EQ(kxLockDir(env_, path.c_str(), 1), none) << "same directory, same set; the budget runs out";
    holder.reset();
    EXPECT_EQ(valueOf(none), 1) << "given up: the lock was never ours";

    holder = std::make_unique<LockHolder>(env_, path);
    ASSERT_TRUE(holder->locked());
    std::thread release([&] { holder.reset(); });
    EXPECT_EQ(kxLockDir(env_, path.c_str(), 30), none);
    release.join();
    EXPECT_EQ(valueOf(none), 0) << "taken once the holder let go";
    EXPECT_EQ(kxUnlockSem(none, true), 0);
}

}  // namespace
}  // namespace host
