#pragma once
#include <cstdint>
#include <ctime>
#include <memory>

#include "model/records.h"
#include "sys/host_env.h"
#include "tool/read_input.h"

namespace tool {

class ConversionObserver;

/// The serialise step: raises the root's `instance` by one (also when it then
/// fails) and writes the root into `out` (emptied first): through the root's
/// serialiser when it has one, whose status is returned; else as the 4.5
/// document with `now` as the header's time, 0, or 0x90010037 when that
/// yields nothing.
std::uint32_t serialise(model::SANBridge& root, ConfigText& out, std::time_t now) noexcept;

/// What converting a 4.0 document file gives.
struct Converted {
    int status = 0;                          // the tool's result code, below
    std::unique_ptr<model::SANBridge> root;  // the 4.5 model; null when the input yields none
};

/// Converts the 4.0 document at `inputPath` into the 4.5 document at
/// `outputPath`, written with the update of `env`. The status is 0 (also
/// after a parse failure), a readXMLFromFile code, 0x90010037 when
/// serialising failed, or -1 when writing the file failed. Messages on
/// stdout only when `verbose`. The model goes to the caller, who may leave
/// it to the process's end.
Converted convert(const sys::HostEnv& env, const char* inputPath, const char* outputPath, bool verbose,
                  ConversionObserver* observer = nullptr) noexcept;

/// What converting a 4.0 text in memory gives.
struct Conversion {
    std::unique_ptr<model::SANBridge> root;  // null: the text yields no bridge
    ConfigText text;                         // the 4.5 document, when status is 0
    std::uint32_t status = 0;                // 0x90010037: serialising yielded nothing
    bool whole = false;                      // text is the whole document (no byte dropped)
    std::time_t when = 0;                    // the header's time
};

/// The conversion that `convert` writes out, in memory: the 4.0 reader, the
/// migration, the snapshot-policy fix-up and the serialisation, which raises
/// the bridge's instance by one. The header carries `when`. `input` is used
/// up: the new text is written over its block.
Conversion convertText(ConfigText input, std::time_t when, ConversionObserver* observer = nullptr) noexcept;

}  // namespace tool
