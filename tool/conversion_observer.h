#pragma once

// What a tool that looks at a conversion is told on the way. Each hook has a
// default that does nothing; the conversion pays a pointer test per step.

namespace legacy {
struct SANBridge;
}
namespace model {
class ReadObserver;
struct SnapshotPolicy;
struct VirtualDev;
}  // namespace model

namespace tool {

class ConversionObserver {
public:
    virtual ~ConversionObserver() = default;
    /// The 4.0 reader's listener, or null.
    virtual model::ReadObserver* reader() noexcept { return nullptr; }
    /// The 4.0 bridge as read and fixed up, before the migration takes it apart.
    virtual void read(const legacy::SANBridge&) noexcept {}
    /// The migration is done and the 4.0 model released; the 4.5 text is built next.
    virtual void migrated() noexcept {}
    /// The fix-up changed `device`'s snapshot policy, which was `before`.
    virtual void snapshotPolicyChanged(const model::VirtualDev&, const model::SnapshotPolicy&) noexcept {}
};

}  // namespace tool
