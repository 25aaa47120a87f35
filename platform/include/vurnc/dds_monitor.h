/* Monitoring plug-ins: the record a plug-in hands back, the middleware
 * version it is given, and the codes of the entity events that a
 * participant reports to it.
 *
 * A participant whose properties name "zel.monitor.library" (a plain name
 * such as "zelmonitoring", looked for along the search path and beside the
 * program, or a path) and "zel.monitor.create_function" (the symbol), or
 * "zel.monitor.create_function_ptr" (the function's address as text,
 * "0x..." or decimal, for a plug-in linked into the program), switches
 * monitoring on. The factory loads the library once and calls the create
 * function once; later participants that name the same library (or
 * address) reuse the monitor, another one is refused (logged). Each such
 * participant is attached before it is enabled, and so is every
 * vendor-specific participant created while a monitor exists (the plug-in
 * decides; it refuses its own). A participant whose attach returns NULL is
 * not monitored. Events follow from then on, detach comes when the
 * participant is deleted (after its entities are gone), delete when the
 * factory is finalized, then the library is unloaded. No entity lock is
 * held during any of these calls: the plug-in may call the DDS API, and
 * create participants, from inside them. Every failure is logged and the
 * participant is created unmonitored. */
#ifndef VURNC_DDS_MONITOR_H
#define VURNC_DDS_MONITOR_H

#include "vurnc/dds_entity.h"
#include "vurnc/dll.h"

ZEL_EXTERN_C_BEGIN

/* Result codes of the plug-in's calls. */
#define DDS_MONITOR_RESULT_VERSION_NOT_SUPPORTED 0u /* create only */
#define DDS_MONITOR_RESULT_FAILURE 1u
#define DDS_MONITOR_RESULT_OK 2u /* success, or nothing to do */

/* The middleware version given to the create function, by value. */
struct DDS_MonitorVersion {
    DDS_Octet major;
    DDS_Octet minor;
    DDS_Octet release;
    DDS_Octet revision;
};
/* What a factory reports unless configured otherwise: 5.1.0 revision 0. */
#define DDS_MONITOR_VERSION_DEFAULT \
    { 5, 1, 0, 0 }

struct DDS_Monitor;
typedef DDS_UnsignedLong (*DDS_MonitorDeleteFunction)(struct DDS_Monitor *self);
/* Returns the participant object passed back on events and at detach. */
typedef void *(*DDS_MonitorAttachFunction)(DDS_UnsignedLong *result, struct DDS_Monitor *self,
                                           DDS_DomainParticipant *participant);
typedef DDS_UnsignedLong (*DDS_MonitorDetachFunction)(void *participantObject);
typedef DDS_UnsignedLong (*DDS_MonitorEventNotifyFunction)(void *participantObject, DDS_Long eventKind,
                                                           DDS_Entity *entity, const void *eventData);

/* The start of the object that the create function returns: the factory
 * and the operations the middleware calls on it. The plug-in's object may
 * go on with fields of its own. */
struct DDS_Monitor {
    DDS_DomainParticipantFactory *factory;
    DDS_MonitorDeleteFunction deleteMonitor;
    DDS_MonitorAttachFunction onDomainParticipantAttach;
    DDS_MonitorDetachFunction onDomainParticipantDetach;
    DDS_MonitorEventNotifyFunction onEventNotify;
};

/* The create function a plug-in exports. NULL with result 0 when it does
 * not support the version, NULL with result 1 on failure. */
typedef struct DDS_Monitor *(*DDS_MonitorCreateFunction)(DDS_UnsignedLong *result,
                                                         DDS_DomainParticipantFactory *factory,
                                                         struct DDS_MonitorVersion version);

/* Sets the version the factory gives to the create function of the next
 * monitor it creates (a monitor already created keeps what it was given).
 * BAD_PARAMETER for a NULL factory, OUT_OF_RESOURCES when out of heap. */
VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactory_set_monitor_versionI(DDS_DomainParticipantFactory *self,
                                                                             struct DDS_MonitorVersion version);

/* Event codes. "BEFORE" events come before the operation changes anything,
 * "AFTER" events once it has succeeded. */

#define DDS_MONITOR_EVENT_PARTICIPANT_ENABLE_AFTER 0x10
#define DDS_MONITOR_EVENT_PARTICIPANT_QOS_CHANGE_AFTER 0x20
#define DDS_MONITOR_EVENT_PARTICIPANT_DELETE_CONTAINED_ENTITIES_BEFORE 0x41
#define DDS_MONITOR_EVENT_TOPIC_CREATE_AFTER 0x100
#define DDS_MONITOR_EVENT_TOPIC_ENABLE_AFTER 0x110
#define DDS_MONITOR_EVENT_TOPIC_QOS_CHANGE_AFTER 0x120
#define DDS_MONITOR_EVENT_TOPIC_DELETE_BEFORE 0x131
#define DDS_MONITOR_EVENT_PUBLISHER_CREATE_AFTER 0x200
#define DDS_MONITOR_EVENT_PUBLISHER_ENABLE_AFTER 0x210
#define DDS_MONITOR_EVENT_PUBLISHER_QOS_CHANGE_AFTER 0x220
#define DDS_MONITOR_EVENT_PUBLISHER_DELETE_BEFORE 0x231
#define DDS_MONITOR_EVENT_PUBLISHER_DELETE_CONTAINED_ENTITIES_BEFORE 0x241
#define DDS_MONITOR_EVENT_SUBSCRIBER_CREATE_AFTER 0x300
#define DDS_MONITOR_EVENT_SUBSCRIBER_ENABLE_AFTER 0x310
#define DDS_MONITOR_EVENT_SUBSCRIBER_QOS_CHANGE_AFTER 0x320
#define DDS_MONITOR_EVENT_SUBSCRIBER_DELETE_BEFORE 0x331
#define DDS_MONITOR_EVENT_SUBSCRIBER_DELETE_CONTAINED_ENTITIES_BEFORE 0x341
#define DDS_MONITOR_EVENT_DATAWRITER_CREATE_AFTER 0x400
#define DDS_MONITOR_EVENT_DATAWRITER_ENABLE_AFTER 0x410
#define DDS_MONITOR_EVENT_DATAWRITER_QOS_CHANGE_AFTER 0x420
#define DDS_MONITOR_EVENT_DATAWRITER_DELETE_BEFORE 0x431
#define DDS_MONITOR_EVENT_DATAREADER_CREATE_AFTER 0x500
#define DDS_MONITOR_EVENT_DATAREADER_ENABLE_AFTER 0x510
#define DDS_MONITOR_EVENT_DATAREADER_QOS_CHANGE_AFTER 0x520
#define DDS_MONITOR_EVENT_DATAREADER_DELETE_BEFORE 0x531
/* Event data: the remote locator (struct ZELNetioLocator). */
#define DDS_MONITOR_EVENT_DATAWRITER_LOCATOR_PAIR_CREATE_AFTER 0x600
#define DDS_MONITOR_EVENT_DATAWRITER_LOCATOR_PAIR_DELETE_AFTER 0x630
/* Event data: the remote endpoint's GUID as four 32-bit words, host order. */
#define DDS_MONITOR_EVENT_ENTITY_MATCH_PAIR_CREATE_AFTER 0x700
#define DDS_MONITOR_EVENT_ENTITY_MATCH_PAIR_DELETE_AFTER 0x730

ZEL_EXTERN_C_END

#endif
