#include "tool/backconvert.h"

#include <algorithm>
#include <map>
#include <new>
#include <utility>

#include "legacy/layout40.h"
#include "model/layout45.h"

namespace tool {

namespace {

bool sameAddress(const model::DeviceAlias& path, const model::SCSIAddress& address) {
    return path.adapter == address.adapter && path.channel == address.channel && path.id == address.id &&
           path.lun == address.lun;
}

bool samePath(const model::DeviceAlias& a, const model::DeviceAlias& b) {
    return a.adapter == b.adapter && a.channel == b.channel && a.id == b.id && a.lun == b.lun;
}

// Calls `each` with every further path of the device: an entry after the
// first of its SCSIAliasing whose address is not the device's own, each
// address once. The upgrade kept the device seen through the first path.
template <class Each>
void forEachFurtherPath(const model::PhysicalDev& device, Each each) {
    const std::vector<model::DeviceAlias>& paths = device.scsiAliasing.items;
    for (std::size_t i = 1; i < paths.size(); ++i) {
        if (sameAddress(paths[i], device.scsiAddress)) continue;
        bool seen = false;
        for (std::size_t j = 1; j < i && !seen; ++j) seen = samePath(paths[j], paths[i]);
        if (!seen) each(paths[i]);
    }
}

legacy::PhysicalAdapter adapter40(const model::PhysicalAdapter& adapter) {
    legacy::PhysicalAdapter old;
    old.number = adapter.number;
    old.channels = adapter.channels;
    old.info = adapter.info;
    old.WWPN = adapter.WWPN;
    old.spoofWWPN = adapter.spoofWWPN;
    old.mode = adapter.mode;
    old.monitorWWPN = adapter.monitorWWPN;
    old.secondaryStandbyWWPN = adapter.secondaryStandbyWWPN;
    old.moduleName = adapter.moduleName;
    old.vsaEnabled = adapter.vsaEnabled;
    old.maxAliasCount = adapter.maxAliasCount;
    old.alpa = adapter.alpa;
    old.persistentBinding = adapter.persistentBinding;
    old.aliasWWPNList = adapter.aliasWWPNList;
    old.standbyAliasWWPNList = adapter.standbyAliasWWPNList;
    return old;
}

// An adapter for each number a device or path names that no adapter has,
// every other field zero, before the first adapter with a greater number.
void addMissingAdapters(std::vector<legacy::PhysicalAdapter>& adapters,
                        const std::vector<model::PhysicalDev>& devices) {
    auto ensure = [&adapters](std::int32_t number) {
        auto has = [number](const legacy::PhysicalAdapter& a) { return a.number == number; };
        if (std::any_of(adapters.begin(), adapters.end(), has)) return;
        auto greater = [number](const legacy::PhysicalAdapter& a) { return a.number > number; };
        legacy::PhysicalAdapter added;
        added.number = number;
        adapters.insert(std::find_if(adapters.begin(), adapters.end(), greater), std::move(added));
    };
    for (const model::PhysicalDev& device : devices) {
        ensure(device.scsiAddress.adapter);
        forEachFurtherPath(device, [&](const model::DeviceAlias& path) { ensure(path.adapter); });
    }
}

}  // namespace

std::unique_ptr<BackConversion> BackConversion::of(model::SANBridge& root) noexcept {
    std::unique_ptr<BackConversion> conversion(new (std::nothrow) BackConversion(root));
    if (conversion == nullptr) return nullptr;
    try {
        conversion->build();
    } catch (const std::bad_alloc&) {
        return nullptr;  // the destructor gives back what was taken
    }
    return conversion;
}

// Everything that allocates comes before the devices are taken, but the
// copies of devices seen through further paths; a failure there leaves the
// devices taken so far to the destructor, which gives them back.
void BackConversion::build() {
    std::vector<model::PhysicalDev>& devices = root_.physicalResources.physicalDevs.items;
    std::vector<legacy::PhysicalAdapter>& adapters = bridge_.physicalResources.physicalAdapters;
    for (const model::PhysicalAdapter& adapter : root_.physicalResources.physicalAdapters.items) {
        adapters.push_back(adapter40(adapter));
    }
    addMissingAdapters(adapters, devices);

    std::map<std::int32_t, std::uint32_t> firstWithNumber;
    for (std::size_t i = adapters.size(); i-- > 0;) firstWithNumber[adapters[i].number] = static_cast<std::uint32_t>(i);
    auto adapterOf = [&firstWithNumber](std::int32_t number) { return firstWithNumber.at(number); };

    // Room for every device and copy, so that none moves once placed.
    std::vector<std::size_t> counts(adapters.size());
    for (const model::PhysicalDev& device : devices) {
        ++counts[adapterOf(device.scsiAddress.adapter)];
        forEachFurtherPath(device, [&](const model::DeviceAlias& path) { ++counts[adapterOf(path.adapter)]; });
    }
    for (std::size_t i = 0; i < adapters.size(); ++i) adapters[i].physicalDevs.reserve(counts[i]);
    places_.reserve(devices.size());

    bridge_.name = root_.name;
    bridge_.ipAddr = root_.ipAddr;
    bridge_.timestamp = root_.timestamp;
    bridge_.ipsanPort = root_.ipsanPort;
    bridge_.instance = root_.instance;

    for (model::PhysicalDev& device : devices) {
        const std::uint32_t at = adapterOf(device.scsiAddress.adapter);
        std::vector<model::PhysicalDev>& list = adapters[at].physicalDevs;
        list.push_back(std::move(device));
        places_.push_back({at, static_cast<std::uint32_t>(list.size() - 1)});
        const model::PhysicalDev& placed = list.back();
        forEachFurtherPath(placed, [&](const model::DeviceAlias& path) {
            model::PhysicalDev copy = placed;
            copy.scsiAddress = model::SCSIAddress{path.adapter, path.channel, path.id, path.lun};
            adapters[adapterOf(path.adapter)].physicalDevs.push_back(std::move(copy));
        });
    }

    sharedTaken_ = true;
    swapShared();
}

// Taking the shared parts and giving them back are the same exchange: the
// 4.0 root's are empty before and the 4.5 root's after.
void BackConversion::swapShared() noexcept {
    using std::swap;
    swap(bridge_.properties, root_.properties);
    swap(bridge_.failoverPrimary, root_.failoverPrimary);
    swap(bridge_.failoverSecondary, root_.failoverSecondary);
    swap(bridge_.physicalResources.blockDevices, root_.physicalResources.blockDevices);
    swap(bridge_.logicalResources, root_.logicalResources);
    swap(bridge_.sanClientList, root_.sanClientList);
}

BackConversion::~BackConversion() {
    if (sharedTaken_) swapShared();
    std::vector<model::PhysicalDev>& devices = root_.physicalResources.physicalDevs.items;
    std::vector<legacy::PhysicalAdapter>& adapters = bridge_.physicalResources.physicalAdapters;
    for (std::size_t i = 0; i < places_.size(); ++i) {
        devices[i] = std::move(adapters[places_[i].adapter].physicalDevs[places_[i].position]);
    }
}

namespace {

const char* kindWord(model::OmissionKind kind, bool plural) {
    switch (kind) {
    case model::OmissionKind::Element:
        return plural ? "elements" : "element";
    case model::OmissionKind::Attribute:
        return plural ? "attributes" : "attribute";
    case model::OmissionKind::Spelling:
        return plural ? "spellings" : "spelling";
    }
    return "";
}

// The 4.0 layout holds the physical side in another shape: the adapters
// sit directly in PhysicalResources, the devices in their adapters.
const model::LayoutBase* regroup40(int element) {
    switch (static_cast<model::ElementId>(element)) {
    case model::ElementId::PhysicalAdapters:
        return &legacy::kPhysicalResources40;
    case model::ElementId::PhysicalDevs:
        return &legacy::kPhysicalAdapter40;
    default:
        return nullptr;
    }
}

}  // namespace

std::string LeftOut::summary() const {
    struct Count {
        model::OmissionKind kind;
        std::string_view name;
        std::size_t count;
    };
    std::vector<Count> counts;
    for (const model::Omission& item : items) {
        auto same = [&item](const Count& c) { return c.kind == item.kind && c.name == item.name; };
        auto found = std::find_if(counts.begin(), counts.end(), same);
        if (found != counts.end()) {
            ++found->count;
        } else {
            counts.push_back({item.kind, item.name, 1});
        }
    }
    std::string text;
    for (const Count& c : counts) {
        if (!text.empty()) text += ", ";
        text += std::to_string(c.count) + ' ' + std::string(c.name) + ' ' + kindWord(c.kind, c.count != 1);
    }
    return text;
}

bool findLeftOut(const model::SANBridge& root, LeftOut& out) noexcept {
    try {
        model::OmissionFinder finder(legacy::kSANBridge40, out.items, &regroup40);
        model::visitElement(model::kSANBridge45, &root, finder);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

}  // namespace tool
