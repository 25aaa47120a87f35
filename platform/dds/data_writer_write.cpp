// Writing samples and changing instances: serialization through the type
// plug-in, instance bookkeeping, the history and the wire.
#include <climits>
#include <cstring>

#include "data_writer_private.h"
#include "vurncore/cdr_stream.h"
#include "vurncore/heap.h"

extern "C" {
const struct DDS_WriteParams_t DDS_WRITEPARAMS_DEFAULT = DDS_WRITEPARAMS_INITIALIZER;
}

namespace {

// What one write, dispose, unregister or register call asks.
struct DDS_WriteRequestI {
    const void *sample;                  // may be NULL for dispose/unregister given a handle
    const DDS_InstanceHandle_t *handle;  // NULL or NIL: found from the sample
    const DDS_Time_t *timestamp;         // NULL or invalid: now
    ZELWireSampleKind kind;
    const char *context;
};

bool DDS_Time_isInvalidI(const DDS_Time_t *time) { return time == nullptr || time->sec < 0; }

}  // namespace

// The enabled writer's path, or NULL with the reason in `*result`.
static DDS_DataWriterPathI *DDS_DataWriter_getPathI(DDS_DataWriter *self, const char *context,
                                                    DDS_ReturnCode_t *result) {
    if (self == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, "self");
        *result = DDS_RETCODE_BAD_PARAMETER;
        return nullptr;
    }
    if (!self->entity.enabled.load() || self->path == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_PRECONDITION_NOT_MET_s, "writer not enabled");
        *result = DDS_RETCODE_NOT_ENABLED;
        return nullptr;
    }
    return self->path;
}

// The key hash of a sample (all zero for a keyless type); under the mutex,
// which guards the plug-in's scratch stream.
static bool DDS_DataWriterPath_keyHashI(DDS_DataWriterPathI *path, const void *sample, uint8_t keyHash[16],
                                        const char *context) {
    std::memset(keyHash, 0, 16);
    if (!path->keyed) {
        return true;
    }
    DDS_KeyHash_t hash{};
    if (path->plugin->instanceToKeyHashFnc == nullptr ||
        !path->plugin->instanceToKeyHashFnc(path->endpointData, &hash, sample)) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_ANY_FAILURE_s, "key hash");
        return false;
    }
    std::memcpy(keyHash, hash.value, 16);
    return true;
}

// Serializes the sample (or only its key) with its encapsulation into the
// path's scratch buffer. The buffer grows to the type's largest sample when
// the path keeps that much, so that later writes skip the sizing pass; a
// sample larger than what the path keeps gets a buffer of its own in
// `*owned`, for the caller to free. NULL (logged) on failure. Under the
// mutex.
static const uint8_t *DDS_DataWriterPath_serializeI(DDS_DataWriterPathI *path, const void *sample, bool keyOnly,
                                                    uint32_t *size, uint8_t **owned, const char *context) {
    *owned = nullptr;
    const PRESTypePlugin *plugin = path->plugin;
    const uint16_t encapsulation = ZEL_CDR_ENCAPSULATION_ID_CDR_LE;
    const PRESTypePluginSerializeFunction serialize = keyOnly ? plugin->serializeKeyFnc : plugin->serializeFnc;
    if (serialize == nullptr ||
        (keyOnly ? plugin->serializedKeyMaxSizeFnc == nullptr : plugin->serializedSampleSizeFnc == nullptr)) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_PRECONDITION_NOT_MET_s, "type plug-in cannot serialize");
        return nullptr;
    }
    const auto sizeFunction = keyOnly ? plugin->serializedKeyMaxSizeFnc : plugin->serializedSampleMaxSizeFnc;
    const unsigned int largest =
            sizeFunction != nullptr ? sizeFunction(path->endpointData, DDS_BOOLEAN_TRUE, encapsulation, 0) : UINT_MAX;
    // What this sample needs: the type's largest while the buffer holds that
    // much, else measured.
    unsigned int bound = largest;
    if (bound > path->scratchSize && !keyOnly) {
        bound = plugin->serializedSampleSizeFnc(path->endpointData, DDS_BOOLEAN_TRUE, encapsulation, 0, sample);
    }
    uint8_t *buffer = path->scratch;
    uint32_t length = path->scratchSize;
    if (bound > path->scratchSize) {
        length = largest <= DDS_WRITER_SCRATCH_KEPT_MAX_I ? largest : bound;
        buffer = static_cast<uint8_t *>(ZELOsapiHeap_allocateArray(length, 1, "DWSB"));
        if (buffer == nullptr) {
            ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "serialization buffer");
            return nullptr;
        }
        if (length <= DDS_WRITER_SCRATCH_KEPT_MAX_I) {
            ZELOsapiHeap_freeArray(path->scratch);
            path->scratch = buffer;
            path->scratchSize = length;
        } else {
            *owned = buffer;
        }
    }
    ZELCdrStream stream{};
    ZELCdrStream_init(&stream, reinterpret_cast<char *>(buffer), length, ZEL_CDR_LITTLE_ENDIAN);
    if (!serialize(path->endpointData, sample, &stream, DDS_BOOLEAN_TRUE, encapsulation, DDS_BOOLEAN_TRUE, nullptr)) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_ANY_FAILURE_s, "serialization");
        ZELOsapiHeap_freeArray(*owned);
        *owned = nullptr;
        return nullptr;
    }
    *size = ZELCdrStream_getCurrentPositionOffset(&stream);
    return buffer;
}

namespace {

// A sample's key serialized for finding its instance; `owned` (to free)
// when it did not fit the path's scratch buffer.
struct DDS_SampleKeyI {
    const uint8_t *data = nullptr;  // NULL when keyless
    uint32_t size = 0;
    uint8_t *owned = nullptr;

    DDS_SampleKeyI() = default;
    DDS_SampleKeyI(const DDS_SampleKeyI &) = delete;
    DDS_SampleKeyI &operator=(const DDS_SampleKeyI &) = delete;
    ~DDS_SampleKeyI() { ZELOsapiHeap_freeArray(owned); }
};

}  // namespace

// The instance of `sample`'s key, or NULL, with the key in `*key`. Found by
// the serialized key, so that the key hash, a digest for most keys, is
// computed only for instances the writer does not know yet. false (logged)
// when the key cannot be serialized. Under the mutex.
static bool DDS_DataWriterPath_findBySampleI(DDS_DataWriterPathI *path, const void *sample, DDS_SampleKeyI *key,
                                             DDS_WriterInstanceI **instance, const char *context) {
    if (!path->keyed) {
        static constexpr uint8_t kKeylessHash[16] = {};
        *instance = DDS_WriterHistory_findInstanceI(path, kKeylessHash);
        return true;
    }
    key->data = DDS_DataWriterPath_serializeI(path, sample, true, &key->size, &key->owned, context);
    if (key->data == nullptr) {
        return false;
    }
    *instance = DDS_WriterHistory_findInstanceByKeyI(path, key->data, key->size);
    return true;
}

// Finds the request's instance under the mutex. A write creates it, and so
// does a dispose given the sample's key: readers that never saw the
// instance still learn that it is gone. `*created` tells whether it is new.
static DDS_ReturnCode_t DDS_DataWriterPath_instanceI(DDS_DataWriterPathI *path, const DDS_WriteRequestI *request,
                                                     const ZELNtpTime *now, DDS_WriterInstanceI **instance,
                                                     bool *created) {
    *created = false;
    uint8_t keyHash[16];
    DDS_SampleKeyI key;
    if (request->sample == nullptr) {
        std::memcpy(keyHash, request->handle->value, 16);
        *instance = DDS_WriterHistory_findInstanceI(path, keyHash);
    } else {
        if (!DDS_DataWriterPath_findBySampleI(path, request->sample, &key, instance, request->context)) {
            return DDS_RETCODE_ERROR;
        }
        if (*instance != nullptr) {
            std::memcpy(keyHash, (*instance)->keyHash, 16);
        } else if (!DDS_DataWriterPath_keyHashI(path, request->sample, keyHash, request->context)) {
            return DDS_RETCODE_ERROR;
        }
        if (!DDS_Handle_isNilI(request->handle)) {
            const DDS_InstanceHandle_t own = DDS_InstanceHandle_fromKeyHashI(keyHash);
            if (!DDS_InstanceHandle_equalsI(&own, request->handle)) {
                ZELLog_printContextAndMsg(request->context, &ZEL_LOG_PRECONDITION_NOT_MET_s,
                                          "bad handle: not the instance of the sample's key");
                return DDS_RETCODE_PRECONDITION_NOT_MET;
            }
        }
    }
    if (*instance != nullptr) {
        return DDS_RETCODE_OK;
    }
    const bool implicitRegister = request->kind == ZEL_WIRE_SAMPLE_DATA ||
                                  (request->kind == ZEL_WIRE_SAMPLE_DISPOSE && request->sample != nullptr);
    if (!implicitRegister) {
        ZELLog_printContextAndMsg(request->context, &ZEL_LOG_BAD_PARAMETER_s, "unknown instance");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    if (!DDS_WriterHistory_hasRoomI(path, nullptr)) {
        return DDS_RETCODE_OUT_OF_RESOURCES;
    }
    *instance = DDS_WriterHistory_addInstanceI(path, keyHash, key.data, key.size, request->context);
    if (*instance == nullptr) {
        return DDS_RETCODE_OUT_OF_RESOURCES;
    }
    (*instance)->lastWrite = *now;
    *created = true;
    return DDS_RETCODE_OK;
}

// Sends one sample or instance change; fills `used` (handle, timestamp)
// when given.
static DDS_ReturnCode_t DDS_DataWriter_sendI(DDS_DataWriter *self, const DDS_WriteRequestI *request,
                                             DDS_InstanceHandle_t *usedHandle, DDS_Time_t *usedTimestamp) {
    DDS_ReturnCode_t result = DDS_RETCODE_OK;
    DDS_DataWriterPathI *path = DDS_DataWriter_getPathI(self, request->context, &result);
    if (path == nullptr) {
        return result;
    }
    if (request->sample == nullptr && (request->kind == ZEL_WIRE_SAMPLE_DATA || DDS_Handle_isNilI(request->handle))) {
        ZELLog_printContextAndMsg(request->context, &ZEL_LOG_BAD_PARAMETER_s, "instance_data");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    if (request->kind != ZEL_WIRE_SAMPLE_DATA && !path->keyed) {
        ZELLog_printContextAndMsg(request->context, &ZEL_LOG_PRECONDITION_NOT_MET_s, "keyless type");
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    ZELNtpTime sourceTime{};
    if (!DDS_Time_isInvalidI(request->timestamp)) {
        sourceTime = DDS_Time_toNtpI(request->timestamp);
    } else if (!DDS_DomainParticipantFactory_getWallTimeI(&sourceTime, request->context)) {
        return DDS_RETCODE_ERROR;
    }
    ZELNtpTime now{};
    if (!DDS_DomainParticipantFactory_getNowI(self->entity.participant->factory, &now, request->context)) {
        return DDS_RETCODE_ERROR;
    }
    ZELWire *wire = DDS_Entity_getWireI(&self->entity);
    std::lock_guard<std::mutex> guard(path->mutex);
    DDS_DataWriterPath_checkDeadlinesI(path, &now);
    DDS_WriterHistory_expireI(path, &now);
    DDS_WriterInstanceI *instance = nullptr;
    bool created = false;
    result = DDS_DataWriterPath_instanceI(path, request, &now, &instance, &created);
    if (result != DDS_RETCODE_OK) {
        return result;
    }
    if (request->kind != ZEL_WIRE_SAMPLE_UNREGISTER && !DDS_WriterHistory_hasRoomI(path, instance)) {
        ZELLog_printContextAndMsg(request->context, &ZEL_LOG_ANY_FAILURE_s, "history full");
        return DDS_RETCODE_OUT_OF_RESOURCES;
    }
    // A dispose or an unregister sends the key the instance keeps.
    uint32_t size = instance->keySize;
    uint8_t *owned = nullptr;
    const uint8_t *data =
            request->kind == ZEL_WIRE_SAMPLE_DATA
                    ? DDS_DataWriterPath_serializeI(path, request->sample, false, &size, &owned, request->context)
                    : DDS_WriterInstance_keyI(instance);
    if (data == nullptr) {
        if (created) {
            DDS_WriterHistory_releaseInstanceI(path, instance, true);
        }
        return DDS_RETCODE_ERROR;
    }
    ZELWireSample sample{};
    sample.kind = request->kind;
    std::memcpy(sample.keyHash, instance->keyHash, 16);
    sample.data = data;
    sample.size = size;
    sample.sourceTimestamp = sourceTime;
    sample.sequenceNumber = path->nextSequenceNumber;
    sample.ownershipStrength = path->strength;
    sample.lifespan = path->lifespan;
    const ZELWireWriteResult written = wire->ops->write(path->wireWriter, &sample);
    if (written != ZEL_WIRE_WRITE_DONE) {
        // A timeout is the writer's answer, as its QoS allows: not a failure.
        if (written == ZEL_WIRE_WRITE_FAILED) {
            ZELLog_printContextAndMsg(request->context, &ZEL_LOG_ANY_FAILURE_s, "wire write");
        }
        ZELOsapiHeap_freeArray(owned);
        if (created) {
            DDS_WriterHistory_releaseInstanceI(path, instance, true);
        }
        return written == ZEL_WIRE_WRITE_TIMED_OUT ? DDS_RETCODE_TIMEOUT : DDS_RETCODE_ERROR;
    }
    ++path->nextSequenceNumber;
    if (usedHandle != nullptr) {
        *usedHandle = DDS_InstanceHandle_fromKeyHashI(instance->keyHash);
    }
    if (usedTimestamp != nullptr) {
        *usedTimestamp = DDS_Time_fromNtpI(&sourceTime);
    }
    if (request->kind == ZEL_WIRE_SAMPLE_DATA) {
        instance->lastWrite = now;
        instance->missedDeadlines = 0;
        DDS_WriterHistory_noteWrittenI(path, instance);
    }
    // Writing asserts the writer's liveliness, whatever its kind.
    path->lastAssertion = now;
    path->livelinessLost = false;
    if (request->kind == ZEL_WIRE_SAMPLE_UNREGISTER) {
        // Readers know the writer left the instance: nothing of it stays.
        ZELOsapiHeap_freeArray(owned);
        DDS_WriterHistory_releaseInstanceI(path, instance, true);
        return DDS_RETCODE_OK;
    }
    // Delivered already; only late joiners miss it when the history cannot keep it.
    const bool kept = DDS_WriterHistory_keepI(path, instance, &sample, &now, request->context);
    ZELOsapiHeap_freeArray(owned);
    return kept ? DDS_RETCODE_OK : DDS_RETCODE_OUT_OF_RESOURCES;
}

static DDS_ReturnCode_t DDS_DataWriter_sendWithParamsI(DDS_DataWriter *self, const void *sample,
                                                       DDS_WriteParams_t *params, ZELWireSampleKind kind,
                                                       const char *context) {
    if (params == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, "params");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    const DDS_WriteRequestI request{sample, &params->handle, &params->source_timestamp, kind, context};
    DDS_InstanceHandle_t handle{};
    DDS_Time_t timestamp{};
    const DDS_ReturnCode_t result = DDS_DataWriter_sendI(self, &request, &handle, &timestamp);
    if (result == DDS_RETCODE_OK && params->replace_auto) {
        params->handle = handle;
        params->source_timestamp = timestamp;
    }
    return result;
}

// Registers the sample's instance without sending anything.
static DDS_InstanceHandle_t DDS_DataWriter_registerI(DDS_DataWriter *self, const void *sample, const char *context) {
    DDS_ReturnCode_t result = DDS_RETCODE_OK;
    DDS_DataWriterPathI *path = DDS_DataWriter_getPathI(self, context, &result);
    if (path == nullptr) {
        return DDS_HANDLE_NIL;
    }
    if (sample == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, "instance_data");
        return DDS_HANDLE_NIL;
    }
    const DDS_WriteRequestI request{sample, nullptr, nullptr, ZEL_WIRE_SAMPLE_DATA, context};
    ZELNtpTime now{};
    if (!DDS_DomainParticipantFactory_getNowI(self->entity.participant->factory, &now, context)) {
        return DDS_HANDLE_NIL;
    }
    std::lock_guard<std::mutex> guard(path->mutex);
    DDS_WriterInstanceI *instance = nullptr;
    bool created = false;
    if (DDS_DataWriterPath_instanceI(path, &request, &now, &instance, &created) != DDS_RETCODE_OK) {
        return DDS_HANDLE_NIL;
    }
    return DDS_InstanceHandle_fromKeyHashI(instance->keyHash);
}

extern "C" {

VURNC_API DDS_ReturnCode_t DDS_DataWriter_write_untyped_generalI(DDS_DataWriter *self, const void *instance_data,
                                                                 const DDS_InstanceHandle_t *handle) {
    const DDS_WriteRequestI request{instance_data, handle, nullptr, ZEL_WIRE_SAMPLE_DATA, "DDS_DataWriter_write"};
    return DDS_DataWriter_sendI(self, &request, nullptr, nullptr);
}

VURNC_API DDS_ReturnCode_t DDS_DataWriter_write_w_timestamp_untyped_generalI(
        DDS_DataWriter *self, const void *instance_data, const DDS_InstanceHandle_t *handle,
        const struct DDS_Time_t *source_timestamp) {
    const DDS_WriteRequestI request{instance_data, handle, source_timestamp, ZEL_WIRE_SAMPLE_DATA,
                                    "DDS_DataWriter_write_w_timestamp"};
    return DDS_DataWriter_sendI(self, &request, nullptr, nullptr);
}

VURNC_API DDS_ReturnCode_t DDS_DataWriter_write_w_params_untyped_generalI(DDS_DataWriter *self,
                                                                          const void *instance_data,
                                                                          struct DDS_WriteParams_t *params) {
    return DDS_DataWriter_sendWithParamsI(self, instance_data, params, ZEL_WIRE_SAMPLE_DATA,
                                          "DDS_DataWriter_write_w_params");
}

VURNC_API DDS_ReturnCode_t DDS_DataWriter_dispose_untyped_generalI(DDS_DataWriter *self, const void *instance_data,
                                                                   const DDS_InstanceHandle_t *handle) {
    const DDS_WriteRequestI request{instance_data, handle, nullptr, ZEL_WIRE_SAMPLE_DISPOSE, "DDS_DataWriter_dispose"};
    return DDS_DataWriter_sendI(self, &request, nullptr, nullptr);
}

VURNC_API DDS_ReturnCode_t DDS_DataWriter_dispose_w_timestamp_untyped_generalI(
        DDS_DataWriter *self, const void *instance_data, const DDS_InstanceHandle_t *handle,
        const struct DDS_Time_t *source_timestamp) {
    const DDS_WriteRequestI request{instance_data, handle, source_timestamp, ZEL_WIRE_SAMPLE_DISPOSE,
                                    "DDS_DataWriter_dispose_w_timestamp"};
    return DDS_DataWriter_sendI(self, &request, nullptr, nullptr);
}

VURNC_API DDS_ReturnCode_t DDS_DataWriter_dispose_w_params_untyped_generalI(DDS_DataWriter *self,
                                                                            const void *instance_data,
                                                                            struct DDS_WriteParams_t *params) {
    return DDS_DataWriter_sendWithParamsI(self, instance_data, params, ZEL_WIRE_SAMPLE_DISPOSE,
                                          "DDS_DataWriter_dispose_w_params");
}

VURNC_API DDS_ReturnCode_t DDS_DataWriter_unregister_instance_untyped_generalI(DDS_DataWriter *self,
                                                                               const void *instance_data,
                                                                               const DDS_InstanceHandle_t *handle) {
    const DDS_WriteRequestI request{instance_data, handle, nullptr, ZEL_WIRE_SAMPLE_UNREGISTER,
                                    "DDS_DataWriter_unregister_instance"};
    return DDS_DataWriter_sendI(self, &request, nullptr, nullptr);
}

VURNC_API DDS_ReturnCode_t DDS_DataWriter_unregister_instance_w_timestamp_untyped_generalI(
        DDS_DataWriter *self, const void *instance_data, const DDS_InstanceHandle_t *handle,
        const struct DDS_Time_t *source_timestamp) {
    const DDS_WriteRequestI request{instance_data, handle, source_timestamp, ZEL_WIRE_SAMPLE_UNREGISTER,
                                    "DDS_DataWriter_unregister_instance_w_timestamp"};
    return DDS_DataWriter_sendI(self, &request, nullptr, nullptr);
}

VURNC_API DDS_ReturnCode_t DDS_DataWriter_unregister_instance_w_params_untyped_generalI(
        DDS_DataWriter *self, const void *instance_data, struct DDS_WriteParams_t *params) {
    return DDS_DataWriter_sendWithParamsI(self, instance_data, params, ZEL_WIRE_SAMPLE_UNREGISTER,
                                          "DDS_DataWriter_unregister_instance_w_params");
}

VURNC_API DDS_InstanceHandle_t DDS_DataWriter_register_instance_untypedI(DDS_DataWriter *self,
                                                                         const void *instance_data) {
    return DDS_DataWriter_registerI(self, instance_data, "DDS_DataWriter_register_instance");
}

// The timestamp would only stamp a registration message, which this wire does not send.
VURNC_API DDS_InstanceHandle_t DDS_DataWriter_register_instance_w_timestamp_untypedI(DDS_DataWriter *self,
                                                                                     const void *instance_data,
                                                                                     const struct DDS_Time_t *) {
    return DDS_DataWriter_registerI(self, instance_data, "DDS_DataWriter_register_instance_w_timestamp");
}

VURNC_API DDS_InstanceHandle_t DDS_DataWriter_register_instance_w_params_untypedI(DDS_DataWriter *self,
                                                                                  const void *instance_data,
                                                                                  struct DDS_WriteParams_t *params) {
    const DDS_InstanceHandle_t handle =
            DDS_DataWriter_registerI(self, instance_data, "DDS_DataWriter_register_instance_w_params");
    if (params != nullptr && params->replace_auto && handle.isValid) {
        params->handle = handle;
    }
    return handle;
}

VURNC_API DDS_ReturnCode_t DDS_DataWriter_get_key_value_untypedI(DDS_DataWriter *self, void *key_holder,
                                                                 const DDS_InstanceHandle_t *handle) {
    const char *const context = "DDS_DataWriter_get_key_value";
    DDS_ReturnCode_t result = DDS_RETCODE_OK;
    DDS_DataWriterPathI *path = DDS_DataWriter_getPathI(self, context, &result);
    if (path == nullptr) {
        return result;
    }
    if (key_holder == nullptr || DDS_Handle_isNilI(handle)) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, key_holder == nullptr ? "key_holder" : "handle");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    std::lock_guard<std::mutex> guard(path->mutex);
    DDS_WriterInstanceI *instance = DDS_WriterHistory_findInstanceI(path, handle->value);
    if (instance == nullptr || instance->keySize == 0) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, "unknown instance");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    ZELCdrStream stream{};
    ZELCdrStream_init(&stream, reinterpret_cast<char *>(const_cast<uint8_t *>(DDS_WriterInstance_keyI(instance))),
                      instance->keySize, ZEL_CDR_LITTLE_ENDIAN);
    if (path->plugin->deserializeKeyFnc == nullptr ||
        !path->plugin->deserializeKeyFnc(path->endpointData, key_holder, &stream, DDS_BOOLEAN_TRUE, DDS_BOOLEAN_TRUE,
                                         nullptr)) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_ANY_FAILURE_s, "key copy");
        return DDS_RETCODE_ERROR;
    }
    return DDS_RETCODE_OK;
}

VURNC_API DDS_InstanceHandle_t DDS_DataWriter_lookup_instance_untypedI(DDS_DataWriter *self, const void *key_holder) {
    const char *const context = "DDS_DataWriter_lookup_instance";
    DDS_ReturnCode_t result = DDS_RETCODE_OK;
    DDS_DataWriterPathI *path = DDS_DataWriter_getPathI(self, context, &result);
    if (path == nullptr || key_holder == nullptr) {
        return DDS_HANDLE_NIL;
    }
    std::lock_guard<std::mutex> guard(path->mutex);
    DDS_SampleKeyI key;
    DDS_WriterInstanceI *instance = nullptr;
    if (!DDS_DataWriterPath_findBySampleI(path, key_holder, &key, &instance, context) || instance == nullptr) {
        return DDS_HANDLE_NIL;
    }
    return DDS_InstanceHandle_fromKeyHashI(instance->keyHash);
}

VURNC_API DDS_Boolean DDS_DataWriter_compare_typeI(const DDS_DataWriter *self, const char *type_name) {
    if (self == nullptr || type_name == nullptr || self->topic->type->plugin.typeName == nullptr) {
        return DDS_BOOLEAN_FALSE;
    }
    return std::strcmp(self->topic->type->plugin.typeName, type_name) == 0 ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

}  // extern "C"
