#include "catalogue.h"

#include <cstring>

#define ZEL_CATALOGUE_ENTRY(TOPIC, TYPE, IS_DESCRIPTION, KEY_COUNT, ...)                                       \
    {                                                                                                          \
        "zel/dds/monitoring/" TOPIC, "zel::dds::monitoring::" #TYPE, IS_DESCRIPTION, KEY_COUNT, {__VA_ARGS__}, \
                &zel_dds_monitoring_##TYPE##_g_desc, &zel_dds_monitoring_##TYPE##Plugin_new,                   \
                &zel_dds_monitoring_##TYPE##Plugin_delete                                                      \
    }

extern "C" {

const ZELDefaultMonitorCatalogueEntry ZELDefaultMonitorCatalogue_g_entries[ZEL_MONITOR_TOPIC_COUNT] = {
        ZEL_CATALOGUE_ENTRY("domainParticipantDescription", DomainParticipantDescription, DDS_BOOLEAN_TRUE, 1,
                            "entity_key"),
        ZEL_CATALOGUE_ENTRY("topicDescription", TopicDescription, DDS_BOOLEAN_TRUE, 1, "entity_key"),
        ZEL_CATALOGUE_ENTRY("publisherDescription", PublisherDescription, DDS_BOOLEAN_TRUE, 1, "entity_key"),
        ZEL_CATALOGUE_ENTRY("subscriberDescription", SubscriberDescription, DDS_BOOLEAN_TRUE, 1, "entity_key"),
        ZEL_CATALOGUE_ENTRY("dataReaderDescription", DataReaderDescription, DDS_BOOLEAN_TRUE, 1, "entity_key"),
        ZEL_CATALOGUE_ENTRY("dataWriterDescription", DataWriterDescription, DDS_BOOLEAN_TRUE, 1, "entity_key"),
        ZEL_CATALOGUE_ENTRY("domainParticipantEntityStatistics", DomainParticipantEntityStatistics, DDS_BOOLEAN_FALSE,
                            2, "participant_key", "period"),
        ZEL_CATALOGUE_ENTRY("dataReaderEntityStatistics", DataReaderEntityStatistics, DDS_BOOLEAN_FALSE, 2,
                            "datareader_key", "period"),
        ZEL_CATALOGUE_ENTRY("dataWriterEntityStatistics", DataWriterEntityStatistics, DDS_BOOLEAN_FALSE, 2,
                            "datawriter_key", "period"),
        ZEL_CATALOGUE_ENTRY("topicEntityStatistics", TopicEntityStatistics, DDS_BOOLEAN_FALSE, 2, "topic_key",
                            "period"),
        ZEL_CATALOGUE_ENTRY("dataReaderEntityMatchedPublicationStatistics",
                            DataReaderEntityMatchedPublicationStatistics, DDS_BOOLEAN_FALSE, 3, "datareader_key",
                            "publication_handle", "period"),
        ZEL_CATALOGUE_ENTRY("dataWriterEntityMatchedSubscriptionStatistics",
                            DataWriterEntityMatchedSubscriptionStatistics, DDS_BOOLEAN_FALSE, 3, "datawriter_key",
                            "subscription_handle", "period"),
        ZEL_CATALOGUE_ENTRY("dataWriterEntityMatchedSubscriptionWithLocatorStatistics",
                            DataWriterEntityMatchedSubscriptionWithLocatorStatistics, DDS_BOOLEAN_FALSE, 3,
                            "datawriter_key", "subscription_locator", "period"),
};

void ZELDefaultMonitorCatalogue_keyToInstanceHandle(DDSMonitoring_InstanceHandle_t *handle,
                                                    const DDSMonitoring_BuiltinTopicKey_t *key) {
    for (size_t word = 0; word < 4; ++word) {
        const uint32_t value = static_cast<uint32_t>(key->value[word]);
        for (size_t octet = 0; octet < 4; ++octet) {
            handle->value[word * 4 + octet] = static_cast<DDS_Octet>(value >> (24 - 8 * octet));
        }
    }
    handle->length = 16;
    handle->isValid = DDS_BOOLEAN_TRUE;
}

void ZELDefaultMonitorCatalogue_addressToLocator(DDSMonitoring_Locator_t *locator,
                                                 const struct ZELNetioLocator *address) {
    locator->kind = address->kind;
    locator->_port = address->port;
    std::memcpy(locator->address, address->address, sizeof(locator->address));
}

}  // extern "C"
