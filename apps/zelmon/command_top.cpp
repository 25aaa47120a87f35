// zelmon top: a live view refreshed once a second. In a terminal it is a
// full-screen ncurses view (q quits, s changes the sort, w the rate
// window); otherwise each refresh is printed as text, or as one JSON object
// per line with --json.
#include <curses.h>
#include <unistd.h>

#include <cstdio>
#include <mutex>

#include "console.h"
#include "top_frame.h"
#include "vurncore/log.h"

namespace zelmon {
namespace {

const char *const kSorts[] = {"cpu", "memory", "rate", "bytes", "name"};
const char *const kWindows[] = {"period", "5s", "60s"};

int windowIndex(const std::string &name) {
    for (int i = 0; i < 3; ++i) {
        if (name == kWindows[i]) {
            return i;
        }
    }
    return 0;
}

std::string header(const Console &console) {
    return "zelmon top - domain " + std::to_string(console.options().domain) + " - sort " + console.options().sort +
           " - rates over " + console.options().window +
           (console.heardAnything() ? "" : " - waiting for monitoring data");
}

// While the full-screen view is up, the platform's log lines would tear
// it: the newest one is shown on the view's last line instead.
struct ScreenLog {
    std::mutex mutex;
    std::string newest;  // guarded by mutex

    static void write(void *param, const ZELLogLine *line) {
        auto *self = static_cast<ScreenLog *>(param);
        std::lock_guard<std::mutex> guard(self->mutex);
        self->newest = std::string(line->context != nullptr ? line->context : "") +
                       (line->context != nullptr ? ": " : "") + line->text;
    }
    std::string get() {
        std::lock_guard<std::mutex> guard(mutex);
        return newest;
    }
};

int runCurses(Console &console, Options &options, double seconds) {
    ScreenLog screenLog;
    const ZELLogDevice device = {&ScreenLog::write, &screenLog};
    ZELLogDevice previous{};
    ZELLog_setDevice(&device, &previous);
    if (initscr() == nullptr) {
        ZELLog_setDevice(&previous, nullptr);
        std::fprintf(stderr, "zelmon: cannot start the terminal view\n");
        return kExitError;
    }
    cbreak();
    noecho();
    curs_set(0);
    timeout(1000);
    const Clock::time_point start = Clock::now();
    int status = kExitOk;
    while (!g_stop) {
        console.run(0);
        const Clock::time_point now = Clock::now();
        if (!console.heardAnything() && now - start > std::chrono::duration<double>(options.timeout)) {
            status = kExitError;
            break;
        }
        erase();
        int rows, columns;
        getmaxyx(stdscr, rows, columns);
        attron(A_REVERSE);
        mvaddnstr(0, 0, header(console).c_str(), columns);
        attroff(A_REVERSE);
        const std::vector<std::string> lines =
                topFrameLines(topFrameBuild(console, now), windowIndex(options.window), columns);
        for (size_t i = 0; i < lines.size() && static_cast<int>(i) + 2 < rows; ++i) {
            mvaddstr(static_cast<int>(i) + 2, 0, lines[i].c_str());
        }
        if (const std::string newest = screenLog.get(); !newest.empty()) {
            mvaddnstr(rows - 1, 0, ("log: " + newest).c_str(), columns);
        }
        refresh();
        const int key = getch();
        if (key == 'q' || key == 'Q') {
            break;
        }
        if (key == 's') {
            size_t next = 0;
            while (next < std::size(kSorts) && options.sort != kSorts[next]) {
                ++next;
            }
            options.sort = kSorts[(next + 1) % std::size(kSorts)];
        } else if (key == 'w') {
            options.window = kWindows[(windowIndex(options.window) + 1) % 3];
        }
        if (seconds >= 0 && Clock::now() - start > std::chrono::duration<double>(seconds)) {
            break;
        }
    }
    endwin();
    ZELLog_setDevice(&previous, nullptr);
    if (status == kExitError) {
        console.printNothingReceived();
    }
    return status;
}

}  // namespace

int commandTop(Console &console) {
    Options &options = console.options();
    const double seconds = options.seconds;
    if (!options.json && isatty(STDOUT_FILENO) && isatty(STDIN_FILENO)) {
        return runCurses(console, options, seconds);
    }
    const Clock::time_point start = Clock::now();
    while (!g_stop) {
        console.run(1.0);
        const Clock::time_point now = Clock::now();
        if (!console.heardAnything()) {
            if (now - start > std::chrono::duration<double>(options.timeout)) {
                console.printNothingReceived();
                return kExitError;
            }
            continue;
        }
        const TopFrame frame = topFrameBuild(console, now);
        if (options.json) {
            std::printf("%s\n", topFrameJson(frame).dump().c_str());
        } else {
            std::printf("%s\n", header(console).c_str());
            for (const std::string &line : topFrameLines(frame, windowIndex(options.window), 200)) {
                std::printf("%s\n", line.c_str());
            }
            std::printf("\n");
        }
        std::fflush(stdout);
        if (seconds >= 0 && now - start >= std::chrono::duration<double>(seconds)) {
            break;
        }
    }
    return kExitOk;
}

}  // namespace zelmon
