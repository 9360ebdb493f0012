#include "host/status_block.h"

#include <cstring>
#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/shm.h>

#include "tests/support/log_capture.h"
#include "tests/support/run_program.h"
#include "xml/home.h"

namespace host {
namespace {

using testing_support::TempDir;

// Each test keys the block on its own directory and removes what it made.
class StatusBlock : public ::testing::Test {
protected:
    void SetUp() override { setStatusBlockKey(key_); }
    void TearDown() override {
        static_cast<void>(removeStatusBlock());
        setStatusBlockKey(std::nullopt);
    }
    // The raw segment, to look at and to spoil.
    std::int32_t* words() {
        const int shmid = ::shmget(key_, 0, 0);
        void* at = ::shmat(shmid, nullptr, 0);
        attached_ = static_cast<std::int32_t*>(at);
        return attached_;
    }
    ~StatusBlock() override {
        if (attached_ != nullptr) ::shmdt(attached_);
    }
    TempDir dir_;
    std::int32_t key_ = ::ftok(dir_.path().c_str(), 's');
    std::int32_t* attached_ = nullptr;
};

TEST_F(StatusBlock, InstanceSlotsOfBothGroups) {
    ASSERT_GE(createStatusBlock(), 0);
    EXPECT_EQ(createStatusBlock(), -1) << "exists already";
    EXPECT_EQ(readConfigInstance(StatusGroup::Local), 0);
    EXPECT_EQ(readConfigInstance(StatusGroup::Partner), 0);

    EXPECT_TRUE(setConfigInstance(StatusGroup::Local, 41));
    EXPECT_TRUE(setConfigInstance(StatusGroup::Partner, -7));
    EXPECT_EQ(readConfigInstance(StatusGroup::Local), 41);
    EXPECT_EQ(readConfigInstance(StatusGroup::Partner), -7);

    // version, handle, then local slots 0..3 and partner slots 0..3: slot 1 of each
    const std::int32_t* raw = words();
    EXPECT_EQ(raw[0], 300);
    EXPECT_EQ(raw[1], 8);
    const std::int32_t expected[8] = {0, 41, 0, 0, 0, -7, 0, 0};
    EXPECT_EQ(std::memcmp(raw + 2, expected, sizeof expected), 0);
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
        ASSERT_GE(createStatusBlock(), 0);
        words()[row.word] = row.value;
        EXPECT_EQ(readConfigInstance(StatusGroup::Local), std::nullopt);
        EXPECT_FALSE(setConfigInstance(StatusGroup::Partner, 5));
        ::shmdt(attached_);
        attached_ = nullptr;
        ASSERT_EQ(removeStatusBlock(), 0);
    }
    SCOPED_TRACE("no segment at all");
    EXPECT_EQ(readConfigInstance(StatusGroup::Local), std::nullopt);
    EXPECT_FALSE(setConfigInstance(StatusGroup::Local, 5));
    EXPECT_EQ(removeStatusBlock(), -1);
}

TEST(StatusBlockKey, DefaultIsDerivedFromHomeEtc) {
    const key_t key = ::ftok(xml::homePath("etc").c_str(), 'S');
    ASSERT_NE(key, -1);
    ASSERT_GE(createStatusBlock(), 0);
    EXPECT_GE(::shmget(key, 0, 0), 0);
    EXPECT_EQ(removeStatusBlock(), 0);
    EXPECT_LT(::shmget(key, 0, 0), 0);
}

}  // namespace
}  // namespace host
