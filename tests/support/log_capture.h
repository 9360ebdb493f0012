#pragma once
#include <string>
#include <vector>

namespace testing_support {

/// Collects the library's log lines (identity and message) written while it
/// lives, at the given debug level; the level is restored afterwards.
class LogCapture {
public:
    explicit LogCapture(int level = 0);
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;
    const std::vector<std::string>& messages() const;
    const std::vector<std::string>& identities() const;
    bool has(const std::string& message) const;
    void clear();

private:
    int savedLevel_;
};

}  // namespace testing_support
