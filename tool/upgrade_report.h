#pragma once
#include <string>

#include "tool/findings.h"
#include "tool/read_input.h"

namespace tool {

/// What upgrading the 4.0 document at `inputPath` would do, found by running
/// the tool's own reading, migration and fix-ups in memory: what the reader
/// passes over, what the migration drops, resets or adds, what would keep
/// the tool from writing a good file at `targetPath` (null: not checked), the
/// counts before and after, and the verdict. Reads the input under its shared
/// lock when one exists; writes nothing.
Report reportUpgrade(const char* inputPath, const char* targetPath) noexcept;

/// The same over a 4.0 text already in memory (used up), without the checks
/// of the files. A text ending in a lone CR is read as if it ended in LF.
Report reportUpgradeText(ConfigText text) noexcept;

}  // namespace tool
