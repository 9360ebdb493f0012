#include "xml/home.h"

namespace xml {

namespace {

constexpr const char* kEtc = "etc";

}  // namespace

std::string homePath(const sys::HostEnv& env, std::string_view sub) {
    std::string path = env.home;
    path.push_back('/');
    path.append(sub);
    return path;
}

std::string homePath(const sys::HostEnv& env, std::string_view a, std::string_view b) {
    std::string path = homePath(env, a);
    path.push_back('/');
    path.append(b);
    return path;
}

std::string productFileName(std::string_view suffix) {
    std::string name = "nimbra";
    name.append(suffix);
    return name;
}

std::string localDirectory(const sys::HostEnv& env) {
    return env.hostName.empty() ? homePath(env, kEtc) : homePath(env, kEtc, env.hostName);
}

std::string localConfigPath(const sys::HostEnv& env) {
    return localDirectory(env) + "/" + productFileName(".conf");
}

std::string localStatusPath(const sys::HostEnv& env) {
    return localDirectory(env) + "/" + productFileName(".dat");
}

std::string serverConfigPath(const sys::HostEnv& env, std::string_view server) {
    return homePath(env, kEtc, server) + "/" + productFileName(".conf");
}

std::string serverStatusPath(const sys::HostEnv& env, std::string_view server) {
    return homePath(env, kEtc, server) + "/" + productFileName(".dat");
}

}  // namespace xml
