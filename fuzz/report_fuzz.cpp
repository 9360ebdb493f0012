#include <cstddef>
#include <cstdint>

#include "fuzz/entries.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::reportUpgrade(data, size);
    return 0;
}
