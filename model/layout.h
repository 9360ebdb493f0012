#pragma once
// Element layouts: one declaration per element and document layout drives both
// the generic reader and the generic writer (model/element_io.h).
//
// Declaring an element: one `Layout<R>` per element, R being its record type.
//
//   const Layout<Geometry> kGeometry45{
//       ElementId::Geometry, "Geometry", "parseGeometry", Form::AlwaysShort,
//       {   // attributes, in written order
//           attr::sector<&Geometry::startingSector>(AttrId::startingSector),
//           attr::sector<&Geometry::endingSector>(AttrId::endingSector),
//           attr::i32<&Geometry::sectorSize>(AttrId::sectorSize),
//       }};
//
// - The element number and written name, the routine name that log lines carry,
//   then the form: AlwaysShort (attributes only, "/>"), ShortWhenEmpty ("/>"
//   when no child would be written), AlwaysLong, or TextContent (R is
//   std::string, read into a string and written from a std::string_view of
//   it or of a Text: <X>text</X>, or <X/> when empty), or TextAsHeld (the
//   same, but its characters are written as held, not escaped, for a reader
//   that takes content literally).
// - Attributes in written order: attr::i32 (%d), attr::long32 (%ld, read with
//   the long reader), attr::sector (unsigned decimal), attr::hex ("0x%X"),
//   attr::boolean (two-way), attr::bool3 (three-way: "true" 1, "false" 0,
//   else -1), attr::newUnit (isNew), attr::text, attr::spelled (an EnumTable).
//   Each takes a write condition (WriteIf) and i32 takes a value that a stored
//   0 is written as. WriteIf::Never reads an attribute without writing it;
//   attr::writtenOnly writes one that the reader passes over with its value,
//   and attr::fixed writes a constant that no field holds.
// - Children in written order: child::single (by value, the later wins),
//   child::optional (std::optional, written when present, the later wins),
//   child::always (std::optional written also when absent, as an empty
//   record), child::repeated (std::vector, appended; the step is kept as data),
//   child::optionalOneOf (one of several layouts sharing a record, such as the
//   file systems). Any other known child is parsed by the schema's parser for
//   its number and dropped.
// - Options: the record name of "Can't allocate memory for X" when it is not
//   the element name, the attribute read order (value-first by default), and
//   hooks run before reading (prepare) and after a successful read (finish).
//
// Several layouts may share one record type (WWPNList, VirtualDevList...), and
// a layout may be declared for any struct, so another document layout can
// declare its own records where it differs.

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "model/attr_names.h"
#include "model/enums.h"
#include "model/boxed.h"
#include "model/text.h"

namespace model {

enum class AttrKind : std::uint8_t {
    I32,      // %d
    Long,     // %ld, read with the long reader
    Sector,   // unsigned 32-bit, read as "%lu", written unsigned decimal
    Hex,      // read with the hexadecimal reader, written "0x%X"
    Bool,     // one byte; "true" 1, anything else 0
    Bool3,    // one byte; "true" 1, "false" 0, anything else -1
    NewUnit,  // 32-bit; read as Bool3, written through kNewUnit
    Text,     // model::Text, entity-decoded
    Enum,     // 32-bit, through an EnumTable
    Fixed,    // no field: written as the declared constant, never read
};

enum class WriteIf : std::uint8_t {
    Always,
    Never,       // read, not written
    IfTrue,      // a flag that is not 0
    IfNonZero,   // a number that is not 0
    IfPositive,  // a number above 0
    IfPresent,   // a text that is present, even empty
    IfNonEmpty,  // a text that is present and not empty
};

enum class Form : std::uint8_t { ShortWhenEmpty, AlwaysLong, AlwaysShort, TextContent, TextAsHeld };

constexpr bool isTextForm(Form form) noexcept { return form == Form::TextContent || form == Form::TextAsHeld; }

/// Value-first: "=" and the value are read before the name counts, so an
/// unknown name takes its value with it. Name-first: an unknown name drops only
/// the name token, and "=" and the value come round as further names.
enum class ReadOrder : std::uint8_t { ValueFirst, NameFirst };

enum class Store : std::uint8_t { Single, Optional, OptionalAlways, Repeated };

/// A name with what surrounds it when written (` name="`, `<Name`, `</Name>`),
/// zero-padded to a fixed width so that the writer copies it in one go; the
/// length 0 when it would not fit (then it is written piece by piece).
struct PaddedName {
    char bytes[32] = {};
    std::uint8_t length = 0;

    PaddedName() = default;
    PaddedName(const char* prefix, const char* name, const char* suffix) {
        if (name == nullptr) return;
        const std::size_t p = std::strlen(prefix), n = std::strlen(name), s = std::strlen(suffix);
        if (p + n + s > sizeof bytes) return;
        std::memcpy(bytes, prefix, p);
        std::memcpy(bytes + p, name, n);
        std::memcpy(bytes + p + n, suffix, s);
        length = static_cast<std::uint8_t>(p + n + s);
    }
};

struct AttrSpec {
    const char* name;  // as written
    std::uint32_t nameLength;  // measured once, so the writer copies the name whole
    int id;            // number in the schema's attribute table
    AttrKind kind;
    WriteIf when;
    std::int32_t zeroWrittenAs;  // when not 0: a stored 0 is written as this; Fixed: the value
    const EnumTable* table;      // Enum only
    std::uint32_t offset;        // of the field in its record
    PaddedName lead;             // ` name="`
    bool kept = true;            // false: the reader passes over it with its value

    // An offset rather than an accessor function: an attribute is read or
    // written several times per record, and an indirect call each time showed.
    void* field(void* record) const noexcept { return static_cast<char*>(record) + offset; }
};

}  // namespace model

namespace writer {
class XmlSink;
}

namespace model {

struct LayoutBase;
struct ParseContext;

enum class ChildOutcome : std::uint8_t {
    Kept,          // stored in its field
    Failed,        // no record: the caller drops one token and reads on
    GrowthFailed,  // the list could not grow: the parent is released
};

/// Told of every element the writer would write for a record, in written order.
class ElementVisitor {
public:
    virtual ~ElementVisitor() = default;
    /// `record` is written with `layout`; `absent`: no record is held, and
    /// an empty one is written in its place.
    virtual void element(const LayoutBase& layout, const void* record, bool absent) = 0;
    /// Told when everything written inside that element has been told.
    virtual void leave(const LayoutBase& layout) { static_cast<void>(layout); }
};

struct ChildSpec {
    const LayoutBase* layout;                   // read and written with this one,
    const LayoutBase* const* alternatives;      // or read with any of these and
    int alternativeCount;                       // written with the one `pick` names
    int (*pick)(const void* childRecord);       // index into alternatives, -1: nothing
    Store store;
    int step;  // growth step of the list in the original layout (log data only)
    void* (*field)(void* parent);
    ChildOutcome (*parse)(void* field, ParseContext& ctx, const LayoutBase& layout, const char* openName);
    void (*write)(writer::XmlSink& out, const ChildSpec& spec, const void* field);  // null: read only
    bool (*present)(const ChildSpec& spec, const void* field);                        // null: read only
    void (*visit)(const ChildSpec& spec, const void* field, ElementVisitor& visitor) = nullptr;  // null: not written

    /// The layout of element `number` if this child accepts it, else null.
    const LayoutBase* accepts(int number) const noexcept;
};

/// What every layout holds, whatever its record type.
struct LayoutBase {
    int element;
    const char* name;     // as written
    std::uint32_t nameLength;
    const char* routine;  // in log lines: "parsePhysicalDev"
    std::string allocFailure;  // "Can't allocate memory for <record>"
    Form form;
    ReadOrder order;
    std::vector<AttrSpec> attrs;
    std::vector<ChildSpec> children;
    void (*prepare)(const LayoutBase& layout, void* record);  // null: nothing
    void (*finish)(const LayoutBase& layout, void* record);   // null: nothing
    /// Parses one element into a fresh record and releases it; false when it
    /// yielded no record.
    bool (*parseAndDiscard)(ParseContext& ctx, const LayoutBase& layout, const char* openName);
    PaddedName openTag;   // `<Name`
    PaddedName closeTag;  // `</Name>`
    const void* (*blank)();  // a freshly made record

    const AttrSpec* attribute(int id) const noexcept {
        for (const AttrSpec& spec : attrs) {
            if (spec.id == id) return &spec;
        }
        return nullptr;
    }
    const ChildSpec* child(int number, const LayoutBase** layout) const noexcept {
        for (const ChildSpec& spec : children) {
            if (const LayoutBase* found = spec.accepts(number)) {
                *layout = found;
                return &spec;
            }
        }
        return nullptr;
    }
};

/// Parses the element whose opening token is the next token of the stream into
/// `record` (already constructed). `openName` is the element name as looked up
/// (static storage): its end tag is matched against it. False when the element
/// yields no record (message in the stream's slot where one is defined).
bool parseElement(ParseContext& ctx, const LayoutBase& layout, void* record, const char* openName) noexcept;

/// Whether the writer writes the attribute of `record`: its write condition.
bool attributeWritten(const AttrSpec& spec, const void* record) noexcept;
/// The attribute's value as the writer writes it, without name or quotes.
void writeAttributeValue(writer::XmlSink& out, const AttrSpec& spec, const void* record);

/// Tells `visitor` of the element `record` is written as and of everything
/// written inside it, as the writer would write them.
void visitElement(const LayoutBase& layout, const void* record, ElementVisitor& visitor, bool absent = false);

/// Writes the element, starting where the caller's new line left the sink and
/// without a trailing new line.
void writeElement(writer::XmlSink& out, const LayoutBase& layout, const void* record);
/// Writes SANConfig and SANBridgeList, one level each, around the bridge
/// element `bridge` written with `layout`; no new line after the last line.
void writeBridgeList(writer::XmlSink& out, const LayoutBase& layout, const void* bridge);

template <class R>
struct LayoutOptions {
    const char* record = nullptr;  // record name of the allocation message; null: the element name
    ReadOrder order = ReadOrder::ValueFirst;
    void (*prepare)(R& record) = nullptr;
    void (*finish)(R& record) = nullptr;
};

template <class R>
struct Layout : LayoutBase {
    Layout(ElementId id, const char* elementName, const char* routineName, Form elementForm,
           std::initializer_list<AttrSpec> attributes, std::initializer_list<ChildSpec> childSpecs = {},
           LayoutOptions<R> options = {})
        : LayoutBase{static_cast<int>(id),
                     elementName,
                     static_cast<std::uint32_t>(std::strlen(elementName)),
                     routineName,
                     std::string("Can't allocate memory for ") +
                         (options.record != nullptr ? options.record : elementName),
                     elementForm,
                     options.order,
                     attributes,
                     childSpecs,
                     options.prepare != nullptr ? &callPrepare : nullptr,
                     options.finish != nullptr ? &callFinish : nullptr,
                     &discard,
                     PaddedName("<", elementName, ""),
                     PaddedName("</", elementName, ">"),
                     &blankRecord},
          typedPrepare(options.prepare),
          typedFinish(options.finish) {
        static_assert(std::is_default_constructible_v<R>);
    }

    void (*typedPrepare)(R&);
    void (*typedFinish)(R&);

private:
    static void callPrepare(const LayoutBase& layout, void* record) {
        static_cast<const Layout&>(layout).typedPrepare(*static_cast<R*>(record));
    }
    static void callFinish(const LayoutBase& layout, void* record) {
        static_cast<const Layout&>(layout).typedFinish(*static_cast<R*>(record));
    }
    static bool discard(ParseContext& ctx, const LayoutBase& layout, const char* openName) {
        R record{};
        return parseElement(ctx, layout, &record, openName);
    }
    static const void* blankRecord() {
        static const R blank{};
        return &blank;
    }
};

/// Typed entry points of the generic loops.
template <class R>
bool parseInto(ParseContext& ctx, const Layout<R>& layout, R& record, const char* openName) noexcept {
    return parseElement(ctx, layout, &record, openName);
}
template <class R>
void writeRecord(writer::XmlSink& out, const Layout<R>& layout, const R& record) {
    writeElement(out, layout, &record);
}

namespace detail {

template <class M>
struct MemberOf;
template <class C, class F>
struct MemberOf<F C::*> {
    using Record = C;
    using Field = F;
};
template <auto M>
using FieldOf = typename MemberOf<decltype(M)>::Field;

template <auto M>
void* fieldOf(void* record) {
    return &(static_cast<typename MemberOf<decltype(M)>::Record*>(record)->*M);
}

// The field of an optional child: a std::optional, a Boxed record, or a Text
// for a text-content element.
template <class F>
constexpr bool isOptionalField = std::is_same_v<F, std::optional<typename F::value_type>> ||
                                 std::is_same_v<F, Boxed<typename F::value_type>> || std::is_same_v<F, Text>;

// Where member M lies in its record, measured on a default record.
template <auto M>
std::uint32_t offsetOf() {
    const typename MemberOf<decltype(M)>::Record probe{};
    return static_cast<std::uint32_t>(reinterpret_cast<const char*>(&(probe.*M)) -
                                      reinterpret_cast<const char*>(&probe));
}

template <auto M>
AttrSpec makeAttr(AttrId id, AttrKind kind, WriteIf when, const EnumTable* table = nullptr,
                  std::int32_t zeroWrittenAs = 0) {
    const char* name = attributeName45(id);
    return AttrSpec{name,          name != nullptr ? static_cast<std::uint32_t>(std::strlen(name)) : 0u,
                    static_cast<int>(id), kind, when, zeroWrittenAs, table, offsetOf<M>(),
                    PaddedName(" ", name, "=\"")};
}

template <class C>
ChildOutcome parseSingle(void* field, ParseContext& ctx, const LayoutBase& layout, const char* openName) {
    C record{};
    if (!parseElement(ctx, layout, &record, openName)) return ChildOutcome::Failed;
    *static_cast<C*>(field) = std::move(record);
    return ChildOutcome::Kept;
}
template <class F>
ChildOutcome parseOptional(void* field, ParseContext& ctx, const LayoutBase& layout, const char* openName) {
    typename F::value_type record{};
    if (!parseElement(ctx, layout, &record, openName)) return ChildOutcome::Failed;
    *static_cast<F*>(field) = std::move(record);
    return ChildOutcome::Kept;
}
template <class C>
ChildOutcome parseRepeated(void* field, ParseContext& ctx, const LayoutBase& layout, const char* openName) {
    C record{};
    if (!parseElement(ctx, layout, &record, openName)) return ChildOutcome::Failed;
    try {
        static_cast<std::vector<C>*>(field)->push_back(std::move(record));
    } catch (const std::bad_alloc&) {
        return ChildOutcome::GrowthFailed;
    }
    return ChildOutcome::Kept;
}

void newLineBefore(writer::XmlSink& out);

inline const LayoutBase* chosen(const ChildSpec& spec, const void* record) {
    if (spec.pick == nullptr) return spec.layout;
    const int index = spec.pick(record);
    return index >= 0 && index < spec.alternativeCount ? spec.alternatives[index] : nullptr;
}

// The record handed to writeElement. A text-content element is written from
// a view of its characters, whether they are held in a string or in a Text.
template <class R>
void writeChildRecord(writer::XmlSink& out, const LayoutBase& layout, const R& record) {
    if constexpr (std::is_same_v<R, std::string> || std::is_same_v<R, TextView>) {
        const std::string_view text = record;
        writeElement(out, layout, &text);
    } else {
        writeElement(out, layout, &record);
    }
}
// What `pick` sees of an optional child: a Text has no alternatives to pick from.
template <class F>
const void* pickedRecord(const F& value) {
    if constexpr (std::is_same_v<F, Text>) {
        return nullptr;
    } else {
        return &*value;
    }
}

template <class C>
void writeSingle(writer::XmlSink& out, const ChildSpec& spec, const void* field) {
    newLineBefore(out);
    writeChildRecord(out, *spec.layout, *static_cast<const C*>(field));
}
template <class F>
void writeOptional(writer::XmlSink& out, const ChildSpec& spec, const void* field) {
    const auto& value = *static_cast<const F*>(field);
    if (!value) return;
    const LayoutBase* layout = chosen(spec, pickedRecord(value));
    if (layout == nullptr) return;
    newLineBefore(out);
    writeChildRecord(out, *layout, *value);
}
template <class F>
void writeOptionalAlways(writer::XmlSink& out, const ChildSpec& spec, const void* field) {
    const auto& value = *static_cast<const F*>(field);
    newLineBefore(out);
    if (value) {
        writeChildRecord(out, *spec.layout, *value);
    } else {
        writeChildRecord(out, *spec.layout, typename F::value_type{});
    }
}
template <class C>
void writeRepeated(writer::XmlSink& out, const ChildSpec& spec, const void* field) {
    for (const C& record : *static_cast<const std::vector<C>*>(field)) {
        newLineBefore(out);
        writeChildRecord(out, *spec.layout, record);
    }
}

// The record an optional field holds; a text-content element is told of its field.
template <class F>
const void* heldRecord(const F& value) {
    if constexpr (std::is_same_v<F, Text>) {
        return &value;
    } else {
        return &*value;
    }
}

template <class C>
void visitSingle(const ChildSpec& spec, const void* field, ElementVisitor& visitor) {
    visitElement(*spec.layout, field, visitor);
}
template <class F>
void visitOptional(const ChildSpec& spec, const void* field, ElementVisitor& visitor) {
    const auto& value = *static_cast<const F*>(field);
    if (!value) return;
    if (const LayoutBase* layout = chosen(spec, pickedRecord(value))) visitElement(*layout, heldRecord(value), visitor);
}
template <class F>
void visitOptionalAlways(const ChildSpec& spec, const void* field, ElementVisitor& visitor) {
    const auto& value = *static_cast<const F*>(field);
    if (value) {
        visitElement(*spec.layout, heldRecord(value), visitor);
    } else {
        const typename F::value_type empty{};
        visitElement(*spec.layout, &empty, visitor, true);
    }
}
template <class C>
void visitRepeated(const ChildSpec& spec, const void* field, ElementVisitor& visitor) {
    for (const C& record : *static_cast<const std::vector<C>*>(field)) visitElement(*spec.layout, &record, visitor);
}

inline bool alwaysPresent(const ChildSpec&, const void*) { return true; }
template <class F>
bool optionalPresent(const ChildSpec& spec, const void* field) {
    const auto& value = *static_cast<const F*>(field);
    return value.has_value() && chosen(spec, pickedRecord(value)) != nullptr;
}
template <class C>
bool repeatedPresent(const ChildSpec&, const void* field) {
    return !static_cast<const std::vector<C>*>(field)->empty();
}

}  // namespace detail

/// Attribute declarations; see the comment at the top of this file.
namespace attr {

template <auto M>
AttrSpec i32(AttrId id, WriteIf when = WriteIf::Always, std::int32_t zeroWrittenAs = 0) {
    static_assert(std::is_same_v<detail::FieldOf<M>, std::int32_t>);
    return detail::makeAttr<M>(id, AttrKind::I32, when, nullptr, zeroWrittenAs);
}
template <auto M>
AttrSpec long32(AttrId id, WriteIf when = WriteIf::Always) {
    static_assert(std::is_same_v<detail::FieldOf<M>, std::int32_t>);
    return detail::makeAttr<M>(id, AttrKind::Long, when);
}
template <auto M>
AttrSpec sector(AttrId id, WriteIf when = WriteIf::Always) {
    static_assert(std::is_same_v<detail::FieldOf<M>, std::uint32_t>);
    return detail::makeAttr<M>(id, AttrKind::Sector, when);
}
template <auto M>
AttrSpec hex(AttrId id, WriteIf when = WriteIf::Always) {
    static_assert(std::is_same_v<detail::FieldOf<M>, std::uint32_t>);
    return detail::makeAttr<M>(id, AttrKind::Hex, when);
}
template <auto M>
AttrSpec boolean(AttrId id, WriteIf when = WriteIf::Always) {
    static_assert(std::is_same_v<detail::FieldOf<M>, std::int8_t>);
    return detail::makeAttr<M>(id, AttrKind::Bool, when);
}
template <auto M>
AttrSpec bool3(AttrId id, WriteIf when = WriteIf::Always) {
    static_assert(std::is_same_v<detail::FieldOf<M>, std::int8_t>);
    return detail::makeAttr<M>(id, AttrKind::Bool3, when);
}
template <auto M>
AttrSpec newUnit(AttrId id) {
    static_assert(std::is_same_v<detail::FieldOf<M>, std::int32_t>);
    return detail::makeAttr<M>(id, AttrKind::NewUnit, WriteIf::Always);
}
template <auto M>
AttrSpec text(AttrId id, WriteIf when = WriteIf::Always) {
    static_assert(std::is_same_v<detail::FieldOf<M>, Text>);
    return detail::makeAttr<M>(id, AttrKind::Text, when);
}
template <auto M>
AttrSpec spelled(AttrId id, const EnumTable& table, WriteIf when = WriteIf::Always) {
    static_assert(std::is_same_v<detail::FieldOf<M>, std::int32_t>);
    return detail::makeAttr<M>(id, AttrKind::Enum, when, &table);
}

/// An attribute no field holds, written as `value` and passed over when read.
inline AttrSpec fixed(AttrId id, std::int32_t value) {
    const char* name = attributeName45(id);
    return AttrSpec{name,          name != nullptr ? static_cast<std::uint32_t>(std::strlen(name)) : 0u,
                    static_cast<int>(id), AttrKind::Fixed, WriteIf::Always, value, nullptr, 0,
                    PaddedName(" ", name, "=\""), false};
}
/// `spec` written from its field, but passed over with its value when read.
inline AttrSpec writtenOnly(AttrSpec spec) {
    spec.kept = false;
    return spec;
}

}  // namespace attr

/// Child declarations; see the comment at the top of this file.
namespace child {

template <auto M>
ChildSpec single(const Layout<detail::FieldOf<M>>& layout) {
    using C = detail::FieldOf<M>;
    return ChildSpec{&layout, nullptr, 0, nullptr, Store::Single, 0, &detail::fieldOf<M>,
                     &detail::parseSingle<C>, &detail::writeSingle<C>, &detail::alwaysPresent,
                     &detail::visitSingle<C>};
}
template <auto M>
ChildSpec optional(const Layout<typename detail::FieldOf<M>::value_type>& layout) {
    using F = detail::FieldOf<M>;
    static_assert(detail::isOptionalField<F>);
    return ChildSpec{&layout, nullptr, 0, nullptr, Store::Optional, 0, &detail::fieldOf<M>,
                     &detail::parseOptional<F>, &detail::writeOptional<F>, &detail::optionalPresent<F>,
                     &detail::visitOptional<F>};
}
template <auto M>
ChildSpec always(const Layout<typename detail::FieldOf<M>::value_type>& layout) {
    using F = detail::FieldOf<M>;
    static_assert(detail::isOptionalField<F>);
    return ChildSpec{&layout, nullptr, 0, nullptr, Store::OptionalAlways, 0, &detail::fieldOf<M>,
                     &detail::parseOptional<F>, &detail::writeOptionalAlways<F>, &detail::alwaysPresent,
                     &detail::visitOptionalAlways<F>};
}
template <auto M>
ChildSpec repeated(const Layout<typename detail::FieldOf<M>::value_type>& layout, int step = 32) {
    using C = typename detail::FieldOf<M>::value_type;
    static_assert(std::is_same_v<detail::FieldOf<M>, std::vector<C>>);
    return ChildSpec{&layout, nullptr, 0, nullptr, Store::Repeated, step, &detail::fieldOf<M>,
                     &detail::parseRepeated<C>, &detail::writeRepeated<C>, &detail::repeatedPresent<C>,
                     &detail::visitRepeated<C>};
}
/// An optional child that is any one of `layouts` (all of the field's record
/// type); `pick` names the one to write, or -1 for none.
template <auto M, std::size_t N>
ChildSpec optionalOneOf(const LayoutBase* const (&layouts)[N], int (*pick)(const void* childRecord)) {
    using F = detail::FieldOf<M>;
    static_assert(detail::isOptionalField<F>);
    return ChildSpec{nullptr, layouts, static_cast<int>(N), pick, Store::Optional, 0, &detail::fieldOf<M>,
                     &detail::parseOptional<F>, &detail::writeOptional<F>, &detail::optionalPresent<F>,
                     &detail::visitOptional<F>};
}

}  // namespace child

inline const LayoutBase* ChildSpec::accepts(int number) const noexcept {
    if (layout != nullptr) return layout->element == number ? layout : nullptr;
    for (int i = 0; i < alternativeCount; ++i) {
        if (alternatives[i]->element == number) return alternatives[i];
    }
    return nullptr;
}

}  // namespace model
