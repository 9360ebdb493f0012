#include "model/sanparse.h"

#include <array>

#include "model/layout45.h"

namespace model {

namespace {

constexpr const char* kParseErrorBridge = "parse error SANBridge\n";
constexpr const char* kParseErrorPartition = "parse error NimbraPartition\n";
constexpr int kElementSlots = 139;

// The parser of each element number; several numbers share one where elements
// share a layout. Numbers without a parser stay null and read as unknown.
std::array<const LayoutBase*, kElementSlots> buildParsers() {
    std::array<const LayoutBase*, kElementSlots> parsers{};
    const LayoutBase* const layouts[] = {
        &kSCSIAddress45, &kGeometry45, &kInfoItem45, &kInquiryString45, &kComments45, &kDeviceAlias45,
        &kSCSIAliasing45, &kConfPartition45, &kDynamicDiskSegment45, &kStripeElement45, &kStripeSet45,
        &kNimbraPartition45, &kPhysicalDev45, &kPhysicalDevs45, &kBinding45, &kPersistentBinding45, &kWWPN45,
        &kWWPNList45, &kAliasWWPNList45, &kStandbyAliasWWPNList45, &kPhysicalAdapter45, &kPhysicalAdapters45,
        &kBlockDevice45, &kStripeDevice45, &kBlockDevices45, &kPhysicalResources45, &kPDevSection45,
        &kUmapSegment45,
    };
    for (const LayoutBase* layout : layouts) parsers[static_cast<std::size_t>(layout->element)] = layout;
    return parsers;
}

const LayoutBase* parserFor45(int number) {
    static const std::array<const LayoutBase*, kElementSlots> parsers = buildParsers();
    return number >= 0 && number < kElementSlots ? parsers[static_cast<std::size_t>(number)] : nullptr;
}

const Schema kSchema45{&lookupAttribute45, &findElement45, &parserFor45, "sanparse.c"};

template <class R>
std::unique_ptr<R> readAll(std::unique_ptr<xml::TokenStream> ts, const Layout<R>& target, const char* parseError) {
    if (ts == nullptr) {
        std::fputs(parseError, stderr);
        return nullptr;
    }
    ParseContext ctx{*ts, kSchema45};
    return readDocument(ctx, target, parseError);
}

}  // namespace

const Schema& schema45() noexcept { return kSchema45; }

std::unique_ptr<NimbraPartition> readPartition45(const char* buffer, std::size_t length) noexcept {
    return readAll(xml::TokenStream::onMemory(buffer, length), kNimbraPartition45, kParseErrorPartition);
}

}  // namespace model
