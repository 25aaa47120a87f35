// The monitor publisher's internal operations: the separate monitoring
// participant, and the participant list under the publisher's listEA.
#pragma once

#include "vurnc/dds_c.h"
#include "zelmonitoring/monitor.h"

ZEL_EXTERN_C_BEGIN

// Level of the publisher's list lock: above every entity lock, since the
// statistics cycle locks monitored participants while it holds it.
#define ZEL_MONITOR_LIST_EA_LEVEL 5

// The QoS of the separate monitoring participant, configured by the
// monitored participant's properties: from the profile they name or the
// factory's default, without the library-loading properties, named
// "monitoring application", marked as the plug-in's own and carrying
// "zel/dds/monitor/entity". `qos` must be initialized. Failures logged.
DDS_Boolean ZELDefaultMonitorPublisher_get_participant_qosI(struct DDS_DomainParticipantQos *qos,
                                                            DDS_DomainParticipantFactory *factory,
                                                            const struct DDS_PropertyQosPolicy *configProperties);

// Under the list lock: creates the separate monitoring participant in
// newParticipantDomainId (unless there is one) and the shared entity set on
// it (unless there is one), configured by the monitored participant's QoS.
// Failures logged; a set that could not be completed is torn down again.
DDS_Boolean ZELDefaultMonitorPublisher_createStatParticipantAndEntitiesI(
        struct ZELDefaultMonitorPublisher *self, const struct DDS_DomainParticipantQos *monitoredQos);

// Deletes the separate monitoring participant, if any.
DDS_Boolean ZELDefaultMonitorPublisher_deleteStatParticipantI(struct ZELDefaultMonitorPublisher *self);

// List operations; the caller holds listEA.
void ZELDefaultMonitorParticipantList_addFirstI(struct ZELDefaultMonitorParticipantList *list,
                                                struct ZELDefaultMonitorParticipantObject *object);
void ZELDefaultMonitorParticipantList_removeI(struct ZELDefaultMonitorParticipantList *list,
                                              struct ZELDefaultMonitorParticipantObject *object);

ZEL_EXTERN_C_END
