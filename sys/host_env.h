#pragma once
#include <ctime>
#include <string>
#include <string_view>

#include "sys/calls.h"

namespace sys {

/// Where the quorum devices of the configuration repository are.
inline constexpr const char* kDeviceDir = "/dev/nbdev";

/// What the library would otherwise take from the process and the machine.
/// It comes in as one value so that tests fix each part (byte-stable output)
/// and nothing below the program's entry reads them itself.
struct HostEnv {
    std::time_t now = 0;                  // header time of a written document; time of a deposit
    int pid = 0;                          // names the temporary file of an update
    std::string hostName;                 // node name cut at its first "."; "" when unknown
    std::string home = "/usr/local/nimbra";  // the installation home (NBHOME)
    std::string deviceDir = kDeviceDir;
    const Calls* calls = &realCalls();    // never null
};

/// This process on this machine: the time now, getpid(), the uname node name
/// cut at its first "." ("" after perror("uname") when uname fails), NBHOME
/// or "/usr/local/nimbra" when it is unset, and the real calls.
HostEnv systemHostEnv() noexcept;

/// The value of the environment variable `name`, or `fallback` when it is
/// unset. Read under stderr's stream lock: other users of the library write
/// to stderr while they change the environment.
std::string environmentValue(const char* name, std::string_view fallback);

}  // namespace sys
