#include "host/status_block.h"

#include <cstring>
#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <sys/stat.h>

#include "tests/support/host_env.h"
#include "tests/support/run_program.h"

namespace host {
namespace {

// Each test keys the block on a home of its own and removes what it made.
class StatusBlock : public ::testing::Test {
protected:
    StatusBlock() : env_(testing_support::testEnv(home_.path())) { ::mkdir((home_.path() + "/etc").c_str(), 0755); }
    ~StatusBlock() override {
        if (attached_ != nullptr) ::shmdt(attached_);
        static_cast<void>(removeStatusBlock(env_));
    }
    // The raw segment, found by the key of "<home>/etc", to look at and to spoil.
    std::int32_t* words() {
        if (attached_ == nullptr) {
            attached_ = ::shmat(::shmget(::ftok((home_.path() + "/etc").c_str(), 'S'), 0, 0), nullptr, 0);
        }
        return static_cast<std::int32_t*>(attached_);
    }
    testing_support::TempDir home_;
    sys::HostEnv env_;
    void* attached_ = nullptr;
};

TEST_F(StatusBlock, InstanceSlotsOfBothGroups) {
    ASSERT_GE(createStatusBlock(env_), 0);
    EXPECT_EQ(createStatusBlock(env_), -1) << "exists already";
    EXPECT_EQ(readConfigInstance(env_, StatusGroup::Local), 0);
    EXPECT_TRUE(setConfigInstance(env_, StatusGroup::Local, 41));
    EXPECT_TRUE(setConfigInstance(env_, StatusGroup::Partner, -7));
    EXPECT_EQ(readConfigInstance(env_, StatusGroup::Local), 41);
    EXPECT_EQ(readConfigInstance(env_, StatusGroup::Partner), -7);
    // version, handle, then local slots 0..3 and partner slots 0..3: slot 1 of each
    const std::int32_t expected[10] = {300, 8, 0, 41, 0, 0, 0, -7, 0, 0};
    EXPECT_EQ(std::memcmp(words(), expected, sizeof expected), 0);
}

TEST_F(StatusBlock, UnusableBlockIsNeitherReadNorSet) {
    struct Row {
        const char* why;
        int word;
        std::int32_t value;
    };
    const Row rows[] = {
        {"layout version other than 300", 0, 299},
        {"handle leaves no room for the block", 1, 12},
        {"handle inside the directory entry", 1, 4},
        {"handle not on a word boundary", 1, 6},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        ASSERT_GE(createStatusBlock(env_), 0);
        words()[row.word] = row.value;
        EXPECT_EQ(readConfigInstance(env_, StatusGroup::Local), std::nullopt);
        EXPECT_FALSE(setConfigInstance(env_, StatusGroup::Partner, 5));
        ::shmdt(attached_);
        attached_ = nullptr;
        ASSERT_EQ(removeStatusBlock(env_), 0);
    }
    SCOPED_TRACE("no segment at all");
    EXPECT_EQ(readConfigInstance(env_, StatusGroup::Local), std::nullopt);
    EXPECT_FALSE(setConfigInstance(env_, StatusGroup::Local, 5));
    EXPECT_EQ(removeStatusBlock(env_), -1);
}

}  // namespace
}  // namespace host
