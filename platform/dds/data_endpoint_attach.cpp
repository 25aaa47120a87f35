// Attaching a writer or a reader to the wire when it is enabled, and
// detaching it when it is deleted: the type plug-in's endpoint data, the
// data path and the wire endpoint.
#include <new>

#include "data_endpoint_private.h"
#include "vurncore/heap.h"

namespace {

// Frees what attach made, in reverse order; the wire endpoint is gone.
template <typename Endpoint>
void DDS_EndpointPath_deleteI(typename DDS_EndpointKindI<Endpoint>::Path *path) {
    using Path = typename DDS_EndpointKindI<Endpoint>::Path;
    DDS_EndpointKindI<Endpoint>::clear(path);
    if (path->endpointData != nullptr) {
        if (path->plugin->onEndpointDetachedFnc != nullptr) {
            path->plugin->onEndpointDetachedFnc(path->endpointData);
        } else {
            PRESTypePluginDefaultEndpointData_delete(path->endpointData);
        }
    }
    if (path->participantData != nullptr) {
        if (path->plugin->onParticipantDetachedFnc != nullptr) {
            path->plugin->onParticipantDetachedFnc(path->participantData);
        } else {
            PRESTypePluginDefaultParticipantData_delete(path->participantData);
        }
    }
    path->~Path();
    ZELOsapiHeap_freeStructure(path);
}

template <typename Endpoint>
bool DDS_EndpointPath_attachPluginI(typename DDS_EndpointKindI<Endpoint>::Path *path) {
    const PRESTypePlugin *plugin = path->plugin;
    if (plugin->createSampleFnc == nullptr && plugin->onEndpointAttachedFnc == nullptr) {
        return true;  // a plug-in that cannot make samples: matches, but writes are refused, every sample rejected
    }
    path->participantData = plugin->onParticipantAttachedFnc != nullptr
                                    ? plugin->onParticipantAttachedFnc(plugin)
                                    : PRESTypePluginDefaultParticipantData_new(plugin);
    if (path->participantData == nullptr) {
        return false;
    }
    PRESTypePluginEndpointInfo info{DDS_EndpointKindI<Endpoint>::pluginKind};
    // A plug-in without endpoint hooks gets the plain default data: a writer
    // serializes into its own buffers.
    path->endpointData = plugin->onEndpointAttachedFnc != nullptr
                                 ? plugin->onEndpointAttachedFnc(path->participantData, &info)
                                 : PRESTypePluginDefaultEndpointData_new(path->participantData, &info);
    if (path->endpointData == nullptr) {
        return false;
    }
    // A writer's key hashes need the scratch stream, sized by the key's maximum.
    return info.endpointKind != PRES_TYPEPLUGIN_ENDPOINT_WRITER || plugin->onEndpointAttachedFnc != nullptr ||
           !path->keyed || plugin->serializedKeyMaxSizeFnc == nullptr ||
           PRESTypePluginDefaultEndpointData_createMD5Stream(path->endpointData);
}

template <typename Endpoint>
DDS_ReturnCode_t DDS_Endpoint_attachI(Endpoint *endpoint) {
    using Kind = DDS_EndpointKindI<Endpoint>;
    using Path = typename Kind::Path;
    const char *const context = Kind::enableContext;
    void *memory = ZELOsapiHeap_allocateStructure(sizeof(Path), Kind::pathTag);
    if (memory == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, Kind::pathName);
        return DDS_RETCODE_OUT_OF_RESOURCES;
    }
    auto *path = new (memory) Path{};
    DDS_Topic *topic = Kind::getTopic(endpoint);
    path->plugin = &topic->type->plugin;
    path->keyed = path->plugin->getKeyKindFnc != nullptr && path->plugin->getKeyKindFnc() == PRES_TYPEPLUGIN_USER_KEY;
    ZELWireEndpointQos wireQos{};
    {
        DDS_EntityLockGuardI guard(&endpoint->entity);
        if (!guard.held()) {
            DDS_EndpointPath_deleteI<Endpoint>(path);
            return guard.result();
        }
        const auto *qos = &endpoint->qos;
        path->keepAll = qos->history.kind == DDS_KEEP_ALL_HISTORY_QOS;
        path->depth = qos->history.depth > 0 ? qos->history.depth : 1;
        path->maxSamples = qos->resource_limits.max_samples;
        path->maxInstances = qos->resource_limits.max_instances;
        path->maxSamplesPerInstance = qos->resource_limits.max_samples_per_instance;
        Kind::initialize(path, endpoint);
        wireQos = DDS_WireEndpointQos_fromQosI(qos);
    }
    if (!DDS_EndpointPath_attachPluginI<Endpoint>(path)) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "type plug-in endpoint data");
        DDS_EndpointPath_deleteI<Endpoint>(path);
        return DDS_RETCODE_OUT_OF_RESOURCES;
    }
    if (!Kind::start(path, context)) {
        DDS_EndpointPath_deleteI<Endpoint>(path);
        return DDS_RETCODE_ERROR;
    }
    ZELWireEndpointParams params{};
    params.guid = DDS_Entity_getWireGuidI(&endpoint->entity);
    params.topicName = topic->description.name;
    params.typeName = topic->description.typeName;
    params.keyed = path->keyed ? ZEL_TRUE : ZEL_FALSE;
    params.vendorSpecific = endpoint->entity.vendorSpecific ? ZEL_TRUE : ZEL_FALSE;
    params.qos = wireQos;
    typename Kind::Listener listener{};
    Kind::fillListener(path, &listener);
    // Callbacks may start before the creation returns: the path is in place.
    endpoint->path = path;
    endpoint->endpointData = path->endpointData;
    const ZELWireOps *ops = DDS_Entity_getWireI(&endpoint->entity)->ops;
    auto *wireEndpoint = (ops->*Kind::createWire)(endpoint->entity.participant->wireParticipant, &params, &listener);
    if (wireEndpoint == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, Kind::wireName);
        endpoint->path = nullptr;
        endpoint->endpointData = nullptr;
        DDS_EndpointPath_deleteI<Endpoint>(path);
        return DDS_RETCODE_ERROR;
    }
    {
        std::lock_guard<std::mutex> guard(path->mutex);
        path->*Kind::pathWire = wireEndpoint;
    }
    endpoint->*Kind::entityWire = wireEndpoint;
    return DDS_RETCODE_OK;
}

template <typename Endpoint>
void DDS_Endpoint_detachI(Endpoint *endpoint) {
    using Kind = DDS_EndpointKindI<Endpoint>;
    typename Kind::Path *path = endpoint->path;
    if (path == nullptr) {
        return;
    }
    // Unmatches run from inside and report their events.
    (DDS_Entity_getWireI(&endpoint->entity)->ops->*Kind::deleteWire)(path->*Kind::pathWire);
    endpoint->path = nullptr;
    endpoint->*Kind::entityWire = nullptr;
    endpoint->endpointData = nullptr;
    DDS_EndpointPath_deleteI<Endpoint>(path);
}

}  // namespace

DDS_ReturnCode_t DDS_DataWriter_attachI(DDS_DataWriter *writer) { return DDS_Endpoint_attachI(writer); }

DDS_ReturnCode_t DDS_DataReader_attachI(DDS_DataReader *reader) { return DDS_Endpoint_attachI(reader); }

void DDS_DataWriter_detachI(DDS_DataWriter *writer) { DDS_Endpoint_detachI(writer); }

void DDS_DataReader_detachI(DDS_DataReader *reader) { DDS_Endpoint_detachI(reader); }
