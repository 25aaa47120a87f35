// Attaching a writer to the wire when it is enabled, and detaching it when
// it is deleted: the type plug-in's endpoint data, the data path record
// and the wire writer.
#include <new>

#include "data_writer_private.h"
#include "vurncore/heap.h"

void DDS_DataWriterPath_refreshQosI(DDS_DataWriterPathI *path, const DDS_DataWriterQos *qos) {
    path->deadline = DDS_Duration_toNtpI(&qos->deadline.period);
    path->lifespan = DDS_Duration_toNtpI(&qos->lifespan.duration);
    path->strength = qos->ownership_strength.value;
}

// Frees what attach made, in reverse order; the wire writer is gone.
static void DDS_DataWriterPath_deleteI(DDS_DataWriterPathI *path) {
    DDS_WriterHistory_clearI(path);
    while (path->matches != nullptr) {
        DDS_WriterMatchI *match = path->matches;
        path->matches = match->next;
        ZELOsapiHeap_freeArray(match->locators);
        ZELOsapiHeap_freeStructure(match);
    }
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
    path->~DDS_DataWriterPathI();
    ZELOsapiHeap_freeStructure(path);
}

static bool DDS_DataWriterPath_attachPluginI(DDS_DataWriterPathI *path) {
    const PRESTypePlugin *plugin = path->plugin;
    if (plugin->createSampleFnc == nullptr && plugin->onEndpointAttachedFnc == nullptr) {
        return true;  // a plug-in that cannot make samples: matches, but writes are refused
    }
    path->participantData = plugin->onParticipantAttachedFnc != nullptr
                                    ? plugin->onParticipantAttachedFnc(plugin)
                                    : PRESTypePluginDefaultParticipantData_new(plugin);
    if (path->participantData == nullptr) {
        return false;
    }
    PRESTypePluginEndpointInfo info{PRES_TYPEPLUGIN_ENDPOINT_WRITER};
    // A plug-in without endpoint hooks gets the plain default data: the
    // writer serializes into its own buffers.
    path->endpointData = plugin->onEndpointAttachedFnc != nullptr
                                 ? plugin->onEndpointAttachedFnc(path->participantData, &info)
                                 : PRESTypePluginDefaultEndpointData_new(path->participantData, &info);
    if (path->endpointData == nullptr) {
        return false;
    }
    // Key hashes need the scratch stream, sized by the key's maximum.
    return plugin->onEndpointAttachedFnc != nullptr || !path->keyed || plugin->serializedKeyMaxSizeFnc == nullptr ||
           PRESTypePluginDefaultEndpointData_createMD5Stream(path->endpointData);
}

DDS_ReturnCode_t DDS_DataWriter_attachI(DDS_DataWriter *writer) {
    const char *const context = "DDS_DataWriter_enable";
    void *memory = ZELOsapiHeap_allocateStructure(sizeof(DDS_DataWriterPathI), "DWPA");
    if (memory == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "writer data path");
        return DDS_RETCODE_OUT_OF_RESOURCES;
    }
    auto *path = new (memory) DDS_DataWriterPathI{};
    path->writer = writer;
    path->plugin = &writer->topic->type->plugin;
    path->keyed = path->plugin->getKeyKindFnc != nullptr && path->plugin->getKeyKindFnc() == PRES_TYPEPLUGIN_USER_KEY;
    path->nextSequenceNumber = 1;
    ZELWireEndpointQos wireQos{};
    {
        DDS_EntityLockGuardI guard(&writer->entity);
        if (!guard.held()) {
            DDS_DataWriterPath_deleteI(path);
            return guard.result();
        }
        const DDS_DataWriterQos *qos = &writer->qos;
        path->durable = qos->durability.kind >= DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
        path->keepAll = qos->history.kind == DDS_KEEP_ALL_HISTORY_QOS;
        path->depth = qos->history.depth > 0 ? qos->history.depth : 1;
        path->maxSamples = qos->resource_limits.max_samples;
        path->maxInstances = qos->resource_limits.max_instances;
        path->maxSamplesPerInstance = qos->resource_limits.max_samples_per_instance;
        path->manualLiveliness = qos->liveliness.kind != DDS_AUTOMATIC_LIVELINESS_QOS;
        path->leaseDuration = DDS_Duration_toNtpI(&qos->liveliness.lease_duration);
        DDS_DataWriterPath_refreshQosI(path, qos);
        wireQos = DDS_WireEndpointQos_fromWriterQosI(qos);
    }
    if (!DDS_DataWriterPath_attachPluginI(path)) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "type plug-in endpoint data");
        DDS_DataWriterPath_deleteI(path);
        return DDS_RETCODE_OUT_OF_RESOURCES;
    }
    // Deadlines and leases count from the enabling.
    if (!DDS_DomainParticipantFactory_getNowI(writer->entity.participant->factory, &path->lastAssertion, context)) {
        DDS_DataWriterPath_deleteI(path);
        return DDS_RETCODE_ERROR;
    }
    ZELWireEndpointParams params{};
    params.guid = DDS_Entity_getWireGuidI(&writer->entity);
    params.topicName = writer->topic->description.name;
    params.typeName = writer->topic->description.typeName;
    params.keyed = path->keyed ? ZEL_TRUE : ZEL_FALSE;
    params.vendorSpecific = writer->entity.vendorSpecific ? ZEL_TRUE : ZEL_FALSE;
    params.qos = wireQos;
    ZELWireWriterListener listener{};
    DDS_DataWriterPath_fillListenerI(path, &listener);
    // Callbacks may start before the creation returns: the path is in place.
    writer->path = path;
    writer->endpointData = path->endpointData;
    ZELWire *wire = DDS_Entity_getWireI(&writer->entity);
    ZELWireWriter *wireWriter = wire->ops->createWriter(writer->entity.participant->wireParticipant, &params,
                                                        &listener);
    if (wireWriter == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "wire writer");
        writer->path = nullptr;
        writer->endpointData = nullptr;
        DDS_DataWriterPath_deleteI(path);
        return DDS_RETCODE_ERROR;
    }
    {
        std::lock_guard<std::mutex> pathGuard(path->mutex);
        path->wireWriter = wireWriter;
    }
    writer->wireWriter = wireWriter;
    return DDS_RETCODE_OK;
}

void DDS_DataWriter_detachI(DDS_DataWriter *writer) {
    DDS_DataWriterPathI *path = writer->path;
    if (path == nullptr) {
        return;
    }
    // Unmatches run from inside and report their events.
    DDS_Entity_getWireI(&writer->entity)->ops->deleteWriter(path->wireWriter);
    writer->path = nullptr;
    writer->wireWriter = nullptr;
    writer->endpointData = nullptr;
    DDS_DataWriterPath_deleteI(path);
}
