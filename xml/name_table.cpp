#include "xml/name_table.h"

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
    int value;
    std::unique_ptr<Entry> next;
};

std::uint32_t nameHash(std::string_view name) noexcept {
    std::uint32_t h = 0;
    for (const char c : untilNul(name)) h = h * 9 + static_cast<unsigned char>(c);
    return h;
}

NameTable::NameTable(std::uint32_t bucketCount) : buckets_(bucketCount == 0 ? 1 : bucketCount) {}

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
    std::unique_ptr<Entry>& head = buckets_[nameHash(name) % buckets_.size()];
    for (Entry* e = head.get(); e; e = e->next.get()) {
        if (e->key == name) {
            e->value = number;
            return;
        }
    }
    try {
        auto entry = std::make_unique<Entry>(Entry{std::string(name), number, nullptr});
        entry->next = std::move(head);
        head = std::move(entry);
    } catch (const std::bad_alloc&) {
        error_ = true;  // the name stays missing: lookups give -1 for it
    }
}

int NameTable::lookup(std::string_view name) const noexcept {
    name = untilNul(name);
    for (const Entry* e = buckets_[nameHash(name) % buckets_.size()].get(); e; e = e->next.get()) {
        if (e->key == name) return e->value;
    }
    return -1;
}

int NameTable::lookup(const char* name) const noexcept {
    if (!name) return -1;
    return lookup(std::string_view(name));
}

}  // namespace xml
