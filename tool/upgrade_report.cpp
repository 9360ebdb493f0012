#include "tool/upgrade_report.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <numeric>
#include <sys/stat.h>
#include <unistd.h>
#include <unordered_map>
#include <unordered_set>

#include "legacy/layout40.h"
#include "legacy/names40.h"
#include "legacy/sanparse_x.h"
#include "model/attr_names.h"
#include "model/layout45.h"
#include "tool/conversion_observer.h"
#include "tool/convert.h"
#include "tool/migrate.h"
#include "tool/read_trace.h"
#include "writer/file_update.h"
#include "xml/attr_readers.h"
#include "xml/lexer.h"

namespace tool {

namespace {

using legacy::SANBridge;
using model::AttrId;
using model::LayoutBase;
using model::VirtualDev;
using Devices = std::vector<VirtualDev>;

constexpr int kNone = ReadTrace::kNone;

// The lists of virtual devices, as the summary counts them.
struct DeviceList {
    const char* name;
    const LayoutBase* layout40;  // null: not in a 4.0 document
    const LayoutBase* within;    // the list's parent below LogicalResources, if any
    const Devices* (*items)(const model::LogicalResources& logical);
};

const DeviceList kDeviceLists[] = {
    {"SANResources", &legacy::kSANResources40, nullptr, [](const auto& l) { return &l.sanResources.items; }},
    {"NASResources", &legacy::kNASResources40, nullptr, [](const auto& l) { return &l.nasResources.items; }},
    {"ReplicaResources", &legacy::kReplicaResources40, nullptr,
     [](const auto& l) { return &l.replicaResources.items; }},
    {"SnapshotResources", &legacy::kSnapshotResources40, nullptr,
     [](const auto& l) { return &l.snapshotResources.items; }},
    {"CacheResources", &legacy::kCacheResources40, nullptr, [](const auto& l) { return &l.cacheResources.items; }},
    {"FastlaneResources", &legacy::kFastlaneResources40, nullptr,
     [](const auto& l) { return &l.fastlaneResources.items; }},
    {"BMRResources", &legacy::kBMRResources40, nullptr, [](const auto& l) { return &l.bmrResources.items; }},
    {"AdaptiveResources", nullptr, nullptr, [](const auto& l) { return &l.adaptiveResources.items; }},
    {"CopyManagerResources", &legacy::kCopyManagerResources40, &legacy::kSystemResources40,
     [](const model::LogicalResources& l) -> const Devices* {
         const auto& list = l.systemResources.copyManagerResources;
         return list ? &list->items : nullptr;
     }},
};

std::string quoted(const model::Text& text) { return text.has_value() ? "\"" + std::string(*text) + "\"" : "(none)"; }
bool isSet(const model::Text& text) { return text.has_value() && !(*text).empty(); }
std::string textOf(const model::Text& value) { return value.has_value() ? std::string(*value) : std::string(); }
const char* flag(int value) { return value != 0 ? "true" : "false"; }

std::string joined(const std::vector<std::string>& parts, std::size_t shown) {
    std::string text;
    for (std::size_t i = 0; i < parts.size() && i < shown; ++i) text += (i == 0 ? "" : ", ") + parts[i];
    if (parts.size() > shown) text += ", ...";
    return text;
}

Finding finding(const char* kind, Severity severity, unsigned long line, std::string path, std::string detail) {
    return Finding{kind, severity, static_cast<std::uint32_t>(line), std::move(path), std::move(detail), 1};
}

template <class Address>
std::string address(const Address& a) {
    return "(adapter " + std::to_string(a.adapter) + " channel " + std::to_string(a.channel) + " id " +
           std::to_string(a.id) + " lun " + std::to_string(a.lun) + ")";
}

// Line number of the input's last byte, counting line ends as the lexer does
// (CR LF, lone CR and LF each end one line).
unsigned long lastLine(const char* text, std::size_t length) {
    unsigned long line = 1;
    for (std::size_t i = 0; i + 1 < length; ++i) {
        if (text[i] == '\r' || (text[i] == '\n' && (i == 0 || text[i - 1] != '\r'))) ++line;
    }
    return line;
}

// What the summary counts, in the input or in the result.
struct Counts {
    std::int64_t adapters = 0, physicalDevs = 0;
    std::vector<std::int64_t> devices;  // per list of kDeviceLists, then the single VirtualDev
    std::int64_t clients = 0, snapshotGroups = 0, iscsiTargets = 0;
};

// The counts beyond the physical side, which both models hold alike.
template <class Bridge>
Counts countsOf(const Bridge& bridge, std::size_t adapters, std::size_t physicalDevs) {
    const auto size = [](std::size_t n) { return static_cast<std::int64_t>(n); };
    Counts counts;
    counts.adapters = size(adapters);
    counts.physicalDevs = size(physicalDevs);
    for (const DeviceList& list : kDeviceLists) {
        const Devices* devices = list.items(bridge.logicalResources);
        counts.devices.push_back(devices != nullptr ? size(devices->size()) : 0);
    }
    counts.devices.push_back(bridge.logicalResources.virtualDev ? 1 : 0);
    counts.clients = size(bridge.sanClientList.items.size());
    counts.snapshotGroups = size(bridge.logicalResources.snapshotGroupList.items.size());
    counts.iscsiTargets = size(bridge.logicalResources.iscsiTargetList.items.size());
    return counts;
}

// The bridge as the reader read it, before its fix-ups changed it.
struct BridgeBefore {
    std::int32_t counters[3] = {};
    std::vector<std::int32_t> adapterNumbers;  // document order
    std::unordered_set<const VirtualDev*> ownerless;
};

const std::int32_t* counterFields(const SANBridge& bridge, int which) {
    switch (which) {
    case 0:
        return &bridge.logicalResources.snapshotGroupList.nextGroupID;
    case 1:
        return &bridge.logicalResources.iscsiTargetList.nextTargetID;
    default:
        return &bridge.sanClientList.nextClientID;
    }
}

template <class F>
void forEachDevice(const model::LogicalResources& logical, F&& visit) {
    for (const DeviceList& list : kDeviceLists) {
        if (const Devices* devices = list.items(logical)) {
            for (const VirtualDev& device : *devices) visit(device);
        }
    }
    if (logical.virtualDev) visit(*logical.virtualDev);
}

// What the 4.0 reader passes over or fails on, told as it reads; the tree
// of elements it keeps for the findings of the migration.
class UpgradeTrace final : public ReadTrace {
public:
    explicit UpgradeTrace(Report& report) : report_(report) {}

    const BridgeBefore& before() const noexcept { return before_; }
    int failedBridge() const noexcept { return failedBridge_; }
    const std::string& failedBridgeMessage() const noexcept { return failedBridgeMessage_; }

    void elementSkipped(std::string_view name, int number, unsigned long line) override {
        const int parent = current();
        // The wrappers of every document.
        if (parent == kNone && (name == "SANConfig" || name == "SANBridgeList")) return;
        const std::string where = parent != kNone ? path(parent) : "";
        const std::string key = std::string(name);
        if (number < 0 && model::findElement45(key.c_str()) != nullptr) {
            fold("4.5 element " + key, [&] {
                return finding("already-4.5", Severity::Stop, line, where,
                               key + " exists only in the 4.5 layout" + lostDisks(name));
            });
            return;
        }
        std::string detail = "<" + key +
                             "> is not a 4.0 element: passed over, what it holds is read as part of the "
                             "element around it";
        if (number >= 0) {
            detail = "<" + key +
                     (legacy::layout40(number) != nullptr ? "> is nested deeper than the reader goes"
                                                          : "> has no 4.0 reader") +
                     "; its content is read as content of the element around it";
        } else if (const std::string near = suggestName(name, childNames(parent)); !near.empty()) {
            detail += "; did you mean " + near + "?";
        }
        const std::string parentName = parent != kNone ? node(parent).layout->name : "";
        fold("element " + parentName + "/" + key,
             [&] { return finding("unknown-element", Severity::Warn, line, where, detail); });
    }

    void attribute(const LayoutBase& layout, std::string_view name, int id, const model::AttrSpec* spec,
                   std::string_view value, unsigned long line) override {
        ReadTrace::attribute(layout, name, id, spec, value, line);
        if (spec != nullptr) return;
        // A name-first reader takes no value with a name it passes over.
        const auto written = [&] {
            std::string text(name);
            if (layout.order == model::ReadOrder::ValueFirst) text += "=\"" + std::string(value) + "\"";
            return text;
        };
        const auto passedOver = [&](const char* kind, Severity severity, std::string detail) {
            return finding(kind, severity, line, path(current()), std::move(detail));
        };
        const bool timeout = &layout == &legacy::kFibreChannelProperties40 && name == "handshakeTimeout";
        if (timeout || (&layout == &legacy::kSANClient40 && name == "isFibreChannelEnabled")) {
            // Written as a fresh record has them: a value that says so loses nothing.
            if (timeout ? xml::strtol32(value, 10) == 0 : value == "false") return;
            fold(foldKey('F', layout, name), [&] {
                return passedOver("fc-value-dropped", Severity::Warn,
                                  written() + " is not kept: written as " + (timeout ? "0" : "\"false\""));
            });
        } else if (id >= 0) {
            fold(foldKey('D', layout, name), [&] {
                return passedOver("attribute-dropped", Severity::Warn,
                                  written() + " is not read for " + layout.name + " and is lost");
            });
        } else if (model::lookupAttribute45(std::string(name).c_str()) >= 0) {
            fold(foldKey('5', layout, name), [&] {
                return passedOver("already-4.5", Severity::Stop,
                                  std::string(name) + " exists only in the 4.5 layout" + lostDisks(name));
            });
        } else {
            fold(foldKey('U', layout, name), [&] {
                std::string detail = std::string(name) + " is not a 4.0 attribute name; passed over";
                std::vector<std::string_view> names;
                for (const model::AttrSpec& known : layout.attrs) names.push_back(known.name);
                if (const std::string near = suggestName(name, names); !near.empty()) {
                    detail += "; did you mean " + near + "?";
                }
                return passedOver("unknown-attribute", Severity::Warn, std::move(detail));
            });
        }
    }

    void elementEnded(const LayoutBase& layout, bool yielded, const char* failure) override {
        const int index = current();
        ReadTrace::elementEnded(layout, yielded, failure);
        if (yielded || index == kNone) return;
        const std::string message = failure != nullptr ? failure : "the input ended inside its start tag";
        report_.add(finding("element-failed", Severity::Warn, node(index).line, path(index),
                            std::string("its parser failed (") + message + "): the element is dropped"));
        if (&layout == &legacy::kSANBridge40 && node(index).parent == kNone) {
            failedBridge_ = index;
            failedBridgeMessage_ = message;
        }
    }

    void childPlaced(const model::ChildSpec* spec) override {
        const int child = lastEnded();
        if (spec == nullptr && child != kNone && node(child).parent != kNone) {
            const int parent = node(child).parent;
            const std::string name = node(child).layout->name;
            const std::string parentName = node(parent).layout->name;
            if (node(parent).layout == &legacy::kSANBridgeInfo40) {
                fold("info " + name, [&] {
                    return finding("bridge-info-dropped", Severity::Warn, node(child).line, path(child),
                                   name + " inside SANBridgeInfo is dropped");
                });
            } else {
                fold("released " + parentName + "/" + name, [&] {
                    return finding("element-dropped", Severity::Warn, node(child).line, path(child),
                                   parentName + " does not keep " + name + ": it is read and dropped");
                });
            }
        }
        ReadTrace::childPlaced(spec);
    }

    void inputEnded(unsigned long line) override {
        if (truncated_) return;
        truncated_ = true;
        report_.add(finding("truncated", Severity::Stop, line, path(current()),
                            "the input ends inside this element: its end tag and those around it are missing"));
    }

    void documentEnded(int openTags, unsigned long line) override {
        if (truncated_ || openTags <= 0) return;
        truncated_ = true;
        report_.add(finding("truncated", Severity::Stop, line, "",
                            "the input ends with " + std::to_string(openTags) + " element(s) not closed"));
    }

protected:
    int keyAttribute(const LayoutBase& layout) const override {
        if (&layout == &legacy::kPhysicalAdapter40) return int(AttrId::number);
        if (&layout == &legacy::kPhysicalDev40) return int(AttrId::guid);
        if (&layout == &legacy::kVirtualDev40 || &layout == &legacy::kSANClient40) return int(AttrId::id);
        return -1;
    }

    void recordRead(int index, const void* record) override {
        if (node(index).layout != &legacy::kSANBridge40 || node(index).parent != kNone) return;
        const auto& bridge = *static_cast<const SANBridge*>(record);
        before_ = BridgeBefore{};
        for (int which = 0; which < 3; ++which) before_.counters[which] = *counterFields(bridge, which);
        for (const legacy::PhysicalAdapter& adapter : bridge.physicalResources.physicalAdapters) {
            before_.adapterNumbers.push_back(adapter.number);
        }
        forEachDevice(bridge.logicalResources, [&](const VirtualDev& device) {
            if (!isSet(device.owner)) before_.ownerless.insert(&device);
        });
    }

private:
    // Adds the finding `make` gives unless one with `key` was added before,
    // which then counts once more: the finding and its path are made once.
    template <class Make>
    void fold(const std::string& key, Make&& make) {
        if (!report_.foldInto(key)) report_.add(make());
    }
    // One buffer for the keys, as some are looked up for every element.
    const std::string& foldKey(char kind, const LayoutBase& layout, std::string_view name) {
        key_.assign(1, kind).append(layout.name).append(1, ' ').append(name);
        return key_;
    }

    static std::string lostDisks(std::string_view name) {
        return name == "PhysicalDevs" || name == "PhysicalAdapters"
                   ? ": the document is already upgraded, and converting it again loses its disks"
                   : ": the document looks upgraded already";
    }
    // Names an unknown child is likely a misspelling of: the children the
    // element around it reads, or the top of a document.
    std::vector<std::string_view> childNames(int parent) const {
        if (parent == kNone) return {"SANConfig", "SANBridgeList", "SANBridge"};
        std::vector<std::string_view> names;
        for (const model::ChildSpec& spec : node(parent).layout->children) {
            if (spec.layout != nullptr) names.push_back(spec.layout->name);
            for (int i = 0; i < spec.alternativeCount; ++i) names.push_back(spec.alternatives[i]->name);
        }
        return names;
    }

    Report& report_;
    std::string key_;
    BridgeBefore before_;
    bool truncated_ = false;
    int failedBridge_ = kNone;
    std::string failedBridgeMessage_;
};

// The migration's findings, from the 4.0 bridge before the migration takes
// it apart, with lines from the reader's trace.
class UpgradeAnalysis final : public ConversionObserver {
public:
    explicit UpgradeAnalysis(Report& report) : report_(report), trace_(report) {}

    model::ReadObserver* reader() noexcept override { return &trace_; }

    void read(const SANBridge& bridge) noexcept override {
        try {
            const std::vector<int> bridges = trace_.children(kNone, legacy::kSANBridge40, false);
            bridgeNode_ = trace_.complete() && !bridges.empty() ? bridges.back() : kNone;
            for (std::size_t i = 0; i + 1 < bridges.size(); ++i) {
                report_.add(finding("second-bridge-dropped", Severity::Warn, trace_.node(bridges[i]).line,
                                    trace_.path(bridges[i]),
                                    "the SANBridge at line " + std::to_string(trace_.node(bridges.back()).line) +
                                        " replaces it: only the last bridge of a document is converted"));
            }
            instanceBefore_ = bridge.instance;
            std::size_t paths = 0;
            for (const auto& adapter : bridge.physicalResources.physicalAdapters) paths += adapter.physicalDevs.size();
            input_ = countsOf(bridge, bridge.physicalResources.physicalAdapters.size(), paths);
            physicalSide(bridge);
            logicalSide(bridge);
            bridgeInfo(bridge);
        } catch (const std::bad_alloc&) {
            report_.add(finding("incomplete", Severity::Warn, 0, "", "out of memory: the report is incomplete"));
        }
    }

    void snapshotPolicyChanged(const VirtualDev& device, const model::SnapshotPolicy& before) noexcept override {
        try {
            const auto found = deviceNodes_.find(&device);
            const int at = found != deviceNodes_.end() ? found->second : kNone;
            const int policy = at != kNone ? trace_.lastKept(at, legacy::kSnapshotPolicy40) : kNone;
            std::vector<std::string> changes;
            if (before.autoDelete != 1)
                changes.push_back(std::string("autoDelete ") + flag(before.autoDelete) + " -> true");
            if (before.stopWrite != 0) changes.push_back("stopWrite true -> false");
            report_.add(
                finding("snapshot-policy-changed", Severity::Warn, trace_.lineOf(policy),
                        at != kNone ? trace_.path(at) + "/SnapshotPolicy"
                                    : "VirtualDev[id=" + std::to_string(device.id) + "]/SnapshotPolicy",
                        joined(changes, 2) + ": the device deletes its oldest snapshot instead of stopping writes"));
        } catch (const std::bad_alloc&) {
        }
    }

    // What the conversion's outcome adds: the bridge that did not come out,
    // the raised instance, the counts of the result and the new defaults.
    void finish(const Conversion& conversion) {
        if (!conversion.root) {
            noBridge();
            countResult(nullptr);
            return;
        }
        if (conversion.status != 0) {
            report_.add(finding("not-serialised", Severity::Stop, 0, "SANBridge",
                                "the converted model does not serialise: xlate45 exits 55 and writes nothing"));
        }
        report_.add(finding(
            "instance-raised", Severity::Info, trace_.attributeLine(bridgeNode_, int(AttrId::instance)), "SANBridge",
            "instance " + std::to_string(instanceBefore_) + " -> " + std::to_string(conversion.root->instance)));
        countResult(conversion.root.get());
        defaultsAdded(*conversion.root);
    }

    // The summary when there is no input to count.
    void countNothing() { countResult(nullptr); }

private:
    void noBridge() {
        std::string detail = "the document has no SANBridge";
        unsigned long line = 0;
        if (trace_.failedBridge() != kNone) {
            line = trace_.node(trace_.failedBridge()).line;
            detail = "the SANBridge's parser failed (" + trace_.failedBridgeMessage() + ")";
        } else if (!trace_.children(kNone, legacy::kSANBridge40, false).empty()) {
            detail = "the SANBridge could not be migrated (out of memory)";
        }
        report_.add(finding("no-bridge", Severity::Stop, line, "SANBridge",
                            detail + ": xlate45 writes nothing and still exits 0"));
    }

    void countResult(const model::SANBridge* root) {
        Counts result;
        if (root != nullptr) {
            const auto& physical = root->physicalResources;
            result = countsOf(*root, physical.physicalAdapters.items.size(), physical.physicalDevs.items.size());
        }
        const std::int64_t Counts::*const firsts[] = {&Counts::adapters, &Counts::physicalDevs};
        const std::int64_t Counts::*const lasts[] = {&Counts::clients, &Counts::snapshotGroups, &Counts::iscsiTargets};
        const char* const firstNames[] = {"adapters", "physicalDevs"};
        const char* const lastNames[] = {"clients", "snapshotGroups", "iscsiTargets"};
        for (int i = 0; i < 2; ++i) report_.count("", firstNames[i], input_.*firsts[i], result.*firsts[i]);
        input_.devices.resize(std::size(kDeviceLists) + 1);
        result.devices.resize(std::size(kDeviceLists) + 1);
        for (std::size_t i = 0; i < result.devices.size(); ++i) {
            report_.count("virtualDevs", i < std::size(kDeviceLists) ? kDeviceLists[i].name : "VirtualDev",
                          input_.devices[i], result.devices[i]);
        }
        for (int i = 0; i < 3; ++i) report_.count("", lastNames[i], input_.*lasts[i], result.*lasts[i]);
    }

    // Adapters come out sorted by number; their devices move to one list,
    // a disk seen through several paths once.
    void physicalSide(const SANBridge& bridge) {
        const auto& adapters = bridge.physicalResources.physicalAdapters;
        const std::vector<std::int32_t>& numbers = trace_.before().adapterNumbers;
        const int resources = trace_.lastKept(bridgeNode_, legacy::kPhysicalResources40);
        std::vector<int> adapterNodes = trace_.children(resources, legacy::kPhysicalAdapter40);
        // The fix-up's stable sort, replayed on the document order, tells
        // which node each sorted adapter came from.
        std::vector<std::size_t> order(numbers.size());
        std::iota(order.begin(), order.end(), 0);
        std::stable_sort(order.begin(), order.end(),
                         [&](std::size_t a, std::size_t b) { return numbers[a] < numbers[b]; });
        if (adapterNodes.size() != adapters.size() || order.size() != adapters.size()) {
            adapterNodes.assign(adapters.size(), kNone);
            order.resize(adapters.size());
            std::iota(order.begin(), order.end(), 0);
        }
        for (std::size_t k = 0; k < order.size(); ++k) {
            if (order[k] == k) continue;
            std::vector<std::string> before, after;
            for (std::size_t i = 0; i < order.size(); ++i) {
                before.push_back(std::to_string(numbers[i]));
                after.push_back(std::to_string(numbers[order[i]]));
            }
            const int moved = adapterNodes[order[k]];
            report_.add(finding("adapters-reordered", Severity::Info, trace_.lineOf(moved),
                                moved != kNone ? trace_.path(moved) : "SANBridge/PhysicalResources",
                                "adapters sorted by number: " + joined(before, 16) + " -> " + joined(after, 16)));
            break;
        }
        for (std::size_t k = 0; k < adapters.size(); ++k) {
            const int at = adapterNodes[order[k]];
            adapterFields(adapters[k], at);
            const std::vector<int> deviceNodes = trace_.children(at, legacy::kPhysicalDev40);
            for (std::size_t j = 0; j < adapters[k].physicalDevs.size(); ++j) {
                const int deviceAt = deviceNodes.size() == adapters[k].physicalDevs.size() ? deviceNodes[j] : kNone;
                device(adapters[k].physicalDevs[j], deviceAt, at);
            }
        }
    }

    void adapterFields(const legacy::PhysicalAdapter& adapter, int at) {
        const std::string where =
            at != kNone ? trace_.path(at) : "PhysicalAdapter[number=" + std::to_string(adapter.number) + "]";
        const auto reset = [&](AttrId id, const char* name, const std::string& was, const char* becomes) {
            report_.add(finding("adapter-field-reset", Severity::Warn, trace_.attributeLine(at, int(id)), where,
                                std::string(name) + " " + was + " -> " + becomes));
        };
        if (isSet(adapter.moduleName)) reset(AttrId::moduleName, "moduleName", quoted(adapter.moduleName), "\"\"");
        if (adapter.vsaEnabled != 0) reset(AttrId::vsaEnabled, "vsaEnabled", flag(adapter.vsaEnabled), "false");
        if (adapter.maxAliasCount != 0) {
            reset(AttrId::maxAliasCount, "maxAliasCount", std::to_string(adapter.maxAliasCount), "0");
        }
        if (isSet(adapter.alpa)) reset(AttrId::alpa, "alpa", quoted(adapter.alpa), "\"\"");
    }

    void device(const model::PhysicalDev& device, int at, int adapterAt) {
        const std::string where = at != kNone          ? trace_.path(at)
                                  : adapterAt != kNone ? trace_.path(adapterAt) + "/PhysicalDev"
                                                       : "PhysicalDev";
        const unsigned long line = trace_.lineOf(at);
        if (isFurtherPath(device)) {
            const model::DeviceAlias& first = device.scsiAliasing.items.front();
            const model::SCSIAddress& own = device.scsiAddress;
            report_.add(
                finding("path-merged", Severity::Warn, line, where,
                        "the path " + address(own) + " is folded into the device of its first path " + address(first)));
            return;  // nothing else of it comes out
        }
        if (device.connectionType == 0) {
            report_.add(finding("connection-type-defaulted", Severity::Warn, line, where,
                                "no connectionType: written as \"scsi\""));
        }
        std::vector<std::string> texts;
        int firstText = kNone;
        const std::vector<int> itemNodes = trace_.children(at, legacy::kInfoItem40);
        for (std::size_t i = 0; i < device.infoItems.size(); ++i) {
            const model::InfoItem& item = device.infoItems[i];
            if (!isSet(item.name) && !isSet(item.value)) continue;
            if (firstText == kNone && itemNodes.size() == device.infoItems.size()) firstText = itemNodes[i];
            texts.push_back(textOf(item.name) + "=" + textOf(item.value));
        }
        if (!texts.empty()) {
            report_.add(finding("info-item-emptied", Severity::Warn,
                                firstText != kNone ? trace_.node(firstText).line : line, where,
                                std::to_string(texts.size()) + " InfoItem text(s) emptied: " + joined(texts, 4)));
        }
        if (device.confPartition && (device.confPartition->firstSector != 0 || device.confPartition->lastSector != 0)) {
            const int partition = trace_.lastKept(at, legacy::kConfPartition40);
            report_.add(finding("partition-reset", Severity::Warn,
                                partition != kNone ? trace_.node(partition).line : line, where + "/ConfPartition",
                                "firstSector " + std::to_string(device.confPartition->firstSector) +
                                    " -> 0, lastSector " + std::to_string(device.confPartition->lastSector) + " -> 0"));
        }
        std::vector<std::string> guids;
        int firstGuid = kNone;
        const std::vector<int> aliasNodes =
            trace_.children(trace_.lastKept(at, legacy::kSCSIAliasing40), legacy::kDeviceAlias40);
        for (std::size_t i = 0; i < device.scsiAliasing.items.size(); ++i) {
            const model::Text& guid = device.scsiAliasing.items[i].guid;
            if (!isSet(guid)) continue;
            if (firstGuid == kNone && aliasNodes.size() == device.scsiAliasing.items.size()) firstGuid = aliasNodes[i];
            if (guids.empty() || guids.back() != *guid) guids.push_back(std::string(*guid));
        }
        if (!guids.empty()) {
            report_.add(finding("alias-guid-dropped", Severity::Warn,
                                firstGuid != kNone ? trace_.attributeLine(firstGuid, int(AttrId::guid)) : line,
                                where + "/SCSIAliasing", "DeviceAlias guid " + joined(guids, 2) + " written empty"));
        }
    }

    // Owners filled and counters raised by the fix-ups; the devices' lines
    // for the snapshot-policy fix-up, which runs after the migration.
    void logicalSide(const SANBridge& bridge) {
        const int logical = trace_.lastKept(bridgeNode_, legacy::kLogicalResources40);
        deviceNodes_.clear();
        for (const DeviceList& list : kDeviceLists) {
            const Devices* devices = list.items(bridge.logicalResources);
            if (devices == nullptr || list.layout40 == nullptr) continue;
            const int parent = list.within != nullptr ? trace_.lastKept(logical, *list.within) : logical;
            const std::vector<int> nodes =
                trace_.children(trace_.lastKept(parent, *list.layout40), legacy::kVirtualDev40);
            for (std::size_t i = 0; i < devices->size(); ++i) {
                deviceNodes_[&(*devices)[i]] = nodes.size() == devices->size() ? nodes[i] : kNone;
            }
        }
        if (bridge.logicalResources.virtualDev) {
            deviceNodes_[&*bridge.logicalResources.virtualDev] = trace_.lastKept(logical, legacy::kVirtualDev40);
        }
        const BridgeBefore& before = trace_.before();
        forEachDevice(bridge.logicalResources, [&](const VirtualDev& device) {
            if (before.ownerless.count(&device) == 0 || !isSet(device.owner)) return;
            const int at = deviceNodes_[&device];
            report_.add(finding("owner-filled", Severity::Info, trace_.lineOf(at),
                                at != kNone ? trace_.path(at) : "VirtualDev[id=" + std::to_string(device.id) + "]",
                                "owner (empty) -> " + quoted(device.owner)));
        });
        struct Counter {
            const char* name;
            AttrId id;
            int parent;
            const LayoutBase* layout;
        };
        const int bridgeLevel = bridgeNode_;
        const Counter counters[] = {
            {"nextGroupID", AttrId::nextGroupID, logical, &legacy::kSnapshotGroupList40},
            {"nextTargetID", AttrId::nextTargetID, logical, &legacy::kISCSITargetList40},
            {"nextClientID", AttrId::nextClientID, bridgeLevel, &legacy::kSANClientList40},
        };
        for (int which = 0; which < 3; ++which) {
            const std::int32_t was = before.counters[which], now = *counterFields(bridge, which);
            if (was == now) continue;
            const Counter& c = counters[which];
            const int at = trace_.lastKept(c.parent, *c.layout);
            report_.add(finding("counter-raised", Severity::Info, at != kNone ? trace_.attributeLine(at, int(c.id)) : 0,
                                at != kNone ? trace_.path(at) : c.layout->name,
                                std::string(c.name) + " " + std::to_string(was) + " -> " + std::to_string(now) +
                                    (at == kNone ? " (the list is absent)" : "")));
        }
    }

    void bridgeInfo(const SANBridge& bridge) {
        if (bridge.sanBridgeInfo.clients.empty()) return;
        const int at = trace_.lastKept(bridgeNode_, legacy::kSANBridgeInfo40);
        report_.add(finding("bridge-info-dropped", Severity::Warn, trace_.lineOf(at), "SANBridge/SANBridgeInfo",
                            std::to_string(bridge.sanBridgeInfo.clients.size()) +
                                " SANClient(s) listed in SANBridgeInfo are dropped: 4.5 keeps clients in "
                                "SANClientList only"));
    }

    // Elements and attributes of the result that no 4.0 reader filled: they
    // are written with their defaults. Found by walking what the writer
    // writes, beside the 4.0 layout of each element.
    class DefaultsSeen final : public model::ElementVisitor {
    public:
        struct Kind {
            const LayoutBase* layout;
            std::int64_t count = 0;
            std::int64_t absent = 0;                    // written although the model holds none
            std::vector<const model::AttrSpec*> new45;  // the 4.0 layout does not read these
            std::vector<bool> written;
            bool isNew = false;  // no 4.0 reader at all
        };
        std::vector<Kind> kinds;  // in order of first appearance

        void element(const LayoutBase& layout, const void* record, bool absent) override {
            auto [at, added] = index_.try_emplace(&layout, kinds.size());
            if (added) kinds.push_back(describe(layout));
            Kind& kind = kinds[at->second];
            ++kind.count;
            kind.absent += absent ? 1 : 0;
            for (std::size_t i = 0; i < kind.new45.size(); ++i) {
                if (!kind.written[i] && model::attributeWritten(*kind.new45[i], record)) kind.written[i] = true;
            }
        }

    private:
        static Kind describe(const LayoutBase& layout) {
            Kind kind{&layout, 0, 0, {}, {}, false};
            const LayoutBase* layout40 = legacy::layout40(layout.element);
            kind.isNew = layout40 == nullptr;
            if (layout40 != nullptr) {
                for (const model::AttrSpec& spec : layout.attrs) {
                    if (layout40->attribute(spec.id) == nullptr) kind.new45.push_back(&spec);
                }
            }
            kind.written.assign(kind.new45.size(), false);
            return kind;
        }
        std::unordered_map<const LayoutBase*, std::size_t> index_;
    };

    void defaultsAdded(const model::SANBridge& root) {
        DefaultsSeen seen;
        model::visitElement(model::kSANBridge45, &root, seen);
        for (const DefaultsSeen::Kind& kind : seen.kinds) {
            const std::string name = kind.layout->name;
            const std::string times = ", " + std::to_string(kind.count) + " time(s)";
            if (kind.isNew) {
                if (name == "PhysicalAdapters" || name == "PhysicalDevs") continue;  // they hold what was migrated
                report_.add(finding("defaults-added", Severity::Info, 0, name,
                                    name + " is new in 4.5: written with its defaults" + times));
                continue;
            }
            std::vector<std::string> added;
            for (std::size_t i = 0; i < kind.new45.size(); ++i) {
                if (kind.written[i]) added.push_back(kind.new45[i]->name);
            }
            if (!added.empty()) {
                report_.add(finding("defaults-added", Severity::Info, 0, name,
                                    joined(added, 12) + " written with defaults" + times));
            }
            if (kind.absent != 0) {
                report_.add(finding(
                    "defaults-added", Severity::Info, 0, name,
                    name + " written empty where the input has none, " + std::to_string(kind.absent) + " time(s)"));
            }
        }
    }

    Report& report_;
    UpgradeTrace trace_;
    int bridgeNode_ = kNone;
    std::int32_t instanceBefore_ = 0;
    Counts input_;
    std::unordered_map<const VirtualDev*, int> deviceNodes_;
};

void analyse(Report& report, ConfigText text) {
    if (text.length > 0 && text.text.get()[text.length - 1] == '\r') {
        const std::size_t length = static_cast<std::size_t>(text.length);
        report.add(finding("lone-cr", Severity::Stop, lastLine(text.text.get(), length), "",
                           "the input ends in a lone CR: xlate45 would read line ends forever and never finish; "
                           "this report reads it as LF"));
        text.text.get()[length - 1] = '\n';
    }
    UpgradeAnalysis analysis(report);
    const std::time_t anyTime = 0;  // the header's time plays no part here
    const Conversion conversion = convertText(std::move(text), anyTime, &analysis);
    analysis.finish(conversion);
}

}  // namespace

Report reportUpgradeText(ConfigText text) noexcept {
    Report report;
    try {
        analyse(report, std::move(text));
    } catch (const std::bad_alloc&) {
        report.add(finding("incomplete", Severity::Warn, 0, "", "out of memory: the report is incomplete"));
    }
    return report;
}

Report reportUpgrade(const char* inputPath, const char* targetPath) noexcept {
    Report report;
    try {
        const std::string input = inputPath;
        const auto refuse = [&](const std::string& why) {
            report.add(finding("input-refused", Severity::Stop, 0, "", input + ": " + why));
        };
        ConfigText text;
        const int error = readDocumentShared(inputPath, &text);
        if (error != 0) {
            refuse(std::string("cannot be read: ") + std::strerror(error));
        } else if (text.length == 0) {
            refuse("is empty: xlate45 exits 252 and writes nothing");
        } else if (::access(inputPath, R_OK | W_OK) != 0) {
            refuse(std::string("xlate45 opens its input for update and exits 254: ") + std::strerror(errno));
        }
        if (targetPath != nullptr) {
            const std::string target = targetPath;
            if (const std::string obstacle = writer::updateObstacle(targetPath); !obstacle.empty()) {
                report.add(finding("target-not-regular", Severity::Stop, 0, "",
                                   obstacle + ": the update's rename would fail unreported, or replace what is "
                                              "not a configuration file"));
            }
            struct stat in {
            }, out{};
            const bool same = target == input || (::stat(inputPath, &in) == 0 && ::stat(targetPath, &out) == 0 &&
                                                  in.st_dev == out.st_dev && in.st_ino == out.st_ino);
            if (same) {
                report.add(finding("no-backup", Severity::Warn, 0, "",
                                   target + " is the input itself: the 4.0 document is replaced, and only " + target +
                                       ".previous keeps it until the next update"));
            } else if (target.find('/') == std::string::npos) {
                report.add(finding("no-backup", Severity::Warn, 0, "",
                                   target + " has no '/': the update keeps no " + target + ".previous"));
            }
        }
        if (text.length == 0) {
            UpgradeAnalysis(report).countNothing();
        } else {
            analyse(report, std::move(text));
        }
    } catch (const std::bad_alloc&) {
        report.add(finding("incomplete", Severity::Warn, 0, "", "out of memory: the report is incomplete"));
    }
    return report;
}

}  // namespace tool
