#pragma once
#include <cstdint>
#include <string>
#include <vector>

// Helpers shared by the host tests (defined in test_support_test.cpp, which
// only the test binary links).
namespace host::testing {

/// A fresh directory under /tmp, removed with everything in it.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::string& path() const { return path_; }
    std::string file(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

/// Collects the log lines written while it lives, at the given debug level.
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

std::string readFile(const std::string& path);
void writeFile(const std::string& path, const std::string& bytes);

}  // namespace host::testing
