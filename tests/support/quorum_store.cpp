#include "tests/support/quorum_store.h"

#include <fcntl.h>
#include <memory>
#include <stdexcept>
#include <unistd.h>

#include "host/cfgrepository.h"
#include "tests/support/run_program.h"

namespace testing_support {

void formatQuorumStore(const std::string& baseDir, const std::string& deviceDir, std::uint32_t endingSector,
                       const std::string& owner, int copies) {
    writeFile(baseDir + "/.repository.conf",
              "[quorum]\nvid = 7\nendingSector = " + std::to_string(endingSector) + "\n");
    // Laid out byte by byte, independently of the library's accessors.
    std::string header(172, '\0');
    const auto put = [&](std::size_t at, int width, std::uint64_t value) {
        for (int i = 0; i < width; ++i) header[at + i] = static_cast<char>(value >> (8 * i));
    };
    put(0, 2, 102);         // version
    put(4, 1, static_cast<std::uint64_t>(copies));
    header.replace(6, owner.size(), owner);
    put(148, 4, 512);       // end of the item sections
    put(156, 4, 40 * 512);  // first data area
    put(168, 4, 512);       // base of the item sections
    const std::string device = deviceDir + "/__quorum7__";
    const int fd = ::open(device.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600);
    if (fd < 0 || ::ftruncate(fd, static_cast<off_t>(endingSector + 1) * 512) != 0 ||
        ::pwrite(fd, header.data(), header.size(), 0) != 172) {
        throw std::runtime_error("cannot format " + device);
    }
    ::close(fd);
}

std::string storedCopy(const sys::HostEnv& env, const std::string& baseDir, const std::string& name) {
    std::unique_ptr<host::Repository> repository;
    host::MasterHeader master;
    host::ItemSection item;
    if (host::CFGREPOSITORY_getRepository(env, baseDir.c_str(), &repository) != 0 ||
        host::CFGREPOSITORY_getMasterHeader(repository.get(), &master) != 0 ||
        host::CFGREPOSITORY_getItemSection(repository.get(), master, name.c_str(), &item) != 0 ||
        item.lastSlot() == host::kNoSlot || item.storedSize() == 0) {
        return "";
    }
    // Read whatever the bad mark says: with one copy a slot stays marked after a good copy.
    std::string bytes(item.storedSize(), '\0');
    const std::uint32_t offset = item.slotOffset(item.lastSlot());
    if (host::CFGREPOSITORY_readDisk(repository.get(), offset / 512, bytes.data(), bytes.size()) != 0) return "";
    return bytes;
}

}  // namespace testing_support
