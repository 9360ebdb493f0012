#include "xml/log.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <syslog.h>

#include "xml/lock_file.h"

namespace xml {

namespace {

LogObserver gObserver = nullptr;

// Keeps errno as the caller left it, whatever the log calls do to it.
class ErrnoGuard {
public:
    ErrnoGuard() noexcept : saved_(errno) {}
    ~ErrnoGuard() { errno = saved_; }
    void restore() const noexcept { errno = saved_; }

private:
    int saved_;
};

}  // namespace

int& debugLevel() noexcept {
    static int level = 0;
    return level;
}

void setLogObserver(LogObserver observer) noexcept { gObserver = observer; }

void logNoticeV(int threshold, const SourceTag& tag, const char* fmt, std::va_list args) noexcept {
    if (debugLevel() < 0 || debugLevel() < threshold) return;
    ErrnoGuard errnoGuard;
    // Lines of all processes are serialised on one lock, as every library user does.
    const int lockFd = openAndLock(sys::realCalls(), "/usr/local", true);

    char identity[512];
    std::snprintf(identity, sizeof identity, "%s [%s:%s:%d]", tag.module, tag.file, tag.function,
                  tag.line);
    char message[1024];
    std::vsnprintf(message, sizeof message, fmt, args);

    ::openlog(identity, LOG_PID | LOG_NDELAY, LOG_DAEMON);
    errnoGuard.restore();  // the lock and openlog may have set it
    ::syslog(LOG_NOTICE, "%s", message);
    ::closelog();
    if (gObserver != nullptr) gObserver(identity, message);

    unlockAndClose(sys::realCalls(), lockFd);
}

void logNotice(int threshold, const SourceTag& tag, const char* fmt, ...) noexcept {
    std::va_list args;
    va_start(args, fmt);
    logNoticeV(threshold, tag, fmt, args);
    va_end(args);
}

}  // namespace xml
