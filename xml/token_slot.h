#pragma once
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "xml/token_type.h"

namespace xml {

/// Largest accumulator a token may have. Growing beyond it fails like an
/// allocation failure, so a runaway token (a buffer ending in a lone CR) can't
/// exhaust the machine; on the 32-bit platform the address space ends sooner.
constexpr std::uint32_t kAccumulatorLimit = 1u << 30;

/// The storage behind a Token: the characters the lexer consumed for it and the
/// payload slice. The lexer reuses a few slots in turn, so the buffer outlives
/// the token and is allocated only when a token is longer than any before it.
///
/// `capacity` is what a token-owned accumulator would have allocated (16 bytes on
/// the first character, doubling when full); the token dump prints it, so it is
/// kept exactly even though `storage` is shared by successive tokens.
struct TokenSlot {
    Tok type = Tok::Unknown;
    std::uint32_t generation = 0;  // bumped on reuse, so stale Tokens can be caught
    std::uint32_t used = 0;        // bytes appended
    std::uint32_t capacity = 0;    // 0: no accumulator yet
    std::uint32_t dataStart = 0;
    std::uint32_t dataLength = 0;
    bool hasData = false;
    // An element or attribute name gets its key while it is read: the hash and
    // length of the payload up to its first NUL.
    bool named = false;
    std::uint32_t nameHash = 0;
    std::uint32_t nameLength = 0;
    std::uint32_t limit = kAccumulatorLimit;
    char* storage = nullptr;       // at least capacity + 1 bytes once capacity > 0
    std::size_t storageSize = 0;
    // Most tokens of a buffered source are a run of the input as it is: they are
    // read there and copied into `storage` only when a NUL is to be stored.
    // Null: the bytes are in `storage`.
    const char* input = nullptr;

    TokenSlot() = default;
    TokenSlot(const TokenSlot&) = delete;
    TokenSlot& operator=(const TokenSlot&) = delete;
    ~TokenSlot() { std::free(storage); }

    void reset() noexcept {
        type = Tok::Unknown;
        ++generation;
        used = capacity = dataStart = dataLength = 0;
        hasData = false;
        named = false;
        input = nullptr;
    }

    /// The accumulator's bytes (`used` of them).
    const char* text() const noexcept { return input ? input : storage; }

    /// Moves a token read in place into `storage`, which the lexer made room for.
    void ownText() noexcept {
        if (!input) return;
        std::memcpy(storage, input, used);
        storage[used] = '\0';
        input = nullptr;
    }

    /// Doubles the capacity (16 at first). False, with the type TOK_MEMORY_ERROR,
    /// when that would pass the limit or the storage can't grow.
    bool grow() noexcept {
        const std::uint64_t wanted = capacity == 0 ? 16 : std::uint64_t{capacity} * 2;
        if (wanted > limit) {
            type = Tok::MemoryError;
            return false;
        }
        if (wanted + 1 > storageSize) {  // + 1: room for the terminating NUL when full
            void* bigger = std::realloc(storage, wanted + 1);
            if (!bigger) {
                type = Tok::MemoryError;
                return false;
            }
            storage = static_cast<char*>(bigger);
            storageSize = wanted + 1;
        }
        if (capacity == 0) {
            dataStart = dataLength = 0;
            hasData = false;
        }
        capacity = static_cast<std::uint32_t>(wanted);
        return true;
    }

    /// Makes the storage at least `bytes` long without changing what the token
    /// holds. False when it can't grow.
    bool reserve(std::size_t bytes) noexcept {
        if (bytes <= storageSize) return true;
        void* bigger = std::realloc(storage, bytes);
        if (!bigger) return false;
        storage = static_cast<char*>(bigger);
        storageSize = bytes;
        return true;
    }

    /// The capacity after appending `used` bytes one by one (`used` > 0) and
    /// storing the closing NUL: the first 16 * 2^k above `used`.
    static constexpr std::uint64_t terminatedCapacity(std::uint64_t used) noexcept {
        return used < 16 ? 16 : std::bit_ceil(used + 1);
    }

    /// Appends one byte; -1 when the accumulator could not grow (the byte is lost).
    int append(int c) noexcept {
        if (used == capacity && !grow()) return -1;
        storage[used++] = static_cast<char>(c);
        return 0;
    }

    /// Appends bytes as that many append() calls would: a failed growth loses
    /// the rest of them.
    void appendRun(std::string_view run) noexcept {
        const char* p = run.data();
        std::size_t n = run.size();
        while (n != 0) {
            if (used == capacity && !grow()) return;
            const std::size_t room = capacity - used;
            const std::size_t k = n < room ? n : room;
            std::memcpy(storage + used, p, k);
            used += static_cast<std::uint32_t>(k);
            p += k;
            n -= k;
        }
    }

    /// Stores a NUL after the last byte without counting it.
    void terminate() noexcept {
        if (capacity == 0) return;
        if (used == capacity && !grow()) return;
        storage[used] = '\0';
    }

    void markDataStart() noexcept {
        if (capacity == 0 && !grow()) return;
        dataStart = used;
        hasData = true;
    }

    void markDataEnd() noexcept {
        if (capacity != 0 && hasData) dataLength = used - dataStart;
    }
};

}  // namespace xml
