// The text a message record prints with the given arguments, so tests can
// expect the middleware's own records without copying their wording.
#pragma once

#include <cstdio>
#include <string>

#include "vurncore/log.h"

namespace zeltest {

template <typename... Args>
std::string recordText(const ZELLogMessage &message, Args... args) {
    char text[512];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    std::snprintf(text, sizeof text, message.format, args...);
#pragma GCC diagnostic pop
    return text;
}

}  // namespace zeltest
