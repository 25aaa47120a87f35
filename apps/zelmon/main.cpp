// zelmon: the console of zelmonitoring. It reads the monitoring topics of one
// domain and shows the system they describe.
#include <csignal>
#include <cstdio>

#include <CLI/CLI.hpp>

#include "console.h"

namespace {

void onSignal(int) { zelmon::g_stop = true; }

void addCommonOptions(CLI::App *command, zelmon::Options *options) {
    command->add_option("-d,--domain", options->domain, "domain of the monitoring data")
            ->check(CLI::Range(0, 232))
            ->capture_default_str();
    command->add_option("-f,--filter", options->filter,
                        "only entities whose topic or participant name contains this text, or matches it as a "
                        "pattern with * ? [ ]");
    command->add_flag("--json", options->json, "print JSON instead of text");
    command->add_option("--timeout", options->timeout,
                        "seconds to wait for the first monitoring sample before giving up")
            ->capture_default_str();
}

}  // namespace

int main(int argc, char **argv) {
    zelmon::Options options;
    CLI::App app{
            "zelmon: the console of zelmonitoring. It reads the monitoring topics "
            "\"zel/dds/monitoring/...\" of one domain."};
    app.require_subcommand(1);

    CLI::App *ls = app.add_subcommand("ls",
                                      "the system as a tree: hosts, processes, participants, topics, "
                                      "publishers, subscribers, writers and readers");
    CLI::App *top = app.add_subcommand("top",
                                       "live view of processes (CPU, memory), writers and readers (rates, "
                                       "matches, deadline misses, lost and rejected samples)");
    CLI::App *show = app.add_subcommand("show", "one entity with its full QoS and newest statistics");
    CLI::App *echo = app.add_subcommand("echo", "every monitoring sample as one JSON object per line");
    CLI::App *check = app.add_subcommand("check",
                                         "report problems (incompatible QoS, unmatched endpoints, "
                                         "type conflicts, deadline misses, lost or rejected samples); "
                                         "exit status 1 when there are any");
    for (CLI::App *command : {ls, top, show, echo, check}) {
        addCommonOptions(command, &options);
    }
    ls->add_option("-t,--time", options.seconds, "seconds to gather before printing (default 6)");
    show->add_option("-t,--time", options.seconds, "seconds to gather before printing (default 6)");
    check->add_option("-t,--time", options.seconds, "seconds to gather before judging (default 11)");
    top->add_option("-t,--time", options.seconds, "stop after this many seconds (default: until q or Ctrl-C)");
    echo->add_option("-t,--time", options.seconds, "stop after this many seconds (default: until Ctrl-C)");
    top->add_option("-s,--sort", options.sort, "sort by cpu, memory, rate, bytes or name")
            ->check(CLI::IsMember({"cpu", "memory", "rate", "bytes", "name"}))
            ->capture_default_str();
    top->add_option("-w,--window", options.window, "rates over the last period, or over 5s or 60s")
            ->check(CLI::IsMember({"period", "5s", "60s"}))
            ->capture_default_str();
    show->add_option("entity", options.selector,
                     "a key (or its unique start or end) or participant[/topic[/writer|reader]]")
            ->required();

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        // --help is a parse "error" that exits 0; every other one is bad usage.
        return app.exit(error) == 0 ? 0 : zelmon::kExitError;
    }

    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
    int status = zelmon::kExitError;
    {
        std::unique_ptr<zelmon::Console> console = zelmon::Console::open(options);
        if (console != nullptr) {
            if (ls->parsed()) {
                status = zelmon::commandLs(*console);
            } else if (top->parsed()) {
                status = zelmon::commandTop(*console);
            } else if (show->parsed()) {
                status = zelmon::commandShow(*console);
            } else if (echo->parsed()) {
                status = zelmon::commandEcho(*console);
            } else {
                status = zelmon::commandCheck(*console);
            }
        }
    }
    DDS_DomainParticipantFactory_finalize_instance();
    return status;
}
