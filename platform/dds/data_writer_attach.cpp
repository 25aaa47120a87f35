// What a writer's path keeps of it once enabled, and what it frees at
// detach beyond the shared part.
#include "data_writer_private.h"
#include "vurncore/heap.h"

void DDS_DataWriterPath_refreshQosI(DDS_DataWriterPathI *path, const DDS_DataWriterQos *qos) {
    path->deadline = DDS_Duration_toNtpI(&qos->deadline.period);
    path->lifespan = DDS_Duration_toNtpI(&qos->lifespan.duration);
    path->strength = qos->ownership_strength.value;
}

void DDS_DataWriterPath_initializeI(DDS_DataWriterPathI *path, DDS_DataWriter *writer) {
    const DDS_DataWriterQos *qos = &writer->qos;
    path->writer = writer;
    path->nextSequenceNumber = 1;
    path->durable = qos->durability.kind >= DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
    path->manualLiveliness = qos->liveliness.kind != DDS_AUTOMATIC_LIVELINESS_QOS;
    path->leaseDuration = DDS_Duration_toNtpI(&qos->liveliness.lease_duration);
    DDS_DataWriterPath_refreshQosI(path, qos);
}

void DDS_DataWriterPath_clearI(DDS_DataWriterPathI *path) {
    ZELOsapiHeap_freeArray(path->scratch);
    path->scratch = nullptr;
    path->scratchSize = 0;
    DDS_WriterHistory_clearI(path);
    while (path->matches != nullptr) {
        DDS_WriterMatchI *match = path->matches;
        path->matches = match->next;
        ZELOsapiHeap_freeArray(match->locators);
        ZELOsapiHeap_freeStructure(match);
    }
}
