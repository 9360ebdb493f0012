#pragma once
#include <string>
#include <string_view>

#include "sys/host_env.h"

// The names of the documents under the installation home. Every result is a
// new string; nothing here reads a configuration document. The home and the
// host name are the HostEnv's.
namespace xml {

/// home, "/", sub.
std::string homePath(const sys::HostEnv& env, std::string_view sub);

/// home, "/", a, "/", b.
std::string homePath(const sys::HostEnv& env, std::string_view a, std::string_view b);

/// "nimbra" followed by `suffix`: ".conf" gives "nimbra.conf".
std::string productFileName(std::string_view suffix);

/// home/etc/host, or home/etc when the host name is empty.
std::string localDirectory(const sys::HostEnv& env);

/// The local directory, "/", "nimbra.conf".
std::string localConfigPath(const sys::HostEnv& env);

/// home/etc/host/nimbra.dat, or home/etc/nimbra.dat when the host name is empty.
std::string localStatusPath(const sys::HostEnv& env);

/// home/etc/server/nimbra.conf.
std::string serverConfigPath(const sys::HostEnv& env, std::string_view server);

/// home/etc/server/nimbra.dat.
std::string serverStatusPath(const sys::HostEnv& env, std::string_view server);

}  // namespace xml
