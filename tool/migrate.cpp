#include "tool/migrate.h"

#include <new>
#include <utility>

#include "legacy/document40.h"
#include "legacy/sanparse_x.h"
#include "tool/backconvert.h"
#include "tool/conversion_observer.h"
#include "tool/migrate_partition.h"

namespace tool {

namespace {

constexpr std::uint32_t kMissingArgument = 0x9001000D;
constexpr std::uint32_t kNothingProduced = 0x90010005;
constexpr std::int32_t kConnectionScsi = 2;

model::PhysicalAdapter rebuildAdapter(legacy::PhysicalAdapter& old) {
    model::PhysicalAdapter adapter;
    adapter.number = old.number;
    adapter.channels = old.channels;
    adapter.mode = old.mode;
    adapter.info = old.info;
    adapter.WWPN = old.WWPN;
    adapter.spoofWWPN = old.spoofWWPN;
    adapter.monitorWWPN = old.monitorWWPN;
    adapter.secondaryStandbyWWPN = old.secondaryStandbyWWPN;
    // bus, device, irq, biosWWPN and mismatch are new in 4.5; moduleName,
    // vsaEnabled, maxAliasCount and alpa are deliberately not carried: the
    // 4.5 server finds them out again.
    adapter.persistentBinding = std::move(old.persistentBinding);
    adapter.aliasWWPNList = std::move(old.aliasWWPNList);
    adapter.standbyAliasWWPNList = std::move(old.standbyAliasWWPNList);
    return adapter;
}

// The texts are taken from the 4.0 device rather than copied, and what is left
// of it is released at once: it is released with its adapter in any case, and
// this way the next device's records reuse its memory.
model::PhysicalDev convertDevice(model::PhysicalDev& old) {
    model::PhysicalDev device;
    device.name = std::move(old.name);
    device.type = std::move(old.type);
    device.guid = std::move(old.guid);
    device.fsid = std::move(old.fsid);
    device.wwid = std::move(old.wwid);
    device.owner = std::move(old.owner);
    device.devName = std::move(old.devName);
    device.inquiryString = std::move(old.inquiryString);
    device.comments = std::move(old.comments);
    device.category = old.category;
    device.isNew = old.isNew;
    device.fsidRelianceEnabled = old.fsidRelianceEnabled;
    device.queueDepth = old.queueDepth;
    device.geometry = old.geometry;
    device.scsiAddress = old.scsiAddress;
    // Every migrated device names its connection; 4.0 left it unset for SCSI disks.
    device.connectionType = old.connectionType != 0 ? old.connectionType : kConnectionScsi;
    device.lunType = 0;
    device.scsiAliasing.items.reserve(old.scsiAliasing.items.size());
    for (model::DeviceAlias& oldAlias : old.scsiAliasing.items) {
        model::DeviceAlias alias;  // the alias's guid is not carried
        alias.adapter = oldAlias.adapter;
        alias.channel = oldAlias.channel;
        alias.id = oldAlias.id;
        alias.lun = oldAlias.lun;
        alias.wwid = std::move(oldAlias.wwid);
        alias.name = std::move(oldAlias.name);
        device.scsiAliasing.items.push_back(std::move(alias));
    }
    // A fresh configuration-partition record: the 4.0 area is not valid in 4.5.
    if (old.confPartition) device.confPartition.emplace();
    // The server partition becomes what the 4.5 writer and reader make of it.
    device.nimbraPartition = normalisePartition(old.nimbraPartition);
    // As many facts as before, but empty: their 4.0 texts do not apply any more.
    device.infoItems.resize(old.infoItems.size());
    old = model::PhysicalDev{};
    return device;
}

}  // namespace

// A disk seen through a further path lists its first path first; 4.5 keeps
// one device per disk, the one whose own address is that first path.
bool isFurtherPath(const model::PhysicalDev& device) noexcept {
    if (device.scsiAliasing.items.empty()) return false;
    const model::DeviceAlias& first = device.scsiAliasing.items.front();
    const model::SCSIAddress& own = device.scsiAddress;
    return first.adapter != own.adapter || first.channel != own.channel || first.id != own.id ||
           first.lun != own.lun;
}

std::uint32_t serialiseDownLevel(model::SANBridge* bridge, model::SerializedText* out) noexcept {
    if (bridge == nullptr || out == nullptr) return kMissingArgument;
    *out = model::SerializedText{};
    model::SerializedText text;
    {
        const std::unique_ptr<BackConversion> old = BackConversion::of(*bridge);
        if (old == nullptr) return kNothingProduced;
        text = legacy::writeDocument40ToMemory(old->bridge());
    }  // the 4.0 root is released and the 4.5 root whole again
    if (!text.text) return kNothingProduced;
    *out = std::move(text);
    return 0;
}

std::unique_ptr<model::SANBridge> migrate(legacy::SANBridge& old) noexcept {
    try {
        auto root = std::make_unique<model::SANBridge>();
        std::vector<legacy::PhysicalAdapter>& oldAdapters = old.physicalResources.physicalAdapters;

        // Everything that can fail comes first. A failure leaves the devices
        // converted so far emptied in `old`, which the caller releases anyway.
        std::size_t deviceCount = 0;
        for (const legacy::PhysicalAdapter& adapter : oldAdapters) deviceCount += adapter.physicalDevs.size();
        std::vector<model::PhysicalDev>& devices = root->physicalResources.physicalDevs.items;
        devices.reserve(deviceCount);
        for (legacy::PhysicalAdapter& adapter : oldAdapters) {
            for (model::PhysicalDev& device : adapter.physicalDevs) {
                if (!isFurtherPath(device)) devices.push_back(convertDevice(device));
            }
        }
        std::vector<model::PhysicalAdapter>& adapters = root->physicalResources.physicalAdapters.items;
        adapters.reserve(oldAdapters.size());

        // From here on nothing allocates: the rest moves across.
        for (legacy::PhysicalAdapter& adapter : oldAdapters) adapters.push_back(rebuildAdapter(adapter));
        root->physicalResources.blockDevices = std::move(old.physicalResources.blockDevices);
        root->name = std::move(old.name);
        root->ipAddr = std::move(old.ipAddr);
        root->ipsanPort = old.ipsanPort;
        root->timestamp = std::move(old.timestamp);
        root->instance = old.instance;
        root->properties = std::move(old.properties);
        // The 4.0 SANBridgeInfo lists clients, which 4.5 keeps only in SANClientList.
        root->failoverPrimary = std::move(old.failoverPrimary);
        root->failoverSecondary = std::move(old.failoverSecondary);
        root->logicalResources = std::move(old.logicalResources);
        root->sanClientList = std::move(old.sanClientList);
        oldAdapters.clear();  // the devices that were converted or skipped go with them
        root->serializer = &serialiseDownLevel;
        return root;
    } catch (const std::bad_alloc&) {
        return nullptr;
    } catch (const MigrationFailed&) {
        return nullptr;
    }
}

namespace {

std::unique_ptr<legacy::SANBridge> read40(const char* text, std::int32_t length,
                                          ConversionObserver* observer) noexcept {
    return legacy::readBridge40(text, length > 0 ? static_cast<std::size_t>(length) : 0,
                                observer != nullptr ? observer->reader() : nullptr);
}

std::unique_ptr<model::SANBridge> migrateRead(std::unique_ptr<legacy::SANBridge> old, std::uint32_t options,
                                              ConversionObserver* observer) noexcept {
    if (!old) return nullptr;
    if (observer != nullptr) observer->read(*old);
    std::unique_ptr<model::SANBridge> root = migrate(*old);
    if (root) root->options = options;
    return root;
}

}  // namespace

std::unique_ptr<model::SANBridge> parseAndMigrate(const char* text, std::int32_t length, std::uint32_t options,
                                                  std::uint32_t* errorOut, ConversionObserver* observer) noexcept {
    if (errorOut != nullptr) *errorOut = 0;
    return migrateRead(read40(text, length, observer), options, observer);
}

}  // namespace tool
