#pragma once
#include <string>
#include <string_view>

// The installation home and the names of the documents under it. Every result
// is a new string; nothing here reads a configuration document.
namespace xml {

/// The value of NBHOME, or "/usr/local/nimbra" while it is unset. The first call
/// that finds NBHOME set keeps that value for the rest of the process.
std::string home();

/// home, "/", sub.
std::string homePath(std::string_view sub);

/// home, "/", a, "/", b.
std::string homePath(std::string_view a, std::string_view b);

/// "nimbra" followed by `suffix`: ".conf" gives "nimbra.conf".
std::string productFileName(std::string_view suffix);

/// The uname node name cut at its first "."; empty (after perror("uname")) when
/// uname fails.
std::string hostName();

/// home/etc/host, or home/etc when the host name is empty.
std::string localDirectory();

/// The local directory, "/", "nimbra.conf".
std::string localConfigPath();

/// home/etc/host/nimbra.dat, or home/etc/nimbra.dat when the host name is empty.
std::string localStatusPath();

/// home/etc/server/nimbra.conf.
std::string serverConfigPath(std::string_view server);

/// home/etc/server/nimbra.dat.
std::string serverStatusPath(std::string_view server);

/// The value of the environment variable `name`, or `fallback` when it is unset.
std::string environmentValue(const char* name, std::string_view fallback);

}  // namespace xml
