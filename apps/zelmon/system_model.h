// The console's live model of a monitored system: every participant, topic,
// publisher, subscriber, writer and reader that the monitoring topics
// describe, joined on their keys with their newest statistics and matches.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "monitoring_session.h"
#include "rate_series.h"

namespace zelmon {

using Clock = std::chrono::steady_clock;

enum class EntityKind { Participant, Topic, Publisher, Subscriber, Writer, Reader };

const char *entityKindName(EntityKind kind);

// "0a0b0c0d.00000001.00000002.000001c1": the four words of a builtin-topic
// key (JSON array of four longs), or the sixteen octets of an instance
// handle read as four big-endian words, which name the same entity.
std::string keyString(const nlohmann::json &key);

struct Entity {
    EntityKind kind;
    std::string key;
    std::string parent;  // participant of a topic, publisher or subscriber; publisher or subscriber of an endpoint
    std::string topic;   // an endpoint's topic entity
    nlohmann::json description;  // null until its description arrives
    nlohmann::json statistics;   // the newest entity statistics, null before
    int64_t periodNs = 0;        // of the statistics
    // Per matched remote endpoint (its key), the newest matched statistics.
    std::map<std::string, nlohmann::json> matches;
    RateSeries samples;  // pushed (writers) or received (readers)
    RateSeries bytes;
    RateSeries cpuNs;           // participants: the process's user and kernel CPU time
    Clock::time_point heard{};  // the newest sample of or about it
    bool writerGone = false;    // its descriptions lost their writer without being disposed

    // A member of the description or statistics by JSON pointer, or `fallback`.
    template <typename T>
    T get(const nlohmann::json &from, const char *pointer, T fallback) const {
        const nlohmann::json::json_pointer path(pointer);
        return from.is_object() && from.contains(path) ? from.at(path).get<T>() : fallback;
    }
    std::string topicName() const;
    std::string typeName() const;
    std::string name() const;  // a participant's name, an endpoint's topic name, else the key
    // An endpoint's matched remote endpoints now, or `fallback` before its
    // first statistics.
    int64_t matchedCount(int64_t fallback) const;
};

struct Problem {
    std::string kind;     // "incompatible-qos", "unmatched-writer", ...
    std::string entity;   // key of the entity concerned
    std::string message;  // one line for a person
};

class SystemModel {
public:
    void apply(const MonitoringSample &sample, Clock::time_point now);

    const std::map<std::string, Entity> &entities() const { return entities_; }
    const Entity *find(const std::string &key) const;
    const Entity *participantOf(const Entity &entity) const;
    // Entities whose parent is `key`, by kind then key.
    std::vector<const Entity *> childrenOf(const std::string &key) const;
    std::vector<const Entity *> ofKind(EntityKind kind) const;

    // A participant whose process has not published statistics for three
    // periods (or whose monitoring writers went away) is stale, and so is
    // everything it holds.
    bool isStale(const Entity &entity, Clock::time_point now) const;
    std::vector<Problem> problems() const;

private:
    Entity &entityFor(EntityKind kind, const std::string &key);
    void applyDescription(EntityKind kind, const MonitoringSample &sample, Clock::time_point now);
    void applyStatistics(EntityKind kind, const MonitoringSample &sample, Clock::time_point now);
    void applyMatch(const char *ownKey, const char *remoteKey, const MonitoringSample &sample);

    std::map<std::string, Entity> entities_;
    // Keys of deleted entities: statistics published just before the
    // deletion may still arrive after it, and must not bring them back.
    std::set<std::string> deleted_;
};

}  // namespace zelmon
