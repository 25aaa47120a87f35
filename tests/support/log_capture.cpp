#include "log_capture.h"

#include <algorithm>
#include <ostream>

namespace zeltest {

LogCapture::LogCapture() {
    ZELLogDevice device{&LogCapture::write, this};
    ZELLog_setDevice(&device, &previous_);
}

LogCapture::~LogCapture() { ZELLog_setDevice(previous_.write ? &previous_ : nullptr, nullptr); }

void LogCapture::write(void *param, const ZELLogLine *line) {
    auto *self = static_cast<LogCapture *>(param);
    std::lock_guard<std::mutex> guard(self->mutex_);
    self->lines_.push_back(CapturedLine{line->context ? line->context : "", line->message ? line->message->id : 0u,
                                        line->text ? line->text : ""});
}

std::vector<CapturedLine> LogCapture::lines() const {
    std::lock_guard<std::mutex> guard(mutex_);
    return lines_;
}

void LogCapture::clear() {
    std::lock_guard<std::mutex> guard(mutex_);
    lines_.clear();
}

bool LogCapture::contains(const std::string &context, const ZELLogMessage &message, const std::string &text) const {
    const CapturedLine wanted = expectedLine(context, message, text);
    std::lock_guard<std::mutex> guard(mutex_);
    return std::find(lines_.begin(), lines_.end(), wanted) != lines_.end();
}

CapturedLine expectedLine(const std::string &context, const ZELLogMessage &message, const std::string &text) {
    return CapturedLine{context, message.id, text};
}

std::ostream &operator<<(std::ostream &out, const CapturedLine &line) {
    return out << "{" << line.context << " #" << std::hex << line.messageId << std::dec << " \"" << line.text << "\"}";
}

}  // namespace zeltest
