#include "model/normalise.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "model/layout45.h"
#include "model/sanparse.h"
#include "tests/support/failing_alloc.h"

// The oracle is the text itself: the partition written by the 4.5 writer and
// read back by the 4.5 partition reader. The normaliser must yield the very
// record that gives, field by field.

namespace model {
namespace {

// Every element of a record with every stored field as held (two flags both
// written "true" still differ here).
class Fields final : public ElementVisitor {
public:
    std::string text;
    std::vector<std::pair<const LayoutBase*, void*>> records;

    void element(const LayoutBase& layout, const void* record, bool) override {
        records.emplace_back(&layout, const_cast<void*>(record));
        text += layout.name;
        for (const AttrSpec& spec : layout.attrs) {
            visitField(spec, [&](auto, const auto& value) { text += ' ' + shown(value); }, record);
        }
        text += '\n';
    }

private:
    static std::string shown(const Text& value) { return value ? '"' + std::string(*value) + '"' : "(absent)"; }
    template <class N>
    static std::string shown(N value) {
        return std::to_string(+value);
    }
};

Fields fieldsOf(NimbraPartition& partition) {
    Fields fields;
    visitElement(kNimbraPartition45, &partition, fields);
    return fields;
}

std::string throughText(const NimbraPartition& partition) {
    writer::XmlSink out = writer::XmlSink::toMemory();
    writeRecord(out, kNimbraPartition45, partition);
    const writer::ConfigText text = out.takeBuffer();
    std::unique_ptr<NimbraPartition> read = readPartition45(text.text.get(), static_cast<std::size_t>(text.length));
    return read != nullptr ? fieldsOf(*read).text : "(nothing read)";
}

void expectAsThroughText(Normaliser& normalise, NimbraPartition partition) {
    const std::string expected = throughText(partition);
    ASSERT_TRUE(normalise(kNimbraPartition45, partition));
    EXPECT_EQ(fieldsOf(partition).text, expected);
}

// One record of each layout of a partition.
NimbraPartition everyRecord() {
    NimbraPartition partition{"sum", {DynamicDiskSegment{}}, StripeSet{"set", 64, {StripeElement{"el", 1, 1}}}};
    partition.segments[0].guid = "seg";
    partition.segments[0].owner = "srv";
    return partition;
}

constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();

// The values worth trying in a field of each type: edges, every spelling of
// the partition's tables and the values around them, and texts the text form
// may change (escapes, CR, NUL, bytes outside ASCII, past the plain length).
std::vector<std::int32_t> numbers() {
    std::vector<std::int32_t> values = {kMin, kMin + 1, kMax, 1000};
    for (std::int32_t v = -2; v <= 110; ++v) values.push_back(v);
    return values;
}
const std::vector<std::uint32_t> kUnsigned = {0, 1, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu};
const std::vector<std::int8_t> kFlags = {0, 1, -1, 2, 127, -128};
const std::vector<Text> kTexts = {
    std::nullopt, "", "abc-123_x.y:z", " !#$%()*+,-./09:;=?@AZ[\\]^_`az{|}~", "a&b", "&amp;&#65;", "<a>",
    "say \"x\"", "it's", "a\rb", "a\r\nb", "ab\r", "a\nb", "a\tb", std::string("ab\0cd", 5), std::string("\0a", 2),
    "a\x7F", "caf\xC3\xA9", std::string(4096, 'g'), std::string(4097, 'h')};

template <class T>
const auto& valuesOf() {
    if constexpr (std::is_same_v<T, Text>) {
        return kTexts;
    } else if constexpr (std::is_same_v<T, std::uint32_t>) {
        return kUnsigned;
    } else if constexpr (std::is_same_v<T, std::int8_t>) {
        return kFlags;
    } else {
        static const std::vector<std::int32_t> values = numbers();
        return values;
    }
}

// Each field of each record over its values, in partitions of every shape.
TEST(Normalise, EveryFieldOverItsValuesAsThroughText) {
    Normaliser normalise(schema45());  // one for all, as for a document
    NimbraPartition noStripeSet = everyRecord(), emptyStripeSet = everyRecord();
    noStripeSet.stripeSet.reset();
    emptyStripeSet.stripeSet->stripeElements.clear();
    emptyStripeSet.segments.emplace_back();
    for (const NimbraPartition& shape : {NimbraPartition{}, noStripeSet, emptyStripeSet, everyRecord()}) {
        NimbraPartition base = shape;
        const auto records = fieldsOf(base).records;
        for (std::size_t r = 0; r < records.size(); ++r) {
            for (const AttrSpec& spec : records[r].first->attrs) {
                visitField(spec, [&](auto kind) {
                    using T = FieldOfKind<decltype(kind)::value>;
                    for (const T& value : valuesOf<T>()) {
                        SCOPED_TRACE(std::string(records[r].first->name) + "." + spec.name);
                        NimbraPartition partition = base;
                        *static_cast<T*>(spec.field(fieldsOf(partition).records[r].second)) = value;
                        expectAsThroughText(normalise, std::move(partition));
                    }
                });
            }
        }
    }
}

// Whichever allocation fails, the normaliser says so or yields the oracle's
// record, both ways round.
TEST(Normalise, RunningOutOfMemory) {
    for (const char* owner : {"plain", "not <plain>"}) {
        NimbraPartition partition = everyRecord();
        partition.segments[0].owner = owner;
        const std::string expected = throughText(partition);
        for (long n = 1;; ++n) {
            SCOPED_TRACE(std::string(owner) + ", allocation " + std::to_string(n));
            NimbraPartition copy = partition;
            Normaliser normalise(schema45());
            ::testing::internal::CaptureStderr();
            testing_support::failAllocation(n);
            const bool normalised = normalise(kNimbraPartition45, copy);
            const bool hit = testing_support::allocationFailed();
            testing_support::stopFailingAllocations();
            const std::string err = ::testing::internal::GetCapturedStderr();
            if (normalised) {
                EXPECT_EQ(fieldsOf(copy).text, expected);
            } else {
                EXPECT_TRUE(hit);
                EXPECT_TRUE(err.empty() || err == "parse error NimbraPartition\n") << err;
            }
            if (!hit) break;
        }
    }
}

}  // namespace
}  // namespace model
