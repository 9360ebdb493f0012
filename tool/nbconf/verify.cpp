#include <cstdio>
#include <cstring>
#include <ctime>
#include <string_view>

#include "tool/convert.h"
#include "tool/nbconf/commands.h"
#include "tool/nbconf/options.h"
#include "tool/verify_output.h"

namespace nbconf {

// Whether OUTPUT45 is exactly what converting INPUT40 gives (the header's
// time aside): xlate45's own exit status cannot tell.
int verify(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("Usage: nbconf verify INPUT40 OUTPUT45\n", stderr);
        return 2;
    }
    const char* input = argv[0];
    const char* output = argv[1];
    tool::ConfigText inputText, outputText;
    if (!readInput(input, inputText) || !readDocument(output, outputText)) return 1;
    const bool outputIsInput =
        outputText.length == inputText.length &&
        std::memcmp(outputText.text.get(), inputText.text.get(), static_cast<std::size_t>(inputText.length)) == 0;
    const std::time_t anyTime = 0;  // the time line is not compared
    const tool::Conversion converted = tool::convertText(std::move(inputText), &anyTime);
    if (!converted.root || converted.status != 0 || !converted.whole) {
        std::fprintf(stderr, "nbconf: %s yields no document: xlate45 writes nothing for it, so %s is not its output\n",
                     input, output);
        return 1;
    }
    const std::string_view expected(converted.text.text.get(), static_cast<std::size_t>(converted.text.length));
    const std::string_view found(outputText.text.get(), static_cast<std::size_t>(outputText.length));
    const tool::Comparison comparison = tool::compareConverted(expected, found, outputIsInput);
    if (comparison.mismatch == tool::Mismatch::None) return 0;
    std::printf("%s is not what converting %s gives: line %lu differs\n", output, input, comparison.line);
    std::printf("  expected: %s\n  found:    %s\n", comparison.expected.c_str(), comparison.found.c_str());
    std::printf("it suggests: %s\n", tool::mismatchText(comparison.mismatch));
    return 1;
}

}  // namespace nbconf
