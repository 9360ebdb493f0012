#include "model/omissions.h"

#include <cstring>
#include <string_view>

#include "writer/sink.h"

namespace model {

namespace {

std::int32_t writtenNumber(const AttrSpec& spec, const void* record) {
    const std::int32_t value = *static_cast<const std::int32_t*>(spec.field(const_cast<void*>(record)));
    return value == 0 && spec.zeroWrittenAs != 0 ? spec.zeroWrittenAs : value;
}

std::string_view textOf(const AttrSpec& spec, const void* record) {
    const Text& text = *static_cast<const Text*>(spec.field(const_cast<void*>(record)));
    if (!text) return {};
    const std::string_view held = *text;
    return held.substr(0, held.find('\0'));  // a stored text ends at a NUL
}

// Whether the two records give the attribute different written forms: an
// absent and an empty text, or two values spelled alike, count as the same.
bool writtenDifferently(const AttrSpec& spec, const void* a, const void* b) {
    const bool inA = attributeWritten(spec, a);
    if (inA != attributeWritten(spec, b)) return true;
    if (!inA) return false;
    auto as = [&spec](const void* record, auto type) {
        return *static_cast<const decltype(type)*>(spec.field(const_cast<void*>(record)));
    };
    switch (spec.kind) {
    case AttrKind::I32:
    case AttrKind::Long:
        return writtenNumber(spec, a) != writtenNumber(spec, b);
    case AttrKind::Sector:
    case AttrKind::Hex:
        return as(a, std::uint32_t{}) != as(b, std::uint32_t{});
    case AttrKind::Bool:
    case AttrKind::Bool3:
        return (as(a, std::int8_t{}) != 0) != (as(b, std::int8_t{}) != 0);
    case AttrKind::NewUnit:
        return std::strcmp(kNewUnit.spell(as(a, std::int32_t{})), kNewUnit.spell(as(b, std::int32_t{}))) != 0;
    case AttrKind::Text:
        return textOf(spec, a) != textOf(spec, b);
    case AttrKind::Enum:
        return std::strcmp(spec.table->spell(as(a, std::int32_t{})), spec.table->spell(as(b, std::int32_t{}))) != 0;
    case AttrKind::Fixed:
        return false;
    }
    return false;
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
            const std::int32_t value = *static_cast<const std::int32_t*>(spec.field(const_cast<void*>(record)));
            const char* spelling = spec.table->spell(value);
            if (std::strcmp(spelling, kept->table->spell(value)) != 0) {
                add(OmissionKind::Spelling, spelling, spec.name, {});
            }
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
