#include "legacy/fixups.h"

#include <algorithm>
#include <map>
#include <new>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace legacy {

namespace {

constexpr std::int32_t kCopyManagerType = 7;  // model::kDeviceType "CopyManager"
constexpr std::int32_t kTargetMode = 2;       // model::kPortMode "target"

bool isEmpty(const Text& text) { return !text.has_value() || text->empty(); }

// Every virtual device of the bridge, of every kind.
template <class F>
void forEachVirtualDev(model::LogicalResources& logical, F&& visit) {
    if (logical.virtualDev) visit(*logical.virtualDev);
    model::VirtualDevList* const lists[] = {
        &logical.sanResources,      &logical.nasResources,   &logical.replicaResources,
        &logical.snapshotResources, &logical.cacheResources, &logical.fastlaneResources,
        &logical.bmrResources,
    };
    for (model::VirtualDevList* list : lists) {
        for (model::VirtualDev& dev : list->items) visit(dev);
    }
    for (model::VirtualDev& dev : logical.adaptiveResources.items) visit(dev);
    if (logical.systemResources.copyManagerResources) {
        for (model::VirtualDev& dev : logical.systemResources.copyManagerResources->items) visit(dev);
    }
}

// Counters below 2 are raised to the identifier base; higher ones stay, even
// below the base. Counters of absent lists are raised too.
void raiseCounters(SANBridge& bridge) {
    // Wide, so that the extreme nextVDevID values cannot overflow.
    const std::int64_t base = (std::int64_t{bridge.logicalResources.nextVDevID} - 1) / 10000 * 10000 + 1;
    std::int32_t* const counters[] = {
        &bridge.logicalResources.snapshotGroupList.nextGroupID,
        &bridge.logicalResources.iscsiTargetList.nextTargetID,
        &bridge.sanClientList.nextClientID,
    };
    for (std::int32_t* counter : counters) {
        if (*counter < 2 && *counter < base) *counter = static_cast<std::int32_t>(base);
    }
}

// Stable: adapters with equal numbers keep their document order.
void sortAdapters(SANBridge& bridge) {
    std::stable_sort(bridge.physicalResources.physicalAdapters.begin(),
                     bridge.physicalResources.physicalAdapters.end(),
                     [](const PhysicalAdapter& a, const PhysicalAdapter& b) { return a.number < b.number; });
}

// A device without an owner takes the owner of the physical device its
// sedPDGuid names (the first with that guid, adapters in sorted order), else
// the bridge's name. Copy-manager devices keep theirs. A bridge with name=""
// still fills from the linked devices; only one without a name skips it.
void fillOwners(SANBridge& bridge) {
    if (!bridge.name) return;
    std::unordered_map<std::string_view, const model::PhysicalDev*> unitsByGuid;
    for (const PhysicalAdapter& adapter : bridge.physicalResources.physicalAdapters) {
        for (const model::PhysicalDev& unit : adapter.physicalDevs) {
            if (!isEmpty(unit.guid)) unitsByGuid.try_emplace(*unit.guid, &unit);
        }
    }
    forEachVirtualDev(bridge.logicalResources, [&](model::VirtualDev& dev) {
        if (dev.type == kCopyManagerType || !isEmpty(dev.owner)) return;
        const model::PhysicalDev* linked = nullptr;
        if (!isEmpty(dev.sedPDGuid)) {
            const auto found = unitsByGuid.find(*dev.sedPDGuid);
            if (found != unitsByGuid.end()) linked = found->second;
        }
        try {
            dev.owner = linked != nullptr && !isEmpty(linked->owner) ? *linked->owner : *bridge.name;
        } catch (const std::bad_alloc&) {
            // The device keeps no owner, as it was.
        }
    });
}

// A pair whose target is "*" stands for one pair per target-mode adapter that
// has a WWPN. When a client has any such pair, its list becomes the expansion
// alone: deliberately, its pairs without a wildcard are dropped then.
void expandWildcardTargets(SANBridge& bridge) {
    std::vector<std::string_view> targets;
    for (const PhysicalAdapter& adapter : bridge.physicalResources.physicalAdapters) {
        if (adapter.mode == kTargetMode && adapter.WWPN.has_value()) targets.push_back(*adapter.WWPN);
    }
    for (model::SANClient& client : bridge.sanClientList.items) {
        std::vector<model::WWPNPair>& pairs = client.fibreChannelProperties.wwpnPairList.items;
        try {
            std::vector<model::WWPNPair> expanded;
            for (const model::WWPNPair& pair : pairs) {
                if (pair.targetWWPN != "*") continue;
                for (const std::string_view target : targets) expanded.push_back({pair.initiatorWWPN, target});
            }
            if (!expanded.empty()) pairs = std::move(expanded);
        } catch (const std::bad_alloc&) {
            // This client keeps its pairs as read.
        }
    }
}

// Each member's device remembers its group; a device listed by several groups
// ends with the last.
void linkSnapshotGroups(SANBridge& bridge) {
    std::unordered_set<std::int32_t> deviceIds;
    forEachVirtualDev(bridge.logicalResources, [&](model::VirtualDev& dev) { deviceIds.insert(dev.id); });
    std::map<std::int32_t, std::size_t> links;
    const std::vector<model::SnapshotGroup>& groups = bridge.logicalResources.snapshotGroupList.items;
    for (std::size_t group = 0; group < groups.size(); ++group) {
        for (const model::SnapshotGroupMember& member : groups[group].members) {
            if (deviceIds.count(member.vid) != 0) links[member.vid] = group;
        }
    }
    bridge.snapshotGroupOfDevice = std::move(links);
}

}  // namespace

void applyFixups(SANBridge& bridge) noexcept {
    raiseCounters(bridge);
    sortAdapters(bridge);
    // The later steps need working memory; without it a step is left out, and
    // what it changes is only ever replaced whole.
    try {
        fillOwners(bridge);
    } catch (const std::bad_alloc&) {
    }
    try {
        expandWildcardTargets(bridge);
    } catch (const std::bad_alloc&) {
    }
    try {
        linkSnapshotGroups(bridge);
    } catch (const std::bad_alloc&) {
    }
}

const model::SnapshotGroup* snapshotGroupOf(const SANBridge& bridge, std::int32_t vid) noexcept {
    const auto found = bridge.snapshotGroupOfDevice.find(vid);
    if (found == bridge.snapshotGroupOfDevice.end()) return nullptr;
    return &bridge.logicalResources.snapshotGroupList.items[found->second];
}

}  // namespace legacy
