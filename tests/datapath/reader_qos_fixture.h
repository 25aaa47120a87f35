// Shape readers and writers of adjustable QoS on the in-process wire, with
// a factory clock the test may move by hand.
#ifndef ZELTEST_READER_QOS_FIXTURE_H
#define ZELTEST_READER_QOS_FIXTURE_H

#include <atomic>
#include <cstdio>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "datapath_types.h"
#include "heap_check.h"
#include "vurnc/dds_c.h"
#include "vurncore/clock.h"

namespace zeltest {

inline std::atomic<uint64_t> g_readerQosNowNs{1'000'000'000};

inline ZELBoolean readerQosHandClock(ZELHighResolutionClock *, ZELNtpTime *now) {
    ZELNtpTime_fromNanoseconds(now, g_readerQosNowNs.load());
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

class ReaderQosTest : public HeapCheckedTest {
protected:
    void SetUp() override {
        HeapCheckedTest::SetUp();
        factory = DDS_DomainParticipantFactory_get_instance();
        ASSERT_NE(factory, nullptr);
        participant = DDS_DomainParticipantFactory_create_participant(factory, 11, &DDS_PARTICIPANT_QOS_DEFAULT,
                                                                      nullptr, DDS_STATUS_MASK_NONE);
        ASSERT_NE(participant, nullptr);
        ASSERT_EQ(dp_ShapeTypeSupport_register_type(participant, nullptr), DDS_RETCODE_OK);
        shapes = DDS_DomainParticipant_create_topic(participant, "Shapes", dp_ShapeTypeSupport_get_type_name(),
                                                    &DDS_TOPIC_QOS_DEFAULT, nullptr, 0);
        publisher = DDS_DomainParticipant_create_publisher(participant, &DDS_PUBLISHER_QOS_DEFAULT, nullptr, 0);
        subscriber = DDS_DomainParticipant_create_subscriber(participant, &DDS_SUBSCRIBER_QOS_DEFAULT, nullptr, 0);
        ASSERT_TRUE(shapes != nullptr && publisher != nullptr && subscriber != nullptr);
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
            EXPECT_EQ(DDS_DomainParticipantFactory_delete_participant(factory, participant), DDS_RETCODE_OK);
        }
        if (savedGetTime != nullptr) {
            DDS_DomainParticipantFactory_get_clockI(factory)->getTime = savedGetTime;
        }
        EXPECT_EQ(DDS_DomainParticipantFactory_finalize_instance(), DDS_RETCODE_OK);
        HeapCheckedTest::TearDown();
    }

    DDS_DataWriter *createWriter() {
        return DDS_Publisher_create_datawriter(publisher, shapes, &writerQos, nullptr, 0);
    }

    DDS_DataReader *createReader(DDS_TopicDescription *topic = nullptr) {
        return DDS_Subscriber_create_datareader(
                subscriber, topic != nullptr ? topic : DDS_Topic_as_topicdescription(shapes), &readerQos, nullptr, 0);
    }

    DDS_ReturnCode_t write(DDS_DataWriter *writer, const char *color, DDS_Long x) {
        std::snprintf(shape.color, 33, "%s", color);
        shape.x = x;
        return DDS_DataWriter_write_untyped_generalI(writer, &shape, &DDS_HANDLE_NIL);
    }

    // Reads or takes every sample: the x of each, -1 for invalid data; the
    // info of the last in `lastInfo`.
    static std::vector<DDS_Long> take(DDS_DataReader *reader, DDS_SampleInfo *lastInfo = nullptr,
                                      DDS_Boolean take = DDS_BOOLEAN_TRUE) {
        dp_ShapeSeq data = ZEL_SEQUENCE_INITIALIZER;
        DDS_SampleInfoSeq infos = ZEL_SEQUENCE_INITIALIZER;
        std::vector<DDS_Long> xs;
        if (DDS_DataReader_read_or_take_untypedI(reader, reinterpret_cast<ZELSequence *>(&data), &infos,
                                                 DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE,
                                                 DDS_ANY_INSTANCE_STATE, take) != DDS_RETCODE_OK) {
            return xs;
        }
        for (DDS_Long i = 0; i < DDS_SampleInfoSeq_get_length(&infos); ++i) {
            const DDS_SampleInfo *info = DDS_SampleInfoSeq_get_reference(&infos, i);
            xs.push_back(info->valid_data ? dp_ShapeSeq_get_reference(&data, i)->x : -1);
            if (lastInfo != nullptr) {
                *lastInfo = *info;
            }
        }
        EXPECT_EQ(DDS_DataReader_return_loan_untypedI(reader, reinterpret_cast<ZELSequence *>(&data), &infos),
                  DDS_RETCODE_OK);
        return xs;
    }

    static DDS_DataReaderProtocolStatus protocolOf(DDS_DataReader *reader, DDS_Boolean reset = DDS_BOOLEAN_FALSE) {
        DDS_DataReaderProtocolStatus status{};
        EXPECT_EQ(DDS_DataReader_get_datareader_protocol_status_ex(reader, &status, reset), DDS_RETCODE_OK);
        return status;
    }

    void useHandClock() {
        savedGetTime = DDS_DomainParticipantFactory_get_clockI(factory)->getTime;
        DDS_DomainParticipantFactory_get_clockI(factory)->getTime = readerQosHandClock;
    }

    static void advanceMs(uint64_t milliseconds) { g_readerQosNowNs += milliseconds * 1'000'000u; }

    DDS_DomainParticipantFactory *factory = nullptr;
    DDS_DomainParticipant *participant = nullptr;
    DDS_Topic *shapes = nullptr;
    DDS_Publisher *publisher = nullptr;
    DDS_Subscriber *subscriber = nullptr;
    DDS_DataWriterQos writerQos = DDS_DataWriterQos_INITIALIZER;
    DDS_DataReaderQos readerQos = DDS_DataReaderQos_INITIALIZER;
    dp_Shape shape = dp_Shape_INITIALIZER;
    ZELBoolean (*savedGetTime)(ZELHighResolutionClock *, ZELNtpTime *) = nullptr;
};

}  // namespace zeltest

#endif
