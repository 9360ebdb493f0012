#include <cstdio>

#include "tool/nbconf/commands.h"
#include "xml/lexer.h"

namespace nbconf {

// Opens FILE as a file source (shared lock, mapping) and dumps every token
// through the first end-of-input token.
int tokens(int argc, char** argv) {
    if (argc != 1) {
        std::fputs("Usage: nbconf tokens FILE\n", stderr);
        return 2;
    }
    std::unique_ptr<xml::Lexer> lexer = xml::Lexer::onFile(argv[0]);
    if (!lexer) return 1;
    for (;;) {
        xml::Token token = lexer->next();
        xml::dumpToken(token, stdout);
        if (!token) return 1;
        if (token.type() == xml::Tok::Eof) return 0;
    }
}

}  // namespace nbconf
