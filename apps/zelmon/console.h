// What every zelmon command shares: its options, the session and model it
// reads, and the commands themselves (one file each).
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "monitoring_session.h"
#include "system_model.h"

namespace zelmon {

// Exit statuses: 0 done (check: no problems), 1 check found problems,
// 2 the command could not do its job.
enum ExitStatus { kExitOk = 0, kExitProblems = 1, kExitError = 2 };

struct Options {
    int domain = 0;
    std::string filter;  // only entities whose topic or participant name contains it, or matches it as a pattern
    bool json = false;
    double seconds = -1;  // how long to gather (ls, show, check) or run (top, echo); < 0: the command's default
    double timeout = 15;  // nothing received for this long is an error
    std::string sort = "cpu";
    std::string window = "period";  // top's rate column: period, 5s or 60s
    std::string selector;           // show: a key, a key prefix, or participant[/topic[/writer|reader]]
};

// Set by SIGINT and SIGTERM: commands finish what they print and leave.
extern std::atomic<bool> g_stop;

// The session and the model, fed for `seconds` or until stopped. False,
// with the reason printed, when nothing arrived within the timeout.
class Console {
public:
    static std::unique_ptr<Console> open(const Options &options);
    // Feeds the model for up to `seconds`; samples also go to `onSample`.
    void run(double seconds, const std::function<void(const MonitoringSample &)> &onSample = {});
    bool heardAnything() const { return heard_; }
    // A filter with *, ? or [ is a pattern the whole name must match;
    // otherwise any name that contains it matches.
    bool matchesFilter(const std::string &name) const;
    bool passesFilter(const Entity &entity) const;
    void printNothingReceived() const;
    // Waits up to the timeout for the first sample, then gathers until
    // `seconds` (or the --time option) have passed since the start. False,
    // with the reason printed, when nothing arrived.
    bool gather(double defaultSeconds);

    const Options &options() const { return options_; }
    Options &options() { return options_; }
    SystemModel &model() { return model_; }
    MonitoringSession &session() { return *session_; }

private:
    Options options_;
    std::unique_ptr<MonitoringSession> session_;
    SystemModel model_;
    bool heard_ = false;
};

int commandLs(Console &console);
int commandTop(Console &console);
int commandShow(Console &console);
int commandEcho(Console &console);
int commandCheck(Console &console);

}  // namespace zelmon
