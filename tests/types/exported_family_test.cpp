// The built plug-in, opened as the middleware opens it, exports the whole
// generated family of every monitoring type under its exact names.
#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "vurncore/osapi.h"

namespace {

std::vector<std::string> namesOf(bool keyed)
{
    std::vector<std::string> names;
    if (keyed) {
#define ZELIDL_KEYED_TYPE(F) names.push_back(#F);
#include "DDSMonitoring_types.inc"
#define ZELIDL_KEYED_TYPE(F) names.push_back(#F);
#include "zel_dds_monitoring_types.inc"
#define ZELIDL_KEYED_TYPE(F) names.push_back(#F);
#include "zel_monitoring_types.inc"
    } else {
#define ZELIDL_TYPE(F) names.push_back(#F);
#include "DDSMonitoring_types.inc"
#define ZELIDL_TYPE(F) names.push_back(#F);
#include "zel_dds_monitoring_types.inc"
#define ZELIDL_TYPE(F) names.push_back(#F);
#include "zel_monitoring_types.inc"
    }
    return names;
}

const char *const kEveryType[] = {
    "Seq_initialize", "Seq_finalize", "Seq_get_maximum", "Seq_set_maximum", "Seq_get_length", "Seq_set_length",
    "Seq_ensure_length", "Seq_get", "Seq_get_reference", "Seq_copy", "Seq_copy_no_alloc", "Seq_from_array",
    "Seq_to_array", "Seq_loan_contiguous", "Seq_loan_discontiguous", "Seq_unloan", "Seq_has_ownership",
    "Seq_get_contiguous_bufferI", "Seq_get_discontiguous_bufferI", "Seq_get_read_tokenI", "Seq_set_read_tokenI",
    "Seq_get_element_allocation_params", "Seq_set_element_allocation_params",
    "Seq_set_element_deallocation_params", "Seq_set_element_pointers_allocation",
    "_initialize", "_initialize_ex", "_initialize_w_params", "_finalize", "_finalize_ex", "_finalize_w_params",
    "_copy", "PluginSupport_print_data", "PluginSupport_create_data", "PluginSupport_destroy_data",
    "Plugin_serialize", "Plugin_deserialize", "Plugin_get_serialized_sample_max_size",
    "Plugin_get_serialized_sample_min_size", "Plugin_get_serialized_sample_size", "_get_typecode",
};

const char *const kTopicTypeOnly[] = {
    "Plugin_serialize_key", "Plugin_deserialize_key", "Plugin_get_serialized_key_max_size",
    "Plugin_instance_to_key", "Plugin_key_to_instance", "Plugin_instance_to_keyhash",
    "Plugin_serialized_sample_to_keyhash", "Plugin_new", "Plugin_delete", "TypeSupport_get_type_name",
    "TypeSupport_register_type", "TypeSupport_unregister_type",
    "DataWriter_narrow", "DataWriter_as_datawriter", "DataWriter_write", "DataWriter_write_w_timestamp",
    "DataWriter_write_w_params", "DataWriter_dispose", "DataWriter_dispose_w_timestamp",
    "DataWriter_dispose_w_params", "DataWriter_register_instance", "DataWriter_register_instance_w_timestamp",
    "DataWriter_register_instance_w_params", "DataWriter_unregister_instance",
    "DataWriter_unregister_instance_w_timestamp", "DataWriter_unregister_instance_w_params",
    "DataWriter_get_key_value", "DataWriter_lookup_instance", "DataReader_narrow", "DataReader_as_datareader",
    "DataReader_read", "DataReader_take", "DataReader_return_loan", "DataReader_read_w_condition",
    "DataReader_take_w_condition", "DataReader_read_next_sample", "DataReader_take_next_sample",
    "DataReader_read_instance", "DataReader_take_instance", "DataReader_read_next_instance",
    "DataReader_take_next_instance", "DataReader_read_next_instance_w_condition",
    "DataReader_take_next_instance_w_condition", "DataReader_get_key_value", "DataReader_lookup_instance",
};

class ExportedFamilyTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        char error[256] = "";
        library_ = ZELOsapiLibrary_open(ZELTEST_PLUGIN_PATH, error, sizeof error);
        ASSERT_NE(library_, nullptr) << error;
    }
    void TearDown() override
    {
        if (library_ != nullptr) {
            ZELOsapiLibrary_close(library_);
        }
    }
    void *symbol(const std::string &name) { return ZELOsapiLibrary_getSymbol(library_, name.c_str()); }

    ZELOsapiLibrary *library_ = nullptr;
};

TEST_F(ExportedFamilyTest, EveryTypeExportsItsFamilyAndTopicTypesTheirKeysAndPlugin)
{
    ASSERT_EQ(symbol("DDSMonitoring_Duration_tPlugin_no_such_operation"), nullptr);
    const std::vector<std::string> all = namesOf(false);
    const std::vector<std::string> keyed = namesOf(true);
    ASSERT_EQ(all.size(), 188u);
    ASSERT_EQ(keyed.size(), 13u);

    for (const std::string &type : all) {
        for (const char *operation : kEveryType) {
            EXPECT_NE(symbol(type + operation), nullptr) << type + operation;
        }
        const bool isTopicType = std::find(keyed.begin(), keyed.end(), type) != keyed.end();
        if (!isTopicType) {
            EXPECT_EQ(symbol(type + "Plugin_serialize_key"), nullptr) << type << " has no key operations";
            EXPECT_EQ(symbol(type + "DataWriter_narrow") != nullptr, type == "DDSMonitoring_DomainParticipantFactoryQos")
                    << type << ": only types with a plug-in get typed writers";
            EXPECT_EQ(symbol(type + "Plugin_new") != nullptr, type == "DDSMonitoring_DomainParticipantFactoryQos")
                    << type << ": only the factory QoS has a plug-in besides the topic types";
        }
    }
    for (const std::string &type : keyed) {
        for (const char *operation : kTopicTypeOnly) {
            EXPECT_NE(symbol(type + operation), nullptr) << type + operation;
        }
        // Called through the loaded library: the registered name is the
        // scoped name.
        auto *typeName = reinterpret_cast<const char *(*)()>(symbol(type + "TypeSupport_get_type_name"));
        ASSERT_NE(typeName, nullptr);
        std::string scoped = type;
        scoped.replace(0, std::string("zel_dds_monitoring_").size(), "zel::dds::monitoring::");
        EXPECT_EQ(typeName(), scoped);
    }
    for (const char *operation : {"Plugin_delete", "TypeSupport_register_type", "TypeSupport_unregister_type",
                                  "DataWriter_write", "DataReader_take"}) {
        EXPECT_NE(symbol(std::string("DDSMonitoring_DomainParticipantFactoryQos") + operation), nullptr) << operation;
    }
}

}  // namespace
