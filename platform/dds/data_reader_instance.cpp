// A reader's instances by key: the key of a handle and the handle of a key.
#include <cstring>

#include "data_reader_private.h"

extern "C" {

VURNC_API DDS_ReturnCode_t DDS_DataReader_get_key_value_untypedI(DDS_DataReader *self, void *key_holder,
                                                                 const DDS_InstanceHandle_t *handle) {
    const char *const context = "DDS_DataReader_get_key_value";
    if (self == nullptr || key_holder == nullptr || DDS_Handle_isNilI(handle)) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s,
                                  self == nullptr ? "self" : (key_holder == nullptr ? "key_holder" : "handle"));
        return DDS_RETCODE_BAD_PARAMETER;
    }
    DDS_DataReaderPathI *path = self->path;
    if (path == nullptr) {
        return DDS_RETCODE_NOT_ENABLED;
    }
    std::lock_guard<std::mutex> guard(path->mutex);
    DDS_ReaderInstanceI *instance = DDS_ReaderCache_findInstanceI(path, handle->value);
    if (instance == nullptr || instance->key == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, "unknown instance");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    // Only the key members are written: the rest of the holder stays as it was.
    const PRESTypePlugin *plugin = path->plugin;
    const bool copied = plugin->keyToInstanceFnc != nullptr
                                ? plugin->keyToInstanceFnc(path->endpointData, key_holder, instance->key)
                                : plugin->copySampleFnc(key_holder, instance->key);
    if (!copied) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_ANY_FAILURE_s, "key copy");
        return DDS_RETCODE_ERROR;
    }
    return DDS_RETCODE_OK;
}

VURNC_API DDS_InstanceHandle_t DDS_DataReader_lookup_instance_untypedI(DDS_DataReader *self, const void *key_holder) {
    const char *const context = "DDS_DataReader_lookup_instance";
    if (self == nullptr || key_holder == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, self == nullptr ? "self" : "key_holder");
        return DDS_HANDLE_NIL;
    }
    DDS_DataReaderPathI *path = self->path;
    if (path == nullptr) {
        return DDS_HANDLE_NIL;
    }
    // A keyless type has one instance, of the all-zero key hash.
    DDS_KeyHash_t hash{};
    if (path->keyed && (path->plugin->instanceToKeyHashFnc == nullptr ||
                        !path->plugin->instanceToKeyHashFnc(path->endpointData, &hash, key_holder))) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_ANY_FAILURE_s, "key hash");
        return DDS_HANDLE_NIL;
    }
    std::lock_guard<std::mutex> guard(path->mutex);
    if (DDS_ReaderCache_findInstanceI(path, hash.value) == nullptr) {
        return DDS_HANDLE_NIL;
    }
    return DDS_InstanceHandle_fromKeyHashI(hash.value);
}

}  // extern "C"
