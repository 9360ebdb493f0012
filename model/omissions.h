#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "model/layout.h"

// What writing a record with another layout of its element would leave out:
// the content one layout writes that the other has no place for.

namespace model {

enum class OmissionKind : std::uint8_t { Element, Attribute, Spelling };

/// One piece of content left out.
struct Omission {
    OmissionKind kind;
    const char* name;       // the element, the attribute, or the spelling
    const char* attribute;  // Spelling: the attribute spelled so; else null
    std::string path;       // the element left out, or the one holding the attribute:
                            // "SANBridge/LogicalResources/SANResources/VirtualDev[2]"
    std::string value;      // Attribute: its value as written; else empty
};

/// Walks records written with one layout beside the layout that would write
/// them instead (`other`), and appends to a list what `other` leaves out:
/// - an attribute `other` does not write, whose written value differs from
///   that of a freshly made record (so content that only restates the
///   defaults counts as nothing);
/// - an enumerated value `other` spells differently (it lacks the spelling);
/// - a child element `other` does not write: each one written when it is
///   optional or repeated, one that is always written only when it differs
///   from a fresh one.
/// Everything else is walked child by child, with the matching child layout
/// of `other`. Throws std::bad_alloc.
class OmissionFinder {
public:
    explicit OmissionFinder(std::vector<Omission>& out) : out_(out) {}

    /// The element path of the next walk: `name`, and its position (from 1)
    /// when it is one of a list. Left with leave().
    void enter(const char* name, std::size_t position = 0) { path_.push_back({name, position}); }
    void leave() noexcept { path_.pop_back(); }

    /// `record`, written with `layout`, against `other`; the path names the record.
    void walk(const LayoutBase& layout, const LayoutBase& other, const void* record);

private:
    struct Step {
        const char* name;
        std::size_t position;
    };
    void add(OmissionKind kind, const char* name, const char* attribute, std::string value);

    std::vector<Omission>& out_;
    std::vector<Step> path_;
};

}  // namespace model
