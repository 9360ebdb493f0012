#include "model/normalise.h"

#include <array>
#include <cstdio>
#include <new>
#include <string_view>

#include "xml/name_table.h"

// In place, every field becomes what the writer's condition and the reader's
// conversion make of it, both taken from the layout and its tables. Texts are
// the one thing the text itself may change (escapes, entities, line ends, NUL,
// the lexer's limits): a record with a written text outside a plain printable
// set goes through its text instead, as does any record whose layouts take a
// shape the in-place step does not know (hooks, text content, hexadecimal or
// substituted values, elements the reader would not find where the writer
// puts them). A server partition has none of these.

namespace model {

namespace {

// Longer texts are rare; they take the text way rather than count on the
// lexer's growth of its accumulator.
constexpr std::size_t kLongestPlainText = 4096;

// Printable ASCII other than the bytes the writer escapes: what the lexer and
// the entity decoder hand back as it was written.
constexpr std::array<bool, 256> kPlainByte = [] {
    std::array<bool, 256> plain{};
    for (int c = 0x20; c < 0x7F; ++c) plain[static_cast<std::size_t>(c)] = true;
    for (const unsigned char c : {'"', '&', '\'', '<', '>'}) plain[c] = false;
    return plain;
}();

bool isPlain(std::string_view text) {
    if (text.size() > kLongestPlainText) return false;
    for (const char c : text) {
        if (!kPlainByte[static_cast<unsigned char>(c)]) return false;
    }
    return true;
}

int symbolOf(const Schema& schema, const char* text) { return schema.lookupAttribute(xml::nameKey(text)); }

}  // namespace

struct Normaliser::Plan {
    struct Attr {
        bool readBack = false;              // the reader stores the written value in the field
        std::vector<std::int32_t> spelled;  // a spelled kind: what each spelling reads back as,
        std::int32_t other = 0;             // and what the text for any other value does
    };
    const LayoutBase* layout = nullptr;
    bool inPlace = false;          // its records can be normalised field by field
    bool alwaysAttribute = false;  // some attribute is written whatever the record holds
    std::vector<Attr> attrs;       // beside layout->attrs
    // Most fields come back as they are; these are the ones to look at.
    std::vector<std::size_t> texts;    // read back: a text must be plain
    std::vector<std::size_t> changes;  // what reading back may change
};

Normaliser::Normaliser(const Schema& schema) noexcept : schema_(schema) {}
Normaliser::~Normaliser() = default;

Normaliser::Plan Normaliser::makePlan(const LayoutBase& layout) const {
    Plan plan;
    plan.layout = &layout;
    // The reader must find the element under its written name, read it with
    // this layout, and run nothing of its own on the record.
    const ElementName* entry = schema_.findElement(xml::nameKey(layout.name));
    if (entry == nullptr || entry->number != layout.element || schema_.parserFor(layout.element) == nullptr ||
        isTextForm(layout.form) || layout.order != ReadOrder::ValueFirst || layout.prepare != nullptr ||
        layout.finish != nullptr) {
        return plan;
    }
    for (const AttrSpec& spec : layout.attrs) {
        // A value read through another conversion (hexadecimal), a substituted
        // zero, or one the reader passes over: the text way.
        if (spec.kind == AttrKind::Hex || spec.kind == AttrKind::Fixed || spec.zeroWrittenAs != 0 || !spec.kept) {
            return plan;
        }
        for (const AttrSpec& other : layout.attrs) {
            if (&other == &spec) break;
            if (other.offset == spec.offset) return plan;  // one field, two values
        }
        Plan::Attr attr;
        if (spec.when != WriteIf::Never) {
            // The written name must lead the reader back to this field.
            if (spec.name == nullptr || !isPlain(spec.name) || layout.attribute(symbolOf(schema_, spec.name)) != &spec) {
                return plan;
            }
            attr.readBack = true;
        }
        const bool known = visitField(spec, [&](auto kind) {
            constexpr AttrKind k = decltype(kind)::value;
            if constexpr (isSpelled(k)) {
                const EnumTable& written = spellingsWritten<k>(spec);
                const EnumTable& read = spellingsRead<k>(spec);
                auto readBack = [&](const char* text) { return read.read(symbolOf(schema_, text)); };
                for (int i = 0; i < written.spellingCount; ++i) {
                    const char* text = written.spellings[i].text;
                    if (text == nullptr || !isPlain(text)) return false;
                    attr.spelled.push_back(readBack(text));
                }
                if (written.otherText == nullptr || !isPlain(written.otherText)) return false;
                attr.other = readBack(written.otherText);
            }
            return true;
        });
        if (!known) return plan;
        const std::size_t index = plan.attrs.size();
        if (spec.kind == AttrKind::Text && attr.readBack) plan.texts.push_back(index);
        const bool number = spec.kind == AttrKind::I32 || spec.kind == AttrKind::Long || spec.kind == AttrKind::Sector;
        if (spec.when == WriteIf::Always) plan.alwaysAttribute = true;
        if (!number || spec.when != WriteIf::Always) plan.changes.push_back(index);  // else read back as it is
        plan.attrs.push_back(std::move(attr));
    }
    // An element without an attribute written whatever it holds may be
    // written "<X/>", which the reader passes over: the text way.
    if (!plan.alwaysAttribute) return plan;
    // Each child must come back into the field it was written from.
    const void* blank = layout.blank();
    for (const ChildSpec& spec : layout.children) {
        if (spec.write == nullptr || layout.form == Form::AlwaysShort) return plan;  // held but never written
        if ((spec.store == Store::Optional || spec.store == Store::Repeated) &&
            spec.present(spec, spec.field(const_cast<void*>(blank)))) {
            return plan;  // a fresh record would hold one
        }
        const int count = spec.layout != nullptr ? 1 : spec.alternativeCount;
        for (int i = 0; i < count; ++i) {
            const LayoutBase* child = spec.layout != nullptr ? spec.layout : spec.alternatives[i];
            const LayoutBase* found = nullptr;
            if (layout.child(child->element, &found) != &spec || found != child) return plan;
        }
    }
    plan.inPlace = true;
    return plan;
}

const Normaliser::Plan& Normaliser::plan(const LayoutBase& layout) {
    for (const Plan& known : plans_) {
        if (known.layout == &layout) return known;
    }
    plans_.push_back(makePlan(layout));
    return plans_.back();
}

// Whether every element of a record can be normalised in place.
class Normaliser::Check final : public ElementVisitor {
public:
    explicit Check(Normaliser& owner) : owner_(owner) {}
    bool inPlace = true;

    void element(const LayoutBase& layout, const void* record, bool absent) override {
        ++depth_;
        // An absent child written as an empty one would come back present.
        if (!inPlace || absent || depth_ > kMaxNesting) {
            inPlace = false;
            return;
        }
        const Plan& plan = owner_.plan(layout);
        if (!plan.inPlace) {
            inPlace = false;
            return;
        }
        for (const std::size_t i : plan.texts) {
            const AttrSpec& spec = layout.attrs[i];
            if (!attributeWritten(spec, record)) continue;
            inPlace = inPlace && visitField(
                                     spec,
                                     [](auto kind, const auto& value) {
                                         if constexpr (decltype(kind)::value == AttrKind::Text) {
                                             return !value || isPlain(*value);
                                         } else {
                                             return true;
                                         }
                                     },
                                     record);
        }
    }
    void leave(const LayoutBase&) override { --depth_; }

private:
    Normaliser& owner_;
    int depth_ = 0;
};

// Normalises every element, once Check has found that each can be.
class Normaliser::Apply final : public ElementVisitor {
public:
    explicit Apply(Normaliser& owner) : owner_(owner) {}

    // The visitor is handed the records the caller's record holds, which are
    // its own to change.
    void element(const LayoutBase& layout, const void* held, bool) override {
        const Plan& plan = owner_.plan(layout);
        void* record = const_cast<void*>(held);
        const void* blank = layout.blank();
        for (const std::size_t i : plan.changes) {
            const AttrSpec& spec = layout.attrs[i];
            const Plan::Attr& attr = plan.attrs[i];
            const bool readBack = attr.readBack && attributeWritten(spec, record);
            visitField(
                spec,
                [&](auto kind, auto& field, const auto& fresh) {
                    constexpr AttrKind k = decltype(kind)::value;
                    if constexpr (k != AttrKind::Fixed) {
                        if (!readBack) {
                            field = fresh;
                        } else if constexpr (isSpelled(k)) {
                            field = static_cast<FieldOfKind<k>>(spelledBack(spellingsWritten<k>(spec), attr, field));
                        } else if constexpr (k == AttrKind::Text) {
                            if (!field) field.emplace();  // written as "" and read as an empty text
                        }
                    }
                },
                record, blank);
        }
    }

private:
    static std::int32_t spelledBack(const EnumTable& written, const Plan::Attr& attr, std::int32_t value) {
        for (int i = 0; i < written.spellingCount; ++i) {
            if (written.spellings[i].value == value) return attr.spelled[static_cast<std::size_t>(i)];
        }
        return attr.other;
    }

    Normaliser& owner_;
};

Normaliser::InPlace Normaliser::inPlace(const LayoutBase& layout, void* record) noexcept {
    try {
        Check check(*this);
        visitElement(layout, record, check);
        if (!check.inPlace) return InPlace::NeedsText;
        Apply apply(*this);
        visitElement(layout, record, apply);
        return InPlace::Done;
    } catch (const std::bad_alloc&) {
        return InPlace::OutOfMemory;
    }
}

Normaliser::ReadBack Normaliser::readBackFrom(const LayoutBase& layout, writer::ConfigText text) noexcept {
    ReadBack back;
    back.text = std::move(text);
    if (!back.text.text) return back;  // the memory sink dropped it: nothing to read
    try {
        back.parseError = std::string("parse error ") + layout.name + "\n";
        back.stream = xml::TokenStream::onMemory(back.text.text.get(), static_cast<std::size_t>(back.text.length));
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "parse error %s\n", layout.name);
        back.stream.reset();
    }
    return back;
}

}  // namespace model
