// Discovery on the RTPS wire: what Cyclone's builtin topics tell of the
// domain, and topics of other participants inconsistent with ours.
#include <cstring>
#include <new>

#include "cyclone_private.h"
#include "vurncore/log.h"

namespace {

// At most this many entities of a kind are read in one walk.
constexpr uint32_t discoveryMaxSamples = 4096;

// Reads the alive entities of a builtin reader; `each` is given every
// sample in turn and returns false to stop. False when Cyclone refused.
template <typename Each>
bool builtinRead(dds_entity_t reader, Each each) {
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

// Takes what the change readers tell since the last call: arrivals of other
// participants' endpoints join `remoteEndpoints`, departures leave it. Under
// the participant's mutex, so that an arrival and a departure taken by two
// threads are applied in order. Throws std::bad_alloc.
static void ZELCycloneParticipant_takeEndpointChangesI(ZELCycloneParticipantI *participant) {
    for (ZELCycloneBuiltinI kind :
         {ZEL_CYCLONE_BUILTIN_PUBLICATION_CHANGES, ZEL_CYCLONE_BUILTIN_SUBSCRIPTION_CHANGES}) {
        const dds_entity_t reader = participant->builtin[kind];
        dds_return_t n = 0;
        do {
            static thread_local void *samples[discoveryMaxSamples];
            static thread_local dds_sample_info_t infos[discoveryMaxSamples];
            samples[0] = nullptr;
            n = dds_take(reader, samples, infos, discoveryMaxSamples, discoveryMaxSamples);
            struct Loan {
                dds_entity_t reader;
                void **samples;
                dds_return_t n;
                ~Loan() {
                    if (n > 0) {
                        dds_return_loan(reader, samples, n);
                    }
                }
            } loan{reader, samples, n};
            for (dds_return_t i = 0; i < n; ++i) {
                const auto *data = static_cast<const dds_builtintopic_endpoint_t *>(samples[i]);
                std::array<unsigned char, 16> key{};
                std::memcpy(key.data(), data->key.v, key.size());
                const auto known = participant->remoteTopicNames.find(key);
                if (known != participant->remoteTopicNames.end()) {
                    auto &list = participant->remoteEndpoints[known->second];
                    std::erase_if(list, [&key](const ZELCycloneRemoteEndpointI &entry) { return entry.key == key; });
                    participant->remoteTopicNames.erase(known);
                }
                if (!infos[i].valid_data || infos[i].instance_state != DDS_ALIVE_INSTANCE_STATE ||
                    ownParticipant(participant, data->participant_key)) {
                    continue;
                }
                ZELWireGuid guid{};
                bool vendorSpecific = false;
                ZELCycloneGuid_fromQosI(data->qos, &data->key, &guid, &vendorSpecific);
                ZELCycloneRemoteI remote{};
                ZELCycloneRemote_fromQosI(data->qos, &remote);
                ZELCycloneRemoteEndpointI entry{key,
                                                {guid.value[0], guid.value[1], guid.value[2]},
                                                data->type_name,
                                                kind == ZEL_CYCLONE_BUILTIN_PUBLICATION_CHANGES,
                                                guid,
                                                remote.qos};
                participant->remoteTopicNames.emplace(key, data->topic_name);
                participant->remoteEndpoints[data->topic_name].push_back(std::move(entry));
            }
        } while (n == static_cast<dds_return_t>(discoveryMaxSamples));
    }
}

ZELBoolean ZELCycloneWire_visitInconsistentTopicsI(ZELWireParticipant *handle, const char *topicName,
                                                   const char *typeName, ZELWireInconsistentTopicVisitor visit,
                                                   void *context) {
    auto *participant = reinterpret_cast<ZELCycloneParticipantI *>(handle);
    std::lock_guard<std::mutex> guard(participant->mutex);
    try {
        ZELCycloneParticipant_takeEndpointChangesI(participant);
    } catch (const std::bad_alloc &) {
        ZELLog_printContextAndMsg("ZELCycloneWire_visitInconsistentTopicsI", &ZEL_LOG_CREATION_FAILURE_s,
                                  "remote endpoint record");
        return ZEL_FALSE;
    }
    const auto remote = participant->remoteEndpoints.find(topicName);
    if (remote == participant->remoteEndpoints.end()) {
        return ZEL_TRUE;
    }
    for (const ZELCycloneRemoteEndpointI &endpoint : remote->second) {
        if (endpoint.typeName != typeName && !visit(context, endpoint.participantPrefix)) {
            return ZEL_FALSE;
        }
    }
    return ZEL_TRUE;
}

std::vector<std::pair<ZELWireGuid, uint32_t>> ZELCycloneParticipant_incompatibleRemotesI(
        ZELCycloneParticipantI *participant, const ZELCycloneEndpointI *endpoint) {
    std::vector<std::pair<ZELWireGuid, uint32_t>> found;
    std::lock_guard<std::mutex> guard(participant->mutex);
    ZELCycloneParticipant_takeEndpointChangesI(participant);
    const auto remote = participant->remoteEndpoints.find(endpoint->topicName);
    if (remote == participant->remoteEndpoints.end()) {
        return found;
    }
    for (const ZELCycloneRemoteEndpointI &other : remote->second) {
        if (other.isWriter == endpoint->isWriter || other.typeName != endpoint->typeName) {
            continue;
        }
        const uint32_t policy = endpoint->isWriter
                                        ? ZELWireEndpointQos_firstIncompatiblePolicyI(&endpoint->qos, &other.qos)
                                        : ZELWireEndpointQos_firstIncompatiblePolicyI(&other.qos, &endpoint->qos);
        if (policy != 0) {
            found.emplace_back(other.guid, policy);
        }
    }
    return found;
}
