#include "model/omissions.h"

#include <cstring>
#include <string_view>

#include "writer/sink.h"

namespace model {

namespace {

// A stored text ends at a NUL; an absent one is written as an empty one.
std::string_view textOf(const Text& text) {
    if (!text) return {};
    const std::string_view held = *text;
    return held.substr(0, held.find('\0'));
}

// Whether the two records give the attribute different written forms: an
// absent and an empty text, or two values spelled alike, count as the same.
bool writtenDifferently(const AttrSpec& spec, const void* a, const void* b) {
    const bool inA = attributeWritten(spec, a);
    if (inA != attributeWritten(spec, b)) return true;
    if (!inA) return false;
    return visitField(
        spec,
        [&spec](auto kind, const auto& x, const auto& y) {
            constexpr AttrKind k = decltype(kind)::value;
            if constexpr (k == AttrKind::I32 || k == AttrKind::Long) {
                return spec.writtenNumber(x) != spec.writtenNumber(y);
            } else if constexpr (isSpelled(k)) {
                return std::strcmp(spellingsWritten<k>(spec).spell(x), spellingsWritten<k>(spec).spell(y)) != 0;
            } else if constexpr (k == AttrKind::Text) {
                return textOf(x) != textOf(y);
            } else {
                return x != y;
            }
        },
        a, b);
}

// The attribute `id` as `layout` writes it, or null.
const AttrSpec* writtenAttribute(const LayoutBase& layout, int id) {
    const AttrSpec* spec = layout.attribute(id);
    return spec != nullptr && spec->when != WriteIf::Never ? spec : nullptr;
}

// The layout `parent` writes element `number` with, or null; a child it only
// reads has no place in what it writes.
const LayoutBase* writtenChild(const LayoutBase& parent, int number) {
    for (const ChildSpec& spec : parent.children) {
        if (spec.write == nullptr) continue;
        if (const LayoutBase* found = spec.accepts(number)) return found;
    }
    return nullptr;
}

// Counts the elements a record is written as, and whether any of them has
// an attribute written otherwise than in a fresh record of its own.
class ContentProbe final : public ElementVisitor {
public:
    std::size_t elements = 0;
    bool attributesDiffer = false;

    void element(const LayoutBase& layout, const void* record, bool absent) override {
        ++elements;
        if (absent || attributesDiffer) return;
        const void* blank = layout.blank();
        for (const AttrSpec& spec : layout.attrs) {
            if (spec.when != WriteIf::Never && writtenDifferently(spec, record, blank)) attributesDiffer = true;
        }
    }
};

// Whether the record is written otherwise than a fresh one: with other
// attribute values, or with more elements (an optional or listed child).
bool hasContent(const LayoutBase& layout, const void* record) {
    ContentProbe written;
    visitElement(layout, record, written);
    if (written.attributesDiffer) return true;
    ContentProbe fresh;
    visitElement(layout, layout.blank(), fresh);
    return written.elements != fresh.elements;
}

}  // namespace

void OmissionFinder::add(OmissionKind kind, const char* name, const char* attribute, std::string value) {
    std::string path;
    for (const Frame& step : path_) {
        if (!path.empty()) path += '/';
        path += step.layout->name;
        if (step.position != 0) path += '[' + std::to_string(step.position) + ']';
    }
    out_.push_back(Omission{kind, name, attribute, std::move(path), std::move(value)});
}

void OmissionFinder::compare(const LayoutBase& layout, const LayoutBase& other, const void* record) {
    const void* blank = layout.blank();
    for (const AttrSpec& spec : layout.attrs) {
        if (spec.when == WriteIf::Never) continue;
        if (const AttrSpec* kept = writtenAttribute(other, spec.id)) {
            const bool spelled = spec.kind == AttrKind::Enum && kept->kind == AttrKind::Enum;
            if (!spelled || !attributeWritten(spec, record)) continue;
            visitField(
                spec,
                [&](auto kind, const auto& value) {
                    if constexpr (decltype(kind)::value == AttrKind::Enum) {
                        const char* spelling = spec.table->spell(value);
                        if (std::strcmp(spelling, kept->table->spell(value)) != 0) {
                            add(OmissionKind::Spelling, spelling, spec.name, {});
                        }
                    }
                },
                record);
            continue;
        }
        if (!writtenDifferently(spec, record, blank)) continue;
        writer::XmlSink value = writer::XmlSink::toMemory();
        writeAttributeValue(value, spec, record);
        const writer::ConfigText text = value.takeBuffer();
        add(OmissionKind::Attribute, spec.name, nullptr,
            text.text ? std::string(text.text.get(), static_cast<std::size_t>(text.length)) : std::string());
    }
}

void OmissionFinder::element(const LayoutBase& layout, const void* record, bool absent) {
    if (path_.empty()) {
        path_.push_back({&layout, &other_, 0});
        compare(layout, other_, record);
        return;
    }
    Frame& parent = path_.back();
    // Siblings from one list are told one after the other.
    parent.lastCount = parent.lastChild == &layout ? parent.lastCount + 1 : 1;
    parent.lastChild = &layout;
    const LayoutBase* found = nullptr;
    const ChildSpec* spec = parent.layout->child(layout.element, &found);
    const Store store = spec != nullptr ? spec->store : Store::Single;
    const std::size_t position = store == Store::Repeated ? parent.lastCount : 0;
    if (parent.other == nullptr) {
        path_.push_back({&layout, nullptr, position});
        return;
    }
    const LayoutBase* counterpart = writtenChild(*parent.other, layout.element);
    if (counterpart == nullptr && regroup_ != nullptr && (counterpart = regroup_(layout.element)) != nullptr) {
        path_.push_back({&layout, counterpart, position});  // its children are compared, not it
        return;
    }
    path_.push_back({&layout, counterpart, position});
    if (counterpart == nullptr) {
        const bool alwaysWritten = store == Store::Single || store == Store::OptionalAlways;
        if (!alwaysWritten || (!absent && hasContent(layout, record))) {
            add(OmissionKind::Element, layout.name, nullptr, {});
        }
        return;
    }
    if (!isTextForm(layout.form)) compare(layout, *counterpart, record);
}

void OmissionFinder::leave(const LayoutBase&) { path_.pop_back(); }

}  // namespace model
