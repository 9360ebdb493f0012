#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

#include "host/cfgrepository.h"
#include "tool/nbconf/commands.h"
#include "writer/file_update.h"

namespace nbconf {

namespace {

constexpr const char* kRepoUsage =
    "Usage: nbconf repo [--devices DIR] show BASE\n"
    "       nbconf repo [--devices DIR] add BASE FILE [NAME]\n"
    "       nbconf repo [--devices DIR] get BASE NAME OUT\n";

void printItem(int index, const host::ItemSection& item) {
    std::printf("item %d \"%s\": copies %d, last written slot ", index, item.name().c_str(), item.copies());
    if (item.lastSlot() == host::kNoSlot) std::printf("none");
    else std::printf("%u", item.lastSlot());
    std::printf(", bad slots 0x%02x, allotted %u, stored size %u\n", item.badSlots(), item.allotted(),
                item.storedSize());
    for (int slot = 0; slot < item.copies(); ++slot) {
        const bool bad = (item.badSlots() & (1u << slot)) != 0;
        if (item.slotOffset(slot) == 0) std::printf("  slot %d: no area%s\n", slot, bad ? ", bad" : "");
        else std::printf("  slot %d: offset %u%s\n", slot, item.slotOffset(slot), bad ? ", bad" : "");
    }
}

// The store of `base` with its master header; null after a message.
std::unique_ptr<host::Repository> openStore(const char* base, host::MasterHeader& master) {
    std::unique_ptr<host::Repository> repository;
    const int opened = host::CFGREPOSITORY_getRepository(base, &repository);
    if (opened == -5) {
        std::fprintf(stderr, "nbconf: %s has no .repository.conf\n", base);
        return nullptr;
    }
    if (opened != 0) {
        std::fprintf(stderr, "nbconf: cannot open the store of %s (see the system log)\n", base);
        return nullptr;
    }
    if (host::CFGREPOSITORY_getMasterHeader(repository.get(), &master) != 0) {
        std::fprintf(stderr, "nbconf: cannot read the master header of %s\n", repository->devicePath().c_str());
        return nullptr;
    }
    return repository;
}

// The master header and every item of the store of `base`, as they lie on the device.
int show(const char* base) {
    host::MasterHeader master;
    std::unique_ptr<host::Repository> repository = openStore(base, master);
    if (!repository) return 1;
    std::printf("store %s: vid %d, ending sector %u, %llu bytes\n", repository->devicePath().c_str(),
                repository->vid(), repository->endingSector(),
                static_cast<unsigned long long>(repository->sizeBytes()));
    std::printf("version %d, items %d, copies %u, owner \"%s\"\n", master.version(), master.itemCount(),
                master.copies(), master.owner().c_str());
    std::printf("next free offset %u, items end %u, items base %u\n", master.nextFree(), master.itemsEnd(),
                master.itemsBase());
    std::printf("last deposit %lld\n", static_cast<long long>(master.lastDeposit()));
    const int count = master.itemCount() < host::kMaxItems ? master.itemCount() : host::kMaxItems;
    for (int i = 0; i < count; ++i) {
        host::ItemSection item;
        if (host::CFGREPOSITORY_readDisk(repository.get(), repository->startSector() + 1 + i, item.bytes.data(),
                                         host::kHeaderSize) != 0) {
            std::fprintf(stderr, "nbconf: cannot read item %d\n", i);
            return 1;
        }
        printItem(i, item);
    }
    return 0;
}

// The item stored as `name`, or as the only stored name whose last path
// component is `name`. False after a message.
bool findItem(host::Repository& repository, const host::MasterHeader& master, const char* base, const char* name,
              host::ItemSection& found) {
    std::vector<host::ItemSection> matches;
    const int count = master.itemCount() < host::kMaxItems ? master.itemCount() : host::kMaxItems;
    for (int i = 0; i < count; ++i) {
        host::ItemSection item;
        if (host::CFGREPOSITORY_readDisk(&repository, repository.startSector() + 1 + i, item.bytes.data(),
                                         host::kHeaderSize) != 0) {
            std::fprintf(stderr, "nbconf: cannot read item %d of %s\n", i, repository.devicePath().c_str());
            return false;
        }
        const std::string stored = item.name();
        if (stored == name) {
            found = item;
            return true;
        }
        const std::size_t slash = stored.rfind('/');
        if (slash != std::string::npos && stored.compare(slash + 1, std::string::npos, name) == 0) {
            matches.push_back(item);
        }
    }
    if (matches.size() == 1) {
        found = matches.front();
        return true;
    }
    if (matches.empty()) {
        std::fprintf(stderr, "nbconf: no file %s is stored in the store of %s\n", name, base);
    } else {
        std::fprintf(stderr, "nbconf: %s names %zu stored files; give one whole:\n", name, matches.size());
        for (const host::ItemSection& item : matches) std::fprintf(stderr, "  %s\n", item.name().c_str());
    }
    return false;
}

// The last good copy of a stored file into `out`, through the safe update:
// the partner's way back to a configuration.
int get(const char* base, const char* name, const char* out) {
    host::MasterHeader master;
    std::unique_ptr<host::Repository> repository = openStore(base, master);
    host::ItemSection item;
    if (!repository || !findItem(*repository, master, base, name, item)) return 1;
    std::string bytes, why;
    const bool compressed = host::readLastCopy(repository.get(), item, &bytes, &why) == 0 &&
                            host::isCompressedCopy(bytes);
    if (!why.empty() || (compressed && host::uncompressCopy(std::string(bytes), &bytes, &why) != 0)) {
        std::fprintf(stderr, "nbconf: %s in the store of %s: %s\n", item.name().c_str(), base, why.c_str());
        return 1;
    }
    if (const std::string obstacle = writer::updateObstacle(out); !obstacle.empty()) {
        std::fprintf(stderr, "nbconf: %s: nothing is written\n", obstacle.c_str());
        return 1;
    }
    std::unique_ptr<writer::FileUpdate> update = writer::FileUpdate::open(out, static_cast<int>(::getpid()));
    if (!update) {
        std::fprintf(stderr, "nbconf: cannot create %s_to_Be_%d: %s\n", out, static_cast<int>(::getpid()),
                     std::strerror(errno));
        return 1;
    }
    std::fwrite(bytes.data(), 1, bytes.size(), update->stream());
    const std::string tmp = update->tempPath();
    if (update->commit(true) != 0) return 1;  // the update has said why
    // The update does not check its rename; a temporary file still there
    // means the target was not replaced.
    if (::access(tmp.c_str(), F_OK) == 0 && std::rename(tmp.c_str(), out) != 0) {
        std::fprintf(stderr, "nbconf: cannot rename %s to %s: %s\n", tmp.c_str(), out, std::strerror(errno));
        static_cast<void>(std::remove(tmp.c_str()));
        return 1;
    }
    std::printf("%s (%zu bytes%s) written to %s\n", item.name().c_str(), bytes.size(),
                compressed ? ", stored compressed" : "", out);
    return 0;
}

}  // namespace

int repo(int argc, char** argv) {
    int next = 0;
    if (argc >= 2 && std::strcmp(argv[0], "--devices") == 0) {
        host::setRepositoryDeviceDir(argv[1]);
        next = 2;
    }
    const int left = argc - next;
    char** args = argv + next;
    if (left == 2 && std::strcmp(args[0], "show") == 0) return show(args[1]);
    if ((left == 3 || left == 4) && std::strcmp(args[0], "add") == 0) {
        // As the document writer deposits an update: the store decides everything else.
        const char* saveAs = left == 4 ? args[3] : nullptr;
        const int result = host::CFGREPOSITORY_addFileAs(args[1], args[2], saveAs, nullptr);
        if (result != 0) std::fprintf(stderr, "nbconf: deposit of %s failed (see the system log)\n", args[2]);
        return result == 0 ? 0 : 1;
    }
    if (left == 4 && std::strcmp(args[0], "get") == 0) return get(args[1], args[2], args[3]);
    std::fputs(kRepoUsage, stderr);
    return 2;
}

}  // namespace nbconf
