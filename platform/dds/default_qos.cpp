// The platform's default QoS of each entity kind, as fresh structures: the
// factory keeps one of each, and "reset to default" starts from them.
#include "entity_private.h"
#include "vurnc/dds_qos_defaults.h"

namespace {
// Replaces `*qos` by a freshly initialized QoS filled with the defaults.
template <typename Q>
bool DDS_Qos_resetToDefaultI(Q *qos, DDS_ReturnCode_t (*setDefaults)(Q *)) {
    Q fresh;
    if (!DDS_QosOpsI<Q>::initialize(&fresh)) {
        return false;
    }
    setDefaults(&fresh); /* allocates nothing and cannot fail on a non-NULL QoS */
    Q old = *qos;
    *qos = fresh;
    DDS_QosOpsI<Q>::finalize(&old);
    return true;
}
}  // namespace

bool DDS_DomainParticipantFactoryQos_get_defaultI(DDS_DomainParticipantFactoryQos *qos) {
    return DDS_Qos_resetToDefaultI(qos, DDS_DomainParticipantFactoryQos_set_defaultsI);
}

bool DDS_DomainParticipantQos_get_defaultI(DDS_DomainParticipantQos *qos) {
    return DDS_Qos_resetToDefaultI(qos, DDS_DomainParticipantQos_set_defaultsI);
}

bool DDS_TopicQos_get_defaultI(DDS_TopicQos *qos) { return DDS_Qos_resetToDefaultI(qos, DDS_TopicQos_set_defaultsI); }

bool DDS_PublisherQos_get_defaultI(DDS_PublisherQos *qos) {
    return DDS_Qos_resetToDefaultI(qos, DDS_PublisherQos_set_defaultsI);
}

bool DDS_SubscriberQos_get_defaultI(DDS_SubscriberQos *qos) {
    return DDS_Qos_resetToDefaultI(qos, DDS_SubscriberQos_set_defaultsI);
}

bool DDS_DataWriterQos_get_defaultI(DDS_DataWriterQos *qos) {
    return DDS_Qos_resetToDefaultI(qos, DDS_DataWriterQos_set_defaultsI);
}

bool DDS_DataReaderQos_get_defaultI(DDS_DataReaderQos *qos) {
    return DDS_Qos_resetToDefaultI(qos, DDS_DataReaderQos_set_defaultsI);
}

bool DDS_DomainParticipantFactory_initializeDefaultsI(DDS_DomainParticipantFactory *factory) {
    return DDS_DomainParticipantFactoryQos_get_defaultI(&factory->qos) &&
           DDS_DomainParticipantQos_get_defaultI(&factory->defaultParticipantQos) &&
           DDS_TopicQos_get_defaultI(&factory->defaultTopicQos) &&
           DDS_PublisherQos_get_defaultI(&factory->defaultPublisherQos) &&
           DDS_SubscriberQos_get_defaultI(&factory->defaultSubscriberQos) &&
           DDS_DataWriterQos_get_defaultI(&factory->defaultWriterQos) &&
           DDS_DataReaderQos_get_defaultI(&factory->defaultReaderQos);
}
