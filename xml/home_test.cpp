#include "xml/home.h"

#include <gtest/gtest.h>

namespace xml {
namespace {

TEST(Home, DocumentPaths) {
    sys::HostEnv env;
    env.home = "/h";
    env.hostName = "alpha";
    sys::HostEnv nameless = env;
    nameless.hostName.clear();
    struct Row {
        const char* what;
        std::string path, expected;
    };
    const Row rows[] = {
        {"home path of two", homePath(env, "etc", "beta"), "/h/etc/beta"},
        {"product file", productFileName(".dat"), "nimbra.dat"},
        {"local directory", localDirectory(env), "/h/etc/alpha"},
        {"local configuration", localConfigPath(env), "/h/etc/alpha/nimbra.conf"},
        {"local status", localStatusPath(env), "/h/etc/alpha/nimbra.dat"},
        {"no host name: no host directory", localConfigPath(nameless), "/h/etc/nimbra.conf"},
        {"no host name, status", localStatusPath(nameless), "/h/etc/nimbra.dat"},
        {"server configuration", serverConfigPath(env, "beta"), "/h/etc/beta/nimbra.conf"},
        {"server status", serverStatusPath(env, "beta"), "/h/etc/beta/nimbra.dat"},
    };
    for (const Row& row : rows) EXPECT_EQ(row.path, row.expected) << row.what;
}

}  // namespace
}  // namespace xml
