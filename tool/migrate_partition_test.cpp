#include "tool/migrate_partition.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "model/layout45.h"
#include "writer/sink.h"

// The round trip through the text form is the oracle: the direct path must
// yield the very record it yields, for every field.

namespace {

using model::AttrKind;
using model::AttrSpec;
using model::DynamicDiskSegment;
using model::NimbraPartition;
using model::StripeElement;
using model::StripeSet;

constexpr std::int32_t kMin32 = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMax32 = std::numeric_limits<std::int32_t>::max();

std::string quoted(const model::Text& text) {
    if (!text) return "(absent)";
    std::string out = "\"";
    for (const unsigned char c : *text) {
        if (c >= 0x20 && c < 0x7F) {
            out.push_back(static_cast<char>(c));
        } else {
            char hex[8];
            std::snprintf(hex, sizeof hex, "\\x%02X", c);
            out += hex;
        }
    }
    return out + "\"";
}

// Every attribute field of a record by its layout, stored values as they are
// (two flags both written "true" still differ here).
template <class R>
std::string fields(const model::Layout<R>& layout, const R& record) {
    std::string out = layout.name;
    for (const AttrSpec& spec : layout.attrs) {
        const void* field = spec.field(const_cast<R*>(&record));
        out += std::string(" ") + spec.name + "=";
        switch (spec.kind) {
        case AttrKind::Bool:
        case AttrKind::Bool3:
            out += std::to_string(*static_cast<const std::int8_t*>(field));
            break;
        case AttrKind::Sector:
        case AttrKind::Hex:
            out += std::to_string(*static_cast<const std::uint32_t*>(field));
            break;
        case AttrKind::Text:
            out += quoted(*static_cast<const model::Text*>(field));
            break;
        default:
            out += std::to_string(*static_cast<const std::int32_t*>(field));
            break;
        }
    }
    return out + "\n";
}

std::string fields(const NimbraPartition& partition) {
    std::string out = fields(model::kNimbraPartition45, partition);
    for (const DynamicDiskSegment& segment : partition.segments) out += fields(model::kDynamicDiskSegment45, segment);
    if (partition.stripeSet) {
        out += fields(model::kStripeSet45, *partition.stripeSet);
        for (const StripeElement& element : partition.stripeSet->stripeElements) {
            out += fields(model::kStripeElement45, element);
        }
    } else {
        out += "(no stripe set)\n";
    }
    return out;
}

std::string written(const NimbraPartition& partition) {
    writer::XmlSink out = writer::XmlSink::toMemory();
    model::writeRecord(out, model::kNimbraPartition45, partition);
    const writer::ConfigText text = out.takeBuffer();
    return text.text ? std::string(text.text.get(), static_cast<std::size_t>(text.length)) : std::string();
}

// Both ways from copies of `partition`, compared field by field and as text.
void expectSameAsRoundTrip(const NimbraPartition& partition) {
    NimbraPartition forDirect = partition;
    const NimbraPartition direct = tool::normalisePartition(forDirect);
    const NimbraPartition trip = tool::roundTripPartition(partition);
    EXPECT_EQ(fields(direct), fields(trip));
    EXPECT_EQ(written(direct), written(trip));
}

DynamicDiskSegment plainSegment() {
    DynamicDiskSegment segment;
    segment.guid = "seg-guid";
    segment.firstSector = 64;
    segment.lastSector = 2047;
    segment.owner = "srv";
    segment.dataset = 3;
    segment.seqNo = 1;
    segment.type = 2;
    segment.timestamp = 1234567;
    return segment;
}

NimbraPartition withSegment(DynamicDiskSegment segment) {
    NimbraPartition partition;
    partition.checksum = "c1";
    partition.segments.push_back(std::move(segment));
    return partition;
}

NimbraPartition withStripeElement(StripeElement element) {
    NimbraPartition partition;
    partition.stripeSet.emplace();
    partition.stripeSet->guid = "set";
    partition.stripeSet->stripeElements.push_back(std::move(element));
    return partition;
}

const std::vector<std::int32_t> kNumbers = {0, 1, -1, 2, 99, 100, 1000, kMin32, kMin32 + 1, kMax32, kMax32 - 1};
const std::vector<std::uint32_t> kSectors = {0, 1, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu};
const std::vector<std::int8_t> kFlags = {0, 1, -1, 2, 127, -128};

// Every value from -2 to 110 covers each spelling of the partition's tables
// and the values around them; the limits are far outside.
std::vector<std::int32_t> enumValues() {
    std::vector<std::int32_t> values = {kMin32, kMax32, 1000};
    for (std::int32_t v = -2; v <= 110; ++v) values.push_back(v);
    return values;
}

struct TextRow {
    const char* what;
    model::Text text;
};

std::vector<TextRow> textRows() {
    return {
        {"absent", std::nullopt},
        {"empty", std::string()},
        {"plain", std::string("abc-123_x.y:z")},
        {"spaces", std::string(" a b ")},
        {"ampersand", std::string("a&b")},
        {"reference", std::string("&amp;&#65;")},
        {"angle brackets", std::string("<a>")},
        {"double quote", std::string("say \"x\"")},
        {"apostrophe", std::string("it's")},
        {"CR", std::string("a\rb")},
        {"CR LF", std::string("a\r\nb")},
        {"trailing CR", std::string("ab\r")},
        {"LF", std::string("a\nb")},
        {"tab", std::string("a\tb")},
        {"NUL inside", std::string("ab\0cd", 5)},
        {"NUL first", std::string("\0ab", 3)},
        {"DEL", std::string("a\x7F")},
        {"high bytes", std::string("caf\xC3\xA9")},
        {"long plain", std::string(5000, 'g')},
        {"longest direct", std::string(4096, 'h')},
    };
}

// Each field of a record's layout over its kind's edge values, one at a time.
template <class R>
void everyFieldOverItsEdges(const model::Layout<R>& layout, const R& base, NimbraPartition (*wrap)(R)) {
    for (const AttrSpec& spec : layout.attrs) {
        auto check = [&](auto value, const std::string& shown) {
            SCOPED_TRACE(std::string(layout.name) + "." + spec.name + " = " + shown);
            R record = base;
            *static_cast<decltype(value)*>(spec.field(&record)) = value;
            expectSameAsRoundTrip(wrap(std::move(record)));
        };
        switch (spec.kind) {
        case AttrKind::I32:
        case AttrKind::Long:
            for (const std::int32_t v : kNumbers) check(v, std::to_string(v));
            break;
        case AttrKind::Enum:
            for (const std::int32_t v : enumValues()) check(v, std::to_string(v));
            break;
        case AttrKind::Sector:
            for (const std::uint32_t v : kSectors) check(v, std::to_string(v));
            break;
        case AttrKind::Bool:
            for (const std::int8_t v : kFlags) check(v, std::to_string(v));
            break;
        case AttrKind::Text:
            for (const TextRow& row : textRows()) check(row.text, row.what);
            break;
        default:
            ADD_FAILURE() << "no edge values for the kind of " << spec.name;
        }
    }
}

TEST(MigratePartition, EveryFieldOverItsEdgeValues) {
    everyFieldOverItsEdges(model::kDynamicDiskSegment45, plainSegment(), &withSegment);
    everyFieldOverItsEdges(model::kStripeElement45, StripeElement{"el", 1, 1}, &withStripeElement);
    everyFieldOverItsEdges<StripeSet>(model::kStripeSet45, StripeSet{"set", 64, {StripeElement{"el", 0, 0}}},
                                      [](StripeSet set) {
                                          NimbraPartition partition;
                                          partition.stripeSet = std::move(set);
                                          return partition;
                                      });
    everyFieldOverItsEdges<NimbraPartition>(model::kNimbraPartition45, withSegment(plainSegment()),
                                            [](NimbraPartition partition) { return partition; });
}

TEST(MigratePartition, ShapesOfThePartition) {
    struct Row {
        const char* what;
        NimbraPartition partition;
    };
    NimbraPartition empty;
    NimbraPartition emptyStripeSet;
    emptyStripeSet.stripeSet.emplace();
    NimbraPartition everything = withSegment(plainSegment());
    everything.segments.push_back(DynamicDiskSegment{});
    everything.stripeSet = StripeSet{std::nullopt, 0, {StripeElement{}, StripeElement{"e2", 2, 1}}};
    NimbraPartition segmentsNoSet = everything;
    segmentsNoSet.stripeSet.reset();
    const Row rows[] = {
        {"nothing at all", empty},
        {"an empty stripe set alone", emptyStripeSet},
        {"fresh records in every list", everything},
        {"segments without a stripe set", segmentsNoSet},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        expectSameAsRoundTrip(row.partition);
    }
}

// Only texts that may not come back as they are send a partition the long way.
TEST(MigratePartition, WhichPartitionsTakeTheRoundTrip) {
    struct Row {
        const char* what;
        NimbraPartition partition;
        bool direct;
    };
    auto segmentWith = [](auto field, model::Text text) {
        DynamicDiskSegment segment = plainSegment();
        segment.*field = std::move(text);
        return withSegment(std::move(segment));
    };
    NimbraPartition checksum = withSegment(plainSegment());
    checksum.checksum = "a<b";
    NimbraPartition element = withStripeElement(StripeElement{"a\rb", 0, 0});
    NimbraPartition setGuid = withStripeElement(StripeElement{"ok", 0, 0});
    setGuid.stripeSet->guid = "x\"y";
    const Row rows[] = {
        {"plain texts", withSegment(plainSegment()), true},
        {"absent texts", withSegment(DynamicDiskSegment{}), true},
        {"printable ASCII", segmentWith(&DynamicDiskSegment::owner, " !#$%()*+,-./09:;=?@AZ[\\]^_`az{|}~"), true},
        {"an escaped byte in an always-written text", segmentWith(&DynamicDiskSegment::guid, "a&b"), false},
        {"an escaped byte in a text written when present", segmentWith(&DynamicDiskSegment::mac, "'"), false},
        {"an escaped byte in a text written when not empty", segmentWith(&DynamicDiskSegment::linkGuid, ">"),
         false},
        {"a text that is not written", segmentWith(&DynamicDiskSegment::linkGuid, std::string("\0<&", 3)), true},
        {"a NUL inside", segmentWith(&DynamicDiskSegment::owner, std::string("a\0b", 3)), false},
        {"LF", segmentWith(&DynamicDiskSegment::owner, "a\nb"), false},
        {"tab", segmentWith(&DynamicDiskSegment::owner, "a\tb"), false},
        {"high byte", segmentWith(&DynamicDiskSegment::owner, "\xE9"), false},
        {"4096 bytes", segmentWith(&DynamicDiskSegment::owner, std::string(4096, 'a')), true},
        {"4097 bytes", segmentWith(&DynamicDiskSegment::owner, std::string(4097, 'a')), false},
        {"the partition's checksum", checksum, false},
        {"a stripe element's guid", element, false},
        {"the stripe set's guid", setGuid, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(tool::normalisesDirectly(row.partition), row.direct);
    }
}

TEST(MigratePartition, TextsAreMovedNotCopied) {
    NimbraPartition old = withSegment(plainSegment());
    const char* owner = old.segments[0].owner->data();
    const NimbraPartition direct = tool::normalisePartition(old);
    EXPECT_EQ(direct.segments[0].owner->data(), owner);
    EXPECT_EQ(direct.segments[0].owner, "srv");
}

// Random partitions: values drawn from the edges and from anywhere, texts
// mostly plain, a few with bytes that send the partition the long way.
class RandomPartitions {
public:
    explicit RandomPartitions(std::uint32_t seed) : rng_(seed) {}

    NimbraPartition next() {
        NimbraPartition partition;
        partition.checksum = text();
        const int segments = below(5);
        for (int i = 0; i < segments; ++i) partition.segments.push_back(segment());
        if (below(3) != 0) {
            StripeSet set{text(), number(), {}};
            const int elements = below(4);
            for (int i = 0; i < elements; ++i) set.stripeElements.push_back(StripeElement{text(), number(), flag()});
            partition.stripeSet = std::move(set);
        }
        return partition;
    }

private:
    int below(int n) { return static_cast<int>(rng_() % static_cast<std::uint32_t>(n)); }
    std::int32_t number() {
        switch (below(4)) {
        case 0: return kNumbers[static_cast<std::size_t>(below(static_cast<int>(kNumbers.size())))];
        case 1: return below(120) - 5;
        default: return static_cast<std::int32_t>(rng_());
        }
    }
    std::uint32_t sector() { return below(2) == 0 ? kSectors[static_cast<std::size_t>(below(5))] : rng_(); }
    std::int8_t flag() {
        return below(2) == 0 ? kFlags[static_cast<std::size_t>(below(6))] : static_cast<std::int8_t>(below(2));
    }
    model::Text text() {
        switch (below(8)) {
        case 0: return std::nullopt;
        case 1: return std::string();
        default: break;
        }
        static const char kPlain[] = "abcdefXYZ0123456789-_.:{} ";
        static const char kOther[] = "&<>\"'\r\n\t\x7F\xC3";
        std::string out;
        const int length = below(12);
        for (int i = 0; i < length; ++i) out.push_back(kPlain[below(sizeof kPlain - 1)]);
        auto anywhere = [&] { return out.begin() + below(static_cast<int>(out.size()) + 1); };
        if (below(40) == 0) out.insert(anywhere(), kOther[below(sizeof kOther - 1)]);
        if (below(200) == 0) out.insert(anywhere(), '\0');
        return out;
    }
    DynamicDiskSegment segment() {
        DynamicDiskSegment s;
        s.guid = text();
        s.firstSector = sector();
        s.lastSector = sector();
        s.owner = text();
        s.dataset = number();
        s.seqNo = number();
        s.isLastSegment = flag();
        s.sectorSize = number();
        s.type = number();
        s.lunType = number();
        s.timestamp = number();
        s.umapTimestamp = number();
        s.isDeleted = flag();
        s.isMirror = flag();
        s.isWorm = flag();
        s.linkGuid = text();
        s.cacheGuid = text();
        s.fastlaneGuid = text();
        s.snapshotGuid = text();
        s.deviceName = text();
        s.remoteServer = text();
        s.remoteGuid = text();
        s.fileSystem = number();
        s.fastlaneSize = sector();
        s.ssgName = text();
        s.mac = text();
        s.clientName = text();
        s.osType = number();
        return s;
    }

    std::mt19937 rng_;
};

TEST(MigratePartition, RandomPartitionsAsTheRoundTripLeavesThem) {
    RandomPartitions random(20261121);
    int direct = 0, roundTrip = 0;
    for (int i = 0; i < 3000; ++i) {
        SCOPED_TRACE("partition " + std::to_string(i));
        const NimbraPartition partition = random.next();
        (tool::normalisesDirectly(partition) ? direct : roundTrip) += 1;
        expectSameAsRoundTrip(partition);
        if (::testing::Test::HasFailure()) break;  // one is enough to read
    }
    // Both paths are exercised.
    EXPECT_GT(direct, 1000);
    EXPECT_GT(roundTrip, 300);
}

}  // namespace
