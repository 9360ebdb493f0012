#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "legacy/records40.h"
#include "model/omissions.h"
#include "model/records.h"

// The way back: a 4.5 root in the 4.0 shape, the inverse of the migration, and
// what the 4.0 layout cannot hold of it.

namespace tool {

/// The 4.5 root in the 4.0 shape, for writing in the 4.0 layout: every device
/// under the first adapter of its address's adapter number (a new, otherwise
/// empty adapter in the sorted place when there is none), followed there by a
/// copy of it for each further path its SCSIAliasing lists, under the adapter
/// that path names; everything else as it stands.
///
/// The parts both layouts share are taken from the 4.5 root for as long as
/// this lives, not copied (a large document's model would otherwise be held
/// twice), and given back when it is destroyed: the 4.5 root must not be
/// used meanwhile, and is as it was afterwards.
class BackConversion {
public:
    /// Null when memory runs out; `root` is then as it was.
    static std::unique_ptr<BackConversion> of(model::SANBridge& root) noexcept;
    ~BackConversion();
    BackConversion(const BackConversion&) = delete;
    BackConversion& operator=(const BackConversion&) = delete;

    const legacy::SANBridge& bridge() const noexcept { return bridge_; }

private:
    explicit BackConversion(model::SANBridge& root) noexcept : root_(root) {}
    void build();
    void swapShared() noexcept;

    // Where a device of the 4.5 list went: adapter and position in its list.
    struct Place {
        std::uint32_t adapter, position;
    };
    model::SANBridge& root_;
    legacy::SANBridge bridge_;
    std::vector<Place> places_;  // one per device taken, in list order
    bool sharedTaken_ = false;   // the parts besides the devices
};

/// What a downgrade leaves out of a 4.5 root: its content that the 4.0
/// layout has no place for, in document order. Content that only restates
/// what converting a 4.0 document gives (an element, attribute or field that
/// is new in 4.5 holding its fresh value) is not left out, so a converted
/// document leaves out nothing it did not bring.
struct LeftOut {
    std::vector<model::Omission> items;

    /// Counts by kind and name in order of first appearance, for instance
    /// "3 BlockDevice elements, 12 lunType attributes, 1 Adaptive spelling";
    /// empty when nothing is left out.
    std::string summary() const;
};

/// Fills `out` with what the downgrade of `root` leaves out; false when memory
/// ran out (then `out` is incomplete).
bool findLeftOut(const model::SANBridge& root, LeftOut& out) noexcept;

}  // namespace tool
