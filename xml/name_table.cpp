#include "xml/name_table.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>

namespace xml {

namespace {
// Names are C strings: a NUL ends them.
std::string_view untilNul(std::string_view name) noexcept {
    const std::size_t nul = name.find('\0');
    return nul == std::string_view::npos ? name : name.substr(0, nul);
}
}  // namespace

namespace {

// The hash and the length of a name, stopping at a NUL or after `limit` bytes.
struct Measured {
    std::uint32_t hash;
    std::size_t length;
};

Measured measure(const char* name, std::size_t limit) noexcept {
    const std::size_t n = limit == 0 ? 0 : ::strnlen(name, limit);
    std::uint64_t h = kNameHashSeed;
    for (std::size_t at = 0; at < n; at += 16) {
        char block[16] = {};
        std::memcpy(block, name + at, std::min<std::size_t>(16, n - at));
        std::uint64_t low, high;
        std::memcpy(&low, block, 8);
        std::memcpy(&high, block + 8, 8);
        h = hashBlock(h, low, high);
    }
    return {hashEnd(h, n), n};
}

}  // namespace

std::uint32_t nameHash(std::string_view name) noexcept { return measure(name.data(), name.size()).hash; }

NameKey nameKey(std::string_view name) noexcept {
    const Measured m = measure(name.data(), name.size());
    return {name.data(), m.length, m.hash};
}

NameTable::NameTable(std::uint32_t bucketCount) : bucketCount_(bucketCount == 0 ? 1 : bucketCount) {
    resize(std::bit_ceil(std::max<std::size_t>(16, bucketCount_)));
}

NameTable::~NameTable() = default;
NameTable::NameTable(NameTable&&) noexcept = default;
NameTable& NameTable::operator=(NameTable&&) noexcept = default;

NameTable::Slot* NameTable::find(const NameKey& key) noexcept {
    if (slots_.empty()) return nullptr;
    for (std::size_t i = slotOf(key.hash);; i = (i + 1) & mask_) {
        Slot& slot = slots_[i];
        if (slot.key == nullptr) return nullptr;
        if (slot.hash == key.hash && slot.length == key.length && sameBytes(slot.key, key.data, key.length)) {
            return &slot;
        }
    }
}

// `count` slots (a power of two, at least 16), every entry placed again.
void NameTable::resize(std::size_t count) {
    std::vector<Slot> bigger(count);
    std::swap(slots_, bigger);
    mask_ = count - 1;
    shift_ = 32 - std::countr_zero(count);
    for (const Slot& slot : bigger) {
        if (slot.key == nullptr) continue;
        std::size_t i = slotOf(slot.hash);
        while (slots_[i].key != nullptr) i = (i + 1) & mask_;
        slots_[i] = slot;
    }
}

void NameTable::insert(int number, std::string_view name) noexcept {
    name = untilNul(name);
    const NameKey key = nameKey(name);
    if (Slot* found = find(key)) {
        found->value = number;
        return;
    }
    try {
        if ((used_ + 1) * 2 > slots_.size()) resize(slots_.size() * 2);
        auto copy = std::make_unique<char[]>(name.size() + 1);
        std::memcpy(copy.get(), name.data(), name.size());
        copy[name.size()] = '\0';
        keys_.push_back(std::move(copy));
    } catch (const std::bad_alloc&) {
        error_ = true;  // the name stays missing: lookups give -1 for it
        return;
    }
    std::size_t i = slotOf(key.hash);
    while (slots_[i].key != nullptr) i = (i + 1) & mask_;
    slots_[i] = Slot{key.hash, static_cast<std::uint32_t>(key.length), number, keys_.back().get()};
    ++used_;
}

int NameTable::lookup(std::string_view name) const noexcept { return lookup(nameKey(name)); }

int NameTable::lookup(const char* name) const noexcept {
    if (!name) return -1;
    const Measured m = measure(name, SIZE_MAX);
    return lookup(NameKey{name, m.length, m.hash});
}

}  // namespace xml
