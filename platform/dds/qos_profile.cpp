// QoS profiles of the factory, named by library and profile. A profile
// holds one QoS per entity kind and, for writers and readers, QoS per
// topic-name pattern, looked up in the order they were set.
#include <cstring>
#include <new>

#include "entity_private.h"
#include "vurncore/dds_string.h"
#include "vurncore/heap.h"
#include "vurncore/reda_string.h"

struct DDS_QosProfileTopicI {
    DDS_QosProfileTopicI *next;
    char *pattern;
    bool isWriter;
    DDS_DataWriterQos writerQos;
    DDS_DataReaderQos readerQos;
};

struct DDS_QosProfileI {
    DDS_QosProfileI *next;
    char *libraryName;
    char *profileName;
    DDS_DomainParticipantQos participantQos;
    DDS_TopicQos topicQos;
    DDS_PublisherQos publisherQos;
    DDS_SubscriberQos subscriberQos;
    DDS_DataWriterQos writerQos;
    DDS_DataReaderQos readerQos;
    DDS_QosProfileTopicI *topics; /* in the order set */
};

static void DDS_QosProfileTopic_freeI(DDS_QosProfileTopicI *topic) {
    DDS_DataReaderQos_finalize(&topic->readerQos);
    DDS_DataWriterQos_finalize(&topic->writerQos);
    DDS_String_free(topic->pattern);
    ZELOsapiHeap_freeStructure(topic);
}

static void DDS_QosProfile_freeI(DDS_QosProfileI *profile) {
    while (profile->topics != nullptr) {
        DDS_QosProfileTopicI *topic = profile->topics;
        profile->topics = topic->next;
        DDS_QosProfileTopic_freeI(topic);
    }
    DDS_DataReaderQos_finalize(&profile->readerQos);
    DDS_DataWriterQos_finalize(&profile->writerQos);
    DDS_SubscriberQos_finalize(&profile->subscriberQos);
    DDS_PublisherQos_finalize(&profile->publisherQos);
    DDS_TopicQos_finalize(&profile->topicQos);
    DDS_DomainParticipantQos_finalize(&profile->participantQos);
    DDS_String_free(profile->profileName);
    DDS_String_free(profile->libraryName);
    ZELOsapiHeap_freeStructure(profile);
}

void DDS_QosProfile_deleteAllI(DDS_DomainParticipantFactory *factory) {
    while (factory->profiles != nullptr) {
        DDS_QosProfileI *profile = factory->profiles;
        factory->profiles = profile->next;
        DDS_QosProfile_freeI(profile);
    }
}

// The profile named so [factory lock], or NULL (logged under `context`).
static DDS_QosProfileI *DDS_QosProfile_findI(DDS_DomainParticipantFactory *factory, const char *libraryName,
                                             const char *profileName, const char *context) {
    if (libraryName != nullptr && profileName != nullptr) {
        for (DDS_QosProfileI *profile = factory->profiles; profile != nullptr; profile = profile->next) {
            if (std::strcmp(profile->libraryName, libraryName) == 0 &&
                std::strcmp(profile->profileName, profileName) == 0) {
                return profile;
            }
        }
    }
    ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, "profile");
    return nullptr;
}

// Runs `action` on the named profile under the factory lock.
template <typename F>
static DDS_ReturnCode_t DDS_QosProfile_withI(DDS_DomainParticipantFactory *factory, const void *qos,
                                             const char *libraryName, const char *profileName, const char *context,
                                             F action) {
    if (factory == nullptr || qos == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, factory == nullptr ? "self" : "qos");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    DDS_EntityLockGuardI guard(factory, factory->lock);
    if (!guard.held()) {
        return guard.result();
    }
    DDS_QosProfileI *profile = DDS_QosProfile_findI(factory, libraryName, profileName, context);
    if (profile == nullptr) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    return action(profile);
}

template <typename Q>
static DDS_ReturnCode_t DDS_QosProfile_copyOutI(Q *dst, const Q *src) {
    return DDS_QosOpsI<Q>::copy(dst, src) ? DDS_RETCODE_OK : DDS_RETCODE_OUT_OF_RESOURCES;
}

template <typename Q>
static DDS_ReturnCode_t DDS_QosProfile_copyInI(Q *dst, const Q *src, const char *context) {
    DDS_ReturnCode_t result = DDS_Qos_checkI(src, context);
    if (result != DDS_RETCODE_OK) {
        return result;
    }
    return DDS_Qos_replaceI(dst, src) ? DDS_RETCODE_OK : DDS_RETCODE_OUT_OF_RESOURCES;
}

// The per-topic entry of `pattern` (writers or readers), made on first use.
static DDS_QosProfileTopicI *DDS_QosProfile_assertTopicI(DDS_QosProfileI *profile, const char *pattern, bool isWriter,
                                                         const char *context) {
    DDS_QosProfileTopicI **link = &profile->topics;
    for (; *link != nullptr; link = &(*link)->next) {
        if ((*link)->isWriter == isWriter && std::strcmp((*link)->pattern, pattern) == 0) {
            return *link;
        }
    }
    auto *topic =
            static_cast<DDS_QosProfileTopicI *>(ZELOsapiHeap_allocateStructure(sizeof(DDS_QosProfileTopicI), "DQPT"));
    if (topic == nullptr) {
        DDS_Entity_logOutOfHeapI(context, sizeof(DDS_QosProfileTopicI));
        return nullptr;
    }
    topic->isWriter = isWriter;
    topic->pattern = DDS_String_dup(pattern);
    if (topic->pattern == nullptr || !DDS_DataWriterQos_initialize(&topic->writerQos) ||
        !DDS_DataReaderQos_initialize(&topic->readerQos) || !DDS_Qos_replaceI(&topic->writerQos, &profile->writerQos) ||
        !DDS_Qos_replaceI(&topic->readerQos, &profile->readerQos)) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "topic qos");
        DDS_QosProfileTopic_freeI(topic);
        return nullptr;
    }
    *link = topic;
    return topic;
}

// The per-topic entry whose pattern `topicName` matches first, or NULL.
static const DDS_QosProfileTopicI *DDS_QosProfile_matchTopicI(const DDS_QosProfileI *profile, const char *topicName,
                                                              bool isWriter) {
    for (const DDS_QosProfileTopicI *topic = profile->topics; topic != nullptr; topic = topic->next) {
        if (topic->isWriter == isWriter && topicName != nullptr &&
            REDAString_fnmatch(topic->pattern, topicName, 0) == 0) {
            return topic;
        }
    }
    return nullptr;
}

extern "C" {

VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactory_add_qos_profile(DDS_DomainParticipantFactory *self,
                                                                        const char *libraryName,
                                                                        const char *profileName) {
    const char *const context = "DDS_DomainParticipantFactory_add_qos_profile";
    if (self == nullptr || libraryName == nullptr || profileName == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, self == nullptr ? "self" : "name");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    DDS_EntityLockGuardI guard(self, self->lock);
    if (!guard.held()) {
        return guard.result();
    }
    for (DDS_QosProfileI *profile = self->profiles; profile != nullptr; profile = profile->next) {
        if (std::strcmp(profile->libraryName, libraryName) == 0 &&
            std::strcmp(profile->profileName, profileName) == 0) {
            ZELLog_printContextAndMsg(context, &ZEL_LOG_PRECONDITION_NOT_MET_s, "profile exists");
            return DDS_RETCODE_PRECONDITION_NOT_MET;
        }
    }
    auto *profile = static_cast<DDS_QosProfileI *>(ZELOsapiHeap_allocateStructure(sizeof(DDS_QosProfileI), "DQPR"));
    if (profile == nullptr) {
        DDS_Entity_logOutOfHeapI(context, sizeof(DDS_QosProfileI));
        return DDS_RETCODE_OUT_OF_RESOURCES;
    }
    profile->libraryName = DDS_String_dup(libraryName);
    profile->profileName = DDS_String_dup(profileName);
    if (profile->libraryName == nullptr || profile->profileName == nullptr ||
        !DDS_Qos_replaceI(&profile->participantQos, &self->defaultParticipantQos) ||
        !DDS_Qos_replaceI(&profile->topicQos, &self->defaultTopicQos) ||
        !DDS_Qos_replaceI(&profile->publisherQos, &self->defaultPublisherQos) ||
        !DDS_Qos_replaceI(&profile->subscriberQos, &self->defaultSubscriberQos) ||
        !DDS_Qos_replaceI(&profile->writerQos, &self->defaultWriterQos) ||
        !DDS_Qos_replaceI(&profile->readerQos, &self->defaultReaderQos)) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "profile");
        DDS_QosProfile_freeI(profile);
        return DDS_RETCODE_OUT_OF_RESOURCES;
    }
    profile->next = self->profiles;
    self->profiles = profile;
    return DDS_RETCODE_OK;
}

#define DDS_PROFILE_QOS_I(KIND, Q, FIELD)                                                                         \
    VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactory_set_##KIND##_qos_in_profile(                          \
            DDS_DomainParticipantFactory *self, const char *libraryName, const char *profileName, const Q *qos) { \
        const char *const context = "DDS_DomainParticipantFactory_set_" #KIND "_qos_in_profile";                  \
        return DDS_QosProfile_withI(self, qos, libraryName, profileName, context, [&](DDS_QosProfileI *p) {       \
            return DDS_QosProfile_copyInI(&p->FIELD, qos, context);                                               \
        });                                                                                                       \
    }                                                                                                             \
    VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactory_get_##KIND##_qos_from_profile(                        \
            DDS_DomainParticipantFactory *self, Q *qos, const char *libraryName, const char *profileName) {       \
        return DDS_QosProfile_withI(self, qos, libraryName, profileName,                                          \
                                    "DDS_DomainParticipantFactory_get_" #KIND "_qos_from_profile",                \
                                    [&](DDS_QosProfileI *p) { return DDS_QosProfile_copyOutI(qos, &p->FIELD); }); \
    }
DDS_PROFILE_QOS_I(participant, DDS_DomainParticipantQos, participantQos)
DDS_PROFILE_QOS_I(topic, DDS_TopicQos, topicQos)
DDS_PROFILE_QOS_I(publisher, DDS_PublisherQos, publisherQos)
DDS_PROFILE_QOS_I(subscriber, DDS_SubscriberQos, subscriberQos)
#undef DDS_PROFILE_QOS_I

#define DDS_PROFILE_ENDPOINT_QOS_I(KIND, Q, FIELD, IS_WRITER)                                                         \
    VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactory_set_##KIND##_qos_in_profile(                              \
            DDS_DomainParticipantFactory *self, const char *libraryName, const char *profileName,                     \
            const char *topicPattern, const Q *qos) {                                                                 \
        const char *const context = "DDS_DomainParticipantFactory_set_" #KIND "_qos_in_profile";                      \
        return DDS_QosProfile_withI(self, qos, libraryName, profileName, context, [&](DDS_QosProfileI *p) {           \
            if (topicPattern == nullptr) {                                                                            \
                return DDS_QosProfile_copyInI(&p->FIELD, qos, context);                                               \
            }                                                                                                         \
            DDS_QosProfileTopicI *topic = DDS_QosProfile_assertTopicI(p, topicPattern, IS_WRITER, context);           \
            return topic == nullptr ? DDS_RETCODE_OUT_OF_RESOURCES                                                    \
                                    : DDS_QosProfile_copyInI(&topic->FIELD, qos, context);                            \
        });                                                                                                           \
    }                                                                                                                 \
    VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactory_get_##KIND##_qos_from_profile_w_topic_name(               \
            DDS_DomainParticipantFactory *self, Q *qos, const char *libraryName, const char *profileName,             \
            const char *topicName) {                                                                                  \
        return DDS_QosProfile_withI(                                                                                  \
                self, qos, libraryName, profileName,                                                                  \
                "DDS_DomainParticipantFactory_get_" #KIND "_qos_from_profile_w_topic_name", [&](DDS_QosProfileI *p) { \
                    const DDS_QosProfileTopicI *topic = DDS_QosProfile_matchTopicI(p, topicName, IS_WRITER);          \
                    return DDS_QosProfile_copyOutI(qos, topic != nullptr ? &topic->FIELD : &p->FIELD);                \
                });                                                                                                   \
    }                                                                                                                 \
    VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactory_get_##KIND##_qos_from_profile(                            \
            DDS_DomainParticipantFactory *self, Q *qos, const char *libraryName, const char *profileName) {           \
        return DDS_QosProfile_withI(self, qos, libraryName, profileName,                                              \
                                    "DDS_DomainParticipantFactory_get_" #KIND "_qos_from_profile",                    \
                                    [&](DDS_QosProfileI *p) { return DDS_QosProfile_copyOutI(qos, &p->FIELD); });     \
    }
DDS_PROFILE_ENDPOINT_QOS_I(datawriter, DDS_DataWriterQos, writerQos, true)
DDS_PROFILE_ENDPOINT_QOS_I(datareader, DDS_DataReaderQos, readerQos, false)
#undef DDS_PROFILE_ENDPOINT_QOS_I

}  // extern "C"
