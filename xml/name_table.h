#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace xml {

/// h = h * 9 + byte over the name, unsigned 32-bit with wrap-around.
std::uint32_t nameHash(std::string_view name) noexcept;

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
    bool error() const noexcept { return error_; }
    std::uint32_t bucketCount() const noexcept { return static_cast<std::uint32_t>(buckets_.size()); }

private:
    struct Entry;
    /// The number of the name that ends at a NUL or after `limit` bytes.
    int find(const char* name, std::size_t limit) const noexcept;
    std::size_t bucketOf(std::uint32_t hash) const noexcept;
    std::vector<std::unique_ptr<Entry>> buckets_;
    std::uint64_t modMagic_;
    bool error_ = false;
};

}  // namespace xml
