#include "model/validate.h"

#include <algorithm>
#include <new>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "xml/log.h"

namespace model {

namespace {

constexpr std::int32_t kCopyManagerType = 7;
constexpr std::int32_t kDirectDeviceCategory = 2;
constexpr std::size_t kClientWorkingEntries = 16;

bool isEmpty(const Text& text) { return !text.has_value() || text->empty() || (*text)[0] == '\0'; }

// Counters below 2 are raised to the identifier base; higher ones stay, even
// below the base.
void raiseCounter(std::int32_t& counter, std::int32_t base) {
    if (counter < 2 && counter < base) counter = base;
}

// The first physical unit with a given guid. Built once per pass so that the
// walk stays linear in the number of devices and sections.
class UnitsByGuid {
public:
    explicit UnitsByGuid(const std::vector<PhysicalDev>& units) {
        for (const PhysicalDev& unit : units) {
            if (!isEmpty(unit.guid)) byGuid_.try_emplace(std::string_view(unit.guid->c_str()), &unit);
        }
    }
    /// An absent or empty identifier names no unit.
    const PhysicalDev* find(const Text& guid) const {
        if (isEmpty(guid)) return nullptr;
        const auto found = byGuid_.find(std::string_view(guid->c_str()));
        return found != byGuid_.end() ? found->second : nullptr;
    }

private:
    std::unordered_map<std::string_view, const PhysicalDev*> byGuid_;
};

bool onDirectDevice(const VirtualDev& dev, const UnitsByGuid& units) {
    for (const LocalDataSet& dataSet : dev.localDataSets) {
        for (const PDevSection& section : dataSet.pdevSections) {
            const PhysicalDev* unit = units.find(section.guid);
            if (unit != nullptr && unit->category == kDirectDeviceCategory) return true;
        }
    }
    return false;
}

void fillInquiry(VirtualDev& dev, const std::string& bridgeInquiry, const UnitsByGuid& units) {
    if (dev.type == kCopyManagerType || !isEmpty(dev.inquiryString) || onDirectDevice(dev, units)) return;
    // A copy that cannot be made leaves the device as it was.
    try {
        const PhysicalDev* unit = units.find(dev.sedPDGuid);
        if (unit != nullptr && unit->inquiryString) dev.inquiryString = *unit->inquiryString;
        if (isEmpty(dev.inquiryString)) dev.inquiryString = bridgeInquiry;
    } catch (const std::bad_alloc&) {
    }
}

void fillInquiries(SANBridge& bridge) {
    if (!bridge.properties.inquiry) return;
    const std::string& inquiry = *bridge.properties.inquiry;
    LogicalResources& logical = bridge.logicalResources;
    const UnitsByGuid units(bridge.physicalResources.physicalDevs.items);
    std::vector<VirtualDev>* const sections[] = {
        &logical.sanResources.items,      &logical.nasResources.items,       &logical.replicaResources.items,
        &logical.snapshotResources.items, &logical.cacheResources.items,     &logical.adaptiveResources.items,
        &logical.fastlaneResources.items, &logical.bmrResources.items,
    };
    for (std::vector<VirtualDev>* devs : sections) {
        for (VirtualDev& dev : *devs) fillInquiry(dev, inquiry, units);
    }
    if (logical.systemResources.copyManagerResources) {
        for (VirtualDev& dev : logical.systemResources.copyManagerResources->items) fillInquiry(dev, inquiry, units);
    }
    if (logical.virtualDev) fillInquiry(*logical.virtualDev, inquiry, units);
}

// Each client gets a working list of 16 entries; nothing in the list changes
// the client, so only the allocation is observable.
void checkClients(const SANBridge& bridge) {
    for (std::size_t i = 0; i < bridge.sanClientList.items.size(); ++i) {
        try {
            std::vector<const VirtualAdapter*> working;
            working.reserve(kClientWorkingEntries);
        } catch (const std::bad_alloc&) {
            xml::logNotice(0, {"kxutil", "sanparse.c", "validateSANBridge", __LINE__}, "%s",
                           "cannot allocate memory");
        }
    }
}

}  // namespace

void validateSANBridge(SANBridge& bridge) noexcept {
    // Identifiers of one server live in blocks of 10000: 1 to 10000, 10001 to 20000...
    const std::int32_t nextVDevID = bridge.logicalResources.nextVDevID;
    const std::int32_t base =
        static_cast<std::int32_t>((static_cast<std::int64_t>(nextVDevID) - 1) / 10000 * 10000 + 1);
    raiseCounter(bridge.logicalResources.snapshotGroupList.nextGroupID, base);
    raiseCounter(bridge.sanClientList.nextClientID, base);
    raiseCounter(bridge.logicalResources.iscsiTargetList.nextTargetID, base);

    std::vector<PhysicalAdapter>& adapters = bridge.physicalResources.physicalAdapters.items;
    // Stable, so that adapters with equal numbers keep their document order
    // (stable_sort falls back to an in-place merge when it gets no buffer).
    std::stable_sort(adapters.begin(), adapters.end(),
                     [](const PhysicalAdapter& a, const PhysicalAdapter& b) { return a.number < b.number; });

    try {
        fillInquiries(bridge);
    } catch (const std::bad_alloc&) {
        // Devices not reached yet keep what they had.
    }
    checkClients(bridge);
}

}  // namespace model
