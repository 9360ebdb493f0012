#pragma once
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "xml/token_type.h"

namespace xml {

/// Largest accumulator a token may have. Growing beyond it fails like an
/// allocation failure, so a runaway token (a buffer ending in a lone CR) can't
/// exhaust the machine; on the 32-bit platform the address space ends sooner.
constexpr std::uint32_t kAccumulatorLimit = 1u << 30;

/// The storage behind the lexer's current token: the characters consumed for
/// it and the payload slice.
///
/// The accumulator is counted as a token-owned one would be (16 bytes on the
/// first character, doubling when full, failing past `limit`): `capacity` is
/// what the token dump prints. The bytes themselves stay where they lie in the
/// input while they are one unchanged run of it, which most tokens are; a
/// token with a skipped gap or a line end to translate is copied into
/// `storage`, which is kept from token to token.
struct TokenSlot {
    Tok type = Tok::Unknown;
    std::uint32_t generation = 0;  // one per token, so a Token of an earlier one is refused
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
    const char* input = nullptr;  // the bytes while they are a run of the input
    char* storage = nullptr;      // the bytes otherwise
    std::size_t storageSize = 0;

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
    const char* text() const noexcept { return input != nullptr ? input : storage; }

    /// Appends `n` bytes taken as they are from the input at `from`.
    void appendRaw(const char* from, std::size_t n) noexcept {
        if (n == 0) return;
        if (used + n > capacity && (n = growFor(n)) == 0) return;
        if (input != nullptr && from == input + used) {
            used += static_cast<std::uint32_t>(n);
        } else if (input == nullptr && used == 0) {
            input = from;
            used = static_cast<std::uint32_t>(n);
        } else {
            copyIn(from, n);
        }
    }

    /// Appends a byte the input does not hold as it is (a line end read as LF).
    void appendByte(char c) noexcept {
        if (used + 1 > capacity && growFor(1) == 0) return;
        copyIn(&c, 1);
    }

    /// Counts the closing NUL a token-owned accumulator would store.
    void terminate() noexcept {
        if (capacity != 0 && used == capacity) growTo(std::uint64_t{used} + 1);
    }

    void markDataStart() noexcept {
        if (capacity == 0 && !growTo(1)) return;
        dataStart = used;
        hasData = true;
    }

    void markDataEnd() noexcept {
        if (capacity != 0 && hasData) dataLength = used - dataStart;
    }

private:
    /// Doubles the capacity (16 at first) until it holds `size` bytes. False,
    /// with the type TOK_MEMORY_ERROR, when that would pass the limit.
    bool growTo(std::uint64_t size) noexcept {
        std::uint64_t wanted = capacity;
        if (wanted == 0) {
            if (16 > limit) {
                type = Tok::MemoryError;
                return false;
            }
            wanted = 16;
            dataStart = dataLength = 0;
            hasData = false;
        }
        for (; wanted < size; wanted *= 2) {
            if (wanted * 2 > limit) {
                capacity = static_cast<std::uint32_t>(wanted);
                type = Tok::MemoryError;
                return false;
            }
        }
        capacity = static_cast<std::uint32_t>(wanted);
        return true;
    }

    /// How many of `n` more bytes the accumulator takes: all, or up to a
    /// capacity that could not grow (the rest are lost, as they would be).
    std::size_t growFor(std::size_t n) noexcept {
        if (growTo(std::uint64_t{used} + n)) return n;
        return capacity - used;
    }

    /// Appends into `storage`, first moving a run still in the input there.
    void copyIn(const char* from, std::size_t n) noexcept {
        if (capacity > storageSize) {
            void* bigger = std::realloc(storage, capacity);
            if (bigger == nullptr) {
                type = Tok::MemoryError;
                return;
            }
            storage = static_cast<char*>(bigger);
            storageSize = capacity;
        }
        if (input != nullptr) {
            std::memcpy(storage, input, used);
            input = nullptr;
        }
        std::memcpy(storage + used, from, n);
        used += static_cast<std::uint32_t>(n);
    }
};

}  // namespace xml
