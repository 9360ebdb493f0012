#pragma once
#include <array>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <new>

#include "model/attr_names.h"
#include "model/layout.h"
#include "model/read_observer.h"
#include "xml/token_stream.h"

// The generic reader and writer that walk element layouts (model/layout.h),
// and the document loop that finds one top-level element.

namespace model {

/// What a document layout supplies to the generic reader.
struct Schema {
    int (*lookupAttribute)(const xml::NameKey& name);             // number or -1
    const ElementName* (*findElement)(const xml::NameKey& name);  // entry or null
    const LayoutBase* (*parserFor)(int number);              // null: no parser
    const char* logFile;                                     // source file named in log lines
};

/// At most this many known elements are parsed one inside the other; the next
/// one is passed over like an unknown element, so no document exhausts the stack.
constexpr int kMaxNesting = 1000;

/// The attribute a name found at a position of an element's start tag, as
/// last looked up there. A document repeats its elements with their
/// attributes in the same order, so the same name at the same place takes a
/// compare of its bytes instead of a table look-up and a search of the layout.
struct RememberedName {
    const LayoutBase* layout = nullptr;  // null: an empty entry
    std::uint32_t position = 0;
    std::uint32_t hash = 0;
    std::uint32_t length = 0;
    const AttrSpec* spec = nullptr;  // null: a name the layout does not keep
    char bytes[36] = {};
};

struct ParseContext {
    xml::TokenStream& ts;
    const Schema& schema;
    int depth = 0;  // known elements being parsed, the outermost counting 1
    ReadObserver* observer = nullptr;  // told what is read and passed over; null: nobody listens
    std::array<RememberedName, 128> names{};
};

/// Passes over one top-level start tag: false when `ctx` stops at something
/// else. Used by the document loop; exposed for the other layouts' readers.
enum class TopLevel : std::uint8_t { End, Target, Other };

/// Peeks the next top-level token: End at the end of input; Target when it is
/// the start of an element numbered `target` (its entry in `*entry`); Other
/// after dropping anything else (an unknown element's start tag, a known one
/// parsed and released, or any other token).
TopLevel nextTopLevel(ParseContext& ctx, int target, const ElementName** entry) noexcept;

/// Whether the end of input without any target element is reported like a
/// failed one (the 4.5 readers) or passes silently (the 4.0 reader).
enum class WhenNone : std::uint8_t { Report, Silent };

/// The document loop: reads every top-level token; each `target` element is
/// parsed, the last one read wins. A target whose parser yields nothing writes
/// `parseError` to stderr and stops the loop; so does the end of input without
/// one, unless `whenNone` is Silent. Returns the record or null.
template <class R>
std::unique_ptr<R> readDocument(ParseContext& ctx, const Layout<R>& target, const char* parseError,
                                WhenNone whenNone = WhenNone::Report) noexcept {
    std::unique_ptr<R> result;
    bool failed = false;
    for (;;) {
        const ElementName* entry = nullptr;
        const TopLevel next = nextTopLevel(ctx, target.element, &entry);
        if (next == TopLevel::End) {
            if (ctx.observer != nullptr) ctx.observer->documentEnded(ctx.ts.lexer().depth(), ctx.ts.lexer().line());
            break;
        }
        if (next == TopLevel::Other) continue;
        std::unique_ptr<R> record(new (std::nothrow) R{});
        bool parsed = false;
        if (record == nullptr) {
            ctx.ts.fail(target.allocFailure.c_str());
        } else {
            ++ctx.depth;
            parsed = parseElement(ctx, target, record.get(), entry->name);
            --ctx.depth;
        }
        if (!parsed) {
            result.reset();
            failed = true;
            break;
        }
        result = std::move(record);
    }
    if (failed || (result == nullptr && whenNone == WhenNone::Report)) std::fputs(parseError, stderr);
    return result;
}

}  // namespace model
