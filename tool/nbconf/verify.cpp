#include <cstdio>
#include <cstring>
#include <ctime>
#include <string_view>

#include "tool/convert.h"
#include "tool/nbconf/commands.h"
#include "tool/nbconf/options.h"
#include "tool/verify_output.h"

namespace nbconf {

namespace {

int verify(int argc, char** argv) {
    if (argc != 2) return usageError(kVerify);
    const char* input = argv[0];
    const char* output = argv[1];
    tool::ConfigText inputText, outputText;
    if (!readInput(input, inputText) || !readDocument(output, outputText)) return kFailed;
    const bool outputIsInput =
        outputText.length == inputText.length &&
        std::memcmp(outputText.text.get(), inputText.text.get(), static_cast<std::size_t>(inputText.length)) == 0;
    const std::time_t anyTime = 0;  // the time line is not compared
    const tool::Conversion converted = tool::convertText(std::move(inputText), anyTime);
    if (!converted.root || converted.status != 0 || !converted.whole) {
        std::fprintf(stderr, "nbconf: %s yields no document: xlate45 writes nothing for it, so %s is not its output\n",
                     input, output);
        return kFailed;
    }
    const std::string_view expected(converted.text.text.get(), static_cast<std::size_t>(converted.text.length));
    const std::string_view found(outputText.text.get(), static_cast<std::size_t>(outputText.length));
    const tool::Comparison comparison = tool::compareConverted(expected, found, outputIsInput);
    if (comparison.mismatch == tool::Mismatch::None) return kOk;
    std::printf("%s is not what converting %s gives: line %lu differs\n", output, input, comparison.line);
    std::printf("  expected: %s\n  found:    %s\n", comparison.expected.c_str(), comparison.found.c_str());
    std::printf("it suggests: %s\n", tool::mismatchText(comparison.mismatch));
    return kFailed;
}

}  // namespace

const Command kVerify = {
    "verify",
    "verify INPUT40 OUTPUT45",
    "whether a document is xlate45's output for an input",
    "Converts INPUT40 as xlate45 does, in memory, and compares the result with\n"
    "OUTPUT45, the header's time aside: the bridge's instance must be the\n"
    "input's plus one. Run it after xlate45, whose exit status cannot tell.\n"
    "On a difference it prints the first line that differs, both ways, and what\n"
    "OUTPUT45 looks like: not converted (the input itself, or no 4.5 document),\n"
    "converted from another input (or the input changed since), or damaged (cut\n"
    "short, or its markup broken).\n"
    "\n"
    "Exit status 0 when OUTPUT45 is the tool's output; 1 when it is not, or when\n"
    "a file cannot be read (the reason on standard error).\n",
    verify,
};

}  // namespace nbconf
