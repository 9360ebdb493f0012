#include <cstdio>
#include <cstring>

#include "tool/nbconf/commands.h"
#include "tool/nbconf/options.h"
#include "tool/upgrade_report.h"

namespace nbconf {

namespace {

// The report on upgrading INPUT40 (into TARGET), before it is done. Its exit
// status is its verdict, so that a script upgrading a fleet can branch on it.
int report(int argc, char** argv) {
    bool json = false;
    if (argc >= 1 && std::strcmp(argv[0], "--json") == 0) {
        json = true;
        ++argv;
        --argc;
    }
    if (argc < 1 || argc > 2 || argv[0][0] == '-') return usageError(kReport);
    const tool::Report found = tool::reportUpgrade(argv[0], argc == 2 ? argv[1] : nullptr);
    const bool written = json ? found.writeJson(stdout) : found.writeText(stdout);
    const int flushed = finishOutput();  // says why when writing failed
    return written && flushed == kOk ? found.exitStatus() : kBadUsage;
}

}  // namespace

const Command kReport = {
    "report",
    "report [--json] INPUT40 [TARGET]",
    "what upgrading a 4.0 document would do, before it is done",
    "Runs xlate45's own reading, migration and fix-ups on INPUT40 in memory and\n"
    "reports what they do: findings, each with a kind, a severity (info, warn or\n"
    "stop), the input line, the element's path and the old and new value; the\n"
    "counts of adapters, physical devices, virtual devices per list, clients,\n"
    "snapshot groups and iSCSI targets in the input and in the result; and a\n"
    "verdict. TARGET, when given, is checked as the output xlate45 would replace.\n"
    "Nothing is written and no lock is taken but the reader's shared one. An\n"
    "input ending in a lone CR is read as if it ended in LF.\n"
    "\n"
    "The text form groups the findings by kind, one line each; --json prints one\n"
    "object: {\"verdict\": ..., \"findings\": [...], \"summary\": {\"input\": {...},\n"
    "\"result\": {...}}}.\n"
    "\n"
    "Kinds: stop: truncated, lone-cr, no-bridge, already-4.5, target-not-regular,\n"
    "input-refused, not-serialised; warn: unknown-element, unknown-attribute,\n"
    "attribute-dropped, element-dropped, element-failed, path-merged,\n"
    "adapter-field-reset, info-item-emptied, partition-reset, alias-guid-dropped,\n"
    "bridge-info-dropped, fc-value-dropped, connection-type-defaulted,\n"
    "snapshot-policy-changed, second-bridge-dropped, no-backup; info:\n"
    "instance-raised, counter-raised, owner-filled, adapters-reordered,\n"
    "defaults-added.\n"
    "\n"
    "Exit status: 0 clean (info findings only), 1 changes (a warning), 3 stop;\n"
    "2 for wrong arguments or when standard output cannot be written.\n",
    report,
};

}  // namespace nbconf
