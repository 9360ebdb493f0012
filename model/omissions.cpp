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

bool hasContent(const LayoutBase& layout, const void* record);

struct ContentProbe {
    const ChildSpec& spec;
    bool found = false;
};

void probeChild(void* context, const void* record, std::size_t) {
    auto& probe = *static_cast<ContentProbe*>(context);
    const LayoutBase* layout = detail::chosen(probe.spec, record);
    if (!probe.found && layout != nullptr) probe.found = hasContent(*layout, record);
}

// Whether the record is written otherwise than a fresh one.
bool hasContent(const LayoutBase& layout, const void* record) {
    if (isTextForm(layout.form)) {
        const std::string_view text = *static_cast<const std::string_view*>(record);
        return !text.empty() && text[0] != '\0';
    }
    for (const AttrSpec& spec : layout.attrs) {
        if (spec.when != WriteIf::Never && writtenDifferently(spec, record, layout.blank())) return true;
    }
    for (const ChildSpec& spec : layout.children) {
        if (spec.write == nullptr) continue;
        const void* field = spec.field(const_cast<void*>(record));
        if (spec.store == Store::Optional || spec.store == Store::Repeated) {
            if (spec.present(spec, field)) return true;
            continue;
        }
        ContentProbe probe{spec};
        spec.forEach(field, &probeChild, &probe);
        if (probe.found) return true;
    }
    return false;
}

}  // namespace

void OmissionFinder::add(OmissionKind kind, const char* name, const char* attribute, std::string value) {
    std::string path;
    for (const Step& step : path_) {
        if (!path.empty()) path += '/';
        path += step.name;
        if (step.position != 0) path += '[' + std::to_string(step.position) + ']';
    }
    out_.push_back(Omission{kind, name, attribute, std::move(path), std::move(value)});
}

void OmissionFinder::walk(const LayoutBase& layout, const LayoutBase& other, const void* record) {
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

    struct Context {
        OmissionFinder& finder;
        const ChildSpec& spec;
        const LayoutBase& other;
    };
    for (const ChildSpec& spec : layout.children) {
        if (spec.write == nullptr) continue;
        Context context{*this, spec, other};
        spec.forEach(
            spec.field(const_cast<void*>(record)),
            [](void* raw, const void* child, std::size_t index) {
                auto& c = *static_cast<Context*>(raw);
                const LayoutBase* childLayout = detail::chosen(c.spec, child);
                if (childLayout == nullptr) return;
                const std::size_t position = c.spec.store == Store::Repeated ? index + 1 : 0;
                const LayoutBase* counterpart = writtenChild(c.other, childLayout->element);
                if (counterpart == nullptr) {
                    const bool alwaysWritten = c.spec.store == Store::Single || c.spec.store == Store::OptionalAlways;
                    if (alwaysWritten && !hasContent(*childLayout, child)) return;
                    c.finder.enter(childLayout->name, position);
                    c.finder.add(OmissionKind::Element, childLayout->name, nullptr, {});
                    c.finder.leave();
                    return;
                }
                if (isTextForm(childLayout->form)) return;
                c.finder.enter(childLayout->name, position);
                c.finder.walk(*childLayout, *counterpart, child);
                c.finder.leave();
            },
            &context);
    }
}

}  // namespace model
