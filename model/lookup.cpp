#include "model/lookup.h"

namespace model {

const VirtualDev* findVirtualDev(const SANBridge& bridge, std::int32_t id) noexcept {
    const LogicalResources& logical = bridge.logicalResources;
    const std::vector<VirtualDev>* const lists[] = {
        &logical.sanResources.items,       &logical.nasResources.items,   &logical.replicaResources.items,
        &logical.snapshotResources.items,  &logical.cacheResources.items, &logical.adaptiveResources.items,
        &logical.fastlaneResources.items,  &logical.bmrResources.items,
    };
    for (const std::vector<VirtualDev>* list : lists) {
        for (const VirtualDev& dev : *list) {
            if (dev.id == id) return &dev;
        }
    }
    if (logical.systemResources.copyManagerResources) {
        for (const VirtualDev& dev : logical.systemResources.copyManagerResources->items) {
            if (dev.id == id) return &dev;
        }
    }
    if (logical.virtualDev && logical.virtualDev->id == id) return &*logical.virtualDev;
    return nullptr;
}

}  // namespace model
