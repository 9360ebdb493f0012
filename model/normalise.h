#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "model/element_io.h"
#include "writer/sink.h"
#include "xml/token_stream.h"

// Normalising a record: making it what the reader makes of the text the writer
// writes for it. Most records are normalised in place, field by field from
// their layouts; a record whose text might read back otherwise than its fields
// say goes through the text itself.

namespace model {

namespace detail {

// Whether every element read yielded a record: the reader drops a child that
// failed (memory ran out) and reads on.
class WholeRead final : public ReadObserver {
public:
    bool whole = true;
    void elementEnded(const LayoutBase&, bool yielded, const char*) override { whole = whole && yielded; }
    void elementStarted(const LayoutBase&, unsigned long) override {}
    void elementRead(const LayoutBase&, const void*) override {}
    void childPlaced(const ChildSpec*) override {}
    void inputEnded(unsigned long) override {}
    void documentEnded(int, unsigned long) override {}
    void elementSkipped(std::string_view, int, unsigned long) override {}
    void attribute(const LayoutBase&, std::string_view, int, const AttrSpec*, std::string_view,
                   unsigned long) override {}
};

}  // namespace detail

/// Normalises records for the reader of one schema. What it works out about a
/// layout is kept for the next record, so one instance serves a document.
class Normaliser {
public:
    explicit Normaliser(const Schema& schema) noexcept;
    ~Normaliser();
    Normaliser(const Normaliser&) = delete;
    Normaliser& operator=(const Normaliser&) = delete;

    /// Makes `record` what the schema's reader reads back from the element
    /// `layout` writes for it: a field the writer leaves out as the fresh
    /// record holds it, a spelled value as its spelling reads back, a written
    /// absent text as an empty one. False when that reading yields no record
    /// ("parse error <element>\n" on stderr, as the reader writes it) or not
    /// the whole of it, or memory runs out; `record` is then unspecified.
    template <class R>
    bool operator()(const Layout<R>& layout, R& record) noexcept;

private:
    struct Plan;
    class Check;
    class Apply;
    enum class InPlace : std::uint8_t { Done, NeedsText, OutOfMemory };
    // The text of an element with a stream over it, and the reader's message.
    struct ReadBack {
        writer::ConfigText text;
        std::unique_ptr<xml::TokenStream> stream;  // null: nothing to read
        std::string parseError;
    };

    InPlace inPlace(const LayoutBase& layout, void* record) noexcept;
    static ReadBack readBackFrom(const LayoutBase& layout, writer::ConfigText text) noexcept;
    const Plan& plan(const LayoutBase& layout);  // made on first use; throws std::bad_alloc
    Plan makePlan(const LayoutBase& layout) const;

    const Schema& schema_;
    std::vector<Plan> plans_;
};

template <class R>
bool Normaliser::operator()(const Layout<R>& layout, R& record) noexcept {
    const InPlace outcome = inPlace(layout, &record);
    if (outcome != InPlace::NeedsText) return outcome == InPlace::Done;
    writer::XmlSink out = writer::XmlSink::toMemory();
    writeRecord(out, layout, record);
    if (!out.complete()) return false;  // a text cut short would read back as another record
    ReadBack back = readBackFrom(layout, out.takeBuffer());
    if (back.stream == nullptr) return false;
    detail::WholeRead whole;
    ParseContext ctx{*back.stream, schema_, 0, &whole};
    std::unique_ptr<R> read = readDocument(ctx, layout, back.parseError.c_str());
    if (read == nullptr || !whole.whole) return false;
    record = std::move(*read);
    return true;
}

}  // namespace model
