// Default values of the DDS API: the QoS an entity gets when the application
// names none, and the constant locator and handle that designate nothing.
// Policies that several entity QoS share get their defaults from one function
// each, so a topic, a writer and a reader agree on them.
#include "vurnc/dds_qos_defaults.h"

#include "vurncore/log.h"

namespace {

constexpr DDS_Long kUnlimited = DDS_LENGTH_UNLIMITED;

constexpr DDS_Duration_t durationI(DDS_Long sec, DDS_UnsignedLong nanosec) { return DDS_Duration_t{sec, nanosec}; }

constexpr DDS_Duration_t kInfinite = DDS_DURATION_INFINITE;
constexpr DDS_Duration_t kZero = DDS_DURATION_ZERO;
constexpr DDS_Duration_t k100Milliseconds = durationI(0, 100000000u);

bool checkQosI(const void *qos, const char *context) {
    if (qos == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, "qos");
        return false;
    }
    return true;
}

// ---- policies shared by several entity QoS ----

void setThreadDefaultsI(DDS_ThreadSettings_t *thread) {
    thread->mask = DDS_THREAD_SETTINGS_FLOATING_POINT | DDS_THREAD_SETTINGS_STDIO;
    thread->priority = 0;
    thread->stack_size = -1;
    thread->cpu_rotation = DDS_THREAD_SETTINGS_CPU_NO_ROTATION;
}

void setDurabilityDefaultsI(DDS_DurabilityQosPolicy *policy) {
    policy->kind = DDS_VOLATILE_DURABILITY_QOS;
    policy->direct_communication = DDS_BOOLEAN_TRUE;
}

void setDurabilityServiceDefaultsI(DDS_DurabilityServiceQosPolicy *policy) {
    policy->service_cleanup_delay = kZero;
    policy->history_kind = DDS_KEEP_LAST_HISTORY_QOS;
    policy->history_depth = 1;
    policy->max_samples = kUnlimited;
    policy->max_instances = kUnlimited;
    policy->max_samples_per_instance = kUnlimited;
}

void setLivelinessDefaultsI(DDS_LivelinessQosPolicy *policy) {
    policy->kind = DDS_AUTOMATIC_LIVELINESS_QOS;
    policy->lease_duration = kInfinite;
}

void setReliabilityDefaultsI(DDS_ReliabilityQosPolicy *policy, DDS_ReliabilityQosPolicyKind kind) {
    policy->kind = kind;
    policy->max_blocking_time = k100Milliseconds;
    policy->acknowledgementKind = DDS_PROTOCOL_ACKNOWLEDGEMENT_MODE;
}

void setDestinationOrderDefaultsI(DDS_DestinationOrderQosPolicy *policy) {
    policy->kind = DDS_BY_RECEPTION_TIMESTAMP_DESTINATIONORDER_QOS;
    policy->scope = DDS_INSTANCE_SCOPE_DESTINATIONORDER_QOS;
    policy->source_timestamp_tolerance = k100Milliseconds;
}

void setHistoryDefaultsI(DDS_HistoryQosPolicy *policy) {
    policy->kind = DDS_KEEP_LAST_HISTORY_QOS;
    policy->depth = 1;
    policy->refilter = DDS_NONE_REFILTER_QOS;
}

void setResourceLimitsDefaultsI(DDS_ResourceLimitsQosPolicy *policy) {
    policy->max_samples = kUnlimited;
    policy->max_instances = kUnlimited;
    policy->max_samples_per_instance = kUnlimited;
    policy->initial_samples = 32;
    policy->initial_instances = 32;
    policy->instance_hash_buckets = 1;
}

// The QoS policies a topic shares with its writers and readers.
struct EndpointPolicies {
    DDS_DurabilityQosPolicy *durability;
    DDS_DeadlineQosPolicy *deadline;
    DDS_LatencyBudgetQosPolicy *latencyBudget;
    DDS_LivelinessQosPolicy *liveliness;
    DDS_ReliabilityQosPolicy *reliability;
    DDS_DestinationOrderQosPolicy *destinationOrder;
    DDS_HistoryQosPolicy *history;
    DDS_ResourceLimitsQosPolicy *resourceLimits;
    DDS_OwnershipQosPolicy *ownership;
};

void setEndpointDefaultsI(const EndpointPolicies &policies, DDS_ReliabilityQosPolicyKind reliability) {
    setDurabilityDefaultsI(policies.durability);
    policies.deadline->period = kInfinite;
    policies.latencyBudget->duration = kZero;
    setLivelinessDefaultsI(policies.liveliness);
    setReliabilityDefaultsI(policies.reliability, reliability);
    setDestinationOrderDefaultsI(policies.destinationOrder);
    setHistoryDefaultsI(policies.history);
    setResourceLimitsDefaultsI(policies.resourceLimits);
    policies.ownership->kind = DDS_SHARED_OWNERSHIP_QOS;
}

void setWriterDataLifecycleDefaultsI(DDS_WriterDataLifecycleQosPolicy *policy) {
    policy->autodispose_unregistered_instances = DDS_BOOLEAN_TRUE;
    policy->autopurge_unregistered_instances_delay = kInfinite;
}

void setPublishModeDefaultsI(DDS_PublishModeQosPolicy *policy) {
    policy->kind = DDS_SYNCHRONOUS_PUBLISH_MODE_QOS;
    policy->priority = 0;
}

void setAsynchronousPublisherDefaultsI(DDS_AsynchronousPublisherQosPolicy *policy) {
    policy->disable_asynchronous_write = DDS_BOOLEAN_FALSE;
    setThreadDefaultsI(&policy->thread);
    policy->disable_asynchronous_batch = DDS_BOOLEAN_FALSE;
    setThreadDefaultsI(&policy->asynchronous_batch_thread);
    policy->asynchronous_batch_blocking_kind = DDS_SEMAPHORE_BLOCKING_KIND;
}

void setReliableWriterDefaultsI(DDS_RtpsReliableWriterProtocol_t *protocol) {
    protocol->low_watermark = 0;
    protocol->high_watermark = 1;
    protocol->heartbeat_period = durationI(3, 0u);
    protocol->fast_heartbeat_period = durationI(3, 0u);
    protocol->late_joiner_heartbeat_period = durationI(3, 0u);
    protocol->virtual_heartbeat_period = kInfinite;
    protocol->samples_per_virtual_heartbeat = kUnlimited;
    protocol->max_heartbeat_retries = 10;
    protocol->inactivate_nonprogressing_readers = DDS_BOOLEAN_FALSE;
    protocol->heartbeats_per_max_samples = 8;
    protocol->min_nack_response_delay = kZero;
    protocol->max_nack_response_delay = durationI(0, 200000000u);
    protocol->nack_suppression_duration = kZero;
    protocol->max_bytes_per_nack_response = 131072;
    protocol->disable_positive_acks_min_sample_keep_duration = durationI(0, 1000000u);
    protocol->disable_positive_acks_max_sample_keep_duration = durationI(1, 0u);
    protocol->disable_positive_acks_sample_min_separation = durationI(0, 100000u);
    protocol->disable_positive_acks_enable_adaptive_sample_keep_duration = DDS_BOOLEAN_TRUE;
    protocol->disable_positive_acks_enable_spin_wait = DDS_BOOLEAN_FALSE;
    protocol->disable_positive_acks_decrease_sample_keep_duration_factor = 95;
    protocol->disable_positive_acks_increase_sample_keep_duration_factor = 150;
    protocol->min_send_window_size = 32;
    protocol->max_send_window_Size = kUnlimited;
    protocol->send_window_update_period = durationI(3, 0u);
    protocol->send_window_increase_factor = 105;
    protocol->send_window_decrease_factor = 50;
    protocol->enable_multicast_periodic_heartbeat = DDS_BOOLEAN_FALSE;
    protocol->multicast_resend_threshold = 2;
}

void setReliableReaderDefaultsI(DDS_RtpsReliableReaderProtocol_t *protocol) {
    protocol->min_heartbeat_response_delay = kZero;
    protocol->max_heartbeat_response_delay = durationI(0, 500000000u);
    protocol->heartbeat_suppression_duration = durationI(0, 62500000u);
    protocol->nack_period = durationI(5, 0u);
    protocol->receive_window_size = 256;
    protocol->round_trip_time = kZero;
    protocol->app_ack_period = durationI(5, 0u);
    protocol->min_app_ack_response_keep_duration = kZero;
    protocol->samples_per_app_ack = 1;
}

void setBuiltinReaderLimitsDefaultsI(DDS_BuiltinTopicReaderResourceLimits_t *limits) {
    limits->initial_samples = 64;
    limits->max_samples = kUnlimited;
    limits->initial_infos = 64;
    limits->max_infos = kUnlimited;
    limits->initial_outstanding_reads = 2;
    limits->max_outstanding_reads = kUnlimited;
    limits->max_samples_per_read = 1024;
    limits->disable_fragmentation_support = DDS_BOOLEAN_FALSE;
    limits->max_fragmented_samples = 1024;
    limits->initial_fragmented_samples = 4;
    limits->max_fragmented_samples_per_remote_writer = 256;
    limits->max_fragments_per_sample = 512;
    limits->dynamically_allocate_fragmented_samples = DDS_BOOLEAN_TRUE;
}

void setExclusiveAreaDefaultsI(DDS_ExclusiveAreaQosPolicy *policy) {
    policy->use_shared_exclusive_area = DDS_BOOLEAN_FALSE;
    policy->level = -1;  // chosen by the entity's kind
}

void setPresentationDefaultsI(DDS_PresentationQosPolicy *policy) {
    policy->access_scope = DDS_INSTANCE_PRESENTATION_QOS;
    policy->coherent_access = DDS_BOOLEAN_FALSE;
    policy->ordered_access = DDS_BOOLEAN_FALSE;
}

void setAvailabilityDefaultsI(DDS_AvailabilityQosPolicy *policy) {
    policy->enable_required_subscriptions = DDS_BOOLEAN_FALSE;
    policy->max_data_availability_waiting_time = kInfinite;
    policy->max_endpoint_availability_waiting_time = kInfinite;
}

void setTypeSupportDefaultsI(DDS_TypeSupportQosPolicy *policy) {
    policy->plugin_data = 0;
    policy->cdr_padding_kind = DDS_AUTO_CDR_PADDING;
}

// ---- the participant's own policies ----

void setWireProtocolDefaultsI(DDS_WireProtocolQosPolicy *policy) {
    policy->participant_id = DDS_PARTICIPANT_ID_AUTOMATIC;
    policy->rtps_host_id = DDS_RTPS_AUTO_ID;
    policy->rtps_app_id = DDS_RTPS_AUTO_ID;
    policy->rtps_instance_id = DDS_RTPS_AUTO_ID;
    policy->rtps_well_known_ports = DDS_RtpsWellKnownPorts_t{7400, 250, 2, 0, 10, 1, 11};
    policy->rtps_reserved_port_mask = 0;
    policy->rtps_auto_id_kind = DDS_RTPS_AUTO_ID_FROM_IP;
}

void setParticipantResourceLimitsDefaultsI(DDS_DomainParticipantResourceLimitsQosPolicy *limits) {
    // Tables start small and double (incremental count -1) without bound.
    auto allocation = [](DDS_Long initial) { return DDS_AllocationSettings_t{initial, kUnlimited, -1}; };
    limits->local_writer_allocation = allocation(16);
    limits->local_reader_allocation = allocation(16);
    limits->local_publisher_allocation = allocation(4);
    limits->local_subscriber_allocation = allocation(4);
    limits->local_topic_allocation = allocation(16);
    limits->remote_writer_allocation = allocation(64);
    limits->remote_reader_allocation = allocation(64);
    limits->remote_participant_allocation = allocation(16);
    limits->matching_writer_reader_pair_allocation = allocation(32);
    limits->matching_reader_writer_pair_allocation = allocation(32);
    limits->ignored_entity_allocation = allocation(8);
    limits->content_filtered_topic_allocation = allocation(4);
    limits->content_filter_allocation = allocation(4);
    limits->read_condition_allocation = allocation(4);
    limits->query_condition_allocation = allocation(4);
    limits->outstanding_asynchronous_sample_allocation = allocation(64);
    limits->flow_controller_allocation = allocation(4);
    limits->local_writer_hash_buckets = 4;
    limits->local_reader_hash_buckets = 4;
    limits->local_publisher_hash_buckets = 1;
    limits->local_subscriber_hash_buckets = 1;
    limits->local_topic_hash_buckets = 4;
    limits->remote_writer_hash_buckets = 16;
    limits->remote_reader_hash_buckets = 16;
    limits->remote_participant_hash_buckets = 16;
    limits->matching_writer_reader_pair_hash_buckets = 32;
    limits->matching_reader_writer_pair_hash_buckets = 32;
    limits->ignored_entity_hash_buckets = 1;
    limits->content_filtered_topic_hash_buckets = 1;
    limits->content_filter_hash_buckets = 1;
    limits->flow_controller_hash_buckets = 1;
    limits->max_gather_destinations = 8;
    limits->participant_user_data_max_length = 256;
    limits->inter_participant_data_max_length = 256;
    limits->topic_data_max_length = 256;
    limits->publisher_group_data_max_length = 256;
    limits->subscriber_group_data_max_length = 256;
    limits->writer_user_data_max_length = 256;
    limits->reader_user_data_max_length = 256;
    limits->max_partitions = 64;
    limits->max_partition_cumulative_characters = 256;
    limits->default_partition_matches_all = DDS_BOOLEAN_FALSE;
    limits->allow_no_partitions = DDS_BOOLEAN_FALSE;
    limits->type_code_max_serialized_length = 2048;
    limits->type_object_max_serialized_length = 8192;
    limits->serialized_type_object_dynamic_allocation_threshold = 8192;
    limits->type_object_max_deserialized_length = kUnlimited;
    limits->deserialized_type_object_dynamic_allocation_threshold = 4096;
    limits->contentfilter_property_max_length = 256;
    limits->channel_seq_max_length = 32;
    limits->channel_filter_expression_max_length = 256;
    limits->participant_property_list_max_length = 32;
    limits->participant_property_string_max_length = 4096;
    limits->writer_property_list_max_length = 32;
    limits->writer_property_string_max_length = 1024;
    limits->reader_property_list_max_length = 32;
    limits->reader_property_string_max_length = 1024;
    limits->plugin_info_parameter_max_length = 256;
    limits->max_endpoint_groups = 32;
    limits->max_endpoint_group_cumulative_characters = 1024;
    limits->transport_info_list_max_length = 12;
}

void setDatabaseDefaultsI(DDS_DatabaseQosPolicy *policy) {
    setThreadDefaultsI(&policy->thread);
    policy->shutdown_timeout = durationI(15, 0u);
    policy->cleanup_period = durationI(61, 0u);
    policy->shutdown_cleanup_period = durationI(1, 0u);
    policy->initial_records = 1024;
    policy->max_skiplist_level = 7;
    policy->table_allocation_block_size = 48;
    policy->max_weak_references = kUnlimited;
    policy->initial_weak_references = 2049;
}

void setDiscoveryConfigDefaultsI(DDS_DiscoveryConfigQosPolicy *config) {
    config->participant_liveliness_lease_duration = durationI(100, 0u);
    config->participant_liveliness_assert_period = durationI(30, 0u);
    config->remote_participant_purge_kind = DDS_LIVELINESS_BASED_REMOTE_PARTICIPANT_PURGE;
    config->max_liveliness_loss_detection_period = durationI(60, 0u);
    config->initial_participant_announcements = 5;
    config->min_initial_participant_announcement_period = durationI(1, 0u);
    config->max_initial_participant_announcement_period = durationI(1, 0u);
    setBuiltinReaderLimitsDefaultsI(&config->participant_reader_resource_limits);
    setReliableReaderDefaultsI(&config->publication_reader);
    setBuiltinReaderLimitsDefaultsI(&config->publication_reader_resource_limits);
    setReliableReaderDefaultsI(&config->subscription_reader);
    setBuiltinReaderLimitsDefaultsI(&config->subscription_reader_resource_limits);
    setReliableWriterDefaultsI(&config->publication_writer);
    setWriterDataLifecycleDefaultsI(&config->publication_writer_data_lifecycle);
    setReliableWriterDefaultsI(&config->subscription_writer);
    setWriterDataLifecycleDefaultsI(&config->subscription_writer_data_lifecycle);
    config->endpoint_plugin_redundancy_level = 0;
    config->builtin_discovery_plugins = DDS_DISCOVERYCONFIG_BUILTIN_SDP;
    setReliableReaderDefaultsI(&config->participant_message_reader);
    setReliableWriterDefaultsI(&config->participant_message_writer);
    setPublishModeDefaultsI(&config->publication_writer_publish_mode);
    setPublishModeDefaultsI(&config->subscription_writer_publish_mode);
    setAsynchronousPublisherDefaultsI(&config->asynchronous_publisher);
    config->default_domain_announcement_period = durationI(30, 0u);
    config->ignore_default_domain_announcements = DDS_BOOLEAN_FALSE;
    config->sedp_rely_on_spdp_only = DDS_BOOLEAN_FALSE;
    config->publication_writer_latency_budget.duration = kZero;
    config->publication_writer_push_on_write = DDS_BOOLEAN_TRUE;
    config->subscription_writer_latency_budget.duration = kZero;
    config->subscription_writer_push_on_write = DDS_BOOLEAN_TRUE;
    setReliableWriterDefaultsI(&config->participant_state_writer);
    config->participant_state_writer_latency_budget.duration = kZero;
    config->participant_state_writer_push_on_write = DDS_BOOLEAN_TRUE;
    setPublishModeDefaultsI(&config->participant_state_writer_publish_mode);
    setReliableReaderDefaultsI(&config->participant_proxy_reader);
    DDS_DiscoveryBuiltinReaderFragmentationResourceLimits_t &fragments =
            config->participant_proxy_reader_fragmentation_resource_limits;
    fragments.disable_fragmentation_support = DDS_BOOLEAN_FALSE;
    fragments.max_fragmented_samples = 1024;
    fragments.initial_fragmented_samples = 4;
    fragments.max_fragmented_samples_per_remote_writer = 256;
    fragments.max_fragments_per_sample = 512;
    fragments.dynamically_allocate_fragmented_samples = DDS_BOOLEAN_TRUE;
    config->plugin_promiscuity_kind = DDS_DISCOVERYPLUGIN_DISCOVER_MATCHING_REMOTE_ENTITIES_PROMISCUITY;
}

// ---- the endpoints' own policies ----

void setWriterResourceLimitsDefaultsI(DDS_DataWriterResourceLimitsQosPolicy *limits) {
    limits->initial_concurrent_blocking_threads = 1;
    limits->max_concurrent_blocking_threads = kUnlimited;
    limits->max_remote_reader_filters = 32;
    limits->initial_batches = 8;
    limits->max_batches = kUnlimited;
    limits->cookie_max_length = kUnlimited;
    limits->instance_replacement = DDS_UNREGISTERED_INSTANCE_REPLACEMENT;
    limits->replace_empty_instances = DDS_BOOLEAN_FALSE;
    limits->autoregister_instances = DDS_BOOLEAN_TRUE;
    limits->initial_virtual_writers = 1;
    limits->max_virtual_writers = kUnlimited;
    limits->max_remote_readers = kUnlimited;
    limits->max_app_ack_remote_readers = kUnlimited;
}

void setWriterProtocolDefaultsI(DDS_DataWriterProtocolQosPolicy *protocol) {
    protocol->virtual_guid = DDS_GUID_t{};  // all zero: the writer's own GUID
    protocol->rtps_object_id = DDS_RTPS_AUTO_ID;
    protocol->push_on_write = DDS_BOOLEAN_TRUE;
    protocol->disable_positive_acks = DDS_BOOLEAN_FALSE;
    protocol->disable_inline_keyhash = DDS_BOOLEAN_FALSE;
    protocol->serialize_key_with_dispose = DDS_BOOLEAN_FALSE;
    setReliableWriterDefaultsI(&protocol->rtps_reliable_writer);
    // The highest sequence number: the writer numbers its samples itself.
    protocol->initial_virtual_sequence_number = DDS_SequenceNumber_t{-1, 0xffffffffu};
    protocol->vendor_specific_entity = DDS_BOOLEAN_FALSE;
}

void setBatchDefaultsI(DDS_BatchQosPolicy *policy) {
    policy->enable = DDS_BOOLEAN_FALSE;
    policy->max_data_bytes = 1024;
    policy->max_meta_data_bytes = kUnlimited;
    policy->max_samples = kUnlimited;
    policy->max_flush_delay = kInfinite;
    policy->source_timestamp_resolution = kInfinite;
    policy->thread_safe_write = DDS_BOOLEAN_TRUE;
}

void setReaderResourceLimitsDefaultsI(DDS_DataReaderResourceLimitsQosPolicy *limits) {
    limits->max_remote_writers = kUnlimited;
    limits->max_remote_writers_per_instance = kUnlimited;
    limits->max_samples_per_remote_writer = kUnlimited;
    limits->max_infos = kUnlimited;
    limits->initial_remote_writers = 2;
    limits->initial_remote_writers_per_instance = 2;
    limits->initial_infos = 32;
    limits->initial_outstanding_reads = 2;
    limits->max_outstanding_reads = kUnlimited;
    limits->max_samples_per_read = 1024;
    limits->disable_fragmentation_support = DDS_BOOLEAN_FALSE;
    limits->max_fragmented_samples = 1024;
    limits->initial_fragmented_samples = 4;
    limits->max_fragmented_samples_per_remote_writer = 256;
    limits->max_fragments_per_sample = 512;
    limits->dynamically_allocate_fragmented_samples = DDS_BOOLEAN_FALSE;
    limits->max_total_instances = kUnlimited;
    limits->max_remote_virtual_writers = kUnlimited;
    limits->intial_remote_virtual_writers = 2;
    limits->max_remote_virtual_writers_per_instance = kUnlimited;
    limits->initial_remote_virtual_writers_per_instance = 2;
    limits->max_remote_writers_per_sample = 3;
    limits->max_query_condition_filters = 4;
    limits->max_app_ack_response_length = 1;
}

void setReaderProtocolDefaultsI(DDS_DataReaderProtocolQosPolicy *protocol) {
    protocol->virtual_guid = DDS_GUID_t{};
    protocol->rtps_object_id = DDS_RTPS_AUTO_ID;
    protocol->expects_inline_qos = DDS_BOOLEAN_FALSE;
    protocol->disable_positive_acks = DDS_BOOLEAN_FALSE;
    protocol->propagate_dispose_of_unregistered_instances = DDS_BOOLEAN_FALSE;
    setReliableReaderDefaultsI(&protocol->rtps_reliable_reader);
    protocol->vendor_specific_entity = DDS_BOOLEAN_FALSE;
}

}  // namespace

extern "C" {

const DDS_Locator_t DDS_LOCATOR_INVALID = DDS_LOCATOR_INVALID_INITIALIZER;
const DDS_InstanceHandle_t DDS_HANDLE_NIL = DDS_HANDLE_NIL_INITIALIZER;

DDS_ReturnCode_t DDS_DomainParticipantFactoryQos_set_defaultsI(DDS_DomainParticipantFactoryQos *qos) {
    if (!checkQosI(qos, "DDS_DomainParticipantFactoryQos_set_defaultsI")) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    qos->entity_factory.autoenable_created_entities = DDS_BOOLEAN_TRUE;
    qos->resource_limits.max_objects_per_thread = 1024;
    qos->profile.ignore_user_profile = DDS_BOOLEAN_FALSE;
    qos->profile.ignore_environment_profile = DDS_BOOLEAN_FALSE;
    qos->profile.ignore_resource_profile = DDS_BOOLEAN_FALSE;
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDS_DomainParticipantQos_set_defaultsI(DDS_DomainParticipantQos *qos) {
    if (!checkQosI(qos, "DDS_DomainParticipantQos_set_defaultsI")) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    qos->entity_factory.autoenable_created_entities = DDS_BOOLEAN_TRUE;
    setWireProtocolDefaultsI(&qos->wire_protocol);
    qos->transport_builtin.mask = DDS_TRANSPORTBUILTIN_MASK_DEFAULT;
    qos->discovery.metatraffic_transport_priority = 0;
    qos->discovery.accept_unknown_peers = DDS_BOOLEAN_TRUE;
    setParticipantResourceLimitsDefaultsI(&qos->resource_limits);
    setThreadDefaultsI(&qos->event.thread);
    qos->event.initial_count = 256;
    qos->event.max_count = kUnlimited;
    setThreadDefaultsI(&qos->receiver_pool.thread);
    qos->receiver_pool.initial_receive_threads = 4;
    qos->receiver_pool.max_receive_threads = kUnlimited;
    qos->receiver_pool.buffer_size = 9216;
    qos->receiver_pool.buffer_alignment = 16;
    qos->receiver_pool.is_timestamp_enabled = DDS_BOOLEAN_TRUE;
    setDatabaseDefaultsI(&qos->database);
    setDiscoveryConfigDefaultsI(&qos->discovery_config);
    setExclusiveAreaDefaultsI(&qos->exclusive_area);
    qos->protocol.vendor_specific_entity = DDS_BOOLEAN_FALSE;
    setTypeSupportDefaultsI(&qos->type_support);
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDS_TopicQos_set_defaultsI(DDS_TopicQos *qos) {
    if (!checkQosI(qos, "DDS_TopicQos_set_defaultsI")) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    setEndpointDefaultsI({&qos->durability, &qos->deadline, &qos->latency_budget, &qos->liveliness, &qos->reliability,
                          &qos->destination_order, &qos->history, &qos->resource_limits, &qos->ownership},
                         DDS_BEST_EFFORT_RELIABILITY_QOS);
    setDurabilityServiceDefaultsI(&qos->durability_service);
    qos->transport_priority.value = 0;
    qos->lifespan.duration = kInfinite;
    qos->protocol.vendor_specific_entity = DDS_BOOLEAN_FALSE;
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDS_PublisherQos_set_defaultsI(DDS_PublisherQos *qos) {
    if (!checkQosI(qos, "DDS_PublisherQos_set_defaultsI")) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    setPresentationDefaultsI(&qos->presentation);
    qos->entity_factory.autoenable_created_entities = DDS_BOOLEAN_TRUE;
    setAsynchronousPublisherDefaultsI(&qos->asynchronous_publisher);
    setExclusiveAreaDefaultsI(&qos->exclusive_area);
    qos->protocol.vendor_specific_entity = DDS_BOOLEAN_FALSE;
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDS_SubscriberQos_set_defaultsI(DDS_SubscriberQos *qos) {
    if (!checkQosI(qos, "DDS_SubscriberQos_set_defaultsI")) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    setPresentationDefaultsI(&qos->presentation);
    qos->entity_factory.autoenable_created_entities = DDS_BOOLEAN_TRUE;
    setExclusiveAreaDefaultsI(&qos->exclusive_area);
    qos->protocol.vendor_specific_entity = DDS_BOOLEAN_FALSE;
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDS_DataWriterQos_set_defaultsI(DDS_DataWriterQos *qos) {
    if (!checkQosI(qos, "DDS_DataWriterQos_set_defaultsI")) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    setEndpointDefaultsI({&qos->durability, &qos->deadline, &qos->latency_budget, &qos->liveliness, &qos->reliability,
                          &qos->destination_order, &qos->history, &qos->resource_limits, &qos->ownership},
                         DDS_RELIABLE_RELIABILITY_QOS);
    setDurabilityServiceDefaultsI(&qos->durability_service);
    qos->transport_priority.value = 0;
    qos->lifespan.duration = kInfinite;
    qos->ownership_strength.value = 0;
    setWriterDataLifecycleDefaultsI(&qos->writer_data_lifecycle);
    setWriterResourceLimitsDefaultsI(&qos->writer_resource_limits);
    setWriterProtocolDefaultsI(&qos->protocol);
    setPublishModeDefaultsI(&qos->publish_mode);
    qos->service.kind = DDS_NO_SERVICE_QOS;
    setBatchDefaultsI(&qos->batch);
    setAvailabilityDefaultsI(&qos->availability);
    setTypeSupportDefaultsI(&qos->type_support);
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDS_DataReaderQos_set_defaultsI(DDS_DataReaderQos *qos) {
    if (!checkQosI(qos, "DDS_DataReaderQos_set_defaultsI")) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    setEndpointDefaultsI({&qos->durability, &qos->deadline, &qos->latency_budget, &qos->liveliness, &qos->reliability,
                          &qos->destination_order, &qos->history, &qos->resource_limits, &qos->ownership},
                         DDS_BEST_EFFORT_RELIABILITY_QOS);
    qos->time_based_filter.minimum_separation = kZero;
    qos->reader_data_lifecycle.autopurge_nowriter_samples_delay = kInfinite;
    qos->reader_data_lifecycle.autopurge_disposed_samples_delay = kInfinite;
    qos->type_consistency.kind = DDS_ALLOW_TYPE_COERCION;
    setReaderResourceLimitsDefaultsI(&qos->reader_resource_limits);
    setReaderProtocolDefaultsI(&qos->protocol);
    qos->multicast.kind = DDS_AUTOMATIC_TRANSPORT_MULTICAST_QOS;
    qos->service.kind = DDS_NO_SERVICE_QOS;
    setAvailabilityDefaultsI(&qos->availability);
    setTypeSupportDefaultsI(&qos->type_support);
    return DDS_RETCODE_OK;
}

}  // extern "C"
