#include <cstdio>

#include "tool/nbconf/commands.h"
#include "xml/lexer.h"

namespace nbconf {

namespace {

// Opens FILE as a file source (shared lock, mapping) and dumps every token
// through the first end-of-input token.
int tokens(int argc, char** argv) {
    if (argc != 1) return usageError(kTokens);
    const char* path = argv[0];
    if (!canRead(path)) return kFailed;
    std::unique_ptr<xml::Lexer> lexer = xml::Lexer::onFile(path);
    if (!lexer) return kFailed;  // the library has said why
    int errors = 0;
    unsigned long firstErrorLine = 0;
    for (;;) {
        xml::Token token = lexer->next();
        xml::dumpToken(token, stdout);
        if (!token) return kFailed;
        if (token.type() == xml::Tok::LexError || token.type() == xml::Tok::MemoryError) {
            if (errors++ == 0) firstErrorLine = lexer->line();
        }
        if (token.type() == xml::Tok::Eof) break;
    }
    if (errors == 0) return kOk;
    std::fprintf(stderr, "nbconf: %s does not parse: %d lexical error%s, the first at line %lu\n", path, errors,
                 errors == 1 ? "" : "s", firstErrorLine);
    return kFailed;
}

}  // namespace

const Command kTokens = {
    "tokens",
    "tokens FILE",
    "print every token of a document",
    "Reads FILE with the library's XML lexer, under the shared lock of its lock\n"
    "file, and prints every token through the end of input in the token dump\n"
    "format: type, payload and accumulated characters.\n"
    "\n"
    "Exit status 0 when every token was lexed; 1 when FILE cannot be opened, or\n"
    "when it does not parse (the tokens are still printed, and the count and line\n"
    "of the lexical errors follow on standard error).\n",
    tokens,
};

}  // namespace nbconf
