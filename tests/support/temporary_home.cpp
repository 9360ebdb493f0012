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
    // One home per binary, however many test files ask for it.
    static TemporaryHome* registered = nullptr;
    if (registered == nullptr) {
        registered = home != nullptr ? home : new TemporaryHome;
        ::testing::AddGlobalTestEnvironment(registered);
    } else {
        delete home;
    }
    return registered;
}

}  // namespace testing_support
