// One participant with shape and tick topics, a publisher and a subscriber
// on the in-process wire, QoS the test adjusts before creating endpoints,
// and a factory clock the test may move by hand.
#ifndef ZELTEST_DATAPATH_FIXTURE_H
#define ZELTEST_DATAPATH_FIXTURE_H

#include <atomic>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "data_path_private.h"
#include "datapath_types.h"
#include "heap_check.h"
#include "log_capture.h"
#include "vurnc/dds_c.h"
#include "vurncore/clock.h"

namespace zeltest {

inline std::atomic<uint64_t> g_dataPathNowNs{1'000'000'000};

inline ZELBoolean dataPathHandClock(ZELHighResolutionClock *, ZELNtpTime *now) {
    ZELNtpTime_fromNanoseconds(now, g_dataPathNowNs.load());
    return ZEL_TRUE;
}

inline bool sameHandle(const DDS_InstanceHandle_t &left, const DDS_InstanceHandle_t &right) {
    return left.isValid == right.isValid && left.length == right.length &&
           std::memcmp(left.value, right.value, sizeof(left.value)) == 0;
}

inline void setMs(DDS_Duration_t *duration, uint32_t milliseconds) {
    duration->sec = static_cast<DDS_Long>(milliseconds / 1000);
    duration->nanosec = milliseconds % 1000 * 1'000'000u;
}

using Xs = std::vector<DDS_Long>;

// A sample as a reader handed it out; x is -1 for invalid data.
struct Sample {
    std::string color;
    DDS_Long x;
    DDS_SampleInfo info;
};

inline std::vector<Sample> samplesOf(dp_ShapeSeq *data, DDS_SampleInfoSeq *infos) {
    std::vector<Sample> out;
    for (DDS_Long i = 0; i < DDS_SampleInfoSeq_get_length(infos); ++i) {
        const dp_Shape *shape = dp_ShapeSeq_get_reference(data, i);
        const DDS_SampleInfo *info = DDS_SampleInfoSeq_get_reference(infos, i);
        out.push_back(Sample{shape->color, info->valid_data ? shape->x : -1, *info});
    }
    return out;
}

// A status read with a check that the read succeeded, for the getters
// with and without a reset flag.
template <class Status, class Entity>
Status statusOf(DDS_ReturnCode_t (*get)(Entity *, Status *), Entity *entity) {
    Status status{};
    EXPECT_EQ(get(entity, &status), DDS_RETCODE_OK);
    return status;
}

template <class Status, class Entity>
Status statusOf(DDS_ReturnCode_t (*get)(Entity *, Status *, DDS_Boolean), Entity *entity, bool reset) {
    Status status{};
    EXPECT_EQ(get(entity, &status, reset ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE), DDS_RETCODE_OK);
    return status;
}

class DataPathTest : public HeapCheckedTest {
protected:
    void SetUp() override {
        HeapCheckedTest::SetUp();
        factory = DDS_DomainParticipantFactory_get_instance();
        ASSERT_NE(factory, nullptr);
        participant = DDS_DomainParticipantFactory_create_participant(factory, 7, &DDS_PARTICIPANT_QOS_DEFAULT, nullptr,
                                                                      DDS_STATUS_MASK_NONE);
        ASSERT_NE(participant, nullptr);
        ASSERT_EQ(dp_ShapeTypeSupport_register_type(participant, nullptr), DDS_RETCODE_OK);
        ASSERT_EQ(dp_TickTypeSupport_register_type(participant, nullptr), DDS_RETCODE_OK);
        shapes = DDS_DomainParticipant_create_topic(participant, "Shapes", dp_ShapeTypeSupport_get_type_name(),
                                                    &DDS_TOPIC_QOS_DEFAULT, nullptr, 0);
        ticks = DDS_DomainParticipant_create_topic(participant, "Ticks", "dp::Tick", &DDS_TOPIC_QOS_DEFAULT, nullptr,
                                                   0);
        publisher = DDS_DomainParticipant_create_publisher(participant, &DDS_PUBLISHER_QOS_DEFAULT, nullptr, 0);
        subscriber = DDS_DomainParticipant_create_subscriber(participant, &DDS_SUBSCRIBER_QOS_DEFAULT, nullptr, 0);
        ASSERT_TRUE(shapes != nullptr && ticks != nullptr && publisher != nullptr && subscriber != nullptr);
        ASSERT_EQ(DDS_Publisher_get_default_datawriter_qos(publisher, &writerQos), DDS_RETCODE_OK);
        ASSERT_EQ(DDS_Subscriber_get_default_datareader_qos(subscriber, &readerQos), DDS_RETCODE_OK);
        readerQos.history.depth = 10;
        ASSERT_TRUE(dp_Shape_initialize(&shape));
    }

    void TearDown() override {
        dp_Shape_finalize(&shape);
        DDS_DataWriterQos_finalize(&writerQos);
        DDS_DataReaderQos_finalize(&readerQos);
        if (participant != nullptr) {
            EXPECT_EQ(DDS_DomainParticipant_delete_contained_entities(participant), DDS_RETCODE_OK);
            DDS_DomainParticipant_unregister_type(participant, dp_ShapeTypeSupport_get_type_name());
            DDS_DomainParticipant_unregister_type(participant, "dp::Tick");
            EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(factory, participant), DDS_RETCODE_OK);
        }
        if (savedGetTime != nullptr) {
            DDS_DomainParticipantFactory_get_clockI(factory)->getTime = savedGetTime;
        }
        EXPECT_EQ(DDS_DomainParticipantFactory_finalize_instance(), DDS_RETCODE_OK);
        HeapCheckedTest::TearDown();
    }

    DDS_DataWriter *createWriter(DDS_Topic *topic = nullptr) {
        return DDS_Publisher_create_datawriter(publisher, topic != nullptr ? topic : shapes, &writerQos, nullptr, 0);
    }

    DDS_DataReader *createReader(DDS_TopicDescription *topic = nullptr) {
        return DDS_Subscriber_create_datareader(
                subscriber, topic != nullptr ? topic : DDS_Topic_as_topicdescription(shapes), &readerQos, nullptr, 0);
    }

    // The fixture's sample with this key and x.
    dp_Shape &shapeOf(const char *color, DDS_Long x) {
        std::snprintf(shape.color, 33, "%s", color);
        shape.x = x;
        return shape;
    }

    DDS_ReturnCode_t write(DDS_DataWriter *writer, const char *color, DDS_Long x) {
        return DDS_DataWriter_write_untyped_generalI(writer, &shapeOf(color, x), &DDS_HANDLE_NIL);
    }

    void writeEach(DDS_DataWriter *writer, std::initializer_list<std::pair<const char *, DDS_Long>> each) {
        for (const auto &[color, x] : each) {
            EXPECT_EQ(write(writer, color, x), DDS_RETCODE_OK) << color << ' ' << x;
        }
    }

    // Deletes what a test or an attempt created; either may be missing.
    void deleteEndpoints(DDS_DataReader *reader, DDS_DataWriter *writer) {
        if (reader != nullptr) {
            EXPECT_EQ(DDS_DataReader_delete_contained_entities(reader), DDS_RETCODE_OK);
            EXPECT_EQ(DDS_Subscriber_delete_datareader(subscriber, reader), DDS_RETCODE_OK);
        }
        if (writer != nullptr) {
            EXPECT_EQ(DDS_Publisher_delete_datawriter(publisher, writer), DDS_RETCODE_OK);
        }
    }

    // The description of a shape endpoint on the wire itself, beside the
    // participant's own: the test picks the last word of its GUID.
    ZELWireEndpointParams wireEndpoint(uint32_t lastWord) const {
        ZELWireEndpointParams params{};
        for (int word = 0; word < 3; ++word) {
            params.guid.value[word] = static_cast<uint32_t>(participant->entity.key.value[word]);
        }
        params.guid.value[3] = lastWord;
        params.topicName = "Shapes";
        params.typeName = dp_ShapeTypeSupport_get_type_name();
        params.keyed = ZEL_TRUE;
        ZELNtpTime_fromNanoseconds(&params.qos.deadlinePeriod, UINT64_MAX);
        ZELNtpTime_fromNanoseconds(&params.qos.livelinessLeaseDuration, UINT64_MAX);
        return params;
    }

    const ZELWireOps *wireOps() const { return DDS_Entity_getWireI(&participant->entity)->ops; }

    static DDS_ReturnCode_t readOrTake(DDS_DataReader *reader, dp_ShapeSeq *data, DDS_SampleInfoSeq *infos, bool take,
                                       DDS_SampleStateMask sampleStates = DDS_ANY_SAMPLE_STATE,
                                       DDS_ViewStateMask viewStates = DDS_ANY_VIEW_STATE,
                                       DDS_InstanceStateMask instanceStates = DDS_ANY_INSTANCE_STATE) {
        return DDS_DataReader_read_or_take_untypedI(reader, reinterpret_cast<ZELSequence *>(data), infos,
                                                    DDS_LENGTH_UNLIMITED, sampleStates, viewStates, instanceStates,
                                                    take ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE);
    }

    static DDS_ReturnCode_t returnLoan(DDS_DataReader *reader, dp_ShapeSeq *data, DDS_SampleInfoSeq *infos) {
        return DDS_DataReader_return_loan_untypedI(reader, reinterpret_cast<ZELSequence *>(data), infos);
    }

    // Every sample in these states lent by a read or take, the loan
    // returned; none when the reader has none to give.
    static std::vector<Sample> samples(DDS_DataReader *reader, bool take,
                                       DDS_ViewStateMask viewStates = DDS_ANY_VIEW_STATE,
                                       DDS_InstanceStateMask instanceStates = DDS_ANY_INSTANCE_STATE) {
        dp_ShapeSeq data = ZEL_SEQUENCE_INITIALIZER;
        DDS_SampleInfoSeq infos = ZEL_SEQUENCE_INITIALIZER;
        if (readOrTake(reader, &data, &infos, take, DDS_ANY_SAMPLE_STATE, viewStates, instanceStates) !=
            DDS_RETCODE_OK) {
            return {};
        }
        std::vector<Sample> out = samplesOf(&data, &infos);
        EXPECT_EQ(returnLoan(reader, &data, &infos), DDS_RETCODE_OK);
        return out;
    }

    // The x of every sample read or taken; the info of the last in `lastInfo`.
    static Xs take(DDS_DataReader *reader, DDS_SampleInfo *lastInfo = nullptr, bool take = true) {
        Xs xs;
        for (const Sample &sample : samples(reader, take)) {
            xs.push_back(sample.x);
            if (lastInfo != nullptr) {
                *lastInfo = sample.info;
            }
        }
        return xs;
    }

    // Makes `text` the one filter parameter.
    static bool setParameter(DDS_StringSeq *parameters, const char *text) {
        const char *texts[] = {text};
        return DDS_StringSeq_from_array(parameters, texts, 1);
    }

    static DDS_DataReaderProtocolStatus protocolOf(DDS_DataReader *reader, bool reset = false) {
        return statusOf(DDS_DataReader_get_datareader_protocol_status_ex, reader, reset);
    }

    void useHandClock() {
        savedGetTime = DDS_DomainParticipantFactory_get_clockI(factory)->getTime;
        DDS_DomainParticipantFactory_get_clockI(factory)->getTime = dataPathHandClock;
    }

    static void advanceMs(uint64_t milliseconds) { g_dataPathNowNs += milliseconds * 1'000'000u; }

    DDS_DomainParticipantFactory *factory = nullptr;
    DDS_DomainParticipant *participant = nullptr;
    DDS_Topic *shapes = nullptr;
    DDS_Topic *ticks = nullptr;
    DDS_Publisher *publisher = nullptr;
    DDS_Subscriber *subscriber = nullptr;
    DDS_DataWriterQos writerQos = DDS_DataWriterQos_INITIALIZER;
    DDS_DataReaderQos readerQos = DDS_DataReaderQos_INITIALIZER;
    dp_Shape shape = dp_Shape_INITIALIZER;
    ZELBoolean (*savedGetTime)(ZELHighResolutionClock *, ZELNtpTime *) = nullptr;
};

}  // namespace zeltest

#endif
