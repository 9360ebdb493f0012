#include "sys/host_env.h"

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <sys/utsname.h>
#include <unistd.h>

namespace sys {

namespace {

std::string shortNodeName() {
    struct utsname names {};
    if (::uname(&names) != 0) {
        std::perror("uname");
        return {};
    }
    std::string node = names.nodename;
    const std::size_t dot = node.find('.');
    if (dot != std::string::npos) node.resize(dot);
    return node;
}

}  // namespace

std::string environmentValue(const char* name, std::string_view fallback) {
    std::optional<std::string> value;
    ::flockfile(stderr);
    if (const char* raw = std::getenv(name)) value.emplace(raw);
    ::funlockfile(stderr);
    return value ? std::move(*value) : std::string(fallback);
}

HostEnv systemHostEnv() noexcept {
    HostEnv env;
    env.now = std::time(nullptr);
    env.pid = static_cast<int>(::getpid());
    env.hostName = shortNodeName();
    env.home = environmentValue("NBHOME", env.home);
    return env;
}

}  // namespace sys
