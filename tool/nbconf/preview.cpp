#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "tool/convert.h"
#include "tool/nbconf/commands.h"
#include "tool/nbconf/options.h"
#include "writer/document.h"
#include "writer/sink.h"

namespace nbconf {

// The 4.5 document xlate45 would write for INPUT40, on standard output; no
// file is written, no lock taken but the reader's shared one.
int preview(int argc, char** argv) {
    std::time_t when = std::time(nullptr);
    if (!takeTimeOption(argc, argv, when) || argc != 1) {
        std::fputs("Usage: nbconf preview [--time N] INPUT40\n", stderr);
        return 2;
    }
    const char* input = argv[0];
    tool::ConfigText text;
    if (!readInput(input, text)) return 1;
    tool::Conversion converted = tool::convertText(std::move(text), &when);
    if (!converted.root) {
        std::fprintf(stderr, "nbconf: %s yields no SANBridge: xlate45 would write nothing (and exit 0)\n", input);
        return 1;
    }
    if (converted.status != 0) {
        std::fprintf(stderr, "nbconf: the conversion of %s does not serialise: xlate45 would exit 55\n", input);
        return 1;
    }
    if (converted.whole) {
        std::fwrite(converted.text.text.get(), 1, static_cast<std::size_t>(converted.text.length), stdout);
    } else {
        // As the tool does when memory ran short: the document from the model.
        writer::XmlSink out = writer::XmlSink::toStream(stdout);
        writer::writeDocument(out, *converted.root, when);
        out.flush();
    }
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
        std::fprintf(stderr, "nbconf: cannot write the document: %s\n", std::strerror(errno));
        return 1;
    }
    return 0;
}

}  // namespace nbconf
