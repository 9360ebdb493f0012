#pragma once
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

namespace xml {

/// The name's hash, over its bytes up to the first NUL: the 16-byte blocks
/// of hashBlock (the last one padded with zero bytes), then hashEnd.
std::uint32_t nameHash(std::string_view name) noexcept;

// The hash works on whole words, so that the lexer, which finds a name's end
// 16 bytes at a time, hashes it in the same step.
constexpr std::uint64_t kNameHashSeed = 0x243F6A8885A308D3ull;
/// Mixes one block of a name, given as its two little-endian 8-byte halves.
/// The two products are independent, so a short name costs one multiply's time.
inline std::uint64_t hashBlock(std::uint64_t h, std::uint64_t low, std::uint64_t high) noexcept {
    return ((h << 23) | (h >> 41)) ^ (low * 0x9E3779B97F4A7C15ull) ^ (high * 0xC2B2AE3D27D4EB4Full);
}
/// The table spreads the result once more (NameTable::slotOf).
inline std::uint32_t hashEnd(std::uint64_t h, std::size_t length) noexcept {
    return static_cast<std::uint32_t>(h ^ (h >> 32)) + static_cast<std::uint32_t>(length);
}

/// A name measured once: its bytes up to the first NUL (or its end), their
/// count and their nameHash. The lexer fills one while it reads a name, so a
/// look-up need not pass over the name again.
struct NameKey {
    const char* data = nullptr;
    std::size_t length = 0;
    std::uint32_t hash = 0;
};

/// The key of `name`, which ends at its first NUL.
NameKey nameKey(std::string_view name) noexcept;

/// Hash table from names to fixed numbers. Insert replaces the number of a
/// name already present; several names may share a number.
///
/// Created with a bucket count (the tables' sizes are fixed numbers), but the
/// entries live in one open-addressed array rather than in chains hanging off
/// the buckets: the same answers for every name, with one probe into a small
/// array instead of three dependent loads, which missed the cache while a large
/// document streamed past.
class NameTable {
public:
    /// Room for about as many names as buckets without growing. Throws
    /// std::bad_alloc when that can't be had (a bucket count of 0 counts as 1).
    explicit NameTable(std::uint32_t bucketCount);
    ~NameTable();
    NameTable(NameTable&&) noexcept;
    NameTable& operator=(NameTable&&) noexcept;
    /// Adds or replaces. On allocation failure sets error() and the name is missing.
    void insert(int number, std::string_view name) noexcept;
    /// The name's number, or -1 (also for a null name). A NUL ends a name.
    int lookup(const char* name) const noexcept;
    int lookup(std::string_view name) const noexcept;
    /// As lookup(const char*) of the key's name; the hash is trusted.
    int lookup(const NameKey& key) const noexcept {
        if (slots_.empty()) return -1;
        for (std::size_t i = slotOf(key.hash);; i = (i + 1) & mask_) {
            const Slot& slot = slots_[i];
            if (slot.key == nullptr) return -1;
            if (slot.hash == key.hash && slot.length == key.length && sameBytes(slot.key, key.data, key.length)) {
                return slot.value;
            }
        }
    }
    bool error() const noexcept { return error_; }
    /// The count the table was created with (0 counts as 1).
    std::uint32_t bucketCount() const noexcept { return bucketCount_; }

private:
    struct Slot {
        std::uint32_t hash = 0;
        std::uint32_t length = 0;
        int value = 0;
        const char* key = nullptr;  // null: a free slot
    };
    std::size_t slotOf(std::uint32_t hash) const noexcept {
        return static_cast<std::size_t>((hash * 0x9E3779B1u) >> shift_);  // spreads h*9 hashes' high bits
    }
    // Names are short: up to 16 bytes are compared as two overlapping words
    // each, which stay inside both names, instead of through a call. A zero
    // length may come with no data at all, which must not be read.
    static bool sameBytes(const char* a, const char* b, std::size_t n) noexcept {
        if (n > 16) return std::memcmp(a, b, n) == 0;
        if (n >= 8) return sameWords<std::uint64_t>(a, b, n);
        if (n >= 4) return sameWords<std::uint32_t>(a, b, n);
        for (std::size_t i = 0; i < n; ++i) {
            if (a[i] != b[i]) return false;
        }
        return true;
    }
    template <class W>
    static bool sameWords(const char* a, const char* b, std::size_t n) noexcept {
        W a0, b0, a1, b1;
        std::memcpy(&a0, a, sizeof(W));
        std::memcpy(&b0, b, sizeof(W));
        std::memcpy(&a1, a + n - sizeof(W), sizeof(W));
        std::memcpy(&b1, b + n - sizeof(W), sizeof(W));
        return ((a0 ^ b0) | (a1 ^ b1)) == 0;
    }
    Slot* find(const NameKey& key) noexcept;
    void resize(std::size_t count);

    std::vector<Slot> slots_;  // a power of two, at most half used
    std::size_t mask_ = 0;
    int shift_ = 32;
    std::size_t used_ = 0;
    std::vector<std::unique_ptr<char[]>> keys_;
    std::uint32_t bucketCount_;
    bool error_ = false;
};

}  // namespace xml
