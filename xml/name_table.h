#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace xml {

/// h = h * 9 + byte over the name, unsigned 32-bit with wrap-around.
std::uint32_t nameHash(std::string_view name) noexcept;

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

/// Chained hash table from names to fixed numbers. Insert replaces the number
/// of a name already present; several names may share a number.
class NameTable {
public:
    /// Throws std::bad_alloc when the buckets can't be had (a bucket count of 0 counts as 1).
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
    int lookup(const NameKey& key) const noexcept;
    bool error() const noexcept { return error_; }
    std::uint32_t bucketCount() const noexcept { return static_cast<std::uint32_t>(buckets_.size()); }

private:
    struct Entry;
    std::size_t bucketOf(std::uint32_t hash) const noexcept;
    std::vector<std::unique_ptr<Entry>> buckets_;
    std::uint64_t modMagic_;
    bool error_ = false;
};

}  // namespace xml
