// Filled monitoring samples for the serialization benchmarks, a writer's
// statistics and a writer's description with a realistic QoS, and the
// generated operations that serialize them. The fills take any C
// representation of the types with our member names, so that another
// serializer's samples hold the same values; one with other sequences than
// ours overloads propertiesSet.
#pragma once

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "DDSMonitoring.h"
#include "vurncore/cdr_stream.h"
#include "vurncore/dds_string.h"
#include "zel_dds_monitoring.h"

inline void setString(char *target, const std::string &text) {
    std::strcpy(target, text.c_str());  // members hold their bound + 1 octets
}

inline void fillDuration(DDSMonitoring_Duration_t *sample) { *sample = {5, 250000000}; }

template <typename WriterStatistics>
void fillWriterStatistics(WriterStatistics *sample) {
    sample->datawriter_key = {{0x01a2b3c4, 0x55667788, 0x11223344, 0x000001c2}};
    sample->period = {5, 0};
    sample->participant_key = {{0x01a2b3c4, 0x55667788, 0x11223344, 0x000001c1}};
    sample->publisher_key = {{0x01a2b3c4, 0x55667788, 0x11223344, 0x00000188}};
    sample->topic_key = {{0x01a2b3c4, 0x55667788, 0x11223344, 0x00000004}};
    setString(sample->topic_name, "Example ShapeType Square");
    sample->domain_id = 12;
    sample->host_id = 0xc0a80117;
    sample->process_id = 41234;
    sample->publication_matched_status.status.total_count = 3;
    sample->publication_matched_status.status.current_count = 2;
    sample->datawriter_cache_status.status.sample_count = 480;
    sample->datawriter_cache_status.status.sample_count_peak = 512;
    auto &protocol = sample->datawriter_protocol_status.status;
    protocol.pushed_sample_count = 123456789;
    protocol.pushed_sample_bytes = 9876543210;
    protocol.sent_heartbeat_count = 24681;
}

// A property of a QoS, in no particular representation.
struct PropertyValues {
    std::string name;
    std::string value;
    bool propagate;
};

inline std::vector<PropertyValues> writerProperties() {
    std::vector<PropertyValues> properties;
    for (int i = 0; i < 10; ++i) {
        properties.push_back({"dds.transport.UDPv4.builtin.parent.property_" + std::to_string(i),
                              "a value of some thirty to sixty characters, number " + std::to_string(i), i % 2 == 1});
    }
    return properties;
}

inline void propertiesSet(DDSMonitoring_Property_tSeq &properties, const std::vector<PropertyValues> &values) {
    const auto length = static_cast<DDS_Long>(values.size());
    if (!DDSMonitoring_Property_tSeq_ensure_length(&properties, length, length)) {
        std::fprintf(stderr, "out of heap\n");
        return;
    }
    for (DDS_Long i = 0; i < length; ++i) {
        DDSMonitoring_Property_t *property = DDSMonitoring_Property_tSeq_get_reference(&properties, i);
        const PropertyValues &source = values[static_cast<size_t>(i)];
        DDS_String_free(property->name);
        DDS_String_free(property->value);
        property->name = DDS_String_dup(source.name.c_str());
        property->value = DDS_String_dup(source.value.c_str());
        property->propagate = static_cast<DDS_Boolean>(source.propagate);
    }
}

template <typename WriterDescription>
void fillWriterDescription(WriterDescription *sample) {
    sample->entity_key = {{0x01a2b3c4, 0x55667788, 0x11223344, 0x000001c2}};
    sample->publisher_entity_key = {{0x01a2b3c4, 0x55667788, 0x11223344, 0x00000188}};
    sample->topic_entity_key = {{0x01a2b3c4, 0x55667788, 0x11223344, 0x00000004}};
    sample->domain_id = 12;
    sample->host_id = 0xc0a80117;
    sample->process_id = 41234;
    setString(sample->type_name, "ShapeType");
    setString(sample->topic_name, "Example ShapeType Square");
    sample->serialized_sample_max_size = 152;
    sample->serialized_sample_min_size = 24;
    sample->serialized_key_max_size = 20;
    auto &qos = sample->qos;
    qos.history.depth = 16;
    qos.resource_limits.max_samples = 1024;
    qos.reliability.max_blocking_time = {0, 100000000};
    setString(qos.publication_name.name, "SquareWriter");
    setString(qos.publication_name.role_name, "shapes publisher");
    propertiesSet(qos.property.value, writerProperties());
}

// A type's generated operations, untyped.
struct TypeOps {
    void *(*create)();
    void (*destroy)(void *sample);
    DDS_Boolean (*serialize)(const void *sample, ZELCdrStream *stream);
    DDS_Boolean (*deserialize)(void *sample, ZELCdrStream *stream);
    PRESTypePlugin *(*pluginNew)();  // NULL for types without keys
    void (*pluginDelete)(PRESTypePlugin *plugin);
    void (*fill)(void *sample);
};

#define BENCH_OPS(F, NEW, DELETE, FILL)                                                                \
    TypeOps {                                                                                          \
        []() -> void * { return F##PluginSupport_create_data(); },                                     \
                [](void *s) { F##PluginSupport_destroy_data(static_cast<F *>(s)); },                   \
                [](const void *s, ZELCdrStream *stream) {                                              \
                    return F##Plugin_serialize(nullptr, static_cast<const F *>(s), stream, 1,          \
                                               ZEL_CDR_ENCAPSULATION_ID_CDR_LE, 1, nullptr);           \
                },                                                                                     \
                [](void *s, ZELCdrStream *stream) {                                                    \
                    return F##Plugin_deserialize(nullptr, static_cast<F *>(s), stream, 1, 1, nullptr); \
                },                                                                                     \
                NEW, DELETE, [](void *s) { FILL(static_cast<F *>(s)); }                                \
    }

const TypeOps kWriterStatistics = BENCH_OPS(
        zel_dds_monitoring_DataWriterEntityStatistics, &zel_dds_monitoring_DataWriterEntityStatisticsPlugin_new,
        &zel_dds_monitoring_DataWriterEntityStatisticsPlugin_delete, fillWriterStatistics);
const TypeOps kWriterDescription =
        BENCH_OPS(zel_dds_monitoring_DataWriterDescription, &zel_dds_monitoring_DataWriterDescriptionPlugin_new,
                  &zel_dds_monitoring_DataWriterDescriptionPlugin_delete, fillWriterDescription);

// A filled sample and a buffer holding its serialization.
class Fixture {
public:
    explicit Fixture(const TypeOps &ops) : ops_(ops), buffer_(1 << 20) {
        sample = ops.create();
        ops.fill(sample);
        ZELCdrStream_init(&stream, buffer_.data(), static_cast<uint32_t>(buffer_.size()), ZEL_CDR_LITTLE_ENDIAN);
        if (!ops.serialize(sample, &stream)) {
            std::fprintf(stderr, "serialize failed\n");
        }
        length = ZELCdrStream_getCurrentPositionOffset(&stream);
    }
    ~Fixture() { ops_.destroy(sample); }
    Fixture(const Fixture &) = delete;
    Fixture &operator=(const Fixture &) = delete;

    char *octets() { return buffer_.data(); }

    void *sample;
    ZELCdrStream stream{};
    uint32_t length = 0;

private:
    const TypeOps &ops_;
    std::vector<char> buffer_;
};
