#pragma once
#include <gtest/gtest.h>
#include <string>

namespace testing_support {

/// A temporary NBHOME (with its "etc" directory) for a whole test binary. The
/// home keeps the first value it sees, so it must be in place before any test
/// asks for it: register it once per binary with addTemporaryHome().
class TemporaryHome : public ::testing::Environment {
public:
    void SetUp() override;
    void TearDown() override;
    const std::string& path() const { return home_; }

private:
    std::string home_;
};

/// Registers `home` (a plain TemporaryHome when null; owned by GoogleTest from
/// then on) and returns it. Later calls in the same binary return the first one.
TemporaryHome* addTemporaryHome(TemporaryHome* home = nullptr);

}  // namespace testing_support
