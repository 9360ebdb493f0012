#include "host/cfgrepository.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <new>
#include <string>
#include <strings.h>
#include <sys/stat.h>
#include <zlib.h>

#include "xml/log.h"

namespace host {

namespace {

#define REPO_TAG(function) \
    xml::SourceTag { "cfgrepository", "cfgrepository.c", function, __LINE__ }

// Thresholds: failures are logged at level 0, tracing of a normal run above it.
constexpr int kError = 0;
constexpr int kTrace = 1;

constexpr const char* kDescriptionName = ".repository.conf";
constexpr std::size_t kNameField = 128;
constexpr std::size_t kOwnerOffset = 6;
constexpr std::size_t kOwnerField = 148 - kOwnerOffset;
constexpr int kOpenFailureLimit = 1000;
constexpr std::time_t kBusyDeadlineSeconds = 30;

int gOpenFailures = 0;  // consecutive failed device opens, across calls

// ---- little-endian fields at fixed offsets ----

std::uint64_t loadLE(const std::uint8_t* at, int width) {
    std::uint64_t value = 0;
    for (int i = width - 1; i >= 0; --i) value = (value << 8) | at[i];
    return value;
}

void storeLE(std::uint8_t* at, int width, std::uint64_t value) {
    for (int i = 0; i < width; ++i) at[i] = static_cast<std::uint8_t>(value >> (8 * i));
}

std::string textField(const std::uint8_t* at, std::size_t width) {
    const auto* chars = reinterpret_cast<const char*>(at);
    return std::string(chars, ::strnlen(chars, width));
}

void setTextField(std::uint8_t* at, std::size_t width, std::string_view value) {
    std::memset(at, 0, width);
    std::memcpy(at, value.data(), std::min(width, value.size()));
}

struct AllotmentRow {
    const char* ending;
    std::uint32_t bytes;
};

// First matching ending wins.
constexpr AllotmentRow kAllotments[] = {
    {"nimbra.conf", 15'728'640}, {"nimbra.conf.org", 15'728'640}, {"nimbra.dat", 15'728'640},
    {"nimbra.dat.cache", 15'728'640},
    {"nas.conf", 10'485'760},    {"nasuser.conf", 10'485'760},
    {"nimbra.scl", 1'048'576},   {"nimbra.ssv", 1'048'576},   {"exports", 1'048'576},
    {"hostlist", 1'048'576},     {"smbpasswd", 1'048'576},    {"usermap", 1'048'576},
    {"smb.conf", 1'048'576},     {"secrets.tdb", 1'048'576},  {"rmtab", 1'048'576},
    {"rmtab.from", 1'048'576},   {"iscsipasswd", 1'048'576},  {"xboottab", 1'048'576},
    {"testfile", 1'024},
};
constexpr std::uint32_t kDefaultAllotment = 1'048'576;

const char* orNull(const char* text) { return text != nullptr ? text : "(null)"; }

std::uint64_t sectorsFor(std::uint64_t bytes) { return (bytes + kSectorSize - 1) / kSectorSize; }

std::uint64_t itemSector(const Repository& repository, const ItemSection& item) {
    return repository.startSector() + 1 + item.index();
}

std::uint64_t areaSector(const Repository& repository, std::uint32_t offset) {
    return repository.startSector() + offset / kSectorSize;
}

// Seeks and transfers one block; returns the bytes transferred.
std::size_t writeBlock(Repository& repository, std::uint64_t sector, const void* buffer, std::size_t size) {
    if (::fseeko(repository.device(), static_cast<off_t>(sector * kSectorSize), SEEK_SET) != 0) return 0;
    const std::size_t wrote = std::fwrite(buffer, 1, size, repository.device());
    // The stream is buffered for reading; a block counts once it reached the device.
    return std::fflush(repository.device()) == 0 ? wrote : 0;
}

bool writeItemSection(Repository& repository, const ItemSection& item, const char* source) {
    const std::size_t wrote = writeBlock(repository, itemSector(repository, item), item.bytes.data(), kHeaderSize);
    if (wrote == kHeaderSize) return true;
    xml::logNotice(kError, REPO_TAG("CFGREPOSITORY_depositFile"),
                   "MGT_ERROR: wrote size (%ld) did not match QUORUMREPOSIT_ITEM_SECTION size (%d). "
                   "Abort copying in \"%s\".",
                   static_cast<long>(wrote), static_cast<int>(kHeaderSize), source);
    return false;
}

bool writeMasterHeader(Repository& repository, const MasterHeader& master) {
    const std::size_t wrote = writeBlock(repository, repository.startSector(), master.bytes.data(), kHeaderSize);
    if (wrote == kHeaderSize) return true;
    xml::logNotice(kError, REPO_TAG("CFGREPOSITORY_depositFile"),
                   "MGT_ERROR: wrote size (%ld) did not match QUORUMREPOSIT_MASTER_HEADER size (%d).",
                   static_cast<long>(wrote), static_cast<int>(kHeaderSize));
    return false;
}

// With one copy there is no choice; otherwise the slot after the one written
// last, wrapping to 0, skipping bad slots, each slot tried once. -1: none good.
int chooseSlot(const ItemSection& item, const char* function) {
    const int copies = item.copies();
    if (copies == 1) return 0;
    int start = item.lastSlot() + 1;
    if (start >= copies) start = 0;
    for (int tried = 0; tried < copies; ++tried) {
        const int slot = (start + tried) % copies;
        if ((item.badSlots() & (1u << slot)) == 0) return slot;
    }
    xml::logNotice(kError, REPO_TAG(function),
                   "MGT_ERROR: All %d file slots are bad. The Quorum drive need to be recreated!", copies);
    return -1;
}

// A slot keeps its data area for life; a new one is cut from the master's free space.
bool assignDataArea(const Repository& repository, MasterHeader& master, ItemSection& item, int slot,
                    const char* source, const char* function) {
    if (item.slotOffset(slot) != 0) return true;
    const std::uint64_t offset = master.nextFree();
    const std::uint64_t end = offset + item.allotted();
    if (end > repository.sizeBytes() || end > UINT32_MAX) {
        xml::logNotice(kError, REPO_TAG(function),
                       "MGT_ERROR: Not enough space to copy \"%s\"! file_offset(%ld) max_file_size(%ld) "
                       "repository_size(%ld)",
                       source, static_cast<long>(offset), static_cast<long>(item.allotted()),
                       static_cast<long>(repository.sizeBytes()));
        return false;
    }
    item.setSlotOffset(slot, static_cast<std::uint32_t>(offset));
    master.setNextFree(static_cast<std::uint32_t>(end));
    return true;
}

void markBad(ItemSection& item, int slot, std::uint64_t stored, std::uint64_t actual, const char* name,
             const char* function) {
    item.setBadSlots(static_cast<std::uint8_t>(item.badSlots() | (1u << slot)));
    xml::logNotice(kError, REPO_TAG(function),
                   "MGT_ERROR: Mark copy index %d as bad because file size in repository (%ld) does not "
                   "match actual file size (%ld). Filename=\"%s\".",
                   slot, static_cast<long>(stored), static_cast<long>(actual), name);
}

// Fills `buffer` from `in` as far as it goes; fewer bytes only at the end.
std::size_t readChunk(std::FILE* in, std::uint8_t* buffer, std::size_t want) {
    std::size_t got = 0;
    while (got < want) {
        const std::size_t n = std::fread(buffer + got, 1, want - got, in);
        if (n == 0) break;
        got += n;
    }
    return got;
}

std::string shellQuoted(const std::string& text) {
    std::string quoted = "'";
    for (char c : text) {
        if (c == '\'') quoted += "'\\''";
        else quoted += c;
    }
    quoted += "'";
    return quoted;
}

// Reads the keys of a description: section headers do not matter, keys are
// compared without regard to case, and reading stops once both are known.
// `found` gets what was seen; true when both keys were.
bool scanDescription(std::FILE* in, RepositoryConf& found) {
    bool haveVid = false;
    bool haveEnding = false;
    char line[1024];
    char key[sizeof line];
    char value[sizeof line];
    while (!(haveVid && haveEnding) && std::fgets(line, sizeof line, in) != nullptr) {
        if (std::sscanf(line, "[%1023[^]]", value) == 1) continue;
        if (std::sscanf(line, "%1023s = %1023[^\n]", key, value) != 2) continue;
        if (::strcasecmp(key, "vid") == 0) {
            found.vid = std::atoi(value);
            haveVid = true;
        } else if (::strcasecmp(key, "endingSector") == 0) {
            const unsigned long long sector = std::strtoull(value, nullptr, 10);
            found.endingSector = static_cast<std::uint32_t>(std::min<unsigned long long>(sector, UINT32_MAX));
            haveEnding = true;
        }
    }
    return haveVid && haveEnding;
}

}  // namespace

// ---- layouts ----

std::int16_t MasterHeader::version() const { return static_cast<std::int16_t>(loadLE(&bytes[0], 2)); }
void MasterHeader::setVersion(std::int16_t value) { storeLE(&bytes[0], 2, static_cast<std::uint16_t>(value)); }
std::int16_t MasterHeader::itemCount() const { return static_cast<std::int16_t>(loadLE(&bytes[2], 2)); }
void MasterHeader::setItemCount(std::int16_t value) { storeLE(&bytes[2], 2, static_cast<std::uint16_t>(value)); }
std::uint8_t MasterHeader::copies() const { return bytes[4]; }
void MasterHeader::setCopies(std::uint8_t value) { bytes[4] = value; }
std::string MasterHeader::owner() const { return textField(&bytes[kOwnerOffset], kOwnerField); }
void MasterHeader::setOwner(std::string_view value) {
    setTextField(&bytes[kOwnerOffset], kOwnerField, value.substr(0, kOwnerField - 1));
}
std::uint32_t MasterHeader::itemsEnd() const { return static_cast<std::uint32_t>(loadLE(&bytes[148], 4)); }
void MasterHeader::setItemsEnd(std::uint32_t value) { storeLE(&bytes[148], 4, value); }
std::uint32_t MasterHeader::nextFree() const { return static_cast<std::uint32_t>(loadLE(&bytes[156], 4)); }
void MasterHeader::setNextFree(std::uint32_t value) { storeLE(&bytes[156], 4, value); }
std::int64_t MasterHeader::lastDeposit() const { return static_cast<std::int64_t>(loadLE(&bytes[160], 8)); }
void MasterHeader::setLastDeposit(std::int64_t value) { storeLE(&bytes[160], 8, static_cast<std::uint64_t>(value)); }
std::uint32_t MasterHeader::itemsBase() const { return static_cast<std::uint32_t>(loadLE(&bytes[168], 4)); }
void MasterHeader::setItemsBase(std::uint32_t value) { storeLE(&bytes[168], 4, value); }

std::string ItemSection::name() const { return textField(&bytes[0], kNameField); }
void ItemSection::setName(std::string_view value) { setTextField(&bytes[0], kNameField, value); }
std::uint8_t ItemSection::rawCopies() const { return bytes[128]; }
void ItemSection::setCopies(std::uint8_t value) { bytes[128] = value; }
int ItemSection::copies() const { return std::clamp<int>(bytes[128], 1, kMaxCopies); }
std::uint8_t ItemSection::lastSlot() const { return bytes[129]; }
void ItemSection::setLastSlot(std::uint8_t value) { bytes[129] = value; }
std::uint8_t ItemSection::badSlots() const { return bytes[130]; }
void ItemSection::setBadSlots(std::uint8_t value) { bytes[130] = value; }
std::uint8_t ItemSection::index() const { return bytes[131]; }
void ItemSection::setIndex(std::uint8_t value) { bytes[131] = value; }
std::uint32_t ItemSection::storedSize() const { return static_cast<std::uint32_t>(loadLE(&bytes[132], 4)); }
void ItemSection::setStoredSize(std::uint32_t value) { storeLE(&bytes[132], 4, value); }
std::uint32_t ItemSection::allotted() const { return static_cast<std::uint32_t>(loadLE(&bytes[136], 4)); }
void ItemSection::setAllotted(std::uint32_t value) { storeLE(&bytes[136], 4, value); }
std::uint32_t ItemSection::slotOffset(int slot) const {
    return static_cast<std::uint32_t>(loadLE(&bytes[140 + 4 * slot], 4));
}
void ItemSection::setSlotOffset(int slot, std::uint32_t value) { storeLE(&bytes[140 + 4 * slot], 4, value); }

// ---- the open store ----

Repository::Repository(const sys::HostEnv& env, std::FILE* device, std::string devicePath, int vid,
                       std::uint32_t endingSector) noexcept
    : env_(env),
      device_(device), devicePath_(std::move(devicePath)), vid_(vid), endingSector_(endingSector) {}

Repository::~Repository() {
    if (device_ == nullptr) return;
    std::fclose(device_);
    xml::logNotice(kTrace, REPO_TAG("CFGREPOSITORY_freeRepository"), "Closed \"%s\".", devicePath_.c_str());
}

std::uint64_t Repository::sizeBytes() const noexcept {
    return (static_cast<std::uint64_t>(endingSector_) - startSector()) * kSectorSize + kSectorSize;
}

std::uint32_t CFGREPOSITORY_allottedSpace(const char* name) noexcept {
    for (const AllotmentRow& row : kAllotments) {
        if (CFGREPOSITORY_endsWith(name, row.ending)) return row.bytes;
    }
    return kDefaultAllotment;
}

bool CFGREPOSITORY_endsWith(const char* text, const char* suffix) noexcept {
    if (text == nullptr || suffix == nullptr) return false;
    const std::size_t textLength = std::strlen(text);
    const std::size_t suffixLength = std::strlen(suffix);
    return textLength >= suffixLength && std::strcmp(text + textLength - suffixLength, suffix) == 0;
}

std::FILE* CFGREPOSITORY_fopenRetry(const sys::HostEnv& env, const char* path, const char* mode) noexcept {
    const sys::Calls& calls = *env.calls;
    const std::time_t deadline = calls.time(nullptr) + kBusyDeadlineSeconds;
    std::FILE* file = nullptr;
    // The partner may hold the device for a moment; anything but EBUSY is final.
    while ((file = sys::openStream(calls, path, mode)) == nullptr && errno == EBUSY && calls.time(nullptr) < deadline) {
        struct timespec pause {0, 999'999'999};
        calls.nanosleep(&pause, nullptr);
    }
    if (file != nullptr) {
        gOpenFailures = 0;
        return file;
    }
    // A missing device fails on every update; the log says so a bounded number of times.
    ++gOpenFailures;
    if (gOpenFailures < kOpenFailureLimit) {
        xml::logNotice(1, REPO_TAG("CFGREPOSITORY_fopenRetry"), "Failed to open device file %s: errno=%d", path,
                       errno);
    } else if (gOpenFailures == kOpenFailureLimit) {
        xml::logNotice(kError, REPO_TAG("CFGREPOSITORY_fopenRetry"),
                       "MGT_ERROR: MGT_ERROR: Stop printing this message after %d times: Failed to open device "
                       "file %s: errno=%d",
                       kOpenFailureLimit, path, errno);
    } else {
        gOpenFailures = kOpenFailureLimit + 1;  // stays silent without ever wrapping round
    }
    return nullptr;
}

int CFGREPOSITORY_getRepositoryConf(const sys::Calls& calls, const char* baseDir, RepositoryConf* conf) noexcept try {
    const std::string path = std::string(baseDir) + '/' + kDescriptionName;
    struct stat status {};
    if (calls.stat(path.c_str(), &status) != 0) {
        xml::logNotice(kTrace, REPO_TAG("CFGREPOSITORY_getRepositoryConf"), "file \"%s\" does not exist",
                       path.c_str());
        return -5;
    }
    std::FILE* in = sys::openStream(calls, path.c_str(), "r");
    if (in == nullptr) {
        xml::logNotice(kError, REPO_TAG("CFGREPOSITORY_getRepositoryConf"), "MGT_ERROR: Failed to open file \"%s\"",
                       path.c_str());
        return -1;
    }
    RepositoryConf found;
    const bool complete = scanDescription(in, found);
    std::fclose(in);
    if (!complete) {
        xml::logNotice(kError, REPO_TAG("CFGREPOSITORY_getRepositoryConf"),
                       "MGT_ERROR: Failed to get info from file \"%s\", vid =%d, endingSector = %lu", path.c_str(),
                       found.vid, static_cast<unsigned long>(found.endingSector));
        return -1;
    }
    *conf = found;
    return 0;
} catch (const std::bad_alloc&) {
    return -1;  // out of memory: a failure like any other of the store
}

int CFGREPOSITORY_parseRepositoryConf(const char* text, std::size_t length, RepositoryConf* conf) noexcept {
    if (text == nullptr || length == 0) return -1;  // no keys in nothing
    std::FILE* in = ::fmemopen(const_cast<char*>(text), length, "r");
    if (in == nullptr) return -1;
    RepositoryConf found;
    const bool complete = scanDescription(in, found);
    std::fclose(in);
    if (!complete) return -1;
    *conf = found;
    return 0;
}

int CFGREPOSITORY_getRepository(const sys::HostEnv& env, const char* baseDir,
                                std::unique_ptr<Repository>* out) noexcept try {
    RepositoryConf conf;
    const int read = CFGREPOSITORY_getRepositoryConf(*env.calls, baseDir, &conf);
    if (read != 0) return read;
    if (conf.vid < 1) return -1;
    std::string devicePath = env.deviceDir + '/' + "__quorum" + std::to_string(conf.vid) + "__";
    struct stat status {};
    if (env.calls->stat(devicePath.c_str(), &status) != 0) {
        xml::logNotice(kError, REPO_TAG("CFGREPOSITORY_getRepository"), "raw file=\"%s\" does not exist",
                       devicePath.c_str());
        return -1;
    }
    // Closed here until the store owns it, also when memory runs out on the way.
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> device(CFGREPOSITORY_fopenRetry(env, devicePath.c_str(), "r+b"),
                                                           std::fclose);
    if (!device) return -1;
    // A buffer, or stdio reads a cookie stream byte by byte; writes are flushed per block.
    std::setvbuf(device.get(), nullptr, _IOFBF, 8 * kSectorSize);
    xml::logNotice(kTrace, REPO_TAG("CFGREPOSITORY_getRepository"), "Opened \"%s\".", devicePath.c_str());
    *out = std::make_unique<Repository>(env, device.get(), std::move(devicePath), conf.vid, conf.endingSector);
    device.release();
    return 0;
} catch (const std::bad_alloc&) {
    return -1;  // out of memory: a failure like any other of the store
}

void CFGREPOSITORY_freeRepository(std::unique_ptr<Repository> repository) noexcept { repository.reset(); }

int CFGREPOSITORY_readDisk(Repository* repository, std::uint64_t sector, void* buffer, std::size_t size) noexcept {
    if (repository == nullptr || buffer == nullptr || size == 0) {
        xml::logNotice(kError, REPO_TAG("CFGREPOSITORY_readDisk"), "MGT_ERROR: Bad input.");
        return -1;
    }
    if (::fseeko(repository->device(), static_cast<off_t>(sector * kSectorSize), SEEK_SET) != 0) return -1;
    return std::fread(buffer, 1, size, repository->device()) == size ? 0 : -1;
}

int CFGREPOSITORY_writeDisk(Repository* repository, std::uint64_t sector, const void* buffer,
                            std::size_t size) noexcept {
    if (repository == nullptr || buffer == nullptr || size == 0) {
        xml::logNotice(kError, REPO_TAG("CFGREPOSITORY_writeDisk"), "MGT_ERROR: Bad input.");
        return -1;
    }
    return writeBlock(*repository, sector, buffer, size) == size ? 0 : -1;
}

int CFGREPOSITORY_getMasterHeader(Repository* repository, MasterHeader* master) noexcept {
    if (CFGREPOSITORY_readDisk(repository, repository->startSector(), master->bytes.data(), kHeaderSize) != 0) {
        xml::logNotice(kError, REPO_TAG("CFGREPOSITORY_getMasterHeader"),
                       "MGT_ERROR: Read disk failed while getting master header, vid=%d.", repository->vid());
        return -1;
    }
    if (master->version() != kRepositoryVersion) {
        xml::logNotice(kError, REPO_TAG("CFGREPOSITORY_getMasterHeader"),
                       "MGT_ERROR: version number do not match, should be %d, got %d", kRepositoryVersion,
                       master->version());
        return -1;
    }
    return 0;
}

int CFGREPOSITORY_getItemSection(Repository* repository, const MasterHeader& master, const char* name,
                                 ItemSection* item) noexcept try {
    // Sections past the largest table would be data areas, whatever the count says.
    const int count = std::clamp<int>(master.itemCount(), 0, kMaxItems);
    for (int i = 0; i < count; ++i) {
        const std::uint64_t sector = repository->startSector() + 1 + i;
        if (CFGREPOSITORY_readDisk(repository, sector, item->bytes.data(), kHeaderSize) != 0) {
            xml::logNotice(kError, REPO_TAG("CFGREPOSITORY_getItemSection"),
                           "MGT_ERROR: Read disk failed for guid=\"%s\", sector=%lu, size=%d. Filename=\"%s\".",
                           repository->devicePath().c_str(), static_cast<unsigned long>(sector),
                           static_cast<int>(kHeaderSize), name);
            return -1;
        }
        // Names are stored cut to 128 characters, so they are compared that far.
        if (std::strncmp(reinterpret_cast<const char*>(item->bytes.data()), name, kNameField) == 0) {
            item->setIndex(static_cast<std::uint8_t>(i));
            return 0;
        }
    }
    return 1;
} catch (const std::bad_alloc&) {
    return -1;  // out of memory: a failure like any other of the store
}

int CFGREPOSITORY_addItemSection(MasterHeader* master, const char* name, ItemSection* item) noexcept try {
    const int count = master->itemCount();
    if (count + 1 > kMaxItems) {
        xml::logNotice(kError, REPO_TAG("CFGREPOSITORY_addItemSection"),
                       "MGT_ERROR: Not enough space to add new item \"%s\" to master header, maximum item "
                       "allowed=%d, current item count=%d",
                       name, kMaxItems, count);
        return -1;
    }
    *item = ItemSection{};
    item->setName(name);
    item->setCopies(master->copies());
    item->setLastSlot(kNoSlot);
    item->setIndex(static_cast<std::uint8_t>(count));
    item->setAllotted(CFGREPOSITORY_allottedSpace(name));
    master->setItemCount(static_cast<std::int16_t>(count + 1));
    master->setItemsEnd(master->itemsBase() + static_cast<std::uint32_t>(kSectorSize) * (count + 1));
    return 0;
} catch (const std::bad_alloc&) {
    return -1;  // out of memory: a failure like any other of the store
}

int CFGREPOSITORY_gzipFile(const sys::Calls& calls, const char* path) noexcept try {
    const std::string source = path;
    const std::string target = source + ".gz";
    // The name is predictable: what lies there goes first, and the shell's
    // noclobber makes the redirection fail rather than follow a link planted
    // meanwhile.
    static_cast<void>(CFGREPOSITORY_rmFile(calls, target.c_str()));
    const std::string command = "set -C; /bin/gzip -c9 " + shellQuoted(source) + " > " + shellQuoted(target);
    const int status = calls.system(command.c_str());
    struct stat compressed {};
    return status == 0 && calls.stat(target.c_str(), &compressed) == 0 ? 0 : -1;
} catch (const std::bad_alloc&) {
    return -1;  // out of memory: a failure like any other of the store
}

int CFGREPOSITORY_rmFile(const sys::Calls& calls, const char* path) noexcept { return calls.unlink(path); }

int CFGREPOSITORY_copyInFile(Repository* repository, ItemSection* item, int slot, const char* source) noexcept try {
    const sys::Calls& calls = *repository->env().calls;
    struct stat status {};
    if (calls.stat(source, &status) != 0) {
        xml::logNotice(kError, REPO_TAG("CFGREPOSITORY_copyInFile"), "File \"%s\" does not exist.", source);
        return -1;
    }
    std::string copied = source;
    std::uint64_t size = static_cast<std::uint64_t>(status.st_size);
    const std::uint64_t allotted = item->allotted();
    bool compressed = false;
    if (size > allotted) {
        xml::logNotice(kTrace, REPO_TAG("CFGREPOSITORY_copyInFile"),
                       "File \"%s\" size = %lu is too big for the allotted space %lu to copy, compress and try "
                       "again",
                       source, static_cast<unsigned long>(size), static_cast<unsigned long>(allotted));
        copied += ".gz";
        compressed = true;
        if (CFGREPOSITORY_gzipFile(calls, source) != 0 || calls.stat(copied.c_str(), &status) != 0) {
            static_cast<void>(CFGREPOSITORY_rmFile(calls, copied.c_str()));  // a partial result is no use
            return -1;
        }
        size = static_cast<std::uint64_t>(status.st_size);
        if (size > allotted) {
            xml::logNotice(kError, REPO_TAG("CFGREPOSITORY_copyInFile"),
                           "Compressed file \"%s\" size = %lu is still too big for the allotted space %lu to "
                           "copy, abort copy",
                           copied.c_str(), static_cast<unsigned long>(size), static_cast<unsigned long>(allotted));
            static_cast<void>(CFGREPOSITORY_rmFile(calls, copied.c_str()));
            return -1;
        }
    }

    std::FILE* in = sys::openStream(calls, copied.c_str(), "rb");
    if (in == nullptr) {  // the source is at fault, not the slot
        xml::logNotice(kError, REPO_TAG("CFGREPOSITORY_copyInFile"), "File \"%s\" does not exist.", copied.c_str());
        if (compressed) static_cast<void>(CFGREPOSITORY_rmFile(calls, copied.c_str()));
        return -1;
    }
    std::uint64_t stored = 0;
    {
        // Whole sectors, the last one zero-padded; never past the slot's area,
        // even if the file grew since it was measured.
        std::uint64_t sector = areaSector(*repository, item->slotOffset(slot));
        std::uint8_t buffer[kSectorSize];
        while (stored < allotted) {
            const std::size_t want = static_cast<std::size_t>(std::min<std::uint64_t>(kSectorSize, allotted - stored));
            std::memset(buffer, 0, sizeof buffer);
            const std::size_t got = readChunk(in, buffer, want);
            if (got == 0) break;
            if (writeBlock(*repository, sector, buffer, kSectorSize) != kSectorSize) break;
            stored += got;
            ++sector;
            if (got < want) break;
        }
        std::fclose(in);
    }
    if (compressed) static_cast<void>(CFGREPOSITORY_rmFile(calls, copied.c_str()));

    if (stored != size) {
        markBad(*item, slot, stored, size, copied.c_str(), "CFGREPOSITORY_copyInFile");
        return -1;
    }
    item->setStoredSize(static_cast<std::uint32_t>(stored));
    item->setLastSlot(static_cast<std::uint8_t>(slot));
    return 0;
} catch (const std::bad_alloc&) {
    return -1;  // out of memory: a failure like any other of the store
}

int CFGREPOSITORY_depositFile(Repository* repository, MasterHeader* master, ItemSection* item,
                              const char* source) noexcept try {
    const int slot = chooseSlot(*item, "CFGREPOSITORY_depositFile");
    if (slot < 0) return -1;
    if (!assignDataArea(*repository, *master, *item, slot, source, "CFGREPOSITORY_depositFile")) return -1;

    if (CFGREPOSITORY_copyInFile(repository, item, slot, source) != 0) {
        xml::logNotice(kError, REPO_TAG("CFGREPOSITORY_depositFile"),
                       "MGT_ERROR: QUORUMREPOSIT_copyFile failed for \"%s\"!", source);
        // The slot's new area or bad mark must reach the device, or the next
        // deposit would hand the area out again or retry the bad slot.
        if (writeItemSection(*repository, *item, source)) static_cast<void>(writeMasterHeader(*repository, *master));
        return -1;
    }
    // The item before the master: a master that counts an item never written would show garbage.
    if (!writeItemSection(*repository, *item, source)) return -1;
    master->setLastDeposit(static_cast<std::int64_t>(repository->env().now));
    return writeMasterHeader(*repository, *master) ? 0 : -1;
} catch (const std::bad_alloc&) {
    return -1;  // out of memory: a failure like any other of the store
}

int CFGREPOSITORY_itemToItemCopy(Repository* repository, MasterHeader* master, const ItemSection& from,
                                 ItemSection* to) noexcept try {
    if (from.lastSlot() >= from.copies()) return -1;  // nothing deposited to copy
    const std::uint32_t size = from.storedSize();
    if (size > to->allotted()) return -1;
    const std::string name = to->name();
    const int slot = chooseSlot(*to, "CFGREPOSITORY_itemToItemCopy");
    if (slot < 0) return -1;
    if (!assignDataArea(*repository, *master, *to, slot, name.c_str(), "CFGREPOSITORY_itemToItemCopy")) return -1;

    const std::uint64_t fromSector = areaSector(*repository, from.slotOffset(from.lastSlot()));
    const std::uint64_t toSector = areaSector(*repository, to->slotOffset(slot));
    std::uint64_t stored = 0;
    std::uint8_t buffer[kSectorSize];
    for (std::uint64_t k = 0; k < sectorsFor(size); ++k) {
        if (CFGREPOSITORY_readDisk(repository, fromSector + k, buffer, kSectorSize) != 0) break;
        if (writeBlock(*repository, toSector + k, buffer, kSectorSize) != kSectorSize) break;
        stored += std::min<std::uint64_t>(kSectorSize, size - k * kSectorSize);
    }
    if (stored != size) {
        markBad(*to, slot, stored, size, name.c_str(), "CFGREPOSITORY_itemToItemCopy");
        if (writeItemSection(*repository, *to, name.c_str())) static_cast<void>(writeMasterHeader(*repository, *master));
        return -1;
    }
    to->setStoredSize(size);
    to->setLastSlot(static_cast<std::uint8_t>(slot));
    if (!writeItemSection(*repository, *to, name.c_str())) return -1;
    master->setLastDeposit(static_cast<std::int64_t>(repository->env().now));
    return writeMasterHeader(*repository, *master) ? 0 : -1;
} catch (const std::bad_alloc&) {
    return -1;  // out of memory: a failure like any other of the store
}

namespace {

// Finds the item stored as `name` or makes it. 0, or -1 (logged).
int findOrAddItem(Repository& repository, MasterHeader& master, const char* name, ItemSection& item) {
    const int found = CFGREPOSITORY_getItemSection(&repository, master, name, &item);
    if (found == 0) return 0;
    if (found < 0) return -1;
    xml::logNotice(kTrace, REPO_TAG("CFGREPOSITORY_addFileAs"), "\"%s\" is new to this repository.", name);
    if (CFGREPOSITORY_addItemSection(&master, name, &item) != 0) {
        xml::logNotice(kError, REPO_TAG("CFGREPOSITORY_addFileAs"), "CFGREPOSITORY_addItemSection failed for \"%s\".",
                       name);
        return -1;
    }
    return 0;
}

// The steps after the store is open; the caller releases it.
int depositInto(Repository& repository, const char* filename, const char* storedName, const char* owner) {
    MasterHeader master;
    if (CFGREPOSITORY_getMasterHeader(&repository, &master) != 0) return -1;
    const bool mainConf = CFGREPOSITORY_endsWith(storedName, "nimbra.conf");
    const std::string& node = repository.env().hostName;

    // Only the server named in the store writes it; its partner only reads.
    const std::string storeOwner = master.owner();
    if (storeOwner.empty()) {
        xml::logNotice(kTrace, REPO_TAG("CFGREPOSITORY_addFileAs"), "repository owner is not set");
    } else if (storeOwner != node) {
        xml::logNotice(kError, REPO_TAG("CFGREPOSITORY_addFileAs"),
                       "repository owner \"%s\" did not match node name \"%s\".", storeOwner.c_str(), node.c_str());
        xml::logNotice(kError, REPO_TAG("CFGREPOSITORY_addFileAs"),
                       "Did not update \"%s\" to the repository, owner = \"%s\", update_nimbra_conf status = %d.",
                       storedName, storeOwner.c_str(), mainConf ? 1 : 0);
        return 0;
    }

    ItemSection item;
    if (findOrAddItem(repository, master, storedName, item) != 0) return -1;
    if (CFGREPOSITORY_depositFile(&repository, &master, &item, filename) != 0) {
        xml::logNotice(kError, REPO_TAG("CFGREPOSITORY_addFileAs"), "CFGREPOSITORY_depositFile failed for \"%s\" as \"%s\".",
                       filename, storedName);
        return -1;
    }
    if (!mainConf) return 0;

    // The ".org" copy follows only this server's own configuration.
    const bool canUpdateOrg = owner == nullptr || node == owner;
    xml::logNotice(kTrace, REPO_TAG("CFGREPOSITORY_addFileAs"), "can_update_nimbra_conf_org = %d", canUpdateOrg ? 1 : 0);
    if (!canUpdateOrg) return 0;
    char orgName[kNameField];
    std::snprintf(orgName, sizeof orgName, "%s.org", storedName);
    if (std::strstr(orgName, "nimbra.conf.org") == nullptr) {
        xml::logNotice(kError, REPO_TAG("CFGREPOSITORY_addFileAs"), "nimbra.conf.org filename truncation, abort!");
        return -1;
    }
    ItemSection org;
    if (findOrAddItem(repository, master, orgName, org) != 0) return -1;
    if (CFGREPOSITORY_itemToItemCopy(&repository, &master, item, &org) != 0) {
        xml::logNotice(kError, REPO_TAG("CFGREPOSITORY_addFileAs"), "CFGREPOSITORY_itemToItemCopy failed for \"%s\" to \"%s\".",
                       storedName, orgName);
        return -1;
    }
    return 0;
}

}  // namespace

int CFGREPOSITORY_addFileAs(const sys::HostEnv& env, const char* baseDir, const char* filename, const char* saveAs,
                            const char* owner) noexcept try {
    if (baseDir == nullptr) {
        xml::logNotice(kError, REPO_TAG("CFGREPOSITORY_addFileAs"), "MGT_ERROR: base_dir cannot be NULL");
        return -1;
    }
    if (filename == nullptr) {
        xml::logNotice(kError, REPO_TAG("CFGREPOSITORY_addFileAs"), "MGT_ERROR: filename cannot be NULL");
        return -1;
    }
    xml::logNotice(kTrace, REPO_TAG("CFGREPOSITORY_addFileAs"), "Enter - source filename = \"%s\", save as \"%s\"",
                   filename, orNull(saveAs));
    const char* storedName = saveAs != nullptr ? saveAs : filename;

    std::unique_ptr<Repository> repository;
    const int opened = CFGREPOSITORY_getRepository(env, baseDir, &repository);
    if (opened == -5) return 0;  // no store on this server
    int ret = -1;
    if (opened == 0) ret = depositInto(*repository, filename, storedName, owner);
    CFGREPOSITORY_freeRepository(std::move(repository));
    xml::logNotice(kTrace, REPO_TAG("CFGREPOSITORY_addFileAs"), "Exit - filename = \"%s\", ret=%d", filename, ret);
    return ret;
} catch (const std::bad_alloc&) {
    return -1;  // out of memory: a failure like any other of the store
}

int readLastCopy(Repository* repository, const ItemSection& item, std::string* bytes, std::string* why) noexcept try {
    const std::uint8_t slot = item.lastSlot();
    if (slot == kNoSlot || slot >= item.copies()) {
        *why = "no copy was written";
        return -1;
    }
    if ((item.badSlots() & (1u << slot)) != 0) {
        *why = "its copy (slot " + std::to_string(slot) + ") is marked bad";
        return -1;
    }
    const std::uint32_t offset = item.slotOffset(slot);
    const std::uint64_t size = item.storedSize();
    if (offset == 0 || size > item.allotted() || offset + size > repository->sizeBytes()) {
        *why = "its copy (slot " + std::to_string(slot) + ", " + std::to_string(size) + " bytes at offset " +
               std::to_string(offset) + ") lies outside its space";
        return -1;
    }
    bytes->assign(static_cast<std::size_t>(size), '\0');
    errno = 0;
    if (size != 0 && (::fseeko(repository->device(), static_cast<off_t>(areaSector(*repository, offset) * kSectorSize),
                               SEEK_SET) != 0 ||
                      std::fread(bytes->data(), 1, bytes->size(), repository->device()) != bytes->size())) {
        *why = "its copy is short: " + std::to_string(size) + " bytes cannot be read from " +
               repository->devicePath() + (errno != 0 ? std::string(": ") + std::strerror(errno) : "");
        return -1;
    }
    return 0;
} catch (const std::bad_alloc&) {
    *why = std::strerror(ENOMEM);
    return -1;
}

bool isCompressedCopy(std::string_view bytes) noexcept {
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(bytes[at]); };
    return bytes.size() >= 2 && byte(0) == 0x1F && byte(1) == 0x8B;
}

int uncompressCopy(std::string_view compressed, std::string* plain, std::string* why) noexcept try {
    z_stream stream{};
    // 16 + MAX_WBITS: the gzip framing, as the store's compressor writes it.
    if (inflateInit2(&stream, 16 + MAX_WBITS) != Z_OK) {
        *why = "the decompressor cannot start";
        return -1;
    }
    plain->clear();
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(compressed.data()));
    stream.avail_in = static_cast<uInt>(compressed.size());
    char chunk[64 * 1024];
    int status = Z_OK;
    while (status == Z_OK) {
        stream.next_out = reinterpret_cast<Bytef*>(chunk);
        stream.avail_out = sizeof chunk;
        status = inflate(&stream, Z_NO_FLUSH);
        plain->append(chunk, sizeof chunk - stream.avail_out);
        if (status == Z_BUF_ERROR && stream.avail_in == 0) break;  // the input ended before the stream did
    }
    inflateEnd(&stream);
    if (status != Z_STREAM_END) {
        *why = status == Z_BUF_ERROR ? "its compressed copy is cut short" : "its compressed copy is damaged";
        return -1;
    }
    return 0;
} catch (const std::bad_alloc&) {
    *why = std::strerror(ENOMEM);
    return -1;
}

}  // namespace host
