#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>

#include "model/sanparse.h"
#include "tool/nbconf/commands.h"
#include "tool/nbconf/options.h"
#include "writer/document.h"
#include "writer/sink.h"

namespace nbconf {

namespace {

// Reads FILE with the 4.5 reader and writes it back with the 4.5 writer to
// standard output. `--time N` fixes the header time (seconds since the epoch).
int check(int argc, char** argv) {
    std::time_t when = std::time(nullptr);
    if (argc == 3 && std::strcmp(argv[0], "--time") == 0) {
        when = static_cast<std::time_t>(std::strtoll(argv[1], nullptr, 10));
        argv += 2;
        argc -= 2;
    }
    if (argc != 1) return usageError(kCheck);
    const char* path = argv[0];
    if (!canRead(path)) return kFailed;
    std::unique_ptr<model::SANBridge> bridge = model::readBridge45(path);
    if (bridge == nullptr) {
        std::fprintf(stderr, "nbconf: %s does not parse: no SANBridge could be read from it\n", path);
        return kFailed;
    }
    writer::XmlSink out = writer::XmlSink::toStream(stdout);
    writer::writeDocument(out, *bridge, when);
    out.flush();
    return finishOutput();
}

}  // namespace

const Command kCheck = {
    "check",
    "check [--time N] FILE",
    "read a 4.5 document and write it back",
    "Reads FILE as a 4.5 configuration document (the last SANBridge, checked as\n"
    "the server checks it) and writes it back to standard output as the server's\n"
    "library writes it. --time N gives the header's time in seconds since the\n"
    "epoch, for output that compares byte for byte.\n"
    "\n"
    "Exit status 0 when the document was written back; 1 when FILE cannot be\n"
    "opened, does not parse, or standard output cannot be written.\n",
    check,
};

}  // namespace nbconf
