#include "tool/read_trace.h"

#include <new>

namespace tool {

namespace {

std::uint64_t attributeKey(int index, int id) {
    return (static_cast<std::uint64_t>(static_cast<std::uint32_t>(index)) << 32) | static_cast<std::uint32_t>(id);
}

}  // namespace

std::vector<int> ReadTrace::children(int parent, const model::LayoutBase& layout, bool keptOnly) const {
    std::vector<int> found;
    int child = parent == kNone ? topFirst_ : node(parent).firstChild;
    for (; child != kNone; child = node(child).nextSibling) {
        const Node& n = node(child);
        if (n.layout == &layout && n.yielded && (!keptOnly || n.placedIn != nullptr)) found.push_back(child);
    }
    return found;
}

int ReadTrace::lastKept(int parent, const model::LayoutBase& layout) const {
    if (parent == kNone) return kNone;
    int last = kNone;
    for (int child = node(parent).firstChild; child != kNone; child = node(child).nextSibling) {
        const Node& n = node(child);
        if (n.layout == &layout && n.yielded && n.placedIn != nullptr) last = child;
    }
    return last;
}

unsigned long ReadTrace::attributeLine(int index, int id) const {
    if (index == kNone) return 0;
    const auto found = attributeLines_.find(attributeKey(index, id));
    return found != attributeLines_.end() ? found->second : node(index).line;
}

std::string ReadTrace::path(int index) const {
    std::vector<int> chain;
    for (int at = index; at != kNone; at = node(at).parent) chain.push_back(at);
    std::string text;
    for (auto at = chain.rbegin(); at != chain.rend(); ++at) {
        if (!text.empty()) text += '/';
        text += node(*at).layout->name;
        const std::int32_t key = node(*at).key;
        if (key != kNone) text += "[" + keys_[static_cast<std::size_t>(key)] + "]";
    }
    return text;
}

// Memory running out stops the trace, never the reading: the reader's own
// outcome must stay what the tool gets.
void ReadTrace::elementStarted(const model::LayoutBase& layout, unsigned long line) {
    if (lost_) return;
    try {
        const int index = static_cast<int>(nodes_.size());
        Node n;
        n.layout = &layout;
        n.parent = current();
        n.line = static_cast<std::uint32_t>(line);
        nodes_.push_back(n);
        open_.reserve(open_.size() + 1);
        lastChildOf_.reserve(lastChildOf_.size() + 1);
        if (open_.empty()) {
            (topLast_ == kNone ? topFirst_ : nodes_[static_cast<std::size_t>(topLast_)].nextSibling) = index;
            topLast_ = index;
        } else {
            int& last = lastChildOf_.back();
            (last == kNone ? nodes_[static_cast<std::size_t>(open_.back())].firstChild
                           : nodes_[static_cast<std::size_t>(last)].nextSibling) = index;
            last = index;
        }
        open_.push_back(index);
        lastChildOf_.push_back(kNone);
    } catch (const std::bad_alloc&) {
        lost_ = true;
    }
}

void ReadTrace::elementRead(const model::LayoutBase&, const void* record) {
    if (lost_) return;
    try {
        recordRead(current(), record);
    } catch (const std::bad_alloc&) {
        lost_ = true;
    }
}

void ReadTrace::elementEnded(const model::LayoutBase&, bool yielded, const char*) {
    if (lost_) return;
    ended_ = open_.back();
    nodes_[static_cast<std::size_t>(ended_)].yielded = yielded;
    open_.pop_back();
    lastChildOf_.pop_back();
}

void ReadTrace::childPlaced(const model::ChildSpec* spec) {
    if (lost_ || ended_ == kNone) return;
    nodes_[static_cast<std::size_t>(ended_)].placedIn = spec;
    ended_ = kNone;
}

void ReadTrace::attribute(const model::LayoutBase& layout, std::string_view name, int id, const model::AttrSpec* spec,
                          std::string_view value, unsigned long line) {
    if (lost_ || open_.empty() || id < 0) return;
    try {
        // The raw value names the element: paths of what is found inside it
        // are made before its record is complete.
        if (&layout != keyLayout_) {  // the attributes of one tag come together
            keyLayout_ = &layout;
            keyId_ = keyAttribute(layout);
        }
        if (spec != nullptr && id == keyId_ && !value.empty()) {
            Node& open = nodes_[static_cast<std::size_t>(current())];
            if (open.key == kNone) {
                open.key = static_cast<std::int32_t>(keys_.size());
                keys_.emplace_back();
            }
            keys_[static_cast<std::size_t>(open.key)].assign(name).append(1, '=').append(value);
        }
        if (line != node(current()).line)
            attributeLines_[attributeKey(current(), id)] = static_cast<std::uint32_t>(line);
    } catch (const std::bad_alloc&) {
        lost_ = true;
    }
}

}  // namespace tool
