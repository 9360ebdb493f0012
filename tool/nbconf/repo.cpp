#include <cstdio>
#include <cstring>
#include <memory>

#include "host/cfgrepository.h"
#include "tool/nbconf/commands.h"

namespace nbconf {

namespace {

constexpr const char* kRepoUsage =
    "Usage: nbconf repo [--devices DIR] show BASE\n"
    "       nbconf repo [--devices DIR] add BASE FILE [NAME]\n";

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

// The master header and every item of the store of `base`, as they lie on the device.
int show(const char* base) {
    std::unique_ptr<host::Repository> repository;
    const int opened = host::CFGREPOSITORY_getRepository(base, &repository);
    if (opened == -5) {
        std::fprintf(stderr, "nbconf: %s has no .repository.conf\n", base);
        return 1;
    }
    if (opened != 0) {
        std::fprintf(stderr, "nbconf: cannot open the store of %s\n", base);
        return 1;
    }
    host::MasterHeader master;
    if (host::CFGREPOSITORY_getMasterHeader(repository.get(), &master) != 0) {
        std::fprintf(stderr, "nbconf: cannot read the master header of %s\n", repository->devicePath().c_str());
        return 1;
    }
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
    std::fputs(kRepoUsage, stderr);
    return 2;
}

}  // namespace nbconf
