// One refresh of zelmon top: the processes, writers and readers with their
// rates, sorted, as JSON or as lines of text.
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "console.h"

namespace zelmon {

struct ProcessRow {
    int64_t hostId, processId;
    std::string participants;
    double cpuPercent;
    int64_t memoryBytes;
    bool stale;
};

struct EndpointRow {
    const Entity *entity;
    std::string participant;
    double samplesPerSecond[3];  // last period, 5 s window, 60 s window
    double bytesPerSecond;
    int64_t matched;
    int64_t deadlineMissed;
    int64_t lost;      // readers
    int64_t rejected;  // readers
    bool stale;
};

struct TopFrame {
    std::vector<ProcessRow> processes;
    std::vector<EndpointRow> writers;
    std::vector<EndpointRow> readers;
    int64_t malformedSamples = 0;
};

// Sort keys: "cpu", "memory", "rate", "bytes", "name".
TopFrame topFrameBuild(Console &console, Clock::time_point now);
nlohmann::json topFrameJson(const TopFrame &frame);
// `window` 0 shows rates over the last period, 1 and 2 over 5 s and 60 s.
std::vector<std::string> topFrameLines(const TopFrame &frame, int window, int width);

}  // namespace zelmon
