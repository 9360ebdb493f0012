#pragma once
#include <cstdarg>

namespace xml {

/// Where a log line comes from: the fixed module, source file and routine names
/// that make up the system-log identity "module [file:function:line]".
struct SourceTag {
    const char* module;    // "kxutil" for the library, "cfgrepository" for the store
    const char* file;      // "../ksnxmlx/sanparse_x.c", "sanparse.c", "kxsem.c", ...
    const char* function;  // "parsePhysicalDev", "kxLockSem", ...
    int line;
};

/// Process-wide debug level of the library. Negative silences the log; a line
/// with threshold t is written when the level is t or more. Starts at 0.
int& debugLevel() noexcept;

/// Writes one notice to the system log (facility daemon, with the pid), under the
/// exclusive lock of the "/usr/local" lock file, when debugLevel() >= threshold.
/// errno is the same after the call as before it.
void logNotice(int threshold, const SourceTag& tag, const char* fmt, ...) noexcept
    __attribute__((format(printf, 3, 4)));
void logNoticeV(int threshold, const SourceTag& tag, const char* fmt, std::va_list args) noexcept;

/// Called with the identity and the formatted message of every line that is
/// written (after the level check), besides the system log: tests collect the
/// lines, nbconf shows them. Null restores plain syslog only.
using LogObserver = void (*)(const char* identity, const char* message);
void setLogObserver(LogObserver observer) noexcept;

}  // namespace xml
