#include "xml/home.h"

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <sys/utsname.h>

namespace xml {

namespace {

constexpr const char* kDefaultHome = "/usr/local/nimbra";
constexpr const char* kEtc = "etc";

// getenv under stderr's stream lock: other library users write to stderr while
// they change the environment, and this keeps the two from interleaving.
std::optional<std::string> lockedGetenv(const char* name) {
    std::optional<std::string> value;
    ::flockfile(stderr);
    if (const char* raw = std::getenv(name)) value.emplace(raw);
    ::funlockfile(stderr);
    return value;
}

}  // namespace

std::string home() {
    // Once seen, the home never changes; while unset, a later setting is still seen.
    static std::optional<std::string> kept;
    if (kept) return *kept;
    std::optional<std::string> value = lockedGetenv("NBHOME");
    if (!value) return kDefaultHome;
    kept = std::move(value);
    return *kept;
}

std::string homePath(std::string_view sub) {
    std::string path = home();
    path.push_back('/');
    path.append(sub);
    return path;
}

std::string homePath(std::string_view a, std::string_view b) {
    std::string path = homePath(a);
    path.push_back('/');
    path.append(b);
    return path;
}

std::string productFileName(std::string_view suffix) {
    std::string name = "nimbra";
    name.append(suffix);
    return name;
}

std::string hostName() {
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

std::string localDirectory() {
    const std::string host = hostName();
    return host.empty() ? homePath(kEtc) : homePath(kEtc, host);
}

std::string localConfigPath() { return localDirectory() + "/" + productFileName(".conf"); }

std::string localStatusPath() {
    const std::string host = hostName();
    const std::string name = productFileName(".dat");
    return host.empty() ? homePath(kEtc, name) : homePath(kEtc, host) + "/" + name;
}

std::string serverConfigPath(std::string_view server) {
    return homePath(kEtc, server) + "/" + productFileName(".conf");
}

std::string serverStatusPath(std::string_view server) {
    return homePath(kEtc, server) + "/" + productFileName(".dat");
}

std::string environmentValue(const char* name, std::string_view fallback) {
    std::optional<std::string> value = lockedGetenv(name);
    return value ? std::move(*value) : std::string(fallback);
}

}  // namespace xml
