#pragma once
#include <string>

#include "sys/host_env.h"

namespace testing_support {

/// The HostEnv of a test: a fixed time, this process's id (children writing
/// one target must differ), host "alpha", `home`, quorum devices in
/// `deviceDir`, the real calls.
sys::HostEnv testEnv(const std::string& home = "/nonexistent", const std::string& deviceDir = sys::kDeviceDir);

/// Puts `calls` into `env` for the guard's scope, then the table that was there.
class ScopedCalls {
public:
    ScopedCalls(sys::HostEnv& env, const sys::Calls& calls) : env_(env), saved_(env.calls) { env.calls = &calls; }
    ~ScopedCalls() { env_.calls = saved_; }
    ScopedCalls(const ScopedCalls&) = delete;
    ScopedCalls& operator=(const ScopedCalls&) = delete;

private:
    sys::HostEnv& env_;
    const sys::Calls* saved_;
};

}  // namespace testing_support
