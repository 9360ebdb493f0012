#include "xml/home.h"

#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

namespace xml {
namespace {

// The home keeps the first value it sees for the life of the process, so each
// case runs in a child of its own and sends back what it found.
std::string inChild(const std::function<std::string()>& body) {
    int out[2];
    if (::pipe(out) != 0) return "pipe failed";
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::close(out[0]);
        const std::string text = body();
        static_cast<void>(::write(out[1], text.data(), text.size()));
        ::_exit(0);
    }
    ::close(out[1]);
    std::string text;
    char buffer[256];
    for (ssize_t n; (n = ::read(out[0], buffer, sizeof buffer)) > 0;) text.append(buffer, static_cast<std::size_t>(n));
    ::close(out[0]);
    ::waitpid(pid, nullptr, 0);
    return text;
}

std::string shortNodeName() {
    struct utsname names {};
    ::uname(&names);
    std::string node = names.nodename;
    return node.substr(0, node.find('.'));
}

TEST(Home, FirstValueSeenIsKept) {
    const std::string seen = inChild([] {
        ::unsetenv("NBHOME");
        std::string trail = home() + "|";
        ::setenv("NBHOME", "/first", 1);  // unset until now: a later setting is seen
        trail += home() + "|";
        ::setenv("NBHOME", "/second", 1);  // kept from then on
        trail += home() + "|";
        ::unsetenv("NBHOME");
        return trail + home();
    });
    EXPECT_EQ(seen, "/usr/local/nimbra|/first|/first|/first");
}

TEST(Home, DocumentPaths) {
    const std::string host = shortNodeName();
    ASSERT_FALSE(host.empty());
    struct Row {
        const char* what;
        std::function<std::string()> path;
        std::string expected;
    };
    const Row rows[] = {
        {"home path", [] { return homePath("etc"); }, "/h/etc"},
        {"home path of two", [] { return homePath("etc", "beta"); }, "/h/etc/beta"},
        {"product file", [] { return productFileName(".dat"); }, "nimbra.dat"},
        {"host name", [] { return hostName(); }, host},
        {"local directory", [] { return localDirectory(); }, "/h/etc/" + host},
        {"local configuration", [] { return localConfigPath(); }, "/h/etc/" + host + "/nimbra.conf"},
        {"local status", [] { return localStatusPath(); }, "/h/etc/" + host + "/nimbra.dat"},
        {"server configuration", [] { return serverConfigPath("beta"); }, "/h/etc/beta/nimbra.conf"},
        {"server status", [] { return serverStatusPath("beta"); }, "/h/etc/beta/nimbra.dat"},
        {"environment value set", [] { return environmentValue("NBHOME", "none"); }, "/h"},
        {"environment value unset", [] { return environmentValue("HOME_TEST_UNSET_VARIABLE", "none"); }, "none"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(inChild([&] {
                      ::setenv("NBHOME", "/h", 1);
                      ::unsetenv("HOME_TEST_UNSET_VARIABLE");
                      return row.path();
                  }),
                  row.expected);
    }
}

}  // namespace
}  // namespace xml
