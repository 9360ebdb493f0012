#pragma once
#include <string_view>

// What the generic reader tells a listener about the document it reads: every
// element it parses and where, and everything it passes over. The reader asks
// for a listener once per element and once per attribute (a pointer test), so
// reading without one costs nothing worth measuring.

namespace model {

struct AttrSpec;
struct ChildSpec;
struct LayoutBase;

class ReadObserver {
public:
    virtual ~ReadObserver() = default;

    /// A known element's parser starts; `line` is where its start tag begins.
    virtual void elementStarted(const LayoutBase& layout, unsigned long line) = 0;
    /// Its attributes and children are read into `record`, whose layout's
    /// finishing hook (if any) runs right after this.
    virtual void elementRead(const LayoutBase& layout, const void* record) = 0;
    /// The element ended: `yielded` false when it gave no record, `failure`
    /// then the stream's message (null when the input just ended).
    virtual void elementEnded(const LayoutBase& layout, bool yielded, const char* failure) = 0;
    /// Where the parent put the element that ended last: the child it was read
    /// as, or null when the parent does not keep that kind and released it.
    virtual void childPlaced(const ChildSpec* spec) = 0;
    /// The input ended inside the open elements (their end tags are missing).
    virtual void inputEnded(unsigned long line) = 0;
    /// The document loop reached the end of input with `openTags` start tags
    /// (of any name) not closed; `line` is the last line.
    virtual void documentEnded(int openTags, unsigned long line) = 0;

    /// An element start tag the reader passed over: `number` -1 for a name
    /// the layout does not know, else a known element without a parser or
    /// nested too deep. Its content is read as content of the open element.
    virtual void elementSkipped(std::string_view name, int number, unsigned long line) = 0;
    /// An attribute name in a start tag of `layout`: `id` its number in the
    /// attribute table (-1: unknown), `spec` the layout's declaration (null:
    /// passed over with its value), `value` the raw value when it was read
    /// before the name counted (empty otherwise).
    virtual void attribute(const LayoutBase& layout, std::string_view name, int id, const AttrSpec* spec,
                           std::string_view value, unsigned long line) = 0;
};

}  // namespace model
