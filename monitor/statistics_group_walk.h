// The parts of the statistics walk that the writer and reader sides share:
// every group of the participant, each locked while its endpoints are
// visited, and every matched remote endpoint of one endpoint; a failed one
// is logged and passed over.
#pragma once

#include "log/monitor_log_macros.h"
#include "related_topic.h"
#include "vurnc/dds_c.h"
#include "zelmonitoring/monitor.h"

// Visits one endpoint unless the user-topic filter drops it by its topic,
// which is asked for only when a filter is set; an endpoint without a topic
// is logged and fails.
template <typename Group, typename Visit>
bool ZELDefaultMonitorParticipantObject_visitUnlessFilteredI(
        const ZELDefaultMonitorParticipantObject *participantObject, const char *context,
        typename Group::Endpoint *endpoint, Visit &visit) {
    if (participantObject->userTopics != nullptr) {
        DDS_Topic *topic = Group::topic(endpoint);
        if (topic == nullptr) {
            ZELMonitorLog_errorWithContext(context, ZEL_LOG_ANY_FAILURE_s, "related topic");
            return false;
        }
        if (ZELDefaultMonitorParticipantObject_isTopicFilteredI(topic, participantObject->userTopics)) {
            return true;
        }
    }
    return visit(endpoint);
}

// `Group` names the participant's groups of one side and their endpoints:
// the sequence types and getters, the endpoint's topic for the user-topic
// filter, and the words its failures are logged with.
template <typename Group, typename Visit>
bool ZELDefaultMonitorParticipantObject_walkGroupsI(ZELDefaultMonitorParticipantObject *participantObject,
                                                    const char *context, Visit visit) {
    typename Group::GroupSeq groups = ZEL_SEQUENCE_INITIALIZER;
    if (Group::getGroups(participantObject->participant, &groups) != DDS_RETCODE_OK) {
        ZELMonitorLog_errorWithContext(context, ZEL_LOG_ANY_FAILURE_s, Group::kGetGroups);
        Group::finalizeGroups(&groups);
        return false;
    }
    bool ok = true;
    typename Group::EndpointSeq endpoints = ZEL_SEQUENCE_INITIALIZER;
    for (DDS_Long g = 0; g < Group::groupCount(&groups); ++g) {
        typename Group::Type *group = Group::group(&groups, g);
        if (group == nullptr) {
            ZELMonitorLog_errorWithContext(context, ZEL_LOG_ANY_FAILURE_s, Group::kGroupReference);
            ok = false;
            continue;
        }
        // The group's endpoints cannot come or go while they are visited.
        if (DDS_Entity_lock(Group::asEntity(group)) != DDS_RETCODE_OK) {
            ZELMonitorLog_errorWithContext(context, ZEL_LOG_ANY_FAILURE_s, Group::kLock);
            ok = false;
            continue;
        }
        if (Group::getEndpoints(group, &endpoints) != DDS_RETCODE_OK) {
            ZELMonitorLog_errorWithContext(context, ZEL_LOG_ANY_FAILURE_s, Group::kGetEndpoints);
            ok = false;
        } else {
            for (DDS_Long e = 0; e < Group::endpointCount(&endpoints); ++e) {
                typename Group::Endpoint *endpoint = Group::endpoint(&endpoints, e);
                if (endpoint == nullptr) {
                    ZELMonitorLog_errorWithContext(context, ZEL_LOG_ANY_FAILURE_s, Group::kEndpointReference);
                    ok = false;
                    continue;
                }
                if (!ZELDefaultMonitorParticipantObject_visitUnlessFilteredI<Group>(participantObject, context,
                                                                                    endpoint, visit)) {
                    ok = false;
                }
            }
        }
        if (DDS_Entity_unlock(Group::asEntity(group)) != DDS_RETCODE_OK) {
            ZELMonitorLog_errorWithContext(context, ZEL_LOG_ANY_FAILURE_s, Group::kUnlock);
            ok = false;
        }
    }
    Group::finalizeEndpoints(&endpoints);
    Group::finalizeGroups(&groups);
    return ok;
}

// Every matched remote endpoint of one local endpoint, by instance handle:
// `getMatched` lists them, `sample` publishes one; a failed one is logged
// with `sampleLabel` and passed over.
template <typename Endpoint, typename Sample>
bool ZELDefaultMonitorParticipantObject_walkMatchedI(const char *context, Endpoint *endpoint,
                                                     DDS_ReturnCode_t (*getMatched)(Endpoint *,
                                                                                    struct DDS_InstanceHandleSeq *),
                                                     const char *sampleLabel, Sample sample) {
    DDS_InstanceHandleSeq handles = ZEL_SEQUENCE_INITIALIZER;
    if (getMatched(endpoint, &handles) != DDS_RETCODE_OK) {
        ZELMonitorLog_errorWithContext(context, ZEL_LOG_ANY_FAILURE_s, "get all matched");
        DDS_InstanceHandleSeq_finalize(&handles);
        return false;
    }
    bool ok = true;
    for (DDS_Long i = 0; i < DDS_InstanceHandleSeq_get_length(&handles); ++i) {
        const DDS_InstanceHandle_t *handle = DDS_InstanceHandleSeq_get_reference(&handles, i);
        if (handle == nullptr) {
            ZELMonitorLog_errorWithContext(context, ZEL_LOG_ANY_FAILURE_s, "get handle");
            ok = false;
            continue;
        }
        if (!sample(handle)) {
            ZELMonitorLog_errorWithContext(context, ZEL_LOG_ANY_FAILURE_s, sampleLabel);
            ok = false;
        }
    }
    DDS_InstanceHandleSeq_finalize(&handles);
    return ok;
}

struct ZELDefaultMonitorPublishersI {
    using Type = DDS_Publisher;
    using Endpoint = DDS_DataWriter;
    using GroupSeq = DDS_PublisherSeq;
    using EndpointSeq = DDS_DataWriterSeq;
    static constexpr const char *kGetGroups = "get publishers";
    static constexpr const char *kGroupReference = "get publisher reference";
    static constexpr const char *kLock = "lock publisher";
    static constexpr const char *kGetEndpoints = "get all writers";
    static constexpr const char *kEndpointReference = "get writer reference";
    static constexpr const char *kUnlock = "unlock publisher";
    static DDS_ReturnCode_t getGroups(DDS_DomainParticipant *participant, GroupSeq *seq) {
        return DDS_DomainParticipant_get_publishers(participant, seq);
    }
    static DDS_Long groupCount(const GroupSeq *seq) { return DDS_PublisherSeq_get_length(seq); }
    static Type *group(const GroupSeq *seq, DDS_Long i) { return DDS_PublisherSeq_get(seq, i); }
    static void finalizeGroups(GroupSeq *seq) { DDS_PublisherSeq_finalize(seq); }
    static DDS_Entity *asEntity(Type *group) { return DDS_Publisher_as_entity(group); }
    static DDS_ReturnCode_t getEndpoints(Type *group, EndpointSeq *seq) {
        return DDS_Publisher_get_all_datawriters(group, seq);
    }
    static DDS_Long endpointCount(const EndpointSeq *seq) { return DDS_DataWriterSeq_get_length(seq); }
    static Endpoint *endpoint(const EndpointSeq *seq, DDS_Long i) { return DDS_DataWriterSeq_get(seq, i); }
    static void finalizeEndpoints(EndpointSeq *seq) { DDS_DataWriterSeq_finalize(seq); }
    static DDS_Topic *topic(Endpoint *writer) { return DDS_DataWriter_get_topic(writer); }
};

struct ZELDefaultMonitorSubscribersI {
    using Type = DDS_Subscriber;
    using Endpoint = DDS_DataReader;
    using GroupSeq = DDS_SubscriberSeq;
    using EndpointSeq = DDS_DataReaderSeq;
    static constexpr const char *kGetGroups = "get subscribers";
    static constexpr const char *kGroupReference = "get subscriber reference";
    static constexpr const char *kLock = "lock subscriber";
    static constexpr const char *kGetEndpoints = "get all readers";
    static constexpr const char *kEndpointReference = "get reader reference";
    static constexpr const char *kUnlock = "unlock subscriber";
    static DDS_ReturnCode_t getGroups(DDS_DomainParticipant *participant, GroupSeq *seq) {
        return DDS_DomainParticipant_get_subscribers(participant, seq);
    }
    static DDS_Long groupCount(const GroupSeq *seq) { return DDS_SubscriberSeq_get_length(seq); }
    static Type *group(const GroupSeq *seq, DDS_Long i) { return DDS_SubscriberSeq_get(seq, i); }
    static void finalizeGroups(GroupSeq *seq) { DDS_SubscriberSeq_finalize(seq); }
    static DDS_Entity *asEntity(Type *group) { return DDS_Subscriber_as_entity(group); }
    static DDS_ReturnCode_t getEndpoints(Type *group, EndpointSeq *seq) {
        return DDS_Subscriber_get_all_datareaders(group, seq);
    }
    static DDS_Long endpointCount(const EndpointSeq *seq) { return DDS_DataReaderSeq_get_length(seq); }
    static Endpoint *endpoint(const EndpointSeq *seq, DDS_Long i) { return DDS_DataReaderSeq_get(seq, i); }
    static void finalizeEndpoints(EndpointSeq *seq) { DDS_DataReaderSeq_finalize(seq); }
    // A reader through a content filter is judged by the filter's related topic.
    static DDS_Topic *topic(Endpoint *reader) {
        return ZELDefaultMonitorParticipantObject_getActualReaderTopicI(reader, nullptr);
    }
};
