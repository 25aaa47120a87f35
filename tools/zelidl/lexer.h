// Splits IDL source text into tokens. Comments are dropped; an #include
// line becomes one token carrying the file name.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "diagnostic.h"

namespace zelidl {

enum class TokenKind {
    Identifier,
    Integer,
    Punctuation,  // one of { } ; : :: < > , [ ] ( ) @ -
    Include,      // #include "x" or #include <x>: `text` is the file name
    End
};

struct Token {
    TokenKind kind = TokenKind::End;
    std::string text;    // identifier, punctuation or include name
    uint64_t value = 0;  // integers
    SourceLocation location;
};

// Tokenizes `source`, naming `fileName` in locations. Throws CompileError
// at the first character that starts no token.
std::vector<Token> tokenize(const std::string &source, const std::string &fileName);

}  // namespace zelidl
