// A log device that keeps every line, so tests assert exact messages.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "vurncore/log.h"

namespace zeltest {

struct CapturedLine {
    std::string context;  // empty for ZELLog_debug lines
    uint32_t messageId;   // 0 for ZELLog_debug lines
    std::string text;     // the formatted text

    bool operator==(const CapturedLine &) const = default;
};

// Installs itself as the log device for its lifetime and restores the
// previous device afterwards.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    std::vector<CapturedLine> lines() const;
    void clear();
    // True when some line has exactly this context, record and text.
    bool contains(const std::string &context, const ZELLogMessage &message, const std::string &text) const;

private:
    static void write(void *param, const ZELLogLine *line);

    mutable std::mutex mutex_;
    std::vector<CapturedLine> lines_;  // guarded by mutex_
    ZELLogDevice previous_{};
};

// A line as a record would print it, for building expectations.
CapturedLine expectedLine(const std::string &context, const ZELLogMessage &message, const std::string &text);

std::ostream &operator<<(std::ostream &out, const CapturedLine &line);

}  // namespace zeltest
