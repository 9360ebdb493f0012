#pragma once
#include <array>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "sys/host_env.h"

// The configuration repository: a small store on the quorum device shared by
// the servers of a failover pair, holding the latest copies of each
// configuration file so that the partner can recover them. The store is a
// master header at sector 0, item sections (one per stored name, at most 38)
// from sector 1, and the data areas of each item's copy slots, all in 512-byte
// sectors. Multi-byte fields are little-endian at fixed offsets.
//
// The routines keep the names under which the other servers' tools know them.
// Every one returns 0 on success and -1 on failure unless said otherwise, logs
// under "cfgrepository", and never leaves a half-written header or item
// section behind: headers are written only after the data they describe.
// Every system call goes through the HostEnv's table; the store's device is
// looked for in its deviceDir, the owner check compares with its host name
// and a deposit is stamped with its time.
namespace host {

inline constexpr std::size_t kSectorSize = 512;
inline constexpr std::size_t kHeaderSize = 172;  // the master header and an item section alike
inline constexpr int kMaxItems = 38;
inline constexpr int kMaxCopies = 8;             // one bad bit and one offset per slot
inline constexpr std::int16_t kRepositoryVersion = 102;
inline constexpr std::uint8_t kNoSlot = 0xFF;

/// The master header as it lies on the device.
struct MasterHeader {
    std::array<std::uint8_t, kHeaderSize> bytes{};

    std::int16_t version() const;            // byte 0, must be 102
    void setVersion(std::int16_t value);
    std::int16_t itemCount() const;          // byte 2, at most 38
    void setItemCount(std::int16_t value);
    std::uint8_t copies() const;             // byte 4, copy slots of a new item
    void setCopies(std::uint8_t value);
    std::string owner() const;               // bytes 6..147, NUL-terminated node name
    void setOwner(std::string_view value);   // cut to fit with its NUL
    std::uint32_t itemsEnd() const;          // byte 148: itemsBase + 512 x item count
    void setItemsEnd(std::uint32_t value);
    std::uint32_t nextFree() const;          // byte 156: offset of the next data area
    void setNextFree(std::uint32_t value);
    std::int64_t lastDeposit() const;        // byte 160: seconds since the epoch
    void setLastDeposit(std::int64_t value);
    std::uint32_t itemsBase() const;         // byte 168
    void setItemsBase(std::uint32_t value);
};

/// One item section as it lies on the device: a stored name and its copy slots.
struct ItemSection {
    std::array<std::uint8_t, kHeaderSize> bytes{};

    std::string name() const;                // bytes 0..127, NUL-padded
    void setName(std::string_view value);    // at most 128 characters
    std::uint8_t rawCopies() const;          // byte 128
    void setCopies(std::uint8_t value);
    int copies() const;                      // 0 reads as 1; more than 8 as 8
    std::uint8_t lastSlot() const;           // byte 129, kNoSlot when none
    void setLastSlot(std::uint8_t value);
    std::uint8_t badSlots() const;           // byte 130, bit n: slot n is bad
    void setBadSlots(std::uint8_t value);
    std::uint8_t index() const;              // byte 131, the section's own index
    void setIndex(std::uint8_t value);
    std::uint32_t storedSize() const;        // byte 132, bytes in the last copy written
    void setStoredSize(std::uint32_t value);
    std::uint32_t allotted() const;          // byte 136, bytes allowed per copy
    void setAllotted(std::uint32_t value);
    std::uint32_t slotOffset(int slot) const;  // byte 140 + 4 x slot; 0: no area yet
    void setSlotOffset(int slot, std::uint32_t value);
};

/// What ".repository.conf" says: the quorum device number and the store's last sector.
struct RepositoryConf {
    int vid = -1;
    std::uint32_t endingSector = 0;
};

/// An open store. Releasing it closes the device and logs "Closed".
class Repository {
public:
    /// `env` must outlive the store.
    Repository(const sys::HostEnv& env, std::FILE* device, std::string devicePath, int vid,
               std::uint32_t endingSector) noexcept;
    ~Repository();
    Repository(const Repository&) = delete;
    Repository& operator=(const Repository&) = delete;

    const sys::HostEnv& env() const noexcept { return env_; }
    std::FILE* device() const noexcept { return device_; }
    const std::string& devicePath() const noexcept { return devicePath_; }
    int vid() const noexcept { return vid_; }
    std::uint64_t startSector() const noexcept { return 0; }
    std::uint32_t endingSector() const noexcept { return endingSector_; }
    /// Bytes from the start sector through the ending sector.
    std::uint64_t sizeBytes() const noexcept;

private:
    const sys::HostEnv& env_;
    std::FILE* device_;
    std::string devicePath_;
    int vid_;
    std::uint32_t endingSector_;
};

/// Bytes allotted to one copy of a file stored as `name`, by its ending.
std::uint32_t CFGREPOSITORY_allottedSpace(const char* name) noexcept;

/// Whether `text` ends with `suffix`.
bool CFGREPOSITORY_endsWith(const char* text, const char* suffix) noexcept;

/// fopen, retried every second for 30 s while the device is busy. Null on failure.
std::FILE* CFGREPOSITORY_fopenRetry(const sys::HostEnv& env, const char* path, const char* mode) noexcept;

/// Reads ".repository.conf" of `baseDir`. 0, -5 when the file does not exist,
/// -1 when it cannot be read or lacks "vid" or "endingSector".
int CFGREPOSITORY_getRepositoryConf(const sys::Calls& calls, const char* baseDir, RepositoryConf* conf) noexcept;

/// The same reading over the text of a description (borrowed, need not end in
/// NUL), without logging. 0, or -1 when "vid" or "endingSector" is missing.
int CFGREPOSITORY_parseRepositoryConf(const char* text, std::size_t length, RepositoryConf* conf) noexcept;

/// Opens the store of `baseDir` into `*out`. 0, -5 when `baseDir` has no
/// description file, -1 on any other failure (`*out` then stays empty).
int CFGREPOSITORY_getRepository(const sys::HostEnv& env, const char* baseDir,
                                std::unique_ptr<Repository>* out) noexcept;

/// Closes the store.
void CFGREPOSITORY_freeRepository(std::unique_ptr<Repository> repository) noexcept;

/// One block of `size` bytes at `sector`.
int CFGREPOSITORY_readDisk(Repository* repository, std::uint64_t sector, void* buffer, std::size_t size) noexcept;
int CFGREPOSITORY_writeDisk(Repository* repository, std::uint64_t sector, const void* buffer,
                            std::size_t size) noexcept;

/// Reads and checks the master header.
int CFGREPOSITORY_getMasterHeader(Repository* repository, MasterHeader* master) noexcept;

/// Finds the item section stored as `name` (compared over at most 128
/// characters, as names are stored). 0 found (its index set), 1 absent,
/// -1 when a section cannot be read.
int CFGREPOSITORY_getItemSection(Repository* repository, const MasterHeader& master, const char* name,
                                 ItemSection* item) noexcept;

/// Makes a new item section for `name` in memory and counts it in `master`.
/// Nothing is written. -1 when the store holds 38 items already.
int CFGREPOSITORY_addItemSection(MasterHeader* master, const char* name, ItemSection* item) noexcept;

/// Copies `source` into the next good slot of `item`, giving the slot a data
/// area when it has none, then writes the item section and the master header.
/// A copy that fails after the slot got its area or a bad mark still writes
/// both, so that the store records them.
int CFGREPOSITORY_depositFile(Repository* repository, MasterHeader* master, ItemSection* item,
                              const char* source) noexcept;

/// Writes `source` (compressed first when larger than the allotted space)
/// sector by sector into `slot` of `item`. A copy of the wrong size marks the
/// slot bad in `item`. On success the item's stored size and last slot are set.
int CFGREPOSITORY_copyInFile(Repository* repository, ItemSection* item, int slot, const char* source) noexcept;

/// Copies the last copy of `from` into the next good slot of `to`, sector by
/// sector, then writes `to` and the master header.
int CFGREPOSITORY_itemToItemCopy(Repository* repository, MasterHeader* master, const ItemSection& from,
                                 ItemSection* to) noexcept;

/// Runs "/bin/gzip -c9" on `path` into a new `path` + ".gz" (whatever had
/// that name is removed first; the result is never written through a link).
/// 0 when the result exists.
int CFGREPOSITORY_gzipFile(const sys::Calls& calls, const char* path) noexcept;

/// Removes `path`; unlink's result.
int CFGREPOSITORY_rmFile(const sys::Calls& calls, const char* path) noexcept;

/// The copy of `item` written last, as it lies in the store (compressed when
/// the file was too big for its space). 0, or -1 with `*why` saying what is
/// wrong: nothing written yet, the slot marked bad, a size or area outside
/// the store, or a device too short to hold it (with the system's reason).
int readLastCopy(Repository* repository, const ItemSection& item, std::string* bytes, std::string* why) noexcept;

/// Whether a stored copy is compressed: the store compresses with gzip,
/// whose output starts with bytes no configuration file starts with.
bool isCompressedCopy(std::string_view bytes) noexcept;

/// The file a compressed copy was made of. 0, or -1 with `*why` when the
/// copy is damaged or cut short.
int uncompressCopy(std::string_view compressed, std::string* plain, std::string* why) noexcept;

/// Deposits `filename` in the store of `baseDir` under `saveAs` (or its own
/// name), and for the main configuration file also under that name + ".org".
/// `owner` is the server whose configuration this is (null: this one).
/// 0 on success, when `baseDir` has no store, or when another server owns the
/// store; -1 on failure.
int CFGREPOSITORY_addFileAs(const sys::HostEnv& env, const char* baseDir, const char* filename, const char* saveAs,
                            const char* owner) noexcept;

}  // namespace host
