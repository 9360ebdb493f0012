#pragma once
#include <cstdint>
#include <string>

#include "sys/host_env.h"

namespace testing_support {

/// Puts a formatted, empty repository store in place: ".repository.conf" in
/// `baseDir` naming quorum device 7, and "__quorum7__" in `deviceDir` as a
/// sparse file of endingSector + 1 sectors with a master header owned by
/// `owner`, giving `copies` copy slots to a new item, its first data area at
/// sector 40. A HostEnv with that deviceDir and host name uses it.
void formatQuorumStore(const std::string& baseDir, const std::string& deviceDir, std::uint32_t endingSector,
                       const std::string& owner, int copies = 1);

/// The last copy stored as `name` in the store of `baseDir`, bad mark or not; "" when there is none.
std::string storedCopy(const sys::HostEnv& env, const std::string& baseDir, const std::string& name);

}  // namespace testing_support
