// The figures Cyclone's ddsperf prints once a second: a subscriber's
// running total of samples, a pinger's round-trip percentiles. The first
// report covers discovery and the start, and is left out.
#pragma once

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

namespace zelbench {

struct DdsperfRate {
    double samplesPerSecond = 0;
    long lost = 0;
    bool ok = false;
};

struct DdsperfLatency {
    double medianUs = 0;
    double p90Us = 0;
    bool ok = false;
};

// From a subscriber's lines "[pid] <time>  size <n> total <n> lost <n> ...":
// the samples between its second report and its last over the time
// between them.
inline DdsperfRate DdsperfRate_parse(const std::string &output) {
    std::istringstream lines(output);
    std::string line;
    std::vector<std::pair<double, long long>> reports;
    long long lost = 0;
    while (std::getline(lines, line)) {
        double time = 0;
        long long size = 0;
        long long total = 0;
        long long lostSoFar = 0;
        if (std::sscanf(line.c_str(), "[%*d] %lf size %lld total %lld lost %lld", &time, &size, &total, &lostSoFar) ==
            4) {
            reports.emplace_back(time, total);
            lost = lostSoFar;
        }
    }
    DdsperfRate rate;
    if (reports.size() >= 3 && reports.back().first > reports[1].first) {
        rate.samplesPerSecond = static_cast<double>(reports.back().second - reports[1].second) /
                                (reports.back().first - reports[1].first);
        rate.lost = static_cast<long>(lost);
        rate.ok = true;
    }
    return rate;
}

// The number after `label` in `line` ("50% 8.973us"), negative without one.
inline double DdsperfLatency_fieldUs(const std::string &line, const char *label) {
    const size_t at = line.find(label);
    return at == std::string::npos ? -1.0 : std::strtod(line.c_str() + at + std::strlen(label), nullptr);
}

inline double DdsperfLatency_median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// From a pinger's lines "... size <n> mean <t>us min <t>us 50% <t>us 90%
// <t>us ...": the median over its reports after the first of each
// percentile.
inline DdsperfLatency DdsperfLatency_parse(const std::string &output) {
    std::istringstream lines(output);
    std::string line;
    std::vector<double> medians;
    std::vector<double> p90s;
    bool first = true;
    while (std::getline(lines, line)) {
        const double median = DdsperfLatency_fieldUs(line, " 50% ");
        const double p90 = DdsperfLatency_fieldUs(line, " 90% ");
        if (median < 0 || p90 < 0) {
            continue;
        }
        if (!first) {
            medians.push_back(median);
            p90s.push_back(p90);
        }
        first = false;
    }
    DdsperfLatency latency;
    if (!medians.empty()) {
        latency.medianUs = DdsperfLatency_median(medians);
        latency.p90Us = DdsperfLatency_median(p90s);
        latency.ok = true;
    }
    return latency;
}

}  // namespace zelbench
