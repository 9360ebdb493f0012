#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <sys/stat.h>

#include "model/sanparse.h"
#include "sys/host_env.h"
#include "tool/backconvert.h"
#include "tool/convert.h"
#include "tool/migrate.h"
#include "tool/nbconf/commands.h"
#include "writer/config_file.h"

namespace nbconf {

namespace {

// The update renames over the target without asking how that went; a
// directory or device in the way would make a success of nothing.
const char* targetInTheWay(const char* path) {
    struct stat info;
    if (::stat(path, &info) != 0 || S_ISREG(info.st_mode)) return nullptr;
    return S_ISDIR(info.st_mode) ? std::strerror(EISDIR) : "not a regular file";
}

// The model read, left to the process's end: releasing a large one record by
// record costs several per cent of the run. Reachable from here until then.
model::SANBridge* keptModel = nullptr;

int outOfMemory(const char* input) {
    std::fprintf(stderr, "nbconf: cannot downgrade %s: %s\n", input, std::strerror(ENOMEM));
    return kFailed;
}

// INPUT45 read under its shared lock, serialised through the down-level
// serialiser, OUTPUT40 replaced by the safe update without index file or
// status block: the 4.0 document is not what the running server uses.
int downgrade(int argc, char** argv) {
    const bool quiet = argc > 0 && std::strcmp(argv[0], "-q") == 0;
    if (quiet) {
        ++argv;
        --argc;
    }
    if (argc != 2 || argv[0][0] == '-') return usageError(kDowngrade);
    const char* input = argv[0];
    const char* output = argv[1];
    if (!canRead(input)) return kFailed;
    delete keptModel;  // a second call in one process
    model::SANBridge* root = keptModel = model::readBridge45(input).release();
    if (root == nullptr) {
        std::fprintf(stderr, "nbconf: %s does not parse: no SANBridge could be read from it\n", input);
        return kFailed;
    }
    tool::LeftOut leftOut;
    if (!tool::findLeftOut(*root, leftOut)) return outOfMemory(input);
    if (const char* reason = targetInTheWay(output)) {
        std::fprintf(stderr, "nbconf: cannot write %s: %s\n", output, reason);
        return kFailed;
    }
    root->serializer = &tool::serialiseDownLevel;
    const sys::HostEnv env = sys::systemHostEnv();
    tool::ConfigText text;
    // The down-level serialiser fails only for lack of memory, and hands out
    // no partial document.
    if (tool::serialise(*root, text, env.now) != 0) return outOfMemory(input);
    const std::string_view bytes(text.text.get(), static_cast<std::size_t>(text.length));
    if (writer::writeConfigFile(env, {.path = output, .text = bytes}) != 0) {
        const int error = errno != 0 ? errno : EIO;
        std::fprintf(stderr, "nbconf: cannot write %s: %s\n", output, std::strerror(error));
        return kFailed;
    }
    if (!quiet && !leftOut.items.empty()) {
        try {
            std::fprintf(stderr, "left out: %s\n", leftOut.summary().c_str());
        } catch (const std::bad_alloc&) {
            std::fprintf(stderr, "left out: %zu items\n", leftOut.items.size());
        }
    }
    return kOk;
}

}  // namespace

const Command kDowngrade = {
    "downgrade",
    "downgrade [-q] INPUT45 OUTPUT40",
    "write a 4.5 document in the 4.0 layout",
    "Reads INPUT45 as a 4.5 configuration document, under the shared lock of its\n"
    "lock file, turns it back into the 4.0 shape (each physical device under the\n"
    "adapter its address names, once more under the adapter of each further path\n"
    "it lists) and replaces OUTPUT40 with the 4.0 document by the same safe update\n"
    "as xlate45: lock, temporary file, .previous, repository deposit, rename,\n"
    "directory sync. No index file is written and no instance recorded. The\n"
    "bridge's instance is raised by one. What the 4.0 layout cannot hold (elements\n"
    "and attributes new in 4.5, values it has no spelling for) is left out and\n"
    "counted by kind on standard error, unless -q is given.\n"
    "\n"
    "Exit status 0 when OUTPUT40 holds the whole 4.0 document; 1 when INPUT45\n"
    "cannot be read or does not parse, memory runs out, or OUTPUT40 cannot be\n"
    "written (the reason on standard error; OUTPUT40 is then as it was).\n",
    downgrade,
};

}  // namespace nbconf
