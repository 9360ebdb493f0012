#include "tests/support/temporary_home.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <sys/stat.h>

namespace testing_support {

void TemporaryHome::SetUp() {
    char pattern[] = "/tmp/xlate45-home-XXXXXX";
    if (::mkdtemp(pattern) == nullptr) throw std::runtime_error("mkdtemp");
    home_ = pattern;
    ::setenv("NBHOME", home_.c_str(), 1);
    ::mkdir((home_ + "/etc").c_str(), 0755);
}

void TemporaryHome::TearDown() { std::filesystem::remove_all(home_); }

TemporaryHome* addTemporaryHome(TemporaryHome* home) {
    ::testing::AddGlobalTestEnvironment(home);
    return home;
}

}  // namespace testing_support
