#pragma once
#include <ctime>

#include "tool/read_input.h"

// What several subcommands share: their options and the reading of their files.
namespace nbconf {

/// Flushes standard output: kOk, or kFailed after "nbconf: cannot write
/// standard output: REASON" on stderr.
int finishOutput();

/// Takes a leading "--time N" (seconds since the epoch) off the arguments
/// into `when`. False when N is not a number.
bool takeTimeOption(int& argc, char**& argv, std::time_t& when);

/// Reads a document read-only under its shared lock. False after a message
/// naming the file and the system's reason.
bool readDocument(const char* path, tool::ConfigText& text);

/// As readDocument, for a 4.0 input xlate45 would convert: false also, with
/// a message, when xlate45 would write nothing for it (an empty file) or
/// would never finish (a lone CR as its last byte).
bool readInput(const char* path, tool::ConfigText& text);

}  // namespace nbconf
