#include <cstdio>
#include <malloc.h>

#include "sys/host_env.h"
#include "tool/conversion_observer.h"
#include "tool/convert.h"

namespace {

void printUsage() {
    std::puts("Usage: xlate45 <input-file> <output-file> [-q]");
    std::puts("       <input-file> is the full path of the input file.");
    std::puts("       <output-file> is the full path of the output file.");
    std::puts("       -q is an option to for quiet mode.");
}

// Quiet only for exactly four arguments whose last is exactly "-q": any other
// spelling, or a fifth argument, keeps the tool verbose. Deliberately narrow.
bool isVerbose(int argc, char** argv) {
    if (argc != 4) return true;
    const char* flag = argv[3];
    return !(flag[0] == '-' && flag[1] == 'q' && flag[2] == '\0');
}

// What is left of the 4.0 model is gone once the migration is done: the freed
// memory goes back before the serialised text is built beside the new model.
class GiveBackMemory : public tool::ConversionObserver {
public:
    void migrated() noexcept override { ::malloc_trim(0); }
};

}  // namespace

// The converted model, left to the process's end: releasing a large one record
// by record costs several per cent of the run for memory the exit gives back.
// Held here, not dropped, so that it stays reachable (leak checkers see it held).
model::SANBridge* gKeptModel = nullptr;

int main(int argc, char** argv) {
    // Large blocks (the input text, the serialised text, the big record lists)
    // come from mappings of their own and go back to the system when freed. By
    // default the threshold rises to the size of the first large block freed,
    // and after the input text every later block would stay resident.
    mallopt(M_MMAP_THRESHOLD, 256 * 1024);
    if (argc < 3) {
        printUsage();
        return 1;
    }
    const bool verbose = isVerbose(argc, argv);
    const sys::HostEnv env = sys::systemHostEnv();
    GiveBackMemory tuning;
    tool::Converted converted = tool::convert(env, argv[1], argv[2], verbose, &tuning);
    gKeptModel = converted.root.release();
    if (converted.status == 0 && verbose) {
        std::printf("convert configuration from %s to %s successfully\n", argv[1], argv[2]);
    }
    // The process status is the low 8 bits: -1 gives 255, 0x90010037 gives 55.
    return converted.status;
}
