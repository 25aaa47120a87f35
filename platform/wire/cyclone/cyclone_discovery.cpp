// Discovery on the RTPS wire: what Cyclone's builtin topics tell of the
// domain, and topics of other participants inconsistent with ours.
#include <cstring>

#include "cyclone_private.h"
#include "vurncore/log.h"

namespace {

// At most this many entities of a kind are read in one walk.
constexpr uint32_t discoveryMaxSamples = 4096;

// Reads the alive entities of a builtin reader; `each` is given every
// sample in turn and returns false to stop. False when Cyclone refused.
template <typename Each> bool builtinRead(dds_entity_t reader, Each each) {
    static thread_local void *samples[discoveryMaxSamples];
    static thread_local dds_sample_info_t infos[discoveryMaxSamples];
    samples[0] = nullptr;
    const dds_return_t n = dds_read_mask(reader, samples, infos, discoveryMaxSamples, discoveryMaxSamples,
                                         DDS_ANY_SAMPLE_STATE | DDS_ANY_VIEW_STATE | DDS_ALIVE_INSTANCE_STATE);
    if (n < 0) {
        return false;
    }
    for (dds_return_t i = 0; i < n; ++i) {
        if (infos[i].valid_data && !each(samples[i])) {
            break;
        }
    }
    dds_return_loan(reader, samples, n);
    return true;
}

bool ownParticipant(const ZELCycloneParticipantI *participant, const dds_guid_t &key) {
    dds_guid_t own{};
    return dds_get_guid(participant->participant, &own) == DDS_RETCODE_OK &&
           std::memcmp(own.v, key.v, sizeof own.v) == 0;
}

}  // namespace

ZELBoolean ZELCycloneWire_visitDiscoveredI(ZELWireParticipant *handle, ZELWireEntityKind kind,
                                           ZELWireDiscoveryVisitor visit, void *context) {
    auto *participant = reinterpret_cast<ZELCycloneParticipantI *>(handle);
    bool completed = true;
    if (kind == ZEL_WIRE_ENTITY_PARTICIPANT) {
        builtinRead(participant->builtin[ZEL_CYCLONE_BUILTIN_PARTICIPANT], [&](void *sample) {
            const auto *data = static_cast<const dds_builtintopic_participant_t *>(sample);
            if (ownParticipant(participant, data->key)) {
                return true;
            }
            ZELWireDiscoveredEntity entity{};
            bool vendorSpecific = false;
            ZELCycloneGuid_fromQosI(data->qos, &data->key, &entity.guid, &vendorSpecific);
            completed = visit(context, &entity) != ZEL_FALSE;
            return completed;
        });
        return completed ? ZEL_TRUE : ZEL_FALSE;
    }
    const dds_entity_t reader = participant->builtin[kind == ZEL_WIRE_ENTITY_WRITER ? ZEL_CYCLONE_BUILTIN_PUBLICATION
                                                                                    : ZEL_CYCLONE_BUILTIN_SUBSCRIPTION];
    builtinRead(reader, [&](void *sample) {
        const auto *data = static_cast<const dds_builtintopic_endpoint_t *>(sample);
        ZELWireDiscoveredEntity entity{};
        bool vendorSpecific = false;
        ZELCycloneGuid_fromQosI(data->qos, &data->key, &entity.guid, &vendorSpecific);
        entity.vendorSpecific = vendorSpecific ? ZEL_TRUE : ZEL_FALSE;
        entity.topicName = data->topic_name;
        entity.typeName = data->type_name;
        completed = visit(context, &entity) != ZEL_FALSE;
        return completed;
    });
    return completed ? ZEL_TRUE : ZEL_FALSE;
}

ZELBoolean ZELCycloneWire_getInconsistentTopicsI(ZELWireParticipant *handle, const ZELWireGuid *topic,
                                                 const char *topicName, const char *typeName, ZELBoolean acknowledge,
                                                 uint32_t *total, uint32_t *unacknowledged) {
    auto *participant = reinterpret_cast<ZELCycloneParticipantI *>(handle);
    // Remote topics are known through their endpoints: the participants
    // with an endpoint of this topic name and another type name.
    std::vector<ZELCycloneInconsistentI> seen;
    try {
        for (ZELCycloneBuiltinI kind : {ZEL_CYCLONE_BUILTIN_PUBLICATION, ZEL_CYCLONE_BUILTIN_SUBSCRIPTION}) {
            builtinRead(participant->builtin[kind], [&](void *sample) {
                const auto *data = static_cast<const dds_builtintopic_endpoint_t *>(sample);
                if (std::strcmp(data->topic_name, topicName) != 0 || std::strcmp(data->type_name, typeName) == 0 ||
                    ownParticipant(participant, data->participant_key)) {
                    return true;
                }
                ZELWireGuid guid{};
                bool vendorSpecific = false;
                ZELCycloneGuid_fromQosI(data->qos, &data->key, &guid, &vendorSpecific);
                seen.push_back({{guid.value[0], guid.value[1], guid.value[2]}, false});
                return true;
            });
        }
        std::lock_guard<std::mutex> guard(participant->mutex);
        ZELCycloneLocalTopicI *local = nullptr;
        for (ZELCycloneLocalTopicI &candidate : participant->topics) {
            if (std::strcmp(candidate.name.data(), topicName) == 0) {
                local = &candidate;
            }
        }
        if (local == nullptr) {
            participant->topics.emplace_back();
            local = &participant->topics.back();
            local->name.assign(topicName, topicName + std::strlen(topicName) + 1);
            local->guid = *topic;
        } else if (std::memcmp(&local->guid, topic, sizeof *topic) != 0) {
            // A new topic of the name replaces a deleted one: counts restart.
            local->guid = *topic;
            local->found.clear();
        }
        for (const ZELCycloneInconsistentI &remote : seen) {
            bool known = false;
            for (const ZELCycloneInconsistentI &found : local->found) {
                known = known || std::memcmp(found.remotePrefix, remote.remotePrefix, sizeof remote.remotePrefix) == 0;
            }
            if (!known) {
                local->found.push_back(remote);
            }
        }
        *total = static_cast<uint32_t>(local->found.size());
        *unacknowledged = 0;
        for (ZELCycloneInconsistentI &found : local->found) {
            *unacknowledged += found.acknowledged ? 0u : 1u;
            found.acknowledged = found.acknowledged || acknowledge != ZEL_FALSE;
        }
    } catch (...) {
        ZELLog_printContextAndMsg("ZELCycloneWire_getInconsistentTopicsI", &ZEL_LOG_CREATION_FAILURE_s,
                                  "inconsistent topic record");
        return ZEL_FALSE;
    }
    return ZEL_TRUE;
}
