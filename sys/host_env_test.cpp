#include "sys/host_env.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace sys {
namespace {

// What the tool takes from the system: NBHOME or the default home, the node
// name cut at its first ".", this process.
TEST(HostEnv, FromTheSystem) {
    struct utsname names {};
    ASSERT_EQ(::uname(&names), 0);
    const std::string node = names.nodename;
    ::unsetenv("NBHOME");
    const std::time_t before = std::time(nullptr);
    const HostEnv unset = systemHostEnv();
    EXPECT_EQ(unset.home, "/usr/local/nimbra");
    EXPECT_EQ(unset.hostName, node.substr(0, node.find('.')));
    EXPECT_EQ(unset.pid, static_cast<int>(::getpid()));
    EXPECT_GE(unset.now, before);
    EXPECT_EQ(unset.deviceDir, "/dev/nbdev");
    EXPECT_EQ(unset.calls, &realCalls());
    ::setenv("NBHOME", "", 1);
    EXPECT_EQ(systemHostEnv().home, "") << "set, even to nothing, is set";
    ::setenv("NBHOME", "/h", 1);
    EXPECT_EQ(systemHostEnv().home, "/h");
    EXPECT_EQ(environmentValue("XLATE45_SURELY_UNSET", "none"), "none");
    ::unsetenv("NBHOME");
}

}  // namespace
}  // namespace sys
