// The administrator's commands on stores and semaphores, run as the real program.
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/sem.h>

#include "tests/support/quorum_store.h"
#include "tests/support/run_program.h"

namespace {

using testing_support::ProgramResult;
using testing_support::TempDir;
using testing_support::writeFile;

const char kRepoUsage[] =
    "Usage: nbconf repo [--devices DIR] show BASE\n       nbconf repo [--devices DIR] add BASE FILE [NAME]\n"
    "       nbconf repo [--devices DIR] get BASE NAME OUT\n";

// A store of 4200 sectors with two copies per item and no owner.
class NbconfHost : public ::testing::Test {
protected:
    NbconfHost() {
        std::filesystem::create_directories(home_.file("etc"));
        writeFile(src_, "hello");
    }
    ProgramResult nbconf(std::vector<std::string> args) {
        args.insert(args.begin(), NBCONF_BIN);
        return testing_support::runProgram(args, {"NBHOME=" + home_.path()});
    }
    ProgramResult repo(const std::vector<std::string>& args) {
        std::vector<std::string> all = {"repo", "--devices", devices_.path()};
        all.insert(all.end(), args.begin(), args.end());
        return nbconf(all);
    }
    void makeStore() { testing_support::formatQuorumStore(base_.path(), devices_.path(), 4200, "", 2); }
    TempDir base_, devices_, home_;
    const std::string src_ = home_.file("src");
};

TEST_F(NbconfHost, RepoAddThenShow) {
    makeStore();
    ASSERT_EQ(repo({"add", base_.path(), src_, "hostlist"}).status, 0);
    ASSERT_EQ(repo({"add", base_.path(), src_, "hostlist"}).status, 0);
    const ProgramResult shown = repo({"show", base_.path()});
    EXPECT_EQ(shown.status, 0) << shown.err;
    const std::string deposit = "last deposit ";
    const std::size_t at = shown.out.find(deposit) + deposit.size();
    EXPECT_EQ(shown.out.substr(0, at) + shown.out.substr(shown.out.find('\n', at)),  // without the deposit's time
              "store " + devices_.file("__quorum7__") + ": vid 7, ending sector 4200, 2150912 bytes\n"
              "version 102, items 1, copies 2, owner \"\"\n"
              "next free offset 2117632, items end 1024, items base 512\n"
              "last deposit \n"
              "item 0 \"hostlist\": copies 2, last written slot 1, bad slots 0x00, allotted 1048576, stored size 5\n"
              "  slot 0: offset 20480\n"
              "  slot 1: offset 1069056\n");
}

TEST_F(NbconfHost, RepoFailures) {
    const std::string base = base_.path();
    struct Row {
        const char* why;
        bool store;
        std::vector<std::string> args;
        int status;
        std::string err;
    };
    const Row rows[] = {
        {"no store", false, {"show", base}, 1, "nbconf: cannot open " + base + "/.repository.conf: No such file or directory\n"},
        {"no store is not an error for a deposit", false, {"add", base, src_}, 0, ""},
        {"unknown step", false, {"frob", base}, 2, kRepoUsage},
        {"missing file", true, {"add", base, src_ + "x"}, 1,
         "nbconf: cannot open " + src_ + "x: No such file or directory\n"},
        // Stored under its path without NAME; the store's reasons, otherwise
        // only in the system log, come first.
        {"full store", true, {"add", base, src_, "three"}, 1,
         "nbconf: MGT_ERROR: Not enough space to copy \"" + src_ +
             "\"! file_offset(2117632) max_file_size(1048576) repository_size(2150912)\n"
             "nbconf: CFGREPOSITORY_depositFile failed for \"" + src_ + "\" as \"three\".\n"
             "nbconf: " + src_ + " was not deposited as \"three\" in the store of " + base + "\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        if (row.store) {
            makeStore();
            ASSERT_EQ(repo({"add", base, src_}).status, 0);
            EXPECT_NE(repo({"show", base}).out.find("item 0 \"" + src_ + "\""), std::string::npos);
            ASSERT_EQ(repo({"add", base, src_, "two"}).status, 0);
        }
        const ProgramResult run = repo(row.args);
        EXPECT_EQ(run.status, row.status);
        EXPECT_EQ(run.err, row.err);
    }
}

TEST_F(NbconfHost, SemRemoveAll) {
    const key_t key = ::ftok(home_.path().c_str(), 'n');
    const int semid = ::semget(key, 1, IPC_CREAT | IPC_EXCL | 0666);
    ASSERT_GE(semid, 0);
    char hex[16];
    std::snprintf(hex, sizeof hex, "%x", static_cast<unsigned int>(key));
    const std::string keys = home_.file("etc/.semaphorekeys");
    writeFile(keys, std::string(hex) + "\n1\n");  // key 1: no set
    const ProgramResult removed = nbconf({"sem", "remove-all"});
    EXPECT_EQ(removed.status, 0) << removed.err;
    EXPECT_EQ(removed.out, "removed semaphore set " + std::to_string(semid) + " (key 0x" + hex + ")\n" +
                               "no semaphore set for key 0x1\nremoved the keys file " + keys + "\n");
    if (::semctl(semid, 0, GETVAL) != -1) {
        ADD_FAILURE() << "the set is still there";
        ::semctl(semid, 0, IPC_RMID);
    }
    const ProgramResult again = nbconf({"sem", "remove-all"});
    EXPECT_EQ(again.status, 1);
    EXPECT_EQ(again.err, "nbconf: cannot remove the keys file " + keys + ": No such file or directory\n");
}

}  // namespace
