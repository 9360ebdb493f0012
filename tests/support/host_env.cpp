#include "tests/support/host_env.h"

#include <unistd.h>

namespace testing_support {

sys::HostEnv testEnv(const std::string& home, const std::string& deviceDir) {
    sys::HostEnv env;
    env.now = 1'700'000'000;
    env.pid = static_cast<int>(::getpid());
    env.hostName = "alpha";
    env.home = home;
    env.deviceDir = deviceDir;
    return env;
}

}  // namespace testing_support
