#include "tool/convert.h"

#include <cstdint>
#include <cstdio>
#include <ctime>

#include "model/records.h"
#include "tool/conversion_observer.h"
#include "tool/migrate.h"
#include "tool/read_input.h"
#include "writer/config_file.h"
#include "writer/document.h"

namespace tool {

namespace {

// Handed to the parse-and-migrate step and kept in the new root; nothing reads it back.
constexpr std::uint32_t kParseOptions = 0x0400037F;
constexpr std::uint32_t kSerialiseFailed = 0x90010037;

// A device that takes snapshots deletes its oldest snapshot when the area is
// full instead of stopping writes. Replica and copy-manager devices and the
// single device directly under LogicalResources keep their policies.
void fixSnapshotPolicies(model::SANBridge& root, ConversionObserver* observer) noexcept {
    model::LogicalResources& logical = root.logicalResources;
    for (std::vector<model::VirtualDev>* devices :
         {&logical.sanResources.items, &logical.nasResources.items, &logical.snapshotResources.items,
          &logical.cacheResources.items, &logical.fastlaneResources.items, &logical.adaptiveResources.items,
          &logical.bmrResources.items}) {
        for (model::VirtualDev& device : *devices) {
            if (device.snapshotEnabled != 0 && device.snapshotPolicy) {
                model::SnapshotPolicy& policy = *device.snapshotPolicy;
                if (observer != nullptr && (policy.autoDelete != 1 || policy.stopWrite != 0)) {
                    observer->snapshotPolicyChanged(device, policy);
                }
                policy.autoDelete = 1;
                policy.stopWrite = 0;
            }
        }
    }
}

// The instance is raised before the outcome is known, also when serialising
// fails. `whole`: the text is the complete 4.5 document of the root at `now`.
// `text` comes in holding the input, whose block the new text is written
// over, and goes out holding the new text.
std::uint32_t serialiseOver(model::SANBridge& root, ConfigText& text, std::time_t now, bool& whole) noexcept {
    ++root.instance;
    ConfigText input = std::move(text);
    text = ConfigText{};
    whole = false;
    if (root.serializer != nullptr) return root.serializer(&root, &text);
    text = writer::writeDocumentToMemory(&root, now, &whole, std::move(input));
    return text.text ? 0 : kSerialiseFailed;
}

}  // namespace

Conversion convertText(ConfigText input, std::time_t when, ConversionObserver* observer) noexcept {
    Conversion result;
    // The input's block is kept for the serialised text to be written over:
    // its pages are backed by memory already, where a new block would fault
    // in as many again. The peak is not raised by it: that is reached while
    // the 4.0 model is read beside the input, and the migration releases
    // about as much of the 4.0 model as it builds of the new one.
    std::uint32_t parseError = 0;
    result.root = parseAndMigrate(input.text.get(), input.length, kParseOptions, &parseError, observer);
    if (!result.root) return result;
    if (observer != nullptr) observer->migrated();

    result.root->serializer = nullptr;  // write the 4.5 layout, not the down-level one the migration installed
    fixSnapshotPolicies(*result.root, observer);

    result.when = when;
    result.text = std::move(input);
    result.status = serialiseOver(*result.root, result.text, result.when, result.whole);
    return result;
}

std::uint32_t serialise(model::SANBridge& root, ConfigText& out, std::time_t now) noexcept {
    out = ConfigText{};
    bool whole = false;
    return serialiseOver(root, out, now, whole);
}

Converted convert(const sys::HostEnv& env, const char* inputPath, const char* outputPath, bool verbose,
                  ConversionObserver* observer) noexcept {
    Converted result;
    ConfigText text;
    result.status = readXMLFromFile(inputPath, &text, verbose);
    if (result.status != 0) {
        releaseText(text);
        return result;
    }

    Conversion converted = convertText(std::move(text), env.now, observer);
    result.root = std::move(converted.root);
    if (!result.root) {
        if (verbose) std::printf("parse configuration from file %s failed.\n", inputPath);
        return result;  // settled behaviour: a document that does not parse is not an error code
    }
    if (converted.status != 0) {
        if (verbose) std::printf("convert configuration from file %s failed.\n", inputPath);
        releaseText(converted.text);
        result.status = static_cast<int>(converted.status);
        return result;
    }
    // The in-memory text proves that the model serialises. Writing the model
    // out a second time would give the very same bytes (same model, same
    // header time), so the file gets that text and the document is serialised
    // once, not twice. A text that lost bytes for lack of memory is not the
    // document; then it is freed first and the file is written from the model.
    writer::FileWrite write{.path = outputPath, .bridge = result.root.get(), .serverState = true};
    if (converted.whole) {
        write.text = std::string_view(converted.text.text.get(), static_cast<std::size_t>(converted.text.length));
    } else {
        releaseText(converted.text);
    }
    result.status = writer::writeConfigFile(env, write);
    releaseText(converted.text);
    if (result.status != 0 && verbose) std::printf("write configuration to file %s failed.\n", outputPath);
    return result;
}

}  // namespace tool
