// The monitored participant's description.
#include "description_sample.h"
#include "entity_description.h"
#include "vurnc/dds_transport.h"

namespace {

ZEL_MONITOR_SAMPLE_SUPPORT(ZELDefaultMonitorParticipantDescriptionSupport, DomainParticipantDescription);

}  // namespace

extern "C" {

DDS_Boolean ZELDefaultMonitorParticipantObject_sampleAndPublishParticipantDesc(
        ZELDefaultMonitorParticipantObject *participantObject, DDS_DomainParticipant *participant,
        DDS_Boolean dispose) {
    static constexpr ZELDefaultMonitorDescriptionKind kind = {
            "ZELDefaultMonitorParticipantObject_sampleAndPublishParticipantDesc", "participant",
            ZEL_MONITOR_TOPIC_PARTICIPANT_DESCRIPTION};
    auto fill = [participantObject, participant](zel_dds_monitoring_DomainParticipantDescription &sample) {
        ZELDefaultMonitorSample_fillOriginI(sample, participantObject);
        if (!ZELDefaultMonitorDescription_readQosI(kind.context, &DDS_DomainParticipant_get_qos, participant,
                                                   &sample.qos)) {
            return false;
        }
        if (!ZELDefaultMonitorDescription_applyPropertyRuleI(
                    &sample.qos.property.value, participantObject->skipParticipantProperties, kind.context)) {
            return false;
        }
        if (!ZELDefaultMonitorParticipantObject_getTransportsInfo(participantObject, participant, &sample)) {
            ZELMonitorLog_errorWithContext(kind.context, ZEL_LOG_GET_FAILURE_s, "type info");
            return false;
        }
        return true;
    };
    return ZELDefaultMonitorDescription_sampleAndPublishI<ZELDefaultMonitorParticipantDescriptionSupport>(
            participantObject, kind, dispose, participant, fill);
}

DDS_Boolean ZELDefaultMonitorParticipantObject_getTransportsInfo(
        ZELDefaultMonitorParticipantObject *, DDS_DomainParticipant *participant,
        zel_dds_monitoring_DomainParticipantDescription *sample) {
    // Scratch records: only whether each enabled transport can be queried
    // matters, nothing of them reaches the sample.
    VURN_UDPv4Transport_Property_t udpv4{};
    VURN_SHMEMTransport_Property_t shmem{};
    VURN_UDPv6Transport_Property_t udpv6{};
    const struct {
        DDS_TransportBuiltinKind kind;
        VURN_Transport_Property_t *record;
    } transports[] = {
            {DDS_TRANSPORTBUILTIN_UDPv4, &udpv4.parent},
            {DDS_TRANSPORTBUILTIN_SHMEM, &shmem.parent},
            {DDS_TRANSPORTBUILTIN_UDPv6, &udpv6.parent},
    };
    const auto mask = static_cast<DDS_Long>(sample->qos.transport_builtin.mask);
    for (const auto &transport : transports) {
        if ((mask & transport.kind) == 0) {
            continue;
        }
        if (VURN_Transport_Support_get_builtin_transport_property(participant, transport.kind, transport.record) !=
            DDS_RETCODE_OK) {
            ZELMonitorLog_error(ZEL_LOG_GET_FAILURE_s, "transport property");
            return DDS_BOOLEAN_FALSE;
        }
    }
    return DDS_BOOLEAN_TRUE;
}

}  // extern "C"
