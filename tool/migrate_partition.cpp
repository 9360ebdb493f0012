#include "tool/migrate_partition.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "model/attr_names.h"
#include "model/layout45.h"
#include "model/sanparse.h"
#include "writer/sink.h"
#include "xml/name_table.h"

// The direct path is an equivalent strategy for the round trip: every field
// becomes what writing it under its layout's condition and reading it back
// would make of it. Numbers of 32 bits come back as they are; a flag or a
// spelled value as the reader maps its written spelling (both taken from the
// layout's tables); a field that is not written as the fresh record's default;
// an always-written absent text as an empty one. Texts are the one thing the
// text form may change (escapes, entities, CR, NUL, the value delimiter, the
// lexer's limits), so a partition with any written text outside a plain
// printable set takes the round trip instead, as does every partition when the
// layouts hold anything the direct path does not know.

namespace tool {

namespace {

using model::AttrKind;
using model::AttrSpec;

// Longer texts are rare; they take the round trip rather than count on the
// lexer's growth of its accumulator.
constexpr std::size_t kLongestDirectText = 4096;

// Printable ASCII other than the bytes the writer escapes: what the lexer and
// the entity decoder hand back as it was written.
constexpr std::array<bool, 256> kPlainByte = [] {
    std::array<bool, 256> plain{};
    for (int c = 0x20; c < 0x7F; ++c) plain[static_cast<std::size_t>(c)] = true;
    for (const unsigned char c : {'"', '&', '\'', '<', '>'}) plain[c] = false;
    return plain;
}();

bool isPlain(std::string_view text) {
    if (text.size() > kLongestDirectText) return false;
    for (const char c : text) {
        if (!kPlainByte[static_cast<unsigned char>(c)]) return false;
    }
    return true;
}

// What the reader makes of a written spelling: one value per spelling of the
// table (the writer spells and the reader reads through the same one), and
// one for the text written for any other value.
struct ReadBack {
    const model::EnumTable* table = nullptr;
    std::vector<std::int32_t> spelled;
    std::int32_t other = 0;

    std::int32_t operator()(std::int32_t value) const {
        for (int i = 0; i < table->spellingCount; ++i) {
            if (table->spellings[i].value == value) return spelled[static_cast<std::size_t>(i)];
        }
        return other;
    }
};

int symbolOf(const char* text) { return model::lookupAttribute45(xml::nameKey(text)); }

// False when a spelling is one the direct path can't vouch for.
bool buildReadBack(const model::EnumTable& table, ReadBack& out) {
    out.table = &table;
    out.spelled.reserve(static_cast<std::size_t>(table.spellingCount));
    for (int i = 0; i < table.spellingCount; ++i) {
        const char* text = table.spellings[i].text;
        if (text == nullptr || !isPlain(text)) return false;
        out.spelled.push_back(table.read(symbolOf(text)));
    }
    if (table.otherText == nullptr || !isPlain(table.otherText)) return false;
    out.other = table.read(symbolOf(table.otherText));
    return true;
}

// One attribute as the direct path sees it: its declaration (where its field
// lies, its kind, its write condition), how its written value reads back, and
// the fresh record's value, which is what an attribute that is not written
// reads back as.
struct AttrPlan {
    const AttrSpec* spec;
    std::int64_t fresh;  // numbers and flags
    ReadBack readBack;   // Bool and Enum
};

// Texts and the other fields apart: only texts are looked at before the
// choice of path.
struct RecordPlan {
    std::vector<AttrPlan> texts, others;
};

template <class T>
T& at(const AttrPlan& attr, void* record) {
    return *static_cast<T*>(attr.spec->field(record));
}

template <class T>
const T& at(const AttrPlan& attr, const void* record) {
    return *static_cast<const T*>(attr.spec->field(const_cast<void*>(record)));
}

std::int64_t numberAt(const AttrPlan& attr, const void* record) {
    switch (attr.spec->kind) {
    case AttrKind::Bool:
        return at<std::int8_t>(attr, record);
    case AttrKind::Sector:
        return at<std::uint32_t>(attr, record);
    case AttrKind::Text:
        return 0;
    default:
        return at<std::int32_t>(attr, record);
    }
}

void setNumber(const AttrPlan& attr, void* record, std::int64_t value) {
    switch (attr.spec->kind) {
    case AttrKind::Bool:
        at<std::int8_t>(attr, record) = static_cast<std::int8_t>(value);
        return;
    case AttrKind::Sector:
        at<std::uint32_t>(attr, record) = static_cast<std::uint32_t>(value);
        return;
    default:
        at<std::int32_t>(attr, record) = static_cast<std::int32_t>(value);
        return;
    }
}

// Whether the writer writes the attribute: the writer's own condition.
bool isWritten(const AttrPlan& attr, const void* record) { return model::attributeWritten(*attr.spec, record); }

// The layout's attributes, or false when one is of a kind, condition or name
// the direct path does not handle.
template <class R>
bool planRecord(const model::Layout<R>& layout, RecordPlan& plan) {
    if (layout.form == model::Form::TextContent || layout.order != model::ReadOrder::ValueFirst ||
        layout.prepare != nullptr || layout.finish != nullptr) {
        return false;
    }
    const model::ElementName* entry = model::findElement45(xml::nameKey(layout.name));
    if (entry == nullptr || entry->number != layout.element || model::schema45().parserFor(layout.element) == nullptr) {
        return false;
    }
    R fresh{};
    std::vector<std::uint32_t> offsets;
    for (const AttrSpec& spec : layout.attrs) {
        // The reader must find this spec, and only this one, by the written name.
        if (spec.name == nullptr || !isPlain(spec.name) || symbolOf(spec.name) != spec.id ||
            layout.attribute(spec.id) != &spec || spec.zeroWrittenAs != 0) {
            return false;
        }
        for (const std::uint32_t seen : offsets) {
            if (seen == spec.offset) return false;
        }
        offsets.push_back(spec.offset);
        AttrPlan attr{&spec, 0, {}};
        switch (spec.kind) {
        case AttrKind::I32:
        case AttrKind::Long:
        case AttrKind::Sector:
            break;
        case AttrKind::Text:
            if (at<model::Text>(attr, &fresh).has_value()) return false;
            break;
        case AttrKind::Bool:
            if (!buildReadBack(model::kBoolean, attr.readBack)) return false;
            break;
        case AttrKind::Enum:
            if (spec.table == nullptr || !buildReadBack(*spec.table, attr.readBack)) return false;
            break;
        default:
            return false;
        }
        attr.fresh = numberAt(attr, &fresh);
        (spec.kind == AttrKind::Text ? plan.texts : plan.others).push_back(std::move(attr));
    }
    return true;
}

bool isChild(const model::ChildSpec& spec, const model::LayoutBase& layout, model::Store store) {
    return spec.layout == &layout && spec.pick == nullptr && spec.store == store;
}

struct PartitionPlans {
    bool usable = false;
    RecordPlan partition, segment, stripeSet, element;
};

// The direct path knows a partition of segments and an optional stripe set of
// elements, and nothing else; the shape of the layouts is checked once.
PartitionPlans buildPlans() {
    using model::Store;
    PartitionPlans plans;
    const auto& partition = model::kNimbraPartition45.children;
    const auto& stripeSet = model::kStripeSet45.children;
    plans.usable = partition.size() == 2 && isChild(partition[0], model::kDynamicDiskSegment45, Store::Repeated) &&
                   isChild(partition[1], model::kStripeSet45, Store::Optional) && stripeSet.size() == 1 &&
                   isChild(stripeSet[0], model::kStripeElement45, Store::Repeated) &&
                   model::kDynamicDiskSegment45.children.empty() && model::kStripeElement45.children.empty() &&
                   planRecord(model::kNimbraPartition45, plans.partition) &&
                   planRecord(model::kDynamicDiskSegment45, plans.segment) &&
                   planRecord(model::kStripeSet45, plans.stripeSet) &&
                   planRecord(model::kStripeElement45, plans.element);
    return plans;
}

const PartitionPlans& plans() {
    static const PartitionPlans built = buildPlans();
    return built;
}

bool textsComeBack(const RecordPlan& plan, const void* record) {
    for (const AttrPlan& attr : plan.texts) {
        if (!isWritten(attr, record)) continue;
        const model::Text& text = at<model::Text>(attr, record);
        if (text && !isPlain(*text)) return false;
    }
    return true;
}

bool partitionComesBack(const PartitionPlans& p, const model::NimbraPartition& partition) {
    if (!p.usable || !textsComeBack(p.partition, &partition)) return false;
    for (const model::DynamicDiskSegment& segment : partition.segments) {
        if (!textsComeBack(p.segment, &segment)) return false;
    }
    if (partition.stripeSet) {
        if (!textsComeBack(p.stripeSet, &*partition.stripeSet)) return false;
        for (const model::StripeElement& element : partition.stripeSet->stripeElements) {
            if (!textsComeBack(p.element, &element)) return false;
        }
    }
    return true;
}

void normaliseRecord(const RecordPlan& plan, void* record) {
    for (const AttrPlan& attr : plan.texts) {
        model::Text& text = at<model::Text>(attr, record);
        if (!isWritten(attr, record)) {
            text.reset();  // the fresh record's text is absent
        } else if (!text) {
            text.emplace();  // written as "" and read back as an empty text
        }
    }
    for (const AttrPlan& attr : plan.others) {
        if (!isWritten(attr, record)) {
            setNumber(attr, record, attr.fresh);
        } else if (attr.spec->kind == AttrKind::Bool || attr.spec->kind == AttrKind::Enum) {
            setNumber(attr, record, attr.readBack(static_cast<std::int32_t>(numberAt(attr, record))));
        }
    }
}

}  // namespace

model::NimbraPartition roundTripPartition(const model::NimbraPartition& old) {
    writer::XmlSink out = writer::XmlSink::toMemory();
    model::writeRecord(out, model::kNimbraPartition45, old);
    const writer::ConfigText text = out.takeBuffer();
    if (!text.text) throw MigrationFailed{};
    std::unique_ptr<model::NimbraPartition> read =
        model::readPartition45(text.text.get(), static_cast<std::size_t>(text.length));
    if (!read) throw MigrationFailed{};
    return std::move(*read);
}

bool normalisesDirectly(const model::NimbraPartition& partition) {
    return partitionComesBack(plans(), partition);
}

model::NimbraPartition normalisePartition(model::NimbraPartition& old) {
    const PartitionPlans& p = plans();
    if (!partitionComesBack(p, old)) return roundTripPartition(old);
    model::NimbraPartition partition = std::move(old);
    normaliseRecord(p.partition, &partition);
    for (model::DynamicDiskSegment& segment : partition.segments) normaliseRecord(p.segment, &segment);
    if (partition.stripeSet) {
        normaliseRecord(p.stripeSet, &*partition.stripeSet);
        for (model::StripeElement& element : partition.stripeSet->stripeElements) {
            normaliseRecord(p.element, &element);
        }
    }
    return partition;
}

}  // namespace tool
