// A program the benchmark runs beside itself: started with its own
// environment, its standard output and error kept in an anonymous file,
// killed with the benchmark when the benchmark dies, and killed and reaped
// when the object goes, on every path, so that no process outlives the run.
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

namespace zelbench {

class ChildProcess {
public:
    // Runs the program at path `args[0]` with `args` and `environment`
    // ("NAME=value" each); running() tells whether it started.
    ChildProcess(const std::vector<std::string> &args, const std::vector<std::string> &environment) {
        output_ = std::tmpfile();
        if (output_ == nullptr) {
            return;
        }
        std::vector<char *> argv;
        for (const std::string &arg : args) {
            argv.push_back(const_cast<char *>(arg.c_str()));
        }
        argv.push_back(nullptr);
        std::vector<char *> envp;
        for (const std::string &variable : environment) {
            envp.push_back(const_cast<char *>(variable.c_str()));
        }
        envp.push_back(nullptr);
        const pid_t parent = getpid();
        const int outputFd = fileno(output_);
        pid_ = fork();
        if (pid_ == 0) {
            // Only async-signal-safe calls between fork and exec. The
            // parent's death kills the child, also when it came before the
            // prctl.
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            if (getppid() != parent || dup2(outputFd, STDOUT_FILENO) < 0 || dup2(outputFd, STDERR_FILENO) < 0) {
                _exit(127);
            }
            execve(argv[0], argv.data(), envp.data());
            _exit(127);
        }
    }

    ChildProcess(const ChildProcess &) = delete;
    ChildProcess &operator=(const ChildProcess &) = delete;

    ~ChildProcess() {
        kill9();
        if (output_ != nullptr) {
            std::fclose(output_);
        }
    }

    bool running() const { return pid_ > 0; }

    // Asks it to stop (SIGTERM) and waits `limit` for it; killed after
    // that. Its exit status, or -1 when it did not exit by itself.
    int stop(std::chrono::milliseconds limit) {
        if (pid_ > 0) {
            kill(pid_, SIGTERM);
        }
        return wait(limit);
    }

    // Waits `limit` for it to exit; killed after that. Its exit status, or
    // -1 when it did not exit by itself.
    int wait(std::chrono::milliseconds limit) {
        const auto end = std::chrono::steady_clock::now() + limit;
        while (pid_ > 0) {
            int status = 0;
            const pid_t done = waitpid(pid_, &status, WNOHANG);
            if (done == pid_ || (done < 0 && errno != EINTR)) {
                const bool exited = done == pid_ && WIFEXITED(status);
                pid_ = -1;
                return exited ? WEXITSTATUS(status) : -1;
            }
            if (std::chrono::steady_clock::now() > end) {
                kill9();
                return -1;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return -1;
    }

    // What it wrote so far.
    std::string output() const {
        std::string text;
        if (output_ == nullptr) {
            return text;
        }
        std::fflush(output_);
        char buffer[4096];
        for (off_t at = 0;;) {
            const ssize_t got = pread(fileno(output_), buffer, sizeof buffer, at);
            if (got <= 0) {
                return text;
            }
            text.append(buffer, static_cast<size_t>(got));
            at += got;
        }
    }

private:
    void kill9() {
        if (pid_ > 0) {
            kill(pid_, SIGKILL);
            while (waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
            }
            pid_ = -1;
        }
    }

    pid_t pid_ = -1;
    std::FILE *output_ = nullptr;
};

}  // namespace zelbench
