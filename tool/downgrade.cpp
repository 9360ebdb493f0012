#include "tool/downgrade.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <memory>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

#include "model/sanparse.h"
#include "tool/backconvert.h"
#include "tool/convert.h"
#include "tool/migrate.h"
#include "writer/config_file.h"

namespace tool {

namespace {

// Why a document that the 4.5 reader returned nothing for could not be read.
const char* unreadableReason(const char* path) {
    const int fd = ::open(path, O_RDONLY);
    if (fd < 0) return std::strerror(errno);
    ::close(fd);
    return "no SANBridge of the 4.5 layout could be read";
}

// The update renames over the target without asking how that went; a
// directory or device in the way would make a success of nothing.
const char* targetInTheWay(const char* path) {
    struct stat info;
    if (::stat(path, &info) != 0 || S_ISREG(info.st_mode)) return nullptr;
    return S_ISDIR(info.st_mode) ? std::strerror(EISDIR) : "not a regular file";
}

// The model a caller asked to keep; reachable until the process ends.
model::SANBridge* keptModel = nullptr;

}  // namespace

int downgradeFile(const char* input, const char* output, bool quiet, bool keepModel) noexcept {
    std::unique_ptr<model::SANBridge> root = model::readBridge45(input);
    if (root == nullptr) {
        std::fprintf(stderr, "nbconf downgrade: cannot read %s: %s\n", input, unreadableReason(input));
        return 1;
    }
    LeftOut leftOut;
    if (!findLeftOut(*root, leftOut)) {
        std::fprintf(stderr, "nbconf downgrade: cannot downgrade %s: %s\n", input, std::strerror(ENOMEM));
        return 1;
    }
    if (const char* reason = targetInTheWay(output)) {
        std::fprintf(stderr, "nbconf downgrade: cannot write %s: %s\n", output, reason);
        return 1;
    }

    root->serializer = &serialiseDownLevel;
    ConfigText text;
    if (serialise(*root, text, std::time(nullptr)) != 0) {
        // The down-level serialiser fails only for lack of memory, and hands
        // out no partial document.
        std::fprintf(stderr, "nbconf downgrade: cannot downgrade %s: %s\n", input, std::strerror(ENOMEM));
        return 1;
    }
    if (keepModel) {
        delete keptModel;
        keptModel = root.release();
    }
    if (writer::writeTextToFile(output, text, static_cast<int>(::getpid())) != 0) {
        const int error = errno != 0 ? errno : EIO;
        std::fprintf(stderr, "nbconf downgrade: cannot write %s: %s\n", output, std::strerror(error));
        return 1;
    }
    if (!quiet && !leftOut.items.empty()) {
        try {
            std::fprintf(stderr, "left out: %s\n", leftOut.summary().c_str());
        } catch (const std::bad_alloc&) {
            std::fprintf(stderr, "left out: %zu items\n", leftOut.items.size());
        }
    }
    return 0;
}

}  // namespace tool
