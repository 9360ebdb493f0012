#pragma once
#include <cstddef>
#include <cstdint>

// What each fuzz target does with one input. The fuzz targets and the test
// that replays fuzz/regressions/ call these same functions, so a finding
// stays fixed once it is a regression input.
namespace fuzz {

/// Every token of the input until TOK_EOF, each payload copied out (which
/// decodes an attribute value's entities).
void lexAll(const std::uint8_t* data, std::size_t size) noexcept;

/// The 4.0 reader over the input, the migration of what it read, and the
/// 4.5 document of the result serialised to memory.
void convert40(const std::uint8_t* data, std::size_t size) noexcept;

/// The upgrade report over the input (the 4.0 reader with its listener, the
/// migration and the fix-ups, every finding) in both written forms. A lone CR
/// at the end stays: the report must finish on it where the tool never does.
void reportUpgrade(const std::uint8_t* data, std::size_t size) noexcept;

/// The 4.5 reader over the input, the document of what it read written back
/// to memory, and the way back: what is left out, and the 4.0 document of it
/// read by the 4.0 reader.
void read45AndWrite(const std::uint8_t* data, std::size_t size) noexcept;

/// The repository description parser over the input.
void readRepositoryDescription(const std::uint8_t* data, std::size_t size) noexcept;

}  // namespace fuzz
