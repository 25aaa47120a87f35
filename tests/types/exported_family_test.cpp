// The built plug-in, opened as the middleware opens it, exports the whole
// generated family of every monitoring type under its exact names.
#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "types_test_support.h"
#include "vurncore/osapi.h"

namespace {

// Operation suffixes, separated by spaces.
const char *const kEveryType =
        "Seq_initialize Seq_finalize Seq_get_maximum Seq_set_maximum Seq_get_length Seq_set_length "
        "Seq_ensure_length Seq_get Seq_get_reference Seq_copy Seq_copy_no_alloc Seq_from_array Seq_to_array "
        "Seq_loan_contiguous Seq_loan_discontiguous Seq_unloan Seq_has_ownership Seq_get_contiguous_bufferI "
        "Seq_get_discontiguous_bufferI Seq_get_read_tokenI Seq_set_read_tokenI "
        "Seq_get_element_allocation_params Seq_set_element_allocation_params "
        "Seq_set_element_deallocation_params Seq_set_element_pointers_allocation _initialize _initialize_ex "
        "_initialize_w_params _finalize _finalize_ex _finalize_w_params _copy PluginSupport_print_data "
        "PluginSupport_create_data PluginSupport_destroy_data Plugin_serialize Plugin_deserialize "
        "Plugin_get_serialized_sample_max_size Plugin_get_serialized_sample_min_size "
        "Plugin_get_serialized_sample_size _get_typecode";

const char *const kTopicTypeOnly =
        "Plugin_serialize_key Plugin_deserialize_key Plugin_get_serialized_key_max_size "
        "Plugin_instance_to_key Plugin_key_to_instance Plugin_instance_to_keyhash "
        "Plugin_serialized_sample_to_keyhash Plugin_new Plugin_delete TypeSupport_get_type_name "
        "TypeSupport_register_type TypeSupport_unregister_type DataWriter_narrow DataWriter_as_datawriter "
        "DataWriter_write DataWriter_write_w_timestamp DataWriter_write_w_params DataWriter_dispose "
        "DataWriter_dispose_w_timestamp DataWriter_dispose_w_params DataWriter_register_instance "
        "DataWriter_register_instance_w_timestamp DataWriter_register_instance_w_params "
        "DataWriter_unregister_instance DataWriter_unregister_instance_w_timestamp "
        "DataWriter_unregister_instance_w_params DataWriter_get_key_value DataWriter_lookup_instance "
        "DataReader_narrow DataReader_as_datareader DataReader_read DataReader_take DataReader_return_loan "
        "DataReader_read_w_condition DataReader_take_w_condition DataReader_read_next_sample "
        "DataReader_take_next_sample DataReader_read_instance DataReader_take_instance "
        "DataReader_read_next_instance DataReader_take_next_instance "
        "DataReader_read_next_instance_w_condition DataReader_take_next_instance_w_condition "
        "DataReader_get_key_value DataReader_lookup_instance";

std::vector<std::string> words(const char *text) {
    std::istringstream in(text);
    std::vector<std::string> all;
    for (std::string word; in >> word;) {
        all.push_back(word);
    }
    return all;
}

class ExportedFamilyTest : public ::testing::Test {
protected:
    void SetUp() override {
        char error[256] = "";
        library_ = ZELOsapiLibrary_open(ZELTEST_PLUGIN_PATH, error, sizeof error);
        ASSERT_NE(library_, nullptr) << error;
    }
    void TearDown() override {
        if (library_ != nullptr) {
            ZELOsapiLibrary_close(library_);
        }
    }
    void *symbol(const std::string &name) { return ZELOsapiLibrary_getSymbol(library_, name.c_str()); }

    ZELOsapiLibrary *library_ = nullptr;
};

TEST_F(ExportedFamilyTest, EveryTypeExportsItsFamilyAndTopicTypesTheirKeysAndPlugin) {
    ASSERT_EQ(symbol("DDSMonitoring_Duration_tPlugin_no_such_operation"), nullptr);
    ASSERT_EQ(typestest::allTypes().size(), 188u);
    for (const typestest::AnyType &type : typestest::allTypes()) {
        const std::string name = type.flatName;
        for (const std::string &operation : words(kEveryType)) {
            EXPECT_NE(symbol(name + operation), nullptr) << name + operation;
        }
        const bool isTopicType = std::any_of(typestest::topicTypes().begin(), typestest::topicTypes().end(),
                                             [&](const typestest::TopicType &topic) { return topic.type == &type; });
        if (!isTopicType) {
            // Besides the topic types only the factory QoS has a plug-in and
            // typed endpoints; no other type has key operations.
            const bool factoryQos = name == "DDSMonitoring_DomainParticipantFactoryQos";
            EXPECT_EQ(symbol(name + "Plugin_serialize_key"), nullptr) << name;
            EXPECT_EQ(symbol(name + "Plugin_new") != nullptr, factoryQos) << name;
            EXPECT_EQ(symbol(name + "DataWriter_narrow") != nullptr, factoryQos) << name;
        }
    }
    for (const typestest::TopicType &topic : typestest::topicTypes()) {
        const std::string name = topic.type->flatName;
        for (const std::string &operation : words(kTopicTypeOnly)) {
            EXPECT_NE(symbol(name + operation), nullptr) << name + operation;
        }
        // Called through the loaded library: the registered name is the
        // scoped name.
        auto *typeName = reinterpret_cast<const char *(*)()>(symbol(name + "TypeSupport_get_type_name"));
        ASSERT_NE(typeName, nullptr);
        EXPECT_STREQ(typeName(), topic.type->desc->name);
    }
    for (const char *operation : {"Plugin_delete", "TypeSupport_register_type", "TypeSupport_unregister_type",
                                  "DataWriter_write", "DataReader_take"}) {
        EXPECT_NE(symbol(std::string("DDSMonitoring_DomainParticipantFactoryQos") + operation), nullptr) << operation;
    }
}

}  // namespace
