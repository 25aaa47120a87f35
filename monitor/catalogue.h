/* The thirteen monitoring topics: names, registered type names and keys in
 * the order in which the monitoring entities are created, and the two
 * conversions every description and statistics builder shares. */
#ifndef ZELMONITOR_CATALOGUE_H
#define ZELMONITOR_CATALOGUE_H

#include "vurncore/cdr_type.h"
#include "vurncore/netio_locator.h"
#include "vurncore/type_plugin.h"
#include "zel_dds_monitoring.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Slots of the topics and writers of a monitoring entity set. */
enum ZELDefaultMonitorTopic {
    ZEL_MONITOR_TOPIC_PARTICIPANT_DESCRIPTION = 0,
    ZEL_MONITOR_TOPIC_TOPIC_DESCRIPTION,
    ZEL_MONITOR_TOPIC_PUBLISHER_DESCRIPTION,
    ZEL_MONITOR_TOPIC_SUBSCRIBER_DESCRIPTION,
    ZEL_MONITOR_TOPIC_DATAREADER_DESCRIPTION,
    ZEL_MONITOR_TOPIC_DATAWRITER_DESCRIPTION,
    ZEL_MONITOR_TOPIC_PARTICIPANT_STATISTICS,
    ZEL_MONITOR_TOPIC_DATAREADER_STATISTICS,
    ZEL_MONITOR_TOPIC_DATAWRITER_STATISTICS,
    ZEL_MONITOR_TOPIC_TOPIC_STATISTICS,
    ZEL_MONITOR_TOPIC_DATAREADER_MATCHED_PUBLICATION_STATISTICS,
    ZEL_MONITOR_TOPIC_DATAWRITER_MATCHED_SUBSCRIPTION_STATISTICS,
    ZEL_MONITOR_TOPIC_DATAWRITER_MATCHED_SUBSCRIPTION_WITH_LOCATOR_STATISTICS,
    ZEL_MONITOR_TOPIC_COUNT
};

#define ZEL_MONITOR_CATALOGUE_MAX_KEY_MEMBERS 3

struct ZELDefaultMonitorCatalogueEntry {
    const char *topicName;
    const char *typeName; /* registered verbatim */
    DDS_Boolean isDescription;
    uint32_t keyMemberCount;
    const char *keyMembers[ZEL_MONITOR_CATALOGUE_MAX_KEY_MEMBERS];
    const struct ZELCdrTypeDesc *type;
    struct PRESTypePlugin *(*newPlugin)(void);
    void (*deletePlugin)(struct PRESTypePlugin *plugin);
};

extern const struct ZELDefaultMonitorCatalogueEntry ZELDefaultMonitorCatalogue_g_entries[ZEL_MONITOR_TOPIC_COUNT];

/* The four words of a builtin-topic key, each written most significant octet
 * first, as a valid 16-octet instance handle. */
void ZELDefaultMonitorCatalogue_keyToInstanceHandle(DDSMonitoring_InstanceHandle_t *handle,
                                                    const DDSMonitoring_BuiltinTopicKey_t *key);

/* Copies kind, port and address of a transport address into a locator;
 * the locator's other members are left as they are. */
void ZELDefaultMonitorCatalogue_addressToLocator(DDSMonitoring_Locator_t *locator,
                                                 const struct ZELNetioLocator *address);

#ifdef __cplusplus
}
#endif

#endif
