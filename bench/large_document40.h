#pragma once
// The large 4.0 document the benchmarks read: the file named by the environment
// variable XLATE45_BENCH_DOC, or one written into the build directory on first
// use (generator seed 1, scale 10: about 10 MB) and reused afterwards.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

namespace bench {

inline const std::string& documentPath() {
    static const std::string path = [] {
        if (const char* given = std::getenv("XLATE45_BENCH_DOC")) return std::string(given);
        const std::string generated = std::string(XLATE45_BENCH_DIR) + "/large40_seed1_scale10.conf";
        if (!std::ifstream(generated)) {
            const std::string command = std::string("python3 ") + XLATE45_BENCH_GENERATOR +
                                        " --seed 1 --scale 10 > " + generated + ".part && mv " + generated +
                                        ".part " + generated;
            if (std::system(command.c_str()) != 0) std::fprintf(stderr, "can't generate %s\n", generated.c_str());
        }
        return generated;
    }();
    return path;
}

inline const std::string& document() {
    static const std::string text = [] {
        std::ifstream in(documentPath(), std::ios::binary);
        std::ostringstream all;
        all << in.rdbuf();
        return all.str();
    }();
    return text;
}

}  // namespace bench
