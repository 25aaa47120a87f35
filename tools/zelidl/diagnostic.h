// Source positions and the compile error that carries one.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace zelidl {

struct SourceLocation {
    std::string file;     // as the user named it or as it was found
    uint32_t line = 1;    // 1-based
    uint32_t column = 1;  // 1-based, in octets
};

// Thrown inside the compiler only; main() turns it into a message and exit
// status. what() reads "file:line:column: error: text".
class CompileError : public std::runtime_error {
public:
    CompileError(const SourceLocation &location, const std::string &text);

    const SourceLocation &location() const { return location_; }
    const std::string &text() const { return text_; }

private:
    SourceLocation location_;
    std::string text_;
};

}  // namespace zelidl
