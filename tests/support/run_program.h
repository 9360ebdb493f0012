#pragma once
#include <functional>
#include <string>
#include <vector>

namespace testing_support {

struct ProgramResult {
    int status = -1;  // exit status, or -1 when the program did not exit normally
    std::string out;  // everything it wrote on standard output
    std::string err;  // everything it wrote on standard error
};

/// Runs `argv` (argv[0] is the program path) with `env` added to the
/// environment, and collects its output and exit status. `beforeExec` runs
/// in the child, whose process id the program keeps.
ProgramResult runProgram(const std::vector<std::string>& argv,
                         const std::vector<std::string>& env = {},
                         const std::function<void()>& beforeExec = {});

/// Starts `argv` (argv[0] is the program path) with standard output and error
/// going to `outputPath`, and returns at once: the process id, or -1.
int startProgram(const std::vector<std::string>& argv, const std::string& outputPath = "/dev/null");

/// Waits for a program from startProgram: its exit status, or -1 when it did
/// not exit normally (a signal, a crash).
int waitProgram(int pid);

/// A fresh directory under /tmp, removed with everything in it at destruction.
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

std::string readFile(const std::string& path);
void writeFile(const std::string& path, const std::string& content);

}  // namespace testing_support
