#include "tool/convert.h"

#include <cstdint>
#include <cstdio>
#include <ctime>
#include <malloc.h>
#include <unistd.h>

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

// The model a caller asked to keep; reachable until the process ends.
model::SANBridge* keptModel = nullptr;

}  // namespace

Conversion convertText(ConfigText input, const std::time_t* when, ConversionObserver* observer) noexcept {
    Conversion result;
    // The input's block is kept for the serialised text to be written over:
    // its pages are backed by memory already, where a new block would fault
    // in as many again. The peak is not raised by it: that is reached while
    // the 4.0 model is read beside the input, and the migration releases
    // about as much of the 4.0 model as it builds of the new one.
    std::uint32_t parseError = 0;
    result.root = parseAndMigrate(input.text.get(), input.length, kParseOptions, &parseError, observer);
    if (!result.root) return result;
    // What is left of the 4.0 model is gone: give the freed memory back
    // before the serialised text is built beside the new model.
    ::malloc_trim(0);

    result.root->serializer = nullptr;  // write the 4.5 layout, not the down-level one the migration installed
    fixSnapshotPolicies(*result.root, observer);

    result.when = when != nullptr ? *when : std::time(nullptr);
    result.text = std::move(input);
    result.status = serialiseOver(*result.root, result.text, result.when, result.whole);
    return result;
}

std::uint32_t serialise(model::SANBridge& root, ConfigText& out, std::time_t now) noexcept {
    out = ConfigText{};
    bool whole = false;
    return serialiseOver(root, out, now, whole);
}

int convert(const char* inputPath, const char* outputPath, bool verbose, bool keepModel) noexcept {
    ConfigText text;
    const int readResult = readXMLFromFile(inputPath, &text, verbose);
    if (readResult != 0) {
        releaseText(text);
        return readResult;
    }

    Conversion converted = convertText(std::move(text), nullptr);
    if (!converted.root) {
        if (verbose) std::printf("parse configuration from file %s failed.\n", inputPath);
        return 0;  // settled behaviour: a document that does not parse is not an error code
    }
    if (converted.status != 0) {
        if (verbose) std::printf("convert configuration from file %s failed.\n", inputPath);
        releaseText(converted.text);
        return static_cast<int>(converted.status);
    }
    // The in-memory text proves that the model serialises. Writing the model
    // out a second time would give the very same bytes (same model, same
    // header time), so the file gets that text and the document is serialised
    // once, not twice: an equivalent strategy, taken because the second pass
    // cost about a tenth of the run. A text that lost bytes for lack of
    // memory is not the document; then it is freed first and the file is
    // written from the model.
    const int pid = static_cast<int>(::getpid());
    model::SANBridge* root = converted.root.get();
    int result = 0;
    if (converted.whole) {
        result = writer::writeDocumentTextToFile(outputPath, root, converted.text, pid);
        releaseText(converted.text);
    } else {
        releaseText(converted.text);
        result = writer::writeDocumentToFile(outputPath, root, converted.when, pid);
    }
    if (result != 0 && verbose) std::printf("write configuration to file %s failed.\n", outputPath);
    if (keepModel) {
        delete keptModel;
        keptModel = converted.root.release();
    }
    return result;
}

}  // namespace tool
