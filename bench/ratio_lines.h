// Lines a benchmark prints after its runs, one figure each, so that a later
// change can be compared with today's by eye or by grep "^ratio".
#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>
#include <vector>

namespace zelbench {

inline std::vector<std::string> &ratioLines() {
    static std::vector<std::string> lines;
    return lines;
}

inline void addRatioLine(const char *format, double value) {
    char line[256];
    std::snprintf(line, sizeof line, format, value);
    ratioLines().emplace_back(line);
}

// Runs the benchmarks the command line selects, then prints the lines.
inline int runAndPrintRatios(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    for (const std::string &line : ratioLines()) {
        std::printf("%s\n", line.c_str());
    }
    return 0;
}

}  // namespace zelbench
