#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>

#include "model/sanparse.h"
#include "tool/nbconf/commands.h"
#include "writer/document.h"
#include "writer/sink.h"

namespace nbconf {

// Reads FILE with the 4.5 reader and writes it back with the 4.5 writer to
// standard output. `--time N` fixes the header time (seconds since the epoch).
int check(int argc, char** argv) {
    std::time_t when = std::time(nullptr);
    if (argc == 3 && std::strcmp(argv[0], "--time") == 0) {
        when = static_cast<std::time_t>(std::strtoll(argv[1], nullptr, 10));
        argv += 2;
        argc -= 2;
    }
    if (argc != 1) {
        std::fputs("Usage: nbconf check [--time N] FILE\n", stderr);
        return 2;
    }
    std::unique_ptr<model::SANBridge> bridge = model::readBridge45(argv[0]);
    if (bridge == nullptr) return 1;  // the reader has said why
    writer::XmlSink out = writer::XmlSink::toStream(stdout);
    writer::writeDocument(out, *bridge, when);
    out.flush();
    return std::fflush(stdout) == 0 && !std::ferror(stdout) ? 0 : 1;
}

}  // namespace nbconf
