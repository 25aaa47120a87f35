#include "types_test_support.h"

#include "DDSMonitoring.h"
#include "zel_dds_monitoring.h"
#include "zel_monitoring.h"

namespace typestest {

#define TYPESTEST_ANY(F)                                                                                      \
    AnyType{#F,                                                                                               \
            &F##_g_desc,                                                                                      \
            []() -> void * { return F##PluginSupport_create_data(); },                                        \
            [](void *s) { F##PluginSupport_destroy_data(static_cast<F *>(s)); },                              \
            [](void *d, const void *s) { return F##_copy(static_cast<F *>(d), static_cast<const F *>(s)); },  \
            [](void *s) { return F##_initialize_ex(static_cast<F *>(s), 1, 1); },                             \
            [](void *s) { F##_finalize_ex(static_cast<F *>(s), 1); },                                         \
            [](const void *s) { F##PluginSupport_print_data(static_cast<const F *>(s), "sample", 0); },       \
            [](const void *s, ZELCdrStream *stream, DDS_UnsignedShort id) {                                   \
                return F##Plugin_serialize(nullptr, static_cast<const F *>(s), stream, 1, id, 1, nullptr);    \
            },                                                                                                \
            [](void *s, ZELCdrStream *stream) {                                                               \
                return F##Plugin_deserialize(nullptr, static_cast<F *>(s), stream, 1, 1, nullptr);            \
            },                                                                                                \
            [](const void *s, DDS_UnsignedShort id) {                                                         \
                return F##Plugin_get_serialized_sample_size(nullptr, 1, id, 0, static_cast<const F *>(s));    \
            },                                                                                                \
            [](DDS_UnsignedShort id) { return F##Plugin_get_serialized_sample_max_size(nullptr, 1, id, 0); }, \
            [](DDS_UnsignedShort id) { return F##Plugin_get_serialized_sample_min_size(nullptr, 1, id, 0); }, \
            &F##_get_typecode,                                                                                \
            [](const void *element, void *out) {                                                              \
                F##Seq a;                                                                                     \
                F##Seq b;                                                                                     \
                F##Seq_initialize(&a);                                                                        \
                F##Seq_initialize(&b);                                                                        \
                DDS_Boolean ok = F##Seq_ensure_length(&a, 2, 2) &&                                            \
                                 F##_copy(F##Seq_get_reference(&a, 1), static_cast<const F *>(element)) &&    \
                                 F##Seq_copy(&b, &a) != nullptr &&                                            \
                                 F##_copy(static_cast<F *>(out), F##Seq_get_reference(&b, 1));                \
                F##Seq_finalize(&a);                                                                          \
                F##Seq_finalize(&b);                                                                          \
                return ok;                                                                                    \
            }},

const std::vector<AnyType> &allTypes() {
    static const std::vector<AnyType> types = {
#define ZELIDL_TYPE(F) TYPESTEST_ANY(F)
#include "DDSMonitoring_types.inc"
#define ZELIDL_TYPE(F) TYPESTEST_ANY(F)
#include "zel_dds_monitoring_types.inc"
#define ZELIDL_TYPE(F) TYPESTEST_ANY(F)
#include "zel_monitoring_types.inc"
    };
    return types;
}

const AnyType &typeNamed(const std::string &flatName) {
    for (const AnyType &type : allTypes()) {
        if (flatName == type.flatName) {
            return type;
        }
    }
    ADD_FAILURE() << "no type " << flatName;
    return allTypes().front();
}

const std::vector<TopicType> &topicTypes() {
    static const std::vector<TopicType> types = {
#define ZELIDL_KEYED_TYPE(F) TopicType{&typeNamed(#F), &F##Plugin_new, &F##Plugin_delete},
#include "DDSMonitoring_types.inc"
#define ZELIDL_KEYED_TYPE(F) TopicType{&typeNamed(#F), &F##Plugin_new, &F##Plugin_delete},
#include "zel_dds_monitoring_types.inc"
#define ZELIDL_KEYED_TYPE(F) TopicType{&typeNamed(#F), &F##Plugin_new, &F##Plugin_delete},
#include "zel_monitoring_types.inc"
    };
    return types;
}

Octets serialized(const AnyType &type, const void *sample, DDS_UnsignedShort id) {
    const unsigned int size = type.size(sample, id);
    Buffer out(size);
    EXPECT_TRUE(type.serialize(sample, &out.stream, id)) << type.flatName;
    EXPECT_EQ(out.written().size(), size) << type.flatName;
    return out.written();
}

}  // namespace typestest
