#pragma once
#include <cstddef>
#include <memory>

#include "xml/lexer.h"

namespace xml {

/// The parse context of every element parser: a lexer, one token of look-ahead
/// and a sticky error slot (a constant message; null means no error).
class TokenStream {
public:
    /// Null when the file or buffer can't be opened (the lexer reports why).
    static std::unique_ptr<TokenStream> onFile(const char* path);
    /// The buffer is borrowed and read in place: it must stay unchanged while
    /// the stream's tokens are read.
    static std::unique_ptr<TokenStream> onMemory(const char* buffer, std::size_t length);

    /// The pushed-back token if there is one, else a new one from the lexer.
    Token next() {
        if (pushedBack_) {
            const Token token = pushedBack_;
            pushedBack_ = Token();
            return token;
        }
        return lexer_->next();
    }
    /// The next token without taking it.
    Token peek() {
        if (!pushedBack_) pushedBack_ = lexer_->next();
        return pushedBack_;
    }
    /// Takes one token and drops it.
    void skip();

    /// Sets the error slot. Nothing clears it.
    void fail(const char* message) noexcept { error_ = message; }
    bool failed() const noexcept { return error_ != nullptr; }
    const char* error() const noexcept { return error_; }

    /// "\nline %lu : %s" on stderr with the lexer's line and error text ("0 error"
    /// until the lexer flagged a tag).
    void reportPosition() const;

    Lexer& lexer() noexcept { return *lexer_; }

private:
    explicit TokenStream(std::unique_ptr<Lexer> lexer) noexcept : lexer_(std::move(lexer)) {}
    std::unique_ptr<Lexer> lexer_;
    Token pushedBack_;
    const char* error_ = nullptr;
};

}  // namespace xml
