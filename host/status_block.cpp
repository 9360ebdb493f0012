#include "host/status_block.h"

#include <cstring>
#include <new>
#include <string>
#include <sys/ipc.h>
#include <sys/shm.h>

#include "xml/home.h"

namespace host {

namespace {

constexpr std::int32_t kLayoutVersion = 300;
constexpr std::size_t kVersionOffset = 0;
constexpr std::size_t kHandleOffset = 4;
constexpr std::size_t kEntrySize = 8;
constexpr std::size_t kSlotsPerGroup = 4;
constexpr std::size_t kInstanceSlot = 1;
constexpr std::size_t kBlockSize = 2 * kSlotsPerGroup * sizeof(std::int32_t);

key_t blockKey(const sys::HostEnv& env) {
    try {
        return ::ftok(xml::homePath(env, "etc").c_str(), 'S');
    } catch (const std::bad_alloc&) {
        return -1;  // no name, no key: the block counts as unreadable, and the caller goes on
    }
}

std::int32_t loadWord(const unsigned char* at) {
    std::int32_t word;
    std::memcpy(&word, at, sizeof word);
    return word;
}

// An attached segment, detached when it goes out of scope. Null slot() means
// the block is not usable.
class Attachment {
public:
    explicit Attachment(const sys::HostEnv& env) {
        const key_t key = blockKey(env);
        if (key == -1) return;
        const int shmid = ::shmget(key, 0, 0);
        if (shmid < 0) return;
        struct shmid_ds status {};
        if (::shmctl(shmid, IPC_STAT, &status) != 0) return;
        void* at = ::shmat(shmid, nullptr, 0);
        if (at == reinterpret_cast<void*>(-1)) return;
        base_ = static_cast<unsigned char*>(at);
        size_ = status.shm_segsz;
    }
    ~Attachment() {
        if (base_ != nullptr) static_cast<void>(::shmdt(base_));
    }
    Attachment(const Attachment&) = delete;
    Attachment& operator=(const Attachment&) = delete;

    unsigned char* slot(StatusGroup group) const {
        if (base_ == nullptr || size_ < kEntrySize) return nullptr;
        if (loadWord(base_ + kVersionOffset) != kLayoutVersion) return nullptr;
        const std::int32_t handle = loadWord(base_ + kHandleOffset);
        if (handle < static_cast<std::int32_t>(kEntrySize) || handle % 4 != 0 ||
            static_cast<std::size_t>(handle) + kBlockSize > size_) {
            return nullptr;
        }
        const std::size_t index = static_cast<std::size_t>(group) * kSlotsPerGroup + kInstanceSlot;
        return base_ + handle + index * sizeof(std::int32_t);
    }

private:
    unsigned char* base_ = nullptr;
    std::size_t size_ = 0;
};

}  // namespace

std::optional<std::int32_t> readConfigInstance(const sys::HostEnv& env, StatusGroup group) noexcept {
    const Attachment attachment(env);
    const unsigned char* slot = attachment.slot(group);
    if (slot == nullptr) return std::nullopt;
    return loadWord(slot);
}

bool setConfigInstance(const sys::HostEnv& env, StatusGroup group, std::int32_t instance) noexcept {
    const Attachment attachment(env);
    unsigned char* slot = attachment.slot(group);
    if (slot == nullptr) return false;
    std::memcpy(slot, &instance, sizeof instance);
    return true;
}

int createStatusBlock(const sys::HostEnv& env) noexcept {
    const key_t key = blockKey(env);
    if (key == -1) return -1;
    const int shmid = ::shmget(key, kEntrySize + kBlockSize, IPC_CREAT | IPC_EXCL | 0666);
    if (shmid < 0) return -1;
    void* at = ::shmat(shmid, nullptr, 0);
    if (at == reinterpret_cast<void*>(-1)) {
        static_cast<void>(::shmctl(shmid, IPC_RMID, nullptr));  // unusable: leave nothing behind
        return -1;
    }
    auto* base = static_cast<unsigned char*>(at);
    std::memset(base, 0, kEntrySize + kBlockSize);
    const std::int32_t entry[2] = {kLayoutVersion, static_cast<std::int32_t>(kEntrySize)};
    std::memcpy(base + kVersionOffset, &entry[0], sizeof entry[0]);
    std::memcpy(base + kHandleOffset, &entry[1], sizeof entry[1]);
    static_cast<void>(::shmdt(base));
    return shmid;
}

int removeStatusBlock(const sys::HostEnv& env) noexcept {
    const key_t key = blockKey(env);
    if (key == -1) return -1;
    const int shmid = ::shmget(key, 0, 0);
    if (shmid < 0) return -1;
    return ::shmctl(shmid, IPC_RMID, nullptr);
}

}  // namespace host
