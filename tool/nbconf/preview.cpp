#include <cstdio>
#include <ctime>

#include "tool/convert.h"
#include "tool/nbconf/commands.h"
#include "tool/nbconf/options.h"
#include "writer/document.h"
#include "writer/sink.h"

namespace nbconf {

namespace {

int preview(int argc, char** argv) {
    std::time_t when = std::time(nullptr);
    if (!takeTimeOption(argc, argv, when) || argc != 1) return usageError(kPreview);
    const char* input = argv[0];
    tool::ConfigText text;
    if (!readInput(input, text)) return kFailed;
    tool::Conversion converted = tool::convertText(std::move(text), when);
    if (!converted.root) {
        std::fprintf(stderr, "nbconf: %s yields no SANBridge: xlate45 would write nothing (and exit 0)\n", input);
        return kFailed;
    }
    if (converted.status != 0) {
        std::fprintf(stderr, "nbconf: the conversion of %s does not serialise: xlate45 would exit 55\n", input);
        return kFailed;
    }
    if (converted.whole) {
        std::fwrite(converted.text.text.get(), 1, static_cast<std::size_t>(converted.text.length), stdout);
    } else {
        // As the tool does when memory ran short: the document from the model.
        writer::XmlSink out = writer::XmlSink::toStream(stdout);
        writer::writeDocument(out, *converted.root, when);
        out.flush();
    }
    return finishOutput();
}

}  // namespace

const Command kPreview = {
    "preview",
    "preview [--time N] INPUT40",
    "the 4.5 document xlate45 would write, on standard output",
    "Converts INPUT40 as xlate45 does, in memory, and prints the 4.5 document\n"
    "xlate45 would write, byte for byte. --time N gives the header's time in\n"
    "seconds since the epoch (the current time otherwise). Nothing is written\n"
    "and no lock is taken but the reader's shared one.\n"
    "\n"
    "Exit status 0 when the document was printed; 1 when INPUT40 cannot be read,\n"
    "is empty, ends in a lone CR (xlate45 would never finish) or yields no\n"
    "SANBridge (xlate45 would write nothing), with the reason on standard error.\n",
    preview,
};

}  // namespace nbconf
