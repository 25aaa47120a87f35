#include "lexer.h"

#include <cstdio>
#include <limits>

namespace zelidl {

namespace {

bool isIdentifierStartI(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }

bool isDigitI(char c) { return c >= '0' && c <= '9'; }

bool isIdentifierPartI(char c) { return isIdentifierStartI(c) || isDigitI(c); }

int digitValueI(char c) {
    if (isDigitI(c)) {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return 99;
}

std::string describeCharacterI(char c) {
    unsigned char u = static_cast<unsigned char>(c);
    if (u >= 0x21 && u < 0x7f) {
        return std::string("'") + c + "'";
    }
    char buffer[16];
    std::snprintf(buffer, sizeof(buffer), "(0x%02x)", static_cast<unsigned>(u));
    return buffer;
}

class Lexer {
public:
    Lexer(const std::string &source, const std::string &fileName) : source_(source), fileName_(fileName) {}

    std::vector<Token> run() {
        std::vector<Token> tokens;
        for (;;) {
            skipSpaceAndComments();
            Token token;
            token.location = here();
            if (atEnd()) {
                tokens.push_back(token);
                return tokens;
            }
            char c = peek();
            if (isIdentifierStartI(c)) {
                token.kind = TokenKind::Identifier;
                while (!atEnd() && isIdentifierPartI(peek())) {
                    token.text += advance();
                }
            } else if (isDigitI(c)) {
                readInteger(token);
            } else if (c == '#') {
                readDirective(token);
            } else if (c == ':' && peek(1) == ':') {
                token.kind = TokenKind::Punctuation;
                token.text = "::";
                advance();
                advance();
            } else if (std::string("{};:<>,[]()@-").find(c) != std::string::npos) {
                token.kind = TokenKind::Punctuation;
                token.text = std::string(1, advance());
            } else {
                throw CompileError(token.location, "unexpected character " + describeCharacterI(c));
            }
            tokens.push_back(token);
        }
    }

private:
    bool atEnd() const { return position_ >= source_.size(); }

    char peek(size_t ahead = 0) const { return position_ + ahead < source_.size() ? source_[position_ + ahead] : '\0'; }

    char advance() {
        char c = source_[position_++];
        if (c == '\n') {
            ++line_;
            column_ = 1;
        } else {
            ++column_;
        }
        return c;
    }

    SourceLocation here() const { return SourceLocation{fileName_, line_, column_}; }

    void skipSpaceAndComments() {
        while (!atEnd()) {
            char c = peek();
            if (c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f' || c == '\v') {
                advance();
            } else if (c == '/' && peek(1) == '/') {
                while (!atEnd() && peek() != '\n') {
                    advance();
                }
            } else if (c == '/' && peek(1) == '*') {
                SourceLocation start = here();
                advance();
                advance();
                while (!(peek() == '*' && peek(1) == '/')) {
                    if (atEnd()) {
                        throw CompileError(start, "unterminated comment");
                    }
                    advance();
                }
                advance();
                advance();
            } else {
                return;
            }
        }
    }

    // Decimal, hexadecimal (0x) or octal (leading 0), as IDL writes them.
    void readInteger(Token &token) {
        token.kind = TokenKind::Integer;
        unsigned base = 10;
        if (peek() == '0' && (peek(1) == 'x' || peek(1) == 'X')) {
            base = 16;
            token.text += advance();
            token.text += advance();
        } else if (peek() == '0' && isDigitI(peek(1))) {
            base = 8;
        }
        size_t digits = 0;
        bool overflow = false;
        while (!atEnd() && isIdentifierPartI(peek())) {
            char c = peek();
            int digit = digitValueI(c);
            if (digit >= static_cast<int>(base)) {
                throw CompileError(here(), "invalid digit " + describeCharacterI(c) + " in integer literal");
            }
            uint64_t d = static_cast<uint64_t>(digit);
            if (token.value > (std::numeric_limits<uint64_t>::max() - d) / base) {
                overflow = true;
            }
            token.value = token.value * base + d;
            token.text += advance();
            ++digits;
        }
        if (base == 16 && digits == 0) {
            throw CompileError(token.location, "hexadecimal literal without digits");
        }
        if (overflow) {
            throw CompileError(token.location, "integer literal " + token.text + " is too large");
        }
    }

    void readDirective(Token &token) {
        advance();  // '#'
        while (peek() == ' ' || peek() == '\t') {
            advance();
        }
        SourceLocation nameLocation = here();
        std::string name;
        while (!atEnd() && isIdentifierPartI(peek())) {
            name += advance();
        }
        if (name != "include") {
            throw CompileError(nameLocation, name.empty() ? std::string("expected a directive after '#'")
                                                          : "unsupported directive '#" + name + "'");
        }
        while (peek() == ' ' || peek() == '\t') {
            advance();
        }
        char open = peek();
        if (open != '"' && open != '<') {
            throw CompileError(here(), "expected \"file\" or <file> after #include");
        }
        char close = open == '"' ? '"' : '>';
        SourceLocation nameStart = here();
        advance();
        while (peek() != close) {
            if (atEnd() || peek() == '\n') {
                throw CompileError(nameStart, "unterminated file name in #include");
            }
            token.text += advance();
        }
        advance();
        if (token.text.empty()) {
            throw CompileError(nameStart, "empty file name in #include");
        }
        token.kind = TokenKind::Include;
    }

    const std::string &source_;
    const std::string &fileName_;
    size_t position_ = 0;
    uint32_t line_ = 1;
    uint32_t column_ = 1;
};

}  // namespace

std::vector<Token> tokenize(const std::string &source, const std::string &fileName) {
    return Lexer(source, fileName).run();
}

}  // namespace zelidl
