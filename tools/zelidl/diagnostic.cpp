#include "diagnostic.h"

namespace zelidl {

namespace {

std::string formatI(const SourceLocation &location, const std::string &text) {
    return location.file + ":" + std::to_string(location.line) + ":" + std::to_string(location.column) +
           ": error: " + text;
}

}  // namespace

CompileError::CompileError(const SourceLocation &location, const std::string &text)
    : std::runtime_error(formatI(location, text)), location_(location), text_(text) {}

}  // namespace zelidl
