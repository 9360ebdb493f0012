#include "tool/convert.h"

#include <cstdio>

#include "tool/read_input.h"

namespace tool {

int convert(const char* inputPath, const char* outputPath, bool verbose) noexcept {
    ConfigText input;
    const int readResult = readXMLFromFile(inputPath, &input, verbose);
    if (readResult != 0) {
        releaseText(input);
        return readResult;
    }
    releaseText(input);
    // UNFINISHED: parsing, migration, serialising and the file update come with
    // the conversion pipeline. Until then the input is only read.
    std::fprintf(stderr, "xlate45: read %s; the conversion into %s is not built yet\n", inputPath,
                 outputPath);
    return static_cast<int>(0x90010005u);
}

}  // namespace tool
