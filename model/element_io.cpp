#include "model/element_io.h"

#include <cstring>
#include <string_view>

#include "writer/sink.h"
#include "xml/attr_readers.h"
#include "xml/log.h"

namespace model {

namespace {

constexpr const char* kLogModule = "kxutil";
constexpr const char* kCannotAllocate = "cannot allocate memory";

bool isStartTag(xml::Tok type) { return type == xml::Tok::StartTag || type == xml::Tok::StartTagOpen; }

// Text payloads are C strings: a NUL ends them.
std::string_view cString(std::string_view text) {
    const std::size_t nul = text.find('\0');
    return nul == std::string_view::npos ? text : text.substr(0, nul);
}

template <class T>
T& fieldAs(const AttrSpec& spec, void* record) {
    return *static_cast<T*>(spec.field(record));
}

// Converts a value token into the field. Numbers are read from the raw text
// (entities are not decoded, "12abc" gives 12); texts are decoded.
void storeValue(const AttrSpec& spec, void* record, xml::Token& value, const Schema& schema) {
    switch (spec.kind) {
    case AttrKind::I32:
    case AttrKind::Long:
        fieldAs<std::int32_t>(spec, record) = xml::strtol32(value.payload(), 10);
        break;
    case AttrKind::Hex:
        fieldAs<std::uint32_t>(spec, record) =
            static_cast<std::uint32_t>(xml::strtol32(value.payload(), 16));
        break;
    case AttrKind::Sector:
        fieldAs<std::uint32_t>(spec, record) = xml::scanUnsigned32(value.payload(), 10);
        break;
    case AttrKind::Bool:
        fieldAs<std::int8_t>(spec, record) =
            static_cast<std::int8_t>(kBoolean.read(schema.lookupAttribute(value.nameKey())));
        break;
    case AttrKind::Bool3:
        fieldAs<std::int8_t>(spec, record) =
            static_cast<std::int8_t>(kNewUnit.read(schema.lookupAttribute(value.nameKey())));
        break;
    case AttrKind::NewUnit:
        fieldAs<std::int32_t>(spec, record) = kNewUnit.read(schema.lookupAttribute(value.nameKey()));
        break;
    case AttrKind::Text: {
        // Most values hold no reference: those are stored straight from the token.
        const std::string_view raw = cString(value.payload());
        if (raw.find('&') == std::string_view::npos) {
            fieldAs<Text>(spec, record) = raw;
        } else {
            fieldAs<Text>(spec, record) = value.payloadString();
        }
        break;
    }
    case AttrKind::Enum:
        fieldAs<std::int32_t>(spec, record) = spec.table->read(schema.lookupAttribute(value.nameKey()));
        break;
    case AttrKind::Fixed:
        break;
    }
}

// Name-first reading: numbers through the typed readers, the rest through the
// value token. The caller tests the (sticky) error slot afterwards.
void readTyped(const AttrSpec& spec, void* record, ParseContext& ctx) {
    xml::TokenStream& ts = ctx.ts;
    switch (spec.kind) {
    case AttrKind::I32:
        fieldAs<std::int32_t>(spec, record) = xml::readDecimalInt(ts);
        return;
    case AttrKind::Long:
        fieldAs<std::int32_t>(spec, record) = xml::readLong(ts);
        return;
    case AttrKind::Hex:
        fieldAs<std::uint32_t>(spec, record) = xml::readHexInt(ts);
        return;
    case AttrKind::Sector:
        fieldAs<std::uint32_t>(spec, record) = xml::readUnsignedLong(ts);
        return;
    default:
        break;
    }
    xml::Token value = xml::readValueToken(ts);
    if (value) storeValue(spec, record, value, ctx.schema);
}

// The layout's attribute for the name at `position` of its start tag: the
// schema's table gives the number, the layout the declaration. A number found
// is remembered for the next element of the layout (the table never changes,
// so the same bytes give the same answer); a name not found is not, as a table
// that could not be built for lack of memory is built again on the next look-up.
// Inlined into both forms of the attribute loop, as it was into the one.
[[gnu::always_inline]] inline const AttrSpec* attributeNamed(ParseContext& ctx, const LayoutBase& layout,
                                                             std::uint32_t position, const xml::NameKey& key) {
    RememberedName& seen = ctx.names[(static_cast<std::uint32_t>(layout.element) * 8 + position) % ctx.names.size()];
    if (seen.layout == &layout && seen.position == position && seen.hash == key.hash && seen.length == key.length &&
        (key.length == 0 || std::memcmp(seen.bytes, key.data, key.length) == 0)) {
        return seen.spec;
    }
    const int id = ctx.schema.lookupAttribute(key);
    const AttrSpec* spec = layout.attribute(id);
    if (spec != nullptr && !spec->kept) spec = nullptr;  // passed over like an unknown name
    if (id >= 0 && key.length <= sizeof seen.bytes) {
        seen.layout = &layout;
        seen.position = position;
        seen.hash = key.hash;
        seen.length = static_cast<std::uint32_t>(key.length);
        seen.spec = spec;
        if (key.length != 0) std::memcpy(seen.bytes, key.data, key.length);
    }
    return spec;
}

enum class AttrLoop : std::uint8_t { Children, Complete, Failed };

void observeAttribute(ParseContext& ctx, const LayoutBase& layout, std::string_view name, const AttrSpec* spec,
                      std::string_view value, unsigned long line) {
    const std::string_view text = cString(name);
    const int id = spec != nullptr ? spec->id : ctx.schema.lookupAttribute(xml::nameKey(text));
    ctx.observer->attribute(layout, text, id, spec, value, line);
}

// The record is complete; a listener sees it before the layout's hook changes it.
// The reading functions below take `kObserved` as a parameter so that the
// reader without a listener is compiled without any of the listener's code.
template <bool kObserved>
void finishElement(ParseContext& ctx, const LayoutBase& layout, void* record) {
    if constexpr (kObserved) ctx.observer->elementRead(layout, record);
    if (layout.finish != nullptr) layout.finish(layout, record);
}

// The attributes of a start tag, through its ">" or "/>".
template <bool kObserved>
AttrLoop readAttributes(ParseContext& ctx, const LayoutBase& layout, void* record) {
    xml::TokenStream& ts = ctx.ts;
    for (std::uint32_t position = 0;; ++position) {
        xml::Token token = ts.next();
        if (!token) return AttrLoop::Complete;
        switch (token.type()) {
        case xml::Tok::StartTagClose:
            return AttrLoop::Children;
        case xml::Tok::EmptyTagClose:
        case xml::Tok::Eof:
            return AttrLoop::Complete;
        default:
            break;
        }
        // Anything else counts as an attribute name. The name is looked up
        // before the value is taken because a token does not outlive the next
        // one; the outcome is that of either order.
        const AttrSpec* spec = attributeNamed(ctx, layout, position, token.nameKey());
        // The name's own line: the lexer's line is where the token began,
        // before the white space in front of the name.
        const unsigned long line = kObserved ? ts.lexer().sourceLine() : 0;
        if (layout.order == ReadOrder::ValueFirst) {
            // The name's token ends when the value's is lexed: a listener gets a copy.
            std::string name;
            if constexpr (kObserved) name = token.payload();
            xml::Token value = xml::readValueToken(ts);
            if (!value) return AttrLoop::Failed;
            if (spec != nullptr) storeValue(*spec, record, value, ctx.schema);
            if constexpr (kObserved) observeAttribute(ctx, layout, name, spec, value.payload(), line);
        } else {
            // Name-first: "=" and the value of an unknown name come round as
            // names of their own, which are no attributes to tell about.
            if constexpr (kObserved) {
                if (token.type() == xml::Tok::Attribute) observeAttribute(ctx, layout, token.payload(), spec, {}, line);
            }
            if (spec != nullptr) {
                readTyped(*spec, record, ctx);
                if (ts.failed()) return AttrLoop::Failed;
            }
        }
    }
}

// Dispatches the child element whose start tag was peeked. False when the
// parent has to be released (a list could not grow).
template <bool kObserved>
bool readChild(ParseContext& ctx, const LayoutBase& layout, void* record, xml::Token& start) {
    xml::TokenStream& ts = ctx.ts;
    const ElementName* entry = ctx.schema.findElement(start.nameKey());
    const LayoutBase* parser = entry != nullptr ? ctx.schema.parserFor(entry->number) : nullptr;
    // Unknown, without a parser, or nested too deep: drop the start tag alone,
    // so that its content is read as content of this element.
    if (parser == nullptr || ctx.depth >= kMaxNesting) {
        if constexpr (kObserved) {
            ctx.observer->elementSkipped(cString(start.payload()), entry != nullptr ? entry->number : -1,
                                         ts.lexer().line());
        }
        ts.skip();
        return true;
    }
    const LayoutBase* childLayout = nullptr;
    const ChildSpec* spec = layout.child(entry->number, &childLayout);
    ChildOutcome outcome;
    ++ctx.depth;
    if (spec != nullptr) {
        outcome = spec->parse(spec->field(record), ctx, *childLayout, entry->name);
    } else {
        // A known child this element does not keep: parsed, then released.
        outcome = parser->parseAndDiscard(ctx, *parser, entry->name) ? ChildOutcome::Kept : ChildOutcome::Failed;
    }
    --ctx.depth;
    if constexpr (kObserved) {
        if (outcome == ChildOutcome::Kept) ctx.observer->childPlaced(spec);
    }
    switch (outcome) {
    case ChildOutcome::Kept:
        return true;
    case ChildOutcome::Failed:
        ts.skip();
        return true;
    case ChildOutcome::GrowthFailed:
        xml::logNotice(0, {kLogModule, ctx.schema.logFile, layout.routine, __LINE__}, "%s", kCannotAllocate);
        return false;
    }
    return true;
}

template <bool kObserved>
bool readElement(ParseContext& ctx, const LayoutBase& layout, void* record, const char* openName) {
    xml::TokenStream& ts = ctx.ts;
    if (layout.prepare != nullptr) layout.prepare(layout, record);

    // Only a start tag with attributes has any; any other opening token goes
    // straight to the children.
    const xml::Token open = ts.next();
    if (open && open.type() == xml::Tok::StartTagOpen) {
        switch (readAttributes<kObserved>(ctx, layout, record)) {
        case AttrLoop::Failed:
            return false;
        case AttrLoop::Complete:
            finishElement<kObserved>(ctx, layout, record);
            return true;
        case AttrLoop::Children:
            break;
        }
    }

    std::string* text = isTextForm(layout.form) ? static_cast<std::string*>(record) : nullptr;
    for (;;) {
        xml::Token token = ts.peek();
        if (!token || token.type() == xml::Tok::Eof) {
            if constexpr (kObserved) ctx.observer->inputEnded(ts.lexer().line());
            break;
        }
        const xml::Tok type = token.type();
        if (type == xml::Tok::EndTag) {
            // Deliberate: the compare runs over the end tag's length, so an end
            // tag that is a prefix of the name closes the element too.
            const bool closes = token.comparePayload(openName) == 0;
            ts.skip();
            if (closes) break;
            continue;
        }
        if (isStartTag(type)) {
            if (!readChild<kObserved>(ctx, layout, record, token)) return false;
            continue;
        }
        // Character data of a text element is kept as it stands: it is
        // never entity-decoded.
        if (text != nullptr && type == xml::Tok::Content) text->append(cString(token.payload()));
        if constexpr (kObserved) {
            // An attribute-less empty tag is never parsed; one of a name the
            // layout does not know is worth telling about all the same.
            if (type == xml::Tok::EmptyTag && ctx.schema.findElement(token.nameKey()) == nullptr) {
                ctx.observer->elementSkipped(cString(token.payload()), -1, ts.lexer().line());
            }
        }
        ts.skip();
    }
    finishElement<kObserved>(ctx, layout, record);
    return true;
}

std::int64_t numberOf(const AttrSpec& spec, const void* record) {
    void* field = spec.field(const_cast<void*>(record));
    switch (spec.kind) {
    case AttrKind::Bool:
    case AttrKind::Bool3:
        return *static_cast<const std::int8_t*>(field);
    case AttrKind::Sector:
    case AttrKind::Hex:
        return *static_cast<const std::uint32_t*>(field);
    case AttrKind::Text:
        return 0;
    case AttrKind::Fixed:
        return spec.zeroWrittenAs;
    default:
        return *static_cast<const std::int32_t*>(field);
    }
}

}  // namespace

bool attributeWritten(const AttrSpec& spec, const void* record) noexcept {
    switch (spec.when) {
    case WriteIf::Always:
        return true;
    case WriteIf::Never:
        return false;
    case WriteIf::IfTrue:
    case WriteIf::IfNonZero:
        return numberOf(spec, record) != 0;
    case WriteIf::IfPositive:
        return numberOf(spec, record) > 0;
    case WriteIf::IfPresent:
    case WriteIf::IfNonEmpty: {
        const auto& text = *static_cast<const Text*>(spec.field(const_cast<void*>(record)));
        return text.has_value() && (spec.when == WriteIf::IfPresent || (*text)[0] != '\0');
    }
    }
    return true;
}

void writeAttributeValue(writer::XmlSink& out, const AttrSpec& spec, const void* record) {
    const void* field = spec.field(const_cast<void*>(record));
    switch (spec.kind) {
    case AttrKind::I32:
    case AttrKind::Long: {
        const std::int32_t value = *static_cast<const std::int32_t*>(field);
        out.decimal(value == 0 && spec.zeroWrittenAs != 0 ? spec.zeroWrittenAs : value);
        return;
    }
    case AttrKind::Sector:
        out.unsignedDecimal(*static_cast<const std::uint32_t*>(field));
        return;
    case AttrKind::Hex:
        out.hex(*static_cast<const std::uint32_t*>(field));
        return;
    case AttrKind::Bool:
    case AttrKind::Bool3:
        out.writeName(kBoolean.spell(*static_cast<const std::int8_t*>(field)));
        return;
    case AttrKind::NewUnit:
        out.writeName(kNewUnit.spell(*static_cast<const std::int32_t*>(field)));
        return;
    case AttrKind::Text:
        if (const Text& text = *static_cast<const Text*>(field)) out.escapedStored(*text);
        return;
    case AttrKind::Enum:
        out.writeName(spec.table->spell(*static_cast<const std::int32_t*>(field)));
        return;
    case AttrKind::Fixed:
        out.decimal(spec.zeroWrittenAs);
        return;
    }
}

namespace {

static_assert(sizeof(PaddedName::bytes) == writer::XmlSink::kPaddedWidth);

void writeEndTag(writer::XmlSink& out, const LayoutBase& layout) {
    if (layout.closeTag.length != 0) {
        out.writePadded(layout.closeTag.bytes, layout.closeTag.length);
        return;
    }
    out.write("</");
    out.write(std::string_view(layout.name, layout.nameLength));
    out.put('>');
}

}  // namespace

namespace {

template <bool kObserved>
bool readElementCatching(ParseContext& ctx, const LayoutBase& layout, void* record, const char* openName) noexcept {
    try {
        return readElement<kObserved>(ctx, layout, record, openName);
    } catch (const std::bad_alloc&) {
        // Whatever this element could not allocate for itself (a child's own
        // failures are settled inside the child).
        ctx.ts.fail(layout.allocFailure.c_str());
        return false;
    }
}

// Out of line, so that the reader without a listener carries none of it.
[[gnu::noinline]] bool readObserved(ParseContext& ctx, const LayoutBase& layout, void* record,
                                    const char* openName) noexcept {
    // The start tag was peeked last, so the lexer's line is where it begins.
    ctx.observer->elementStarted(layout, ctx.ts.lexer().line());
    const bool yielded = readElementCatching<true>(ctx, layout, record, openName);
    ctx.observer->elementEnded(layout, yielded, yielded ? nullptr : ctx.ts.error());
    return yielded;
}

}  // namespace

bool parseElement(ParseContext& ctx, const LayoutBase& layout, void* record, const char* openName) noexcept {
    if (ctx.observer != nullptr) [[unlikely]] return readObserved(ctx, layout, record, openName);
    return readElementCatching<false>(ctx, layout, record, openName);
}

void writeElement(writer::XmlSink& out, const LayoutBase& layout, const void* record) {
    if (layout.openTag.length != 0) {
        out.writePadded(layout.openTag.bytes, layout.openTag.length);
    } else {
        out.put('<');
        out.write(std::string_view(layout.name, layout.nameLength));
    }
    for (const AttrSpec& spec : layout.attrs) {
        if (!attributeWritten(spec, record)) continue;
        if (spec.lead.length != 0) {
            out.writePadded(spec.lead.bytes, spec.lead.length);
        } else {
            out.put(' ');
            out.write(std::string_view(spec.name, spec.nameLength));
            out.write("=\"");
        }
        writeAttributeValue(out, spec, record);
        out.put('"');
    }
    switch (layout.form) {
    case Form::AlwaysShort:
        out.write("/>");
        return;
    case Form::TextContent:
    case Form::TextAsHeld: {
        const std::string_view text = *static_cast<const std::string_view*>(record);
        if (text.empty() || text[0] == '\0') {
            out.write("/>");
            return;
        }
        out.put('>');
        if (layout.form == Form::TextContent) {
            out.escapedStored(text);  // a NUL ends it
        } else {
            out.literalStored(text);
        }
        writeEndTag(out, layout);
        return;
    }
    case Form::ShortWhenEmpty: {
        bool any = false;
        for (const ChildSpec& spec : layout.children) {
            if (spec.present != nullptr && spec.present(spec, spec.field(const_cast<void*>(record)))) {
                any = true;
                break;
            }
        }
        if (!any) {
            out.write("/>");
            return;
        }
        break;
    }
    case Form::AlwaysLong:
        break;
    }
    out.put('>');
    ++out.level;
    for (const ChildSpec& spec : layout.children) {
        if (spec.write != nullptr) spec.write(out, spec, spec.field(const_cast<void*>(record)));
    }
    --out.level;
    out.newLine();
    writeEndTag(out, layout);
}

void writeBridgeList(writer::XmlSink& out, const LayoutBase& layout, const void* bridge) {
    out.write("<SANConfig>");
    ++out.level;
    out.newLine();
    out.write("<SANBridgeList>");
    ++out.level;
    out.newLine();
    writeElement(out, layout, bridge);
    --out.level;
    out.newLine();
    out.write("</SANBridgeList>");
    --out.level;
    out.newLine();
    out.write("</SANConfig>");
}

void visitElement(const LayoutBase& layout, const void* record, ElementVisitor& visitor, bool absent) {
    visitor.element(layout, record, absent);
    for (const ChildSpec& spec : layout.children) {
        if (spec.visit != nullptr) spec.visit(spec, spec.field(const_cast<void*>(record)), visitor);
    }
    visitor.leave(layout);
}

namespace detail {
void newLineBefore(writer::XmlSink& out) { out.newLine(); }
}  // namespace detail

TopLevel nextTopLevel(ParseContext& ctx, int target, const ElementName** entry) noexcept {
    xml::TokenStream& ts = ctx.ts;
    xml::Token token = ts.peek();
    if (!token || token.type() == xml::Tok::Eof) return TopLevel::End;
    if (!isStartTag(token.type())) {
        ts.skip();
        return TopLevel::Other;
    }
    const ElementName* found = ctx.schema.findElement(token.nameKey());
    if (found != nullptr && found->number == target) {
        *entry = found;
        return TopLevel::Target;
    }
    // An unknown element's start tag goes alone, so that elements nested in
    // any wrapper (SANConfig, SANBridgeList) are met by the loop; a known one
    // is parsed and released, and one that yields no record drops one token.
    const LayoutBase* parser = found != nullptr ? ctx.schema.parserFor(found->number) : nullptr;
    if (parser == nullptr && ctx.observer != nullptr) [[unlikely]] {
        ctx.observer->elementSkipped(cString(token.payload()), found != nullptr ? found->number : -1,
                                     ctx.ts.lexer().line());
    }
    bool parsed = false;
    if (parser != nullptr) {
        ++ctx.depth;
        parsed = parser->parseAndDiscard(ctx, *parser, found->name);
        --ctx.depth;
    }
    if (!parsed) ts.skip();
    return TopLevel::Other;
}

}  // namespace model
