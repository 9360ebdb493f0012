#pragma once
#include <cstdint>
#include <string>

namespace testing_support {

/// Puts a formatted, empty repository store in place: ".repository.conf" in
/// `baseDir` naming quorum device 7, and "__quorum7__" in `deviceDir` as a
/// sparse file of endingSector + 1 sectors with a master header owned by
/// `owner` (one copy per item). The library is pointed at `deviceDir` and
/// takes `owner` as this node's name until resetQuorumStore().
void formatQuorumStore(const std::string& baseDir, const std::string& deviceDir, std::uint32_t endingSector,
                       const std::string& owner);

/// Points the library back at the real device directory and node name.
void resetQuorumStore();

/// The last copy stored as `name` in the store of `baseDir`, read with the
/// real calls; "" when there is none.
std::string storedCopy(const std::string& baseDir, const std::string& name);

}  // namespace testing_support
