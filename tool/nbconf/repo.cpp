#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

#include "host/cfgrepository.h"
#include "tool/nbconf/commands.h"
#include "writer/config_file.h"
#include "writer/file_update.h"
#include "xml/log.h"

namespace nbconf {

namespace {

// The store reports its failures only to the system log, which a
// workstation may not have: they are shown on standard error as well.
void echoLogLine(const char* /*identity*/, const char* message) { std::fprintf(stderr, "nbconf: %s\n", message); }

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
std::unique_ptr<host::Repository> openStore(const sys::HostEnv& env, const char* base, host::MasterHeader& master) {
    std::unique_ptr<host::Repository> repository;
    errno = 0;
    const int opened = host::CFGREPOSITORY_getRepository(env, base, &repository);
    const int reason = errno;  // the log keeps it
    if (opened == -5) {
        std::fprintf(stderr, "nbconf: cannot open %s/.repository.conf: %s\n", base, std::strerror(reason));
        return nullptr;
    }
    if (opened != 0) {
        std::fprintf(stderr, "nbconf: cannot open the store described in %s/.repository.conf%s%s\n", base,
                     reason != 0 ? ": " : "", reason != 0 ? std::strerror(reason) : "");
        return nullptr;
    }
    if (host::CFGREPOSITORY_getMasterHeader(repository.get(), &master) != 0) {
        std::fprintf(stderr, "nbconf: cannot read the master header of %s\n", repository->devicePath().c_str());
        return nullptr;
    }
    return repository;
}

// The master header and every item of the store of `base`, as they lie on the device.
int show(const sys::HostEnv& env, const char* base) {
    host::MasterHeader master;
    std::unique_ptr<host::Repository> repository = openStore(env, base, master);
    if (!repository) return kFailed;
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
            std::fprintf(stderr, "nbconf: cannot read item %d of %s\n", i, repository->devicePath().c_str());
            return kFailed;
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
int get(const sys::HostEnv& env, const char* base, const char* name, const char* out) {
    host::MasterHeader master;
    std::unique_ptr<host::Repository> repository = openStore(env, base, master);
    host::ItemSection item;
    if (!repository || !findItem(*repository, master, base, name, item)) return kFailed;
    std::string bytes, why;
    const bool compressed = host::readLastCopy(repository.get(), item, &bytes, &why) == 0 &&
                            host::isCompressedCopy(bytes);
    if (!why.empty() || (compressed && host::uncompressCopy(std::string(bytes), &bytes, &why) != 0)) {
        std::fprintf(stderr, "nbconf: %s in the store of %s: %s\n", item.name().c_str(), base, why.c_str());
        return kFailed;
    }
    if (const std::string obstacle = writer::updateObstacle(out); !obstacle.empty()) {
        std::fprintf(stderr, "nbconf: %s: nothing is written\n", obstacle.c_str());
        return kFailed;
    }
    errno = 0;
    if (writer::writeConfigFile(env, {.path = out, .text = bytes}) != 0) {
        std::fprintf(stderr, "nbconf: cannot write %s: %s\n", out, std::strerror(errno != 0 ? errno : EIO));
        return kFailed;
    }
    const std::string tmp = std::string(out) + "_to_Be_" + std::to_string(env.pid);
    // The update does not check its rename; a temporary file still there
    // means the target was not replaced.
    if (::access(tmp.c_str(), F_OK) == 0 && std::rename(tmp.c_str(), out) != 0) {
        std::fprintf(stderr, "nbconf: cannot rename %s to %s: %s\n", tmp.c_str(), out, std::strerror(errno));
        static_cast<void>(std::remove(tmp.c_str()));
        return kFailed;
    }
    std::printf("%s (%zu bytes%s) written to %s\n", item.name().c_str(), bytes.size(),
                compressed ? ", stored compressed" : "", out);
    return kOk;
}

int repo(int argc, char** argv) {
    sys::HostEnv env = sys::systemHostEnv();
    int next = 0;
    if (argc >= 2 && std::strcmp(argv[0], "--devices") == 0) {
        env.deviceDir = argv[1];
        next = 2;
    }
    const int left = argc - next;
    char** args = argv + next;
    xml::setLogObserver(echoLogLine);
    if (left == 2 && std::strcmp(args[0], "show") == 0) return show(env, args[1]);
    if ((left == 3 || left == 4) && std::strcmp(args[0], "add") == 0) {
        // As the document writer deposits an update, which stores the file
        // under the target's path: here FILE itself, unless NAME is given.
        const char* file = args[2];
        const char* saveAs = left == 4 ? args[3] : nullptr;
        if (!canRead(file)) return kFailed;
        if (host::CFGREPOSITORY_addFileAs(env, args[1], file, saveAs, nullptr) != 0) {
            std::fprintf(stderr, "nbconf: %s was not deposited as \"%s\" in the store of %s\n", file,
                         saveAs != nullptr ? saveAs : file, args[1]);
            return kFailed;
        }
        return kOk;
    }
    if (left == 4 && std::strcmp(args[0], "get") == 0) return get(env, args[1], args[2], args[3]);
    return usageError(kRepo);
}

}  // namespace

const Command kRepo = {
    "repo",
    "repo [--devices DIR] show BASE\n"
    "repo [--devices DIR] add BASE FILE [NAME]\n"
    "repo [--devices DIR] get BASE NAME OUT",
    "show a configuration store, deposit a file in it or copy one out",
    "BASE is the directory holding the store's description, .repository.conf;\n"
    "the quorum device it names is looked for in /dev/nbdev, or in DIR.\n"
    "\n"
    "show prints the store's master header and every item with its copy slots.\n"
    "\n"
    "add deposits FILE in the store as the configuration writer does when it\n"
    "replaces a file: under NAME, or without NAME under FILE as given (the\n"
    "writer stores under the target's path). A main configuration file (a name\n"
    "ending in nimbra.conf) also renews its \".org\" copy. A store that names an\n"
    "owner takes deposits only from that server. A BASE without\n"
    ".repository.conf has no store, which is not an error.\n"
    "\n"
    "get copies the copy of NAME written last out of the store into OUT, the\n"
    "partner's way back to a configuration. NAME is a stored name, or the last\n"
    "path component of exactly one stored name (nimbra.conf, nimbra.conf.org).\n"
    "A copy the store compressed is decompressed. OUT is written with the safe\n"
    "file update, after checking that it is no directory, link or device.\n"
    "\n"
    "The store's own failure messages, otherwise only in the system log, are\n"
    "shown on standard error. Exit status 0 when done; 1 when the store cannot\n"
    "be read, FILE cannot be opened or deposited, or NAME is not stored or its\n"
    "copy is marked bad or cut short.\n",
    repo,
};

}  // namespace nbconf
