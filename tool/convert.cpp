#include "tool/convert.h"

#include <cstdint>
#include <cstdio>
#include <ctime>
#include <unistd.h>

#include "model/records.h"
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
void fixSnapshotPolicies(model::SANBridge& root) noexcept {
    model::LogicalResources& logical = root.logicalResources;
    for (std::vector<model::VirtualDev>* devices :
         {&logical.sanResources.items, &logical.nasResources.items, &logical.snapshotResources.items,
          &logical.cacheResources.items, &logical.fastlaneResources.items, &logical.adaptiveResources.items,
          &logical.bmrResources.items}) {
        for (model::VirtualDev& device : *devices) {
            if (device.snapshotEnabled != 0 && device.snapshotPolicy) {
                device.snapshotPolicy->autoDelete = 1;
                device.snapshotPolicy->stopWrite = 0;
            }
        }
    }
}

// The instance is raised before the outcome is known, also when serialising fails.
std::uint32_t serialise(model::SANBridge& root, ConfigText& out, std::time_t now) noexcept {
    ++root.instance;
    out = ConfigText{};
    if (root.serializer != nullptr) return root.serializer(&root, &out);
    out = writer::writeDocumentToMemory(&root, now);
    return out.text ? 0 : kSerialiseFailed;
}

}  // namespace

int convert(const char* inputPath, const char* outputPath, bool verbose) noexcept {
    ConfigText text;
    const int readResult = readXMLFromFile(inputPath, &text, verbose);
    if (readResult != 0) {
        releaseText(text);
        return readResult;
    }

    std::uint32_t parseError = 0;
    std::unique_ptr<model::SANBridge> root = parseAndMigrate(text.text.get(), text.length, kParseOptions, &parseError);
    if (!root) {
        if (verbose) std::printf("parse configuration from file %s failed.\n", inputPath);
        releaseText(text);
        return 0;  // settled behaviour: a document that does not parse is not an error code
    }
    releaseText(text);  // the input is gone before any output exists

    root->serializer = nullptr;  // write the 4.5 layout, not the down-level one the migration installed
    fixSnapshotPolicies(*root);

    const std::time_t now = std::time(nullptr);
    const std::uint32_t status = serialise(*root, text, now);
    if (status != 0) {
        if (verbose) std::printf("convert configuration from file %s failed.\n", inputPath);
        releaseText(text);
        return static_cast<int>(status);
    }
    // The in-memory text only proves that the model serialises; the file is
    // written again from the model. Freed first, so both never share the memory.
    releaseText(text);

    const int result = writer::writeDocumentToFile(outputPath, root.get(), now, static_cast<int>(::getpid()));
    if (result != 0 && verbose) std::printf("write configuration to file %s failed.\n", outputPath);
    return result;
}

}  // namespace tool
