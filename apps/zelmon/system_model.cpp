#include "system_model.h"

#include <algorithm>
#include <cstdio>

namespace zelmon {
namespace {

constexpr int64_t kDefaultPeriodNs = 5'000'000'000;

// Periods without statistics after which a process counts as gone.
constexpr int kStalePeriods = 3;

// The monitoring topics in catalogue order.
enum Topic {
    kParticipantDescription,
    kTopicDescription,
    kPublisherDescription,
    kSubscriberDescription,
    kReaderDescription,
    kWriterDescription,
    kParticipantStatistics,
    kReaderStatistics,
    kWriterStatistics,
    kTopicStatistics,
    kReaderMatchedPublicationStatistics,
    kWriterMatchedSubscriptionStatistics,
    kWriterMatchedSubscriptionWithLocatorStatistics,
};

constexpr EntityKind kDescribedKind[] = {EntityKind::Participant, EntityKind::Topic,  EntityKind::Publisher,
                                         EntityKind::Subscriber,  EntityKind::Reader, EntityKind::Writer};

// The names of the QoS policy ids.
const char *policyName(int id) {
    static const char *const kNames[] = {"INVALID",
                                         "USER_DATA",
                                         "DURABILITY",
                                         "PRESENTATION",
                                         "DEADLINE",
                                         "LATENCY_BUDGET",
                                         "OWNERSHIP",
                                         "OWNERSHIP_STRENGTH",
                                         "LIVELINESS",
                                         "TIME_BASED_FILTER",
                                         "PARTITION",
                                         "RELIABILITY",
                                         "DESTINATION_ORDER",
                                         "HISTORY",
                                         "RESOURCE_LIMITS",
                                         "ENTITY_FACTORY",
                                         "WRITER_DATA_LIFECYCLE",
                                         "READER_DATA_LIFECYCLE",
                                         "TOPIC_DATA",
                                         "GROUP_DATA",
                                         "TRANSPORT_PRIORITY",
                                         "LIFESPAN",
                                         "DURABILITY_SERVICE"};
    return id >= 0 && id < static_cast<int>(std::size(kNames)) ? kNames[id] : "UNKNOWN";
}

int64_t durationNs(const nlohmann::json &duration) {
    return duration.value("sec", int64_t{0}) * 1'000'000'000 + duration.value("nanosec", int64_t{0});
}

int64_t counter(const Entity &entity, const char *pointer) {
    return entity.get(entity.statistics, pointer, int64_t{0});
}

}  // namespace

const char *entityKindName(EntityKind kind) {
    switch (kind) {
    case EntityKind::Participant:
        return "participant";
    case EntityKind::Topic:
        return "topic";
    case EntityKind::Publisher:
        return "publisher";
    case EntityKind::Subscriber:
        return "subscriber";
    case EntityKind::Writer:
        return "writer";
    case EntityKind::Reader:
        return "reader";
    }
    return "entity";
}

std::string keyString(const nlohmann::json &key) {
    const nlohmann::json &value = key.is_object() ? key.value("value", nlohmann::json::array()) : key;
    uint32_t words[4] = {};
    if (value.size() == 4) {
        for (size_t i = 0; i < 4; ++i) {
            words[i] = static_cast<uint32_t>(value[i].get<int64_t>());
        }
    } else if (value.size() == 16) {
        for (size_t i = 0; i < 16; ++i) {
            words[i / 4] = (words[i / 4] << 8) | value[i].get<uint32_t>();
        }
    }
    char text[40];
    std::snprintf(text, sizeof(text), "%08x.%08x.%08x.%08x", words[0], words[1], words[2], words[3]);
    return text;
}

std::string Entity::topicName() const {
    return get(description, "/topic_name", get(statistics, "/topic_name", std::string()));
}

std::string Entity::typeName() const { return get(description, "/type_name", std::string()); }

std::string Entity::name() const {
    switch (kind) {
    case EntityKind::Participant: {
        const std::string name = get(description, "/qos/participant_name/name", std::string());
        return name.empty() ? key : name;
    }
    case EntityKind::Topic:
    case EntityKind::Writer:
    case EntityKind::Reader:
        return topicName();
    case EntityKind::Publisher:
    case EntityKind::Subscriber:
        break;
    }
    return key;
}

int64_t Entity::matchedCount(int64_t fallback) const {
    return get(statistics,
               kind == EntityKind::Writer ? "/publication_matched_status/status/current_count"
                                          : "/subscription_matched_status/status/current_count",
               fallback);
}

Entity &SystemModel::entityFor(EntityKind kind, const std::string &key) {
    auto [at, inserted] = entities_.try_emplace(key);
    if (inserted) {
        at->second.kind = kind;
        at->second.key = key;
    }
    return at->second;
}

void SystemModel::applyDescription(EntityKind kind, const MonitoringSample &sample, Clock::time_point now) {
    const std::string key = keyString(sample.data["entity_key"]);
    if (!sample.valid) {
        if (sample.instanceState == DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE) {
            // Deleted: it leaves the model with everything it held.
            std::vector<std::string> leaving = {key};
            while (!leaving.empty()) {
                const std::string gone = leaving.back();
                leaving.pop_back();
                for (const Entity *child : childrenOf(gone)) {
                    leaving.push_back(child->key);
                }
                entities_.erase(gone);
                deleted_.insert(gone);
            }
        } else if (auto at = entities_.find(key); at != entities_.end()) {
            at->second.writerGone = true;
        }
        return;
    }
    Entity &entity = entityFor(kind, key);
    entity.description = sample.data;
    entity.heard = now;
    entity.writerGone = false;
    for (const char *parent : {"/participant_entity_key", "/publisher_entity_key", "/subscriber_entity_key"}) {
        if (sample.data.contains(nlohmann::json::json_pointer(parent))) {
            entity.parent = keyString(sample.data[nlohmann::json::json_pointer(parent)]);
        }
    }
    if (sample.data.contains("topic_entity_key")) {
        entity.topic = keyString(sample.data["topic_entity_key"]);
    }
}

void SystemModel::applyStatistics(EntityKind kind, const MonitoringSample &sample, Clock::time_point now) {
    static const char *const kOwnKey[] = {"participant_key", "datareader_key", "datawriter_key", "topic_key"};
    const char *ownKey = kOwnKey[sample.topic - kParticipantStatistics];
    if (!sample.valid) {
        return;
    }
    const std::string key = keyString(sample.data[ownKey]);
    if (deleted_.count(key) != 0) {
        return;
    }
    Entity &entity = entityFor(kind, key);
    entity.statistics = sample.data;
    entity.periodNs = durationNs(sample.data["period"]);
    entity.heard = now;
    // Statistics name the parents too, for entities whose description is
    // still on its way.
    if (entity.parent.empty()) {
        for (const char *parent : {"publisher_key", "subscriber_key"}) {
            if (sample.data.contains(parent)) {
                entity.parent = keyString(sample.data[parent]);
            }
        }
        if (kind == EntityKind::Topic) {
            entity.parent = keyString(sample.data["participant_key"]);
        }
    }
    if (entity.topic.empty() && kind != EntityKind::Topic && sample.data.contains("topic_key")) {
        entity.topic = keyString(sample.data["topic_key"]);
    }
    switch (kind) {
    case EntityKind::Writer:
        entity.samples.update(counter(entity, "/datawriter_protocol_status/status/pushed_sample_count"),
                              sample.sourceTimeNs, entity.periodNs);
        entity.bytes.update(counter(entity, "/datawriter_protocol_status/status/pushed_sample_bytes"),
                            sample.sourceTimeNs, entity.periodNs);
        break;
    case EntityKind::Reader:
        entity.samples.update(counter(entity, "/datareader_protocol_status/status/received_sample_count"),
                              sample.sourceTimeNs, entity.periodNs);
        entity.bytes.update(counter(entity, "/datareader_protocol_status/status/received_sample_bytes"),
                            sample.sourceTimeNs, entity.periodNs);
        break;
    case EntityKind::Participant:
        entity.cpuNs.update(durationNs(sample.data["process"]["user_cpu_time"]) +
                                    durationNs(sample.data["process"]["kernel_cpu_time"]),
                            sample.sourceTimeNs, entity.periodNs);
        break;
    default:
        break;
    }
}

void SystemModel::applyMatch(const char *ownKey, const char *remoteKey, const MonitoringSample &sample) {
    if (!sample.valid) {
        return;
    }
    auto at = entities_.find(keyString(sample.data[ownKey]));
    if (at != entities_.end()) {
        at->second.matches[keyString(sample.data[remoteKey])] = sample.data;
    }
}

void SystemModel::apply(const MonitoringSample &sample, Clock::time_point now) {
    switch (sample.topic) {
    case kParticipantDescription:
    case kTopicDescription:
    case kPublisherDescription:
    case kSubscriberDescription:
    case kReaderDescription:
    case kWriterDescription:
        applyDescription(kDescribedKind[sample.topic], sample, now);
        break;
    case kParticipantStatistics:
        applyStatistics(EntityKind::Participant, sample, now);
        break;
    case kReaderStatistics:
        applyStatistics(EntityKind::Reader, sample, now);
        break;
    case kWriterStatistics:
        applyStatistics(EntityKind::Writer, sample, now);
        break;
    case kTopicStatistics:
        applyStatistics(EntityKind::Topic, sample, now);
        break;
    case kReaderMatchedPublicationStatistics:
        applyMatch("datareader_key", "publication_handle", sample);
        break;
    case kWriterMatchedSubscriptionStatistics:
        applyMatch("datawriter_key", "subscription_handle", sample);
        break;
    default:
        // Per-locator figures repeat the per-subscription ones.
        break;
    }
}

const Entity *SystemModel::find(const std::string &key) const {
    auto at = entities_.find(key);
    return at != entities_.end() ? &at->second : nullptr;
}

const Entity *SystemModel::participantOf(const Entity &entity) const {
    const Entity *at = &entity;
    for (int depth = 0; at != nullptr && at->kind != EntityKind::Participant && depth < 3; ++depth) {
        at = find(at->parent);
    }
    return at != nullptr && at->kind == EntityKind::Participant ? at : nullptr;
}

std::vector<const Entity *> SystemModel::childrenOf(const std::string &key) const {
    std::vector<const Entity *> children;
    for (const auto &[childKey, entity] : entities_) {
        if (entity.parent == key) {
            children.push_back(&entity);
        }
    }
    std::stable_sort(children.begin(), children.end(),
                     [](const Entity *a, const Entity *b) { return a->kind < b->kind; });
    return children;
}

std::vector<const Entity *> SystemModel::ofKind(EntityKind kind) const {
    std::vector<const Entity *> found;
    for (const auto &[key, entity] : entities_) {
        if (entity.kind == kind) {
            found.push_back(&entity);
        }
    }
    return found;
}

bool SystemModel::isStale(const Entity &entity, Clock::time_point now) const {
    if (entity.writerGone) {
        return true;
    }
    const Entity *participant = participantOf(entity);
    if (participant == nullptr) {
        return false;
    }
    if (participant->writerGone) {
        return true;
    }
    // Without statistics there is no heartbeat to miss.
    if (participant->periodNs <= 0) {
        return false;
    }
    return now - participant->heard > std::chrono::nanoseconds(kStalePeriods * participant->periodNs);
}

std::vector<Problem> SystemModel::problems() const {
    std::vector<Problem> problems;
    auto describe = [this](const Entity &entity) {
        const Entity *participant = participantOf(entity);
        return std::string(entityKindName(entity.kind)) + " " + entity.key + " of topic \"" + entity.topicName() +
               "\"" + (participant != nullptr ? " in participant \"" + participant->name() + "\"" : "");
    };
    // Endpoints of each topic name, for naming the other side of a pair.
    std::map<std::string, std::vector<const Entity *>> writersOf;
    std::map<std::string, std::vector<const Entity *>> readersOf;
    for (const auto &[key, entity] : entities_) {
        if (entity.kind == EntityKind::Writer) {
            writersOf[entity.topicName()].push_back(&entity);
        } else if (entity.kind == EntityKind::Reader) {
            readersOf[entity.topicName()].push_back(&entity);
        }
    }
    for (const auto &[key, entity] : entities_) {
        const bool writer = entity.kind == EntityKind::Writer;
        if ((!writer && entity.kind != EntityKind::Reader) || entity.statistics.is_null()) {
            continue;
        }
        const std::string incompatible =
                writer ? "/offered_incompatible_qos_status/status" : "/requested_incompatible_qos_status/status";
        if (counter(entity, (incompatible + "/total_count").c_str()) > 0) {
            const int policy = static_cast<int>(counter(entity, (incompatible + "/last_policy_id").c_str()));
            std::string others;
            for (const Entity *other : (writer ? readersOf : writersOf)[entity.topicName()]) {
                const std::string otherStatus = writer ? "/requested_incompatible_qos_status/status/total_count"
                                                       : "/offered_incompatible_qos_status/status/total_count";
                if (counter(*other, otherStatus.c_str()) > 0) {
                    others += (others.empty() ? "" : ", ") + other->key;
                }
            }
            problems.push_back({"incompatible-qos", key,
                                describe(entity) + (writer ? " offers" : " requests") + " incompatible QoS: " +
                                        policyName(policy) + " (policy id " + std::to_string(policy) + ")" +
                                        (others.empty() ? "" : (writer ? ", to reader " : ", from writer ") + others)});
        }
        if (entity.matchedCount(0) == 0) {
            problems.push_back({writer ? "unmatched-writer" : "unmatched-reader", key,
                                describe(entity) + (writer ? " has no matched reader" : " has no matched writer")});
        }
        const char *deadline = writer ? "/offered_deadline_missed_status/status/total_count"
                                      : "/requested_deadline_missed_status/status/total_count";
        if (const int64_t missed = counter(entity, deadline); missed > 0) {
            problems.push_back({"deadline-missed", key,
                                describe(entity) + " missed its deadline " + std::to_string(missed) + " times"});
        }
        if (writer) {
            continue;
        }
        if (const int64_t lost = counter(entity, "/sample_lost_status/status/total_count"); lost > 0) {
            problems.push_back({"samples-lost", key, describe(entity) + " lost " + std::to_string(lost) + " samples"});
        }
        if (const int64_t rejected = counter(entity, "/sample_rejected_status/status/total_count"); rejected > 0) {
            problems.push_back(
                    {"samples-rejected", key, describe(entity) + " rejected " + std::to_string(rejected) + " samples"});
        }
    }
    std::map<std::string, std::set<std::string>> typesOf;
    std::map<std::string, std::string> topicKeyOf;
    for (const Entity *topic : ofKind(EntityKind::Topic)) {
        if (!topic->typeName().empty()) {
            typesOf[topic->topicName()].insert(topic->typeName());
            topicKeyOf[topic->topicName()] = topic->key;
        }
    }
    for (const auto &[topicName, types] : typesOf) {
        if (types.size() > 1) {
            std::string list;
            for (const std::string &type : types) {
                list += (list.empty() ? "" : ", ") + type;
            }
            problems.push_back({"inconsistent-type", topicKeyOf[topicName],
                                "topic \"" + topicName + "\" is used with " + std::to_string(types.size()) +
                                        " type names: " + list});
        }
    }
    return problems;
}

}  // namespace zelmon
