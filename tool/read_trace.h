#pragma once
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "model/layout.h"
#include "model/read_observer.h"

namespace tool {

/// The known elements of a document as a reader met them: one node per
/// element with its line, its parent and where the parent kept it. A record
/// of the model that was read is found again by walking this tree beside the
/// model: the n-th kept child read with a layout is the n-th record of that
/// list, the last kept one the record of a single child.
class ReadTrace : public model::ReadObserver {
public:
    static constexpr int kNone = -1;

    struct Node {
        const model::LayoutBase* layout = nullptr;
        const model::ChildSpec* placedIn = nullptr;  // the parent's child it went to; null: not kept
        std::int32_t parent = kNone;                 // kNone: top level
        std::int32_t firstChild = kNone;
        std::int32_t nextSibling = kNone;
        std::uint32_t line = 0;
        std::int32_t key = kNone;  // index of its key in keys_
        bool yielded = false;      // the parser gave a record
    };

    const Node& node(int index) const { return nodes_[static_cast<std::size_t>(index)]; }
    std::size_t size() const noexcept { return nodes_.size(); }

    /// The children of `parent` (kNone: the top level) read with `layout`,
    /// in document order: kept ones only, or all that yielded a record.
    std::vector<int> children(int parent, const model::LayoutBase& layout, bool keptOnly = true) const;
    /// The last kept child of `parent` read with `layout`, or kNone.
    int lastKept(int parent, const model::LayoutBase& layout) const;
    /// Line of the start tag of `index`; 0 for kNone.
    unsigned long lineOf(int index) const { return index == kNone ? 0 : node(index).line; }
    /// Line of attribute `id` in the start tag of `index` (the tag's line
    /// unless the attribute starts on a later one); 0 for kNone.
    unsigned long attributeLine(int index, int id) const;
    /// Element names from the outermost down, each with its key:
    /// "SANBridge/PhysicalResources/PhysicalAdapter[number=2]/PhysicalDev[guid=g1]".
    std::string path(int index) const;
    /// The innermost element being read, or kNone.
    int current() const noexcept { return open_.empty() ? kNone : open_.back(); }
    /// False when memory ran out while tracing: nodes are missing from then on.
    bool complete() const noexcept { return !lost_; }

    void elementStarted(const model::LayoutBase& layout, unsigned long line) override;
    void elementRead(const model::LayoutBase& layout, const void* record) override;
    void elementEnded(const model::LayoutBase& layout, bool yielded, const char* failure) override;
    void childPlaced(const model::ChildSpec* spec) override;
    void attribute(const model::LayoutBase& layout, std::string_view name, int id, const model::AttrSpec* spec,
                   std::string_view value, unsigned long line) override;

protected:
    /// The element that ended last, until its parent placed it; else kNone.
    int lastEnded() const noexcept { return ended_; }
    /// The attribute that names an element of `layout` among its siblings in
    /// a path ("number" for "[number=2]"), or -1 for none.
    virtual int keyAttribute(const model::LayoutBase& layout) const = 0;
    /// Called with the complete record of node `index` before its finishing hook.
    virtual void recordRead(int index, const void* record) = 0;

private:
    std::deque<Node> nodes_;
    std::vector<int> open_;           // the nodes being read, outermost first
    std::vector<int> lastChildOf_;    // beside open_: each one's last child so far
    int topFirst_ = kNone;            // first and last top-level node
    int topLast_ = kNone;
    int ended_ = kNone;               // the node that ended last, until its parent places it
    std::deque<std::string> keys_;    // "number=2" of the nodes that have one
    const model::LayoutBase* keyLayout_ = nullptr;  // the layout asked last, and its key attribute
    int keyId_ = -1;
    std::unordered_map<std::uint64_t, std::uint32_t> attributeLines_;  // only those off their tag's line
    bool lost_ = false;
};

}  // namespace tool
