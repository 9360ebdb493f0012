#pragma once

// The commands of nbconf. Each is one entry, defined in its own file beside
// the code it runs, with its help text; main.cpp lists the entries. To add a
// command: a file with its entry, its declaration here, its line in the list.
namespace nbconf {

struct Command {
    const char* name;
    const char* usage;    // its forms after "nbconf ", one per line
    const char* summary;  // one line for the list of commands
    const char* help;     // what it does, its output and exit status
    int (*run)(int argc, char** argv);  // the arguments after the name; the exit status
};

extern const Command kTokens;
extern const Command kCheck;
extern const Command kDowngrade;
extern const Command kRepo;
extern const Command kSem;
extern const Command kReport;
extern const Command kPreview;
extern const Command kVerify;

// Exit statuses of every command.
constexpr int kOk = 0;
constexpr int kFailed = 1;
constexpr int kBadUsage = 2;

/// Prints the usage of `command` on stderr; returns kBadUsage.
int usageError(const Command& command);

/// True when `path` can be opened for reading as a file; else false after
/// "nbconf: cannot open PATH: REASON" on stderr.
bool canRead(const char* path);

}  // namespace nbconf
