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

/// Visits what one layout writes (visitElement) beside the layout that would
/// write it instead (`other`, that of the element visited first), and appends
/// to a list what `other` leaves out:
/// - an attribute `other` does not write, whose written value differs from
///   that of a freshly made record (so content that only restates the
///   defaults counts as nothing);
/// - an enumerated value `other` spells differently (it lacks the spelling);
/// - a child element `other` does not write: each one written when it is
///   optional or repeated, one that is always written only when it is
///   written otherwise than a fresh one (text content is not compared).
/// Every other element is compared with the child layout of `other` that
/// writes it. `regroup`, when given, names for an element that `other` has no
/// place for the layout of `other` that holds its children instead (a list
/// the other layout spreads over other elements); it is then not left out.
/// Throws std::bad_alloc.
class OmissionFinder final : public ElementVisitor {
public:
    OmissionFinder(const LayoutBase& other, std::vector<Omission>& out,
                   const LayoutBase* (*regroup)(int element) = nullptr)
        : other_(other), out_(out), regroup_(regroup) {}

    void element(const LayoutBase& layout, const void* record, bool absent) override;
    void leave(const LayoutBase& layout) override;

private:
    struct Frame {
        const LayoutBase* layout;
        const LayoutBase* other;  // null: left out, or inside what was
        std::size_t position;     // among the siblings of its spec, from 1; 0: not in a list
        const LayoutBase* lastChild = nullptr;
        std::size_t lastCount = 0;
    };
    void compare(const LayoutBase& layout, const LayoutBase& other, const void* record);
    void add(OmissionKind kind, const char* name, const char* attribute, std::string value);

    const LayoutBase& other_;
    std::vector<Omission>& out_;
    const LayoutBase* (*regroup_)(int element);
    std::vector<Frame> path_;
};

}  // namespace model
