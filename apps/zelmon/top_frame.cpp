#include "top_frame.h"

#include <algorithm>
#include <cstdio>
#include <map>

namespace zelmon {
namespace {

const char *const kWindowNames[] = {"period", "5s", "60s"};

EndpointRow endpointRow(const SystemModel &model, const Entity &entity, Clock::time_point now) {
    const bool writer = entity.kind == EntityKind::Writer;
    const Entity *participant = model.participantOf(entity);
    const int64_t matched = entity.matchedCount(0);
    // A writer's counters count each sample once per matched reader: its
    // rates are shown as the application writes.
    const double share = writer && matched > 1 ? 1.0 / static_cast<double>(matched) : 1.0;
    EndpointRow row{&entity,
                    participant != nullptr ? participant->name() : std::string("?"),
                    {entity.samples.lastRate() * share, entity.samples.windowRate(0) * share,
                     entity.samples.windowRate(1) * share},
                    entity.bytes.lastRate() * share,
                    matched,
                    entity.get(entity.statistics,
                               writer ? "/offered_deadline_missed_status/status/total_count"
                                      : "/requested_deadline_missed_status/status/total_count",
                               int64_t{0}),
                    entity.get(entity.statistics, "/sample_lost_status/status/total_count", int64_t{0}),
                    entity.get(entity.statistics, "/sample_rejected_status/status/total_count", int64_t{0}),
                    model.isStale(entity, now)};
    return row;
}

void sortEndpoints(std::vector<EndpointRow> *rows, const std::string &key) {
    std::stable_sort(rows->begin(), rows->end(), [&](const EndpointRow &a, const EndpointRow &b) {
        if (key == "bytes") {
            return a.bytesPerSecond > b.bytesPerSecond;
        }
        if (key == "name") {
            return std::tie(a.participant, a.entity->key) < std::tie(b.participant, b.entity->key);
        }
        if (key == "rate") {
            return a.samplesPerSecond[0] > b.samplesPerSecond[0];
        }
        return a.entity->topicName() < b.entity->topicName();
    });
}

std::string humanBytes(double bytes) {
    const char *const units[] = {"B", "KiB", "MiB", "GiB"};
    int unit = 0;
    while (bytes >= 1024 && unit < 3) {
        bytes /= 1024;
        ++unit;
    }
    char text[32];
    std::snprintf(text, sizeof(text), "%.1f %s", bytes, units[unit]);
    return text;
}

std::string clip(const std::string &text, size_t width) { return text.size() > width ? text.substr(0, width) : text; }

}  // namespace

TopFrame topFrameBuild(Console &console, Clock::time_point now) {
    const SystemModel &model = console.model();
    TopFrame frame;
    // Every participant of a process publishes the same process figures.
    std::map<std::pair<int64_t, int64_t>, ProcessRow> processes;
    for (const Entity *participant : model.ofKind(EntityKind::Participant)) {
        const int64_t host = participant->get(participant->description, "/host_id",
                                              participant->get(participant->statistics, "/host_id", int64_t{0}));
        const int64_t pid = participant->get(participant->description, "/process_id",
                                             participant->get(participant->statistics, "/process_id", int64_t{0}));
        auto [at, inserted] = processes.try_emplace({host, pid}, ProcessRow{host, pid, "", 0.0, 0, true});
        ProcessRow &row = at->second;
        row.participants += (row.participants.empty() ? "" : ",") + participant->name();
        row.cpuPercent = std::max(row.cpuPercent, participant->cpuNs.lastRate() / 1e9 * 100.0);
        row.memoryBytes = std::max(row.memoryBytes, participant->get(participant->statistics,
                                                                     "/process/physical_memory_bytes", int64_t{0}));
        row.stale = row.stale && model.isStale(*participant, now);
    }
    for (auto &[id, row] : processes) {
        frame.processes.push_back(row);
    }
    const std::string &sort = console.options().sort;
    std::stable_sort(frame.processes.begin(), frame.processes.end(), [&](const ProcessRow &a, const ProcessRow &b) {
        if (sort == "memory") {
            return a.memoryBytes > b.memoryBytes;
        }
        if (sort == "name") {
            return a.participants < b.participants;
        }
        return a.cpuPercent > b.cpuPercent;
    });
    for (const auto &[key, entity] : model.entities()) {
        if ((entity.kind == EntityKind::Writer || entity.kind == EntityKind::Reader) && console.passesFilter(entity)) {
            (entity.kind == EntityKind::Writer ? frame.writers : frame.readers)
                    .push_back(endpointRow(model, entity, now));
        }
    }
    sortEndpoints(&frame.writers, sort);
    sortEndpoints(&frame.readers, sort);
    frame.malformedSamples = console.session().malformedSamples();
    return frame;
}

nlohmann::json topFrameJson(const TopFrame &frame) {
    nlohmann::json out = {{"processes", nlohmann::json::array()},
                          {"writers", nlohmann::json::array()},
                          {"readers", nlohmann::json::array()},
                          {"malformed_samples", frame.malformedSamples}};
    for (const ProcessRow &row : frame.processes) {
        out["processes"].push_back({{"host_id", row.hostId},
                                    {"process_id", row.processId},
                                    {"participants", row.participants},
                                    {"cpu_percent", row.cpuPercent},
                                    {"memory_bytes", row.memoryBytes},
                                    {"stale", row.stale}});
    }
    for (const auto *rows : {&frame.writers, &frame.readers}) {
        for (const EndpointRow &row : *rows) {
            nlohmann::json item = {{"key", row.entity->key},
                                   {"participant", row.participant},
                                   {"topic_name", row.entity->topicName()},
                                   {"type_name", row.entity->typeName()},
                                   {"samples_per_s", row.samplesPerSecond[0]},
                                   {"samples_per_s_5s", row.samplesPerSecond[1]},
                                   {"samples_per_s_60s", row.samplesPerSecond[2]},
                                   {"bytes_per_s", row.bytesPerSecond},
                                   {"matched", row.matched},
                                   {"deadline_missed", row.deadlineMissed},
                                   {"stale", row.stale}};
            if (rows == &frame.readers) {
                item["lost"] = row.lost;
                item["rejected"] = row.rejected;
                out["readers"].push_back(item);
            } else {
                out["writers"].push_back(item);
            }
        }
    }
    return out;
}

std::vector<std::string> topFrameLines(const TopFrame &frame, int window, int width) {
    std::vector<std::string> lines;
    char line[512];
    std::snprintf(line, sizeof(line), "%-8s %-7s %6s %10s  %s", "HOST", "PID", "CPU%", "MEMORY", "PARTICIPANTS");
    lines.push_back(line);
    for (const ProcessRow &row : frame.processes) {
        std::snprintf(line, sizeof(line), "%08llx %-7lld %6.1f %10s  %s%s", static_cast<unsigned long long>(row.hostId),
                      static_cast<long long>(row.processId), row.cpuPercent,
                      humanBytes(static_cast<double>(row.memoryBytes)).c_str(), row.participants.c_str(),
                      row.stale ? " [stale]" : "");
        lines.push_back(line);
    }
    for (const auto *rows : {&frame.writers, &frame.readers}) {
        const bool writers = rows == &frame.writers;
        lines.emplace_back();
        std::snprintf(line, sizeof(line), "%-20s %-18s %-17s %9s %11s %7s %8s%s",
                      writers ? "WRITER TOPIC" : "READER TOPIC", "PARTICIPANT", "KEY",
                      (std::string("SMP/S ") + kWindowNames[window]).c_str(), "BYTES/S", "MATCHED", "DEADLINE",
                      writers ? "" : "     LOST REJECTED");
        lines.push_back(line);
        for (const EndpointRow &row : *rows) {
            std::snprintf(line, sizeof(line), "%-20s %-18s %-17s %9.1f %11s %7lld %8lld",
                          clip(row.entity->topicName(), 20).c_str(), clip(row.participant, 18).c_str(),
                          row.entity->key.substr(18).c_str(), row.samplesPerSecond[window],
                          humanBytes(row.bytesPerSecond).c_str(), static_cast<long long>(row.matched),
                          static_cast<long long>(row.deadlineMissed));
            std::string text = line;
            if (!writers) {
                std::snprintf(line, sizeof(line), " %8lld %8lld", static_cast<long long>(row.lost),
                              static_cast<long long>(row.rejected));
                text += line;
            }
            lines.push_back(text + (row.stale ? " [stale]" : ""));
        }
    }
    if (frame.malformedSamples > 0) {
        lines.emplace_back();
        lines.push_back("malformed monitoring samples received: " + std::to_string(frame.malformedSamples));
    }
    for (std::string &text : lines) {
        text = clip(text, static_cast<size_t>(width));
    }
    return lines;
}

}  // namespace zelmon
