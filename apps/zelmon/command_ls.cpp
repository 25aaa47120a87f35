// zelmon ls: the system as a tree of hosts, processes, participants, their
// topics, publishers and subscribers, and the endpoints under them.
#include <cstdio>
#include <map>
#include <tuple>

#include "console.h"
#include "qos_summary.h"

namespace zelmon {
namespace {

nlohmann::json entityJson(const SystemModel &model, const Entity &entity, Clock::time_point now) {
    nlohmann::json out = {{"kind", entityKindName(entity.kind)},
                          {"key", entity.key},
                          {"parent", entity.parent},
                          {"stale", model.isStale(entity, now)}};
    if (const Entity *participant = model.participantOf(entity); participant != nullptr) {
        out["participant"] = participant->key;
        out["participant_name"] = participant->name();
        out["host_id"] = participant->get(participant->description, "/host_id", int64_t{0});
        out["process_id"] = participant->get(participant->description, "/process_id", int64_t{0});
    }
    if (entity.kind == EntityKind::Participant) {
        out["name"] = entity.name();
        out["domain_id"] = entity.get(entity.description, "/domain_id", int64_t{0});
    }
    if (entity.kind == EntityKind::Topic || entity.kind == EntityKind::Writer || entity.kind == EntityKind::Reader) {
        out["topic_name"] = entity.topicName();
        out["type_name"] = entity.typeName();
    }
    if (entity.kind == EntityKind::Writer || entity.kind == EntityKind::Reader) {
        out["topic"] = entity.topic;
        out["matched"] = entity.matchedCount(-1);
        out["content_filtered"] = entity.get(entity.description, "/is_content_filtered", false);
    }
    if (entity.description.is_object() && entity.description.contains("qos")) {
        out["qos"] = entity.description["qos"];
    }
    return out;
}

std::string lineOf(const SystemModel &model, const Entity &entity, Clock::time_point now) {
    std::string line = std::string(entityKindName(entity.kind)) + " " + entity.key;
    switch (entity.kind) {
    case EntityKind::Participant:
        line += " \"" + entity.name() + "\" domain " +
                std::to_string(entity.get(entity.description, "/domain_id", int64_t{0}));
        break;
    case EntityKind::Topic:
        line += " \"" + entity.topicName() + "\" type " + entity.typeName();
        break;
    case EntityKind::Writer:
    case EntityKind::Reader: {
        line += " topic \"" + entity.topicName() + "\" type " + entity.typeName() + " " +
                qosSummary(entity.description);
        if (entity.get(entity.description, "/is_content_filtered", false)) {
            line += " content-filtered";
        }
        const int64_t matched = entity.matchedCount(-1);
        if (matched >= 0) {
            line += " matched " + std::to_string(matched);
        }
        break;
    }
    default:
        break;
    }
    if (model.isStale(entity, now) && entity.kind == EntityKind::Participant) {
        line += " [stale]";
    }
    return line;
}

void printTree(const Console &console, const SystemModel &model, const Entity &entity, int depth,
               Clock::time_point now) {
    const std::vector<const Entity *> children = model.childrenOf(entity.key);
    const bool endpoint =
            entity.kind == EntityKind::Writer || entity.kind == EntityKind::Reader || entity.kind == EntityKind::Topic;
    if (endpoint && !console.passesFilter(entity)) {
        return;
    }
    std::printf("%*s%s\n", depth * 2, "", lineOf(model, entity, now).c_str());
    for (const Entity *child : children) {
        printTree(console, model, *child, depth + 1, now);
    }
}

}  // namespace

int commandLs(Console &console) {
    if (!console.gather(6.0)) {
        return kExitError;
    }
    const SystemModel &model = console.model();
    const Clock::time_point now = Clock::now();
    if (console.options().json) {
        nlohmann::json entities = nlohmann::json::array();
        for (const auto &[key, entity] : model.entities()) {
            if (console.passesFilter(entity) || entity.kind == EntityKind::Participant ||
                entity.kind == EntityKind::Publisher || entity.kind == EntityKind::Subscriber) {
                entities.push_back(entityJson(model, entity, now));
            }
        }
        std::printf("%s\n", nlohmann::json{{"entities", entities}}.dump().c_str());
        return kExitOk;
    }
    // host -> process -> participants
    std::map<std::tuple<int64_t, int64_t>, std::vector<const Entity *>> processes;
    for (const Entity *participant : model.ofKind(EntityKind::Participant)) {
        processes[{participant->get(participant->description, "/host_id", int64_t{0}),
                   participant->get(participant->description, "/process_id", int64_t{0})}]
                .push_back(participant);
    }
    int64_t host = -1;
    for (const auto &[id, participants] : processes) {
        if (std::get<0>(id) != host) {
            host = std::get<0>(id);
            std::printf("host %08llx\n", static_cast<unsigned long long>(host));
        }
        std::printf("  process %lld%s\n", static_cast<long long>(std::get<1>(id)),
                    model.isStale(*participants.front(), now) ? " [stale]" : "");
        for (const Entity *participant : participants) {
            printTree(console, model, *participant, 2, now);
        }
    }
    return kExitOk;
}

}  // namespace zelmon
