#pragma once

namespace tool {

/// Reads the 4.5 document at `input` (shared lock), serialises it through the
/// down-level serialiser and replaces `output` with the 4.0 document by the
/// safe update, without index file or status block: the 4.0 document is not
/// the running server's configuration. Returns 0, or 1 after a message on
/// stderr naming the file and the reason, `output` then untouched. Unless
/// `quiet`, says on stderr what was left out ("left out: 3 BlockDevice
/// elements, ...").
///
/// `keepModel`: the model read is not released but kept until the next call
/// or the process's end, for a caller that exits right after: releasing a
/// large document's model record by record costs several per cent of the run.
int downgradeFile(const char* input, const char* output, bool quiet, bool keepModel = false) noexcept;

}  // namespace tool
