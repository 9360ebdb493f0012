#include "xml/name_table.h"

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

struct NameTable::Entry {
    std::string key;
    std::uint32_t hash;  // kept, so that a look-up compares keys only on a full match of hashes
    int value;
    std::unique_ptr<Entry> next;
};

namespace {

// The hash and the length of a name in one pass, stopping at a NUL or after
// `limit` bytes, so that a look-up reads the name once.
struct Measured {
    std::uint32_t hash;
    std::size_t length;
};

Measured measure(const char* name, std::size_t limit) noexcept {
    std::uint32_t h = 0;
    std::size_t n = 0;
    for (; n < limit && name[n] != '\0'; ++n) h = h * 9 + static_cast<unsigned char>(name[n]);
    return {h, n};
}

}  // namespace

std::uint32_t nameHash(std::string_view name) noexcept { return measure(name.data(), name.size()).hash; }

NameKey nameKey(std::string_view name) noexcept {
    const Measured m = measure(name.data(), name.size());
    return {name.data(), m.length, m.hash};
}

NameTable::NameTable(std::uint32_t bucketCount)
    : buckets_(bucketCount == 0 ? 1 : bucketCount), modMagic_(UINT64_MAX / buckets_.size() + 1) {}

// hash % bucket count without a division: exact for 32-bit hashes and counts
// (a look-up is frequent enough for the division to show).
std::size_t NameTable::bucketOf(std::uint32_t hash) const noexcept {
    const std::uint64_t fraction = modMagic_ * hash;
    return static_cast<std::size_t>((static_cast<unsigned __int128>(fraction) * buckets_.size()) >> 64);
}

NameTable::~NameTable() {
    // Unlink chains iteratively: a long chain must not recurse once per entry.
    for (std::unique_ptr<Entry>& head : buckets_) {
        while (head) head = std::move(head->next);
    }
}

NameTable::NameTable(NameTable&&) noexcept = default;
NameTable& NameTable::operator=(NameTable&&) noexcept = default;

void NameTable::insert(int number, std::string_view name) noexcept {
    name = untilNul(name);
    const std::uint32_t hash = nameHash(name);
    std::unique_ptr<Entry>& head = buckets_[bucketOf(hash)];
    for (Entry* e = head.get(); e; e = e->next.get()) {
        if (e->key == name) {
            e->value = number;
            return;
        }
    }
    try {
        auto entry = std::make_unique<Entry>(Entry{std::string(name), hash, number, nullptr});
        entry->next = std::move(head);
        head = std::move(entry);
    } catch (const std::bad_alloc&) {
        error_ = true;  // the name stays missing: lookups give -1 for it
    }
}

int NameTable::lookup(const NameKey& key) const noexcept {
    for (const Entry* e = buckets_[bucketOf(key.hash)].get(); e; e = e->next.get()) {
        // A zero length may come with no data at all, which memcmp must not see.
        if (e->hash == key.hash && e->key.size() == key.length &&
            (key.length == 0 || std::memcmp(e->key.data(), key.data, key.length) == 0)) {
            return e->value;
        }
    }
    return -1;
}

int NameTable::lookup(std::string_view name) const noexcept { return lookup(nameKey(name)); }

int NameTable::lookup(const char* name) const noexcept {
    if (!name) return -1;
    const Measured m = measure(name, SIZE_MAX);
    return lookup(NameKey{name, m.length, m.hash});
}

}  // namespace xml
