// The administrator's commands on stores and semaphores, run as the real program.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <unistd.h>

#include "host/cfgrepository.h"
#include "tests/support/run_program.h"

namespace {

namespace fs = std::filesystem;

void spill(const fs::path& path, const std::string& text) { testing_support::writeFile(path, text); }

using Outcome = testing_support::ProgramResult;

class NbconfHost : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/nbconf_host.XXXXXX";
        ASSERT_NE(::mkdtemp(pattern), nullptr);
        dir_ = pattern;
        fs::create_directories(dir_ / "base");
        fs::create_directories(dir_ / "dev");
        fs::create_directories(dir_ / "home/etc");
    }
    void TearDown() override { fs::remove_all(dir_); }

    // `args` are separated by single spaces (no path here has one).
    Outcome nbconf(const std::string& args) {
        std::vector<std::string> argv = {NBCONF_BIN};
        std::istringstream words(args);
        for (std::string word; words >> word;) argv.push_back(word);
        return testing_support::runProgram(argv, {"NBHOME=" + (dir_ / "home").string()});
    }

    // An empty store with two copies per item and no owner.
    void makeStore() {
        spill(dir_ / "base/.repository.conf", "[quorum]\nvid = 7\nendingSector = 4200\n");
        host::MasterHeader master;
        master.setVersion(102);
        master.setCopies(2);
        master.setItemsBase(512);
        master.setItemsEnd(512);
        master.setNextFree(40 * 512);
        std::string image(4201 * 512, '\0');
        std::copy(master.bytes.begin(), master.bytes.end(), image.begin());
        spill(dir_ / "dev/__quorum7__", image);
    }

    std::string devices() const { return "--devices " + (dir_ / "dev").string(); }
    fs::path dir_;
};

TEST_F(NbconfHost, RepoAddThenShow) {
    makeStore();
    spill(dir_ / "src", "hello");
    const std::string base = (dir_ / "base").string();
    ASSERT_EQ(nbconf("repo " + devices() + " add " + base + " " + (dir_ / "src").string() + " hostlist").status, 0);
    ASSERT_EQ(nbconf("repo " + devices() + " add " + base + " " + (dir_ / "src").string() + " hostlist").status, 0);

    const Outcome shown = nbconf("repo " + devices() + " show " + base);
    EXPECT_EQ(shown.status, 0) << shown.err;
    std::istringstream lines(shown.out);
    std::string line;
    const std::string expected[] = {
        "store " + (dir_ / "dev/__quorum7__").string() + ": vid 7, ending sector 4200, 2150912 bytes",
        "version 102, items 1, copies 2, owner \"\"",
        "next free offset 2117632, items end 1024, items base 512",
        "last deposit ",  // then the time of the deposit
        "item 0 \"hostlist\": copies 2, last written slot 1, bad slots 0x00, allotted 1048576, stored size 5",
        "  slot 0: offset 20480",
        "  slot 1: offset 1069056",
    };
    for (const std::string& want : expected) {
        ASSERT_TRUE(std::getline(lines, line)) << "missing: " << want;
        EXPECT_EQ(line.substr(0, want == "last deposit " ? want.size() : std::string::npos), want);
    }
    EXPECT_FALSE(std::getline(lines, line)) << line;
}

TEST_F(NbconfHost, RepoFailures) {
    const std::string base = (dir_ / "base").string();
    struct Row {
        const char* why;
        std::string args;
        int status;
        std::string err;
    };
    const Row rows[] = {
        {"no store", "repo show " + base, 1,
         "nbconf: cannot open " + base + "/.repository.conf: No such file or directory\n"},
        {"no store is not an error for a deposit", "repo add " + base + " /etc/hostname", 0, ""},
        {"unknown step", "repo frob " + base, 2,
         "Usage: nbconf repo [--devices DIR] show BASE\n       nbconf repo [--devices DIR] add BASE FILE [NAME]\n"
         "       nbconf repo [--devices DIR] get BASE NAME OUT\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        const Outcome run = nbconf(row.args);
        EXPECT_EQ(run.status, row.status);
        EXPECT_EQ(run.err, row.err);
    }
    makeStore();
    const std::string absent = (dir_ / "absent").string();
    const Outcome missing = nbconf("repo " + devices() + " add " + base + " " + absent);
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.err, "nbconf: cannot open " + absent + ": No such file or directory\n");

    // Without NAME the file is stored under its path, as the writer stores a
    // file under its target's path; when the store is full, its reasons,
    // otherwise only in the system log, come first.
    spill(dir_ / "src", "hello");
    const std::string src = (dir_ / "src").string();
    ASSERT_EQ(nbconf("repo " + devices() + " add " + base + " " + src).status, 0);
    EXPECT_NE(nbconf("repo " + devices() + " show " + base).out.find("item 0 \"" + src + "\""), std::string::npos);
    ASSERT_EQ(nbconf("repo " + devices() + " add " + base + " " + src + " two").status, 0);
    const Outcome full = nbconf("repo " + devices() + " add " + base + " " + src + " three");
    EXPECT_EQ(full.status, 1);
    EXPECT_EQ(full.err, "nbconf: MGT_ERROR: Not enough space to copy \"" + src +
                            "\"! file_offset(2117632) max_file_size(1048576) repository_size(2150912)\n"
                            "nbconf: CFGREPOSITORY_depositFile failed for \"" + src + "\" as \"three\".\n"
                            "nbconf: " + src + " was not deposited as \"three\" in the store of " + base + "\n");
}

TEST_F(NbconfHost, SemRemoveAll) {
    const key_t key = ::ftok(dir_.c_str(), 'n');
    const int semid = ::semget(key, 1, IPC_CREAT | IPC_EXCL | 0666);
    ASSERT_GE(semid, 0);
    char line[16];
    std::snprintf(line, sizeof line, "0x%x", static_cast<unsigned int>(key));
    spill(dir_ / "home/etc/.semaphorekeys", std::string(line + 2) + "\n1\n");  // key 1: no set

    const Outcome removed = nbconf("sem remove-all");
    EXPECT_EQ(removed.status, 0) << removed.err;
    EXPECT_EQ(removed.out, "removed semaphore set " + std::to_string(semid) + " (key " + line + ")\n" +
                               "no semaphore set for key 0x1\n" + "removed the keys file " +
                               (dir_ / "home/etc/.semaphorekeys").string() + "\n");
    EXPECT_EQ(::semctl(semid, 0, GETVAL), -1) << "the set is gone";
    if (::semctl(semid, 0, GETVAL) != -1) ::semctl(semid, 0, IPC_RMID);
    EXPECT_FALSE(fs::exists(dir_ / "home/etc/.semaphorekeys"));

    const Outcome again = nbconf("sem remove-all");
    EXPECT_EQ(again.status, 1);
    EXPECT_EQ(again.err, "nbconf: cannot remove the keys file " + (dir_ / "home/etc/.semaphorekeys").string() +
                             ": No such file or directory\n");
}

}  // namespace
