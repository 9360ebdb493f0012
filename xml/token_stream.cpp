#include "xml/token_stream.h"

#include <cstdio>
#include <new>

namespace xml {

std::unique_ptr<TokenStream> TokenStream::onFile(const char* path) {
    std::unique_ptr<Lexer> lexer = Lexer::onFile(path);
    if (!lexer) return nullptr;
    // The lexer holds the shared lock of the file until the stream is destroyed.
    return std::unique_ptr<TokenStream>(new (std::nothrow) TokenStream(std::move(lexer)));
}

std::unique_ptr<TokenStream> TokenStream::onMemory(const char* buffer, std::size_t length) {
    std::unique_ptr<Lexer> lexer = Lexer::onMemory(buffer, length);
    if (!lexer) return nullptr;
    return std::unique_ptr<TokenStream>(new (std::nothrow) TokenStream(std::move(lexer)));
}

void TokenStream::skip() { static_cast<void>(next()); }

void TokenStream::reportPosition() const {
    // The lexer's text starts as "0 error", so this always prints something.
    const char* text = lexer_->errorText();
    if (text) std::fprintf(stderr, "\nline %lu : %s", lexer_->line(), text);
}

}  // namespace xml
