// The plug-in source of an IDL file: serialization and sizes for every
// type, key operations for keyed structs, type plug-in records and their
// registration with a participant.
#include <sstream>

#include "generator_common.h"

namespace zelidl {

namespace {

const char *const kPluginPrelude = R"(namespace {

// Reports a failure in the name of the generated operation: the log-level
// hook first, then the record.
[[maybe_unused]] void zelidlLogI(const char *context, const ZELLogMessage &message, const char *what)
{
    const ZELLogSetLogLevelFunction hook = ZELLog_setLogLevel;
    if (hook != nullptr) {
        hook(ZEL_LOG_LEVEL_ERROR);
    }
    ZELLog_printContextAndMsg(context, &message, what);
}

[[maybe_unused]] DDS_Boolean zelidlSerializeI(const ZELCdrTypeDesc *type, const void *sample, ZELCdrStream *stream,
                                              DDS_Boolean serializeEncapsulation, DDS_UnsignedShort encapsulationId,
                                              DDS_Boolean serializeSample, bool keyOnly, const char *context)
{
    if (sample == nullptr || stream == nullptr) {
        zelidlLogI(context, ZEL_LOG_BAD_PARAMETER_s, sample == nullptr ? "sample" : "stream");
        return DDS_BOOLEAN_FALSE;
    }
    DDS_Boolean ok = keyOnly ? ZELCdrType_serializeKey(type, sample, stream, serializeEncapsulation, encapsulationId,
                                                       serializeSample)
                             : ZELCdrType_serializeSample(type, sample, stream, serializeEncapsulation,
                                                          encapsulationId, serializeSample);
    if (!ok) {
        zelidlLogI(context, ZEL_LOG_ANY_FAILURE_s, keyOnly ? "serialize key" : "serialize");
    }
    return ok;
}

[[maybe_unused]] DDS_Boolean zelidlDeserializeI(const ZELCdrTypeDesc *type, void *sample, ZELCdrStream *stream,
                                                DDS_Boolean deserializeEncapsulation, DDS_Boolean deserializeSample,
                                                bool keyOnly, const char *context)
{
    if (sample == nullptr || stream == nullptr) {
        zelidlLogI(context, ZEL_LOG_BAD_PARAMETER_s, sample == nullptr ? "sample" : "stream");
        return DDS_BOOLEAN_FALSE;
    }
    DDS_Boolean ok = keyOnly ? ZELCdrType_deserializeKey(type, sample, stream, deserializeEncapsulation,
                                                         deserializeSample)
                             : ZELCdrType_deserializeSample(type, sample, stream, deserializeEncapsulation,
                                                            deserializeSample);
    if (!ok) {
        zelidlLogI(context, ZEL_LOG_ANY_FAILURE_s, keyOnly ? "deserialize key" : "deserialize");
    }
    return ok;
}

[[maybe_unused]] unsigned int zelidlSampleSizeI(const ZELCdrTypeDesc *type, DDS_Boolean includeEncapsulation,
                                                DDS_UnsignedShort encapsulationId, unsigned int currentAlignment,
                                                const void *sample, const char *context)
{
    if (sample == nullptr) {
        zelidlLogI(context, ZEL_LOG_BAD_PARAMETER_s, "sample");
        return 0;
    }
    return ZELCdrType_getSerializedSampleSize(type, includeEncapsulation, encapsulationId, currentAlignment, sample);
}

[[maybe_unused]] DDS_Boolean zelidlCopyKeyI(const ZELCdrTypeDesc *type, void *dst, const void *src,
                                            const char *context)
{
    if (dst == nullptr || src == nullptr) {
        zelidlLogI(context, ZEL_LOG_BAD_PARAMETER_s, dst == nullptr ? "dst" : "src");
        return DDS_BOOLEAN_FALSE;
    }
    if (!ZELCdrType_copyKey(type, dst, src)) {
        zelidlLogI(context, ZEL_LOG_ANY_FAILURE_s, "copy key");
        return DDS_BOOLEAN_FALSE;
    }
    return DDS_BOOLEAN_TRUE;
}

// The key hash is made in the endpoint's scratch stream.
[[maybe_unused]] DDS_Boolean zelidlInstanceToKeyHashI(const ZELCdrTypeDesc *type,
                                                      PRESTypePluginEndpointData endpointData, DDS_KeyHash_t *keyHash,
                                                      const void *instance, const char *context)
{
    if (keyHash == nullptr || instance == nullptr) {
        zelidlLogI(context, ZEL_LOG_BAD_PARAMETER_s, keyHash == nullptr ? "keyhash" : "instance");
        return DDS_BOOLEAN_FALSE;
    }
    ZELCdrStream *md5Stream =
            endpointData != nullptr ? PRESTypePluginDefaultEndpointData_getMD5Stream(endpointData) : nullptr;
    if (md5Stream == nullptr) {
        zelidlLogI(context, ZEL_LOG_GET_FAILURE_s, "MD5 stream");
        return DDS_BOOLEAN_FALSE;
    }
    if (!ZELCdrType_instanceToKeyHash(type, md5Stream, keyHash, instance)) {
        zelidlLogI(context, ZEL_LOG_ANY_FAILURE_s, "key hash");
        return DDS_BOOLEAN_FALSE;
    }
    return DDS_BOOLEAN_TRUE;
}

// Reads the key members into a key holder of the endpoint, then hashes them.
[[maybe_unused]] DDS_Boolean zelidlSerializedSampleToKeyHashI(const ZELCdrTypeDesc *type,
                                                              PRESTypePluginEndpointData endpointData,
                                                              ZELCdrStream *stream, DDS_KeyHash_t *keyHash,
                                                              DDS_Boolean deserializeEncapsulation,
                                                              const char *context)
{
    if (stream == nullptr || keyHash == nullptr) {
        zelidlLogI(context, ZEL_LOG_BAD_PARAMETER_s, stream == nullptr ? "stream" : "keyhash");
        return DDS_BOOLEAN_FALSE;
    }
    ZELCdrStream *md5Stream =
            endpointData != nullptr ? PRESTypePluginDefaultEndpointData_getMD5Stream(endpointData) : nullptr;
    if (md5Stream == nullptr) {
        zelidlLogI(context, ZEL_LOG_GET_FAILURE_s, "MD5 stream");
        return DDS_BOOLEAN_FALSE;
    }
    void *keyHolder = PRESTypePluginDefaultEndpointData_getKey(endpointData);
    if (keyHolder == nullptr) {
        zelidlLogI(context, ZEL_LOG_GET_FAILURE_s, "key holder");
        return DDS_BOOLEAN_FALSE;
    }
    DDS_Boolean ok =
            ZELCdrType_serializedSampleToKeyHash(type, stream, md5Stream, keyHolder, keyHash, deserializeEncapsulation);
    PRESTypePluginDefaultEndpointData_returnKey(endpointData, keyHolder);
    if (!ok) {
        zelidlLogI(context, ZEL_LOG_ANY_FAILURE_s, "key hash");
    }
    return ok;
}

// A plug-in record with the default participant and endpoint parts; the
// caller adds the type's own operations.
[[maybe_unused]] PRESTypePlugin *zelidlNewPluginI(const char *context)
{
    PRESTypePlugin *plugin = static_cast<PRESTypePlugin *>(ZELOsapiHeap_allocateStructure(sizeof(PRESTypePlugin), "TPLG"));
    if (plugin == nullptr) {
        const ZELLogSetLogLevelFunction hook = ZELLog_setLogLevel;
        if (hook != nullptr) {
            hook(ZEL_LOG_LEVEL_ERROR);
        }
        ZELLog_printContextAndMsg(context, &ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_STRUCT_d,
                                  static_cast<int>(sizeof(PRESTypePlugin)));
        return nullptr;
    }
    plugin->onParticipantAttachedFnc = &PRESTypePluginDefaultParticipantData_new;
    plugin->onParticipantDetachedFnc = &PRESTypePluginDefaultParticipantData_delete;
    plugin->onEndpointAttachedFnc = &PRESTypePluginDefault_onEndpointAttached;
    plugin->onEndpointDetachedFnc = &PRESTypePluginDefault_onEndpointDetached;
    return plugin;
}

// Untyped views of the typed operations, for the plug-in record.
template <typename T, T *(*Create)(void)>
void *zelidlCreateSampleAs(void)
{
    return Create();
}

template <typename T, void (*Destroy)(T *)>
void zelidlDeleteSampleAs(void *sample)
{
    Destroy(static_cast<T *>(sample));
}

template <typename T, DDS_Boolean (*Copy)(T *, const T *)>
DDS_Boolean zelidlCopySampleAs(void *dst, const void *src)
{
    return Copy(static_cast<T *>(dst), static_cast<const T *>(src));
}

template <typename T, DDS_Boolean (*Initialize)(T *)>
DDS_Boolean zelidlInitializeSampleAs(void *sample)
{
    return Initialize(static_cast<T *>(sample));
}

template <typename T, void (*Finalize)(T *)>
void zelidlFinalizeSampleAs(void *sample)
{
    Finalize(static_cast<T *>(sample));
}

template <typename T, void (*Print)(const T *, const char *, unsigned int)>
void zelidlPrintSampleAs(const void *sample, const char *description, unsigned int indent)
{
    Print(static_cast<const T *>(sample), description, indent);
}

template <typename T, DDS_Boolean (*Serialize)(PRESTypePluginEndpointData, const T *, ZELCdrStream *, DDS_Boolean,
                                               DDS_UnsignedShort, DDS_Boolean, void *)>
DDS_Boolean zelidlSerializeAs(PRESTypePluginEndpointData endpointData, const void *sample, ZELCdrStream *stream,
                              DDS_Boolean serializeEncapsulation, DDS_UnsignedShort encapsulationId,
                              DDS_Boolean serializeSample, void *endpointPluginQos)
{
    return Serialize(endpointData, static_cast<const T *>(sample), stream, serializeEncapsulation, encapsulationId,
                     serializeSample, endpointPluginQos);
}

template <typename T, DDS_Boolean (*Deserialize)(PRESTypePluginEndpointData, T *, ZELCdrStream *, DDS_Boolean,
                                                 DDS_Boolean, void *)>
DDS_Boolean zelidlDeserializeAs(PRESTypePluginEndpointData endpointData, void *sample, ZELCdrStream *stream,
                                DDS_Boolean deserializeEncapsulation, DDS_Boolean deserializeSample,
                                void *endpointPluginQos)
{
    return Deserialize(endpointData, static_cast<T *>(sample), stream, deserializeEncapsulation, deserializeSample,
                       endpointPluginQos);
}

template <typename T, unsigned int (*Size)(PRESTypePluginEndpointData, DDS_Boolean, DDS_UnsignedShort, unsigned int,
                                           const T *)>
unsigned int zelidlSampleSizeAs(PRESTypePluginEndpointData endpointData, DDS_Boolean includeEncapsulation,
                                DDS_UnsignedShort encapsulationId, unsigned int currentAlignment, const void *sample)
{
    return Size(endpointData, includeEncapsulation, encapsulationId, currentAlignment, static_cast<const T *>(sample));
}

template <typename T, DDS_Boolean (*Copy)(PRESTypePluginEndpointData, T *, const T *)>
DDS_Boolean zelidlKeyCopyAs(PRESTypePluginEndpointData endpointData, void *dst, const void *src)
{
    return Copy(endpointData, static_cast<T *>(dst), static_cast<const T *>(src));
}

template <typename T, DDS_Boolean (*Hash)(PRESTypePluginEndpointData, DDS_KeyHash_t *, const T *)>
DDS_Boolean zelidlInstanceToKeyHashAs(PRESTypePluginEndpointData endpointData, DDS_KeyHash_t *keyHash,
                                      const void *instance)
{
    return Hash(endpointData, keyHash, static_cast<const T *>(instance));
}

}  // namespace
)";

void writeSerializationI(std::ostream &out, const Declaration &d) {
    const std::string f = d.flatName();
    const std::string desc = "&" + f + "_g_desc";
    out << "\nDDS_Boolean " << f << "Plugin_serialize(PRESTypePluginEndpointData endpoint_data, const " << f
        << " *sample, struct ZELCdrStream *stream, DDS_Boolean serialize_encapsulation, DDS_UnsignedShort "
           "encapsulation_id, DDS_Boolean serialize_sample, void *endpoint_plugin_qos)\n{\n"
        << "    (void)endpoint_data;\n    (void)endpoint_plugin_qos;\n"
        << "    return zelidlSerializeI(" << desc
        << ", sample, stream, serialize_encapsulation, encapsulation_id, serialize_sample, false, \"" << f
        << "Plugin_serialize\");\n}\n";
    out << "\nDDS_Boolean " << f << "Plugin_deserialize(PRESTypePluginEndpointData endpoint_data, " << f
        << " *sample, struct ZELCdrStream *stream, DDS_Boolean deserialize_encapsulation, DDS_Boolean "
           "deserialize_sample, void *endpoint_plugin_qos)\n{\n"
        << "    (void)endpoint_data;\n    (void)endpoint_plugin_qos;\n"
        << "    return zelidlDeserializeI(" << desc
        << ", sample, stream, deserialize_encapsulation, deserialize_sample, false, \"" << f
        << "Plugin_deserialize\");\n}\n";
    for (const char *which : {"Max", "Min"}) {
        std::string lower = which == std::string("Max") ? "max" : "min";
        out << "\nunsigned int " << f << "Plugin_get_serialized_sample_" << lower
            << "_size(PRESTypePluginEndpointData endpoint_data, DDS_Boolean include_encapsulation, "
               "DDS_UnsignedShort encapsulation_id, unsigned int current_alignment)\n{\n"
            << "    (void)endpoint_data;\n"
            << "    return ZELCdrType_getSerializedSample" << which << "Size(" << desc
            << ", include_encapsulation, encapsulation_id, current_alignment);\n}\n";
    }
    out << "\nunsigned int " << f
        << "Plugin_get_serialized_sample_size(PRESTypePluginEndpointData endpoint_data, DDS_Boolean "
           "include_encapsulation, DDS_UnsignedShort encapsulation_id, unsigned int current_alignment, const "
        << f << " *sample)\n{\n"
        << "    (void)endpoint_data;\n"
        << "    return zelidlSampleSizeI(" << desc
        << ", include_encapsulation, encapsulation_id, current_alignment, sample, \"" << f
        << "Plugin_get_serialized_sample_size\");\n}\n";
}

void writeKeyOperationsI(std::ostream &out, const Declaration &d) {
    const std::string f = d.flatName();
    const std::string desc = "&" + f + "_g_desc";
    out << "\nconst char *" << f << "TypeSupport_get_type_name(void)\n{\n    return \"" << d.scopedName() << "\";\n}\n";
    out << "\nDDS_Boolean " << f << "Plugin_serialize_key(PRESTypePluginEndpointData endpoint_data, const " << f
        << " *sample, struct ZELCdrStream *stream, DDS_Boolean serialize_encapsulation, DDS_UnsignedShort "
           "encapsulation_id, DDS_Boolean serialize_key, void *endpoint_plugin_qos)\n{\n"
        << "    (void)endpoint_data;\n    (void)endpoint_plugin_qos;\n"
        << "    return zelidlSerializeI(" << desc
        << ", sample, stream, serialize_encapsulation, encapsulation_id, serialize_key, true, \"" << f
        << "Plugin_serialize_key\");\n}\n";
    out << "\nDDS_Boolean " << f << "Plugin_deserialize_key(PRESTypePluginEndpointData endpoint_data, " << f
        << " *sample, struct ZELCdrStream *stream, DDS_Boolean deserialize_encapsulation, DDS_Boolean "
           "deserialize_key, void *endpoint_plugin_qos)\n{\n"
        << "    (void)endpoint_data;\n    (void)endpoint_plugin_qos;\n"
        << "    return zelidlDeserializeI(" << desc
        << ", sample, stream, deserialize_encapsulation, deserialize_key, true, \"" << f
        << "Plugin_deserialize_key\");\n}\n";
    out << "\nunsigned int " << f
        << "Plugin_get_serialized_key_max_size(PRESTypePluginEndpointData endpoint_data, DDS_Boolean "
           "include_encapsulation, DDS_UnsignedShort encapsulation_id, unsigned int current_alignment)\n{\n"
        << "    (void)endpoint_data;\n"
        << "    return ZELCdrType_getSerializedKeyMaxSize(" << desc
        << ", include_encapsulation, encapsulation_id, current_alignment);\n}\n";
    out << "\nDDS_Boolean " << f << "Plugin_instance_to_key(PRESTypePluginEndpointData endpoint_data, " << f
        << "KeyHolder *key, const " << f << " *instance)\n{\n"
        << "    (void)endpoint_data;\n"
        << "    return zelidlCopyKeyI(" << desc << ", key, instance, \"" << f << "Plugin_instance_to_key\");\n}\n";
    out << "\nDDS_Boolean " << f << "Plugin_key_to_instance(PRESTypePluginEndpointData endpoint_data, " << f
        << " *instance, const " << f << "KeyHolder *key)\n{\n"
        << "    (void)endpoint_data;\n"
        << "    return zelidlCopyKeyI(" << desc << ", instance, key, \"" << f << "Plugin_key_to_instance\");\n}\n";
    out << "\nDDS_Boolean " << f
        << "Plugin_instance_to_keyhash(PRESTypePluginEndpointData endpoint_data, DDS_KeyHash_t *keyhash, const " << f
        << " *instance)\n{\n"
        << "    return zelidlInstanceToKeyHashI(" << desc << ", endpoint_data, keyhash, instance, \"" << f
        << "Plugin_instance_to_keyhash\");\n}\n";
    out << "\nDDS_Boolean " << f
        << "Plugin_serialized_sample_to_keyhash(PRESTypePluginEndpointData endpoint_data, struct ZELCdrStream "
           "*stream, DDS_KeyHash_t *keyhash, DDS_Boolean deserialize_encapsulation, void *endpoint_plugin_qos)\n{\n"
        << "    (void)endpoint_plugin_qos;\n"
        << "    return zelidlSerializedSampleToKeyHashI(" << desc
        << ", endpoint_data, stream, keyhash, deserialize_encapsulation, \"" << f
        << "Plugin_serialized_sample_to_keyhash\");\n}\n";
}

void writePluginRecordI(std::ostream &out, const Declaration &d) {
    const std::string f = d.flatName();
    const bool keyed = gen::hasKeyOperations(d);
    out << "\nstruct PRESTypePlugin *" << f << "Plugin_new(void)\n{\n"
        << "    PRESTypePlugin *plugin = zelidlNewPluginI(\"" << f << "Plugin_new\");\n"
        << "    if (plugin == nullptr) {\n        return nullptr;\n    }\n"
        << "    plugin->typeName = \"" << d.scopedName() << "\";\n"
        << "    plugin->typeCode = " << f << "_get_typecode();\n"
        << "    plugin->typeDesc = &" << f << "_g_desc;\n"
        << "    plugin->getKeyKindFnc = &PRESTypePluginDefault_get" << (keyed ? "UserKeyKind" : "NoKeyKind") << ";\n"
        << "    plugin->createSampleFnc = &zelidlCreateSampleAs<" << f << ", &" << f << "PluginSupport_create_data>;\n"
        << "    plugin->deleteSampleFnc = &zelidlDeleteSampleAs<" << f << ", &" << f << "PluginSupport_destroy_data>;\n"
        << "    plugin->copySampleFnc = &zelidlCopySampleAs<" << f << ", &" << f << "_copy>;\n"
        << "    plugin->initializeSampleFnc = &zelidlInitializeSampleAs<" << f << ", &" << f << "_initialize>;\n"
        << "    plugin->finalizeSampleFnc = &zelidlFinalizeSampleAs<" << f << ", &" << f << "_finalize>;\n"
        << "    plugin->printSampleFnc = &zelidlPrintSampleAs<" << f << ", &" << f << "PluginSupport_print_data>;\n"
        << "    plugin->serializeFnc = &zelidlSerializeAs<" << f << ", &" << f << "Plugin_serialize>;\n"
        << "    plugin->deserializeFnc = &zelidlDeserializeAs<" << f << ", &" << f << "Plugin_deserialize>;\n"
        << "    plugin->serializedSampleMaxSizeFnc = &" << f << "Plugin_get_serialized_sample_max_size;\n"
        << "    plugin->serializedSampleMinSizeFnc = &" << f << "Plugin_get_serialized_sample_min_size;\n"
        << "    plugin->serializedSampleSizeFnc = &zelidlSampleSizeAs<" << f << ", &" << f
        << "Plugin_get_serialized_sample_size>;\n";
    if (keyed) {
        out << "    plugin->serializeKeyFnc = &zelidlSerializeAs<" << f << ", &" << f << "Plugin_serialize_key>;\n"
            << "    plugin->deserializeKeyFnc = &zelidlDeserializeAs<" << f << ", &" << f
            << "Plugin_deserialize_key>;\n"
            << "    plugin->serializedKeyMaxSizeFnc = &" << f << "Plugin_get_serialized_key_max_size;\n"
            << "    plugin->instanceToKeyFnc = &zelidlKeyCopyAs<" << f << ", &" << f << "Plugin_instance_to_key>;\n"
            << "    plugin->keyToInstanceFnc = &zelidlKeyCopyAs<" << f << ", &" << f << "Plugin_key_to_instance>;\n"
            << "    plugin->instanceToKeyHashFnc = &zelidlInstanceToKeyHashAs<" << f << ", &" << f
            << "Plugin_instance_to_keyhash>;\n"
            << "    plugin->serializedSampleToKeyHashFnc = &" << f << "Plugin_serialized_sample_to_keyhash;\n";
    }
    out << "    return plugin;\n}\n";
    out << "\nvoid " << f << "Plugin_delete(struct PRESTypePlugin *plugin)\n{\n"
        << "    if (plugin != nullptr) {\n        ZELOsapiHeap_freeStructure(plugin);\n    }\n}\n";
}

// Registration hands the participant a plug-in of its own, which keeps a copy
// of the record, so the one made here is deleted whatever the outcome. A
// NULL type name stands for the type's scoped name.
void writeRegistrationI(std::ostream &out, const Declaration &d) {
    const std::string f = d.flatName();
    const std::string defaultName =
            gen::hasKeyOperations(d) ? f + "TypeSupport_get_type_name()" : "\"" + d.scopedName() + "\"";
    const std::string registerContext = f + "TypeSupport_register_type";
    out << "\nDDS_ReturnCode_t " << registerContext
        << "(DDS_DomainParticipant *participant, const char *type_name)\n{\n"
        << "    if (participant == nullptr) {\n"
        << "        zelidlLogI(\"" << registerContext << "\", ZEL_LOG_BAD_PARAMETER_s, \"participant\");\n"
        << "        return DDS_RETCODE_ERROR;\n    }\n"
        << "    PRESTypePlugin *plugin = " << f << "Plugin_new();\n"
        << "    if (plugin == nullptr) {\n"
        << "        zelidlLogI(\"" << registerContext << "\", ZEL_LOG_CREATION_FAILURE_s, \"plugin\");\n"
        << "        return DDS_RETCODE_ERROR;\n    }\n"
        << "    const DDS_ReturnCode_t result = DDS_DomainParticipant_register_type(participant, type_name != nullptr "
           "? type_name : "
        << defaultName << ", plugin, nullptr);\n"
        << "    " << f << "Plugin_delete(plugin);\n"
        << "    return result;\n}\n";
    const std::string unregisterContext = f + "TypeSupport_unregister_type";
    out << "\nDDS_ReturnCode_t " << unregisterContext
        << "(DDS_DomainParticipant *participant, const char *type_name)\n{\n"
        << "    if (participant == nullptr) {\n"
        << "        zelidlLogI(\"" << unregisterContext << "\", ZEL_LOG_BAD_PARAMETER_s, \"participant\");\n"
        << "        return DDS_RETCODE_ERROR;\n    }\n"
        << "    return DDS_DomainParticipant_unregister_type(participant, type_name != nullptr ? type_name : "
        << defaultName << ");\n}\n";
}

}  // namespace

std::string generatePluginSource(const SourceFile &file, const GeneratorOptions &options) {
    std::ostringstream out;
    out << gen::banner(file, gen::outputBaseName(file, options) +
                                     "Plugin.cpp: serialization, keys and type plug-ins of " + file.baseName + ".idl.");
    out << "#include \"" << gen::outputBaseName(file, options) << ".h\"\n\n"
        << "#include \"vurncore/cdr_stream.h\"\n#include \"vurncore/heap.h\"\n#include \"vurncore/log.h\"\n\n";
    out << kPluginPrelude;
    for (const Declaration *d : file.declarations) {
        out << "\n/* ---- " << d->scopedName() << " ---- */\n";
        writeSerializationI(out, *d);
        if (gen::hasKeyOperations(*d)) {
            writeKeyOperationsI(out, *d);
        }
        if (gen::hasPlugin(*d, options)) {
            writePluginRecordI(out, *d);
            writeRegistrationI(out, *d);
            gen::writeTypedDefinitions(out, *d);
        }
    }
    return out.str();
}

// The typed data writer and data reader of each type with a plug-in: thin
// wrappers that check their arguments and hand the sample to the untyped
// data path. FooDataWriter and FooDataReader are never defined: a typed
// pointer is the DDS entity pointer under another name.
namespace gen {

namespace {

// The type name the plug-in registers by default, as a C expression.
std::string typeNameExpressionI(const Declaration &d) {
    return hasKeyOperations(d) ? d.flatName() + "TypeSupport_get_type_name()" : "\"" + d.scopedName() + "\"";
}

struct WriterOp {
    const char *name;     // the typed operation's suffix
    const char *untyped;  // the data path's operation
    const char *extra;    // parameters after the sample
    const char *args;     // their names
    bool returnsHandle;
};

const WriterOp kWriterOps[] = {
        {"write", "write_untyped_generalI", "const DDS_InstanceHandle_t *handle", "handle", false},
        {"write_w_timestamp", "write_w_timestamp_untyped_generalI",
         "const DDS_InstanceHandle_t *handle, const struct DDS_Time_t *source_timestamp", "handle, source_timestamp",
         false},
        {"write_w_params", "write_w_params_untyped_generalI", "struct DDS_WriteParams_t *params", "params", false},
        {"dispose", "dispose_untyped_generalI", "const DDS_InstanceHandle_t *handle", "handle", false},
        {"dispose_w_timestamp", "dispose_w_timestamp_untyped_generalI",
         "const DDS_InstanceHandle_t *handle, const struct DDS_Time_t *source_timestamp", "handle, source_timestamp",
         false},
        {"dispose_w_params", "dispose_w_params_untyped_generalI", "struct DDS_WriteParams_t *params", "params", false},
        {"register_instance", "register_instance_untypedI", "", "", true},
        {"register_instance_w_timestamp", "register_instance_w_timestamp_untypedI",
         "const struct DDS_Time_t *source_timestamp", "source_timestamp", true},
        {"register_instance_w_params", "register_instance_w_params_untypedI", "struct DDS_WriteParams_t *params",
         "params", true},
        {"unregister_instance", "unregister_instance_untyped_generalI", "const DDS_InstanceHandle_t *handle", "handle",
         false},
        {"unregister_instance_w_timestamp", "unregister_instance_w_timestamp_untyped_generalI",
         "const DDS_InstanceHandle_t *handle, const struct DDS_Time_t *source_timestamp", "handle, source_timestamp",
         false},
        {"unregister_instance_w_params", "unregister_instance_w_params_untyped_generalI",
         "struct DDS_WriteParams_t *params", "params", false},
};

// The read and take forms into a sequence, after (self, received_data,
// info_seq, max_samples).
struct ReaderOp {
    const char *name;     // the suffix after read / take
    const char *untyped;  // the data path's operation
    const char *extra;    // parameters after max_samples
    const char *args;     // their names
};

const ReaderOp kReaderOps[] = {
        {"", "read_or_take_untypedI",
         "DDS_SampleStateMask sample_states, DDS_ViewStateMask view_states, DDS_InstanceStateMask instance_states",
         "sample_states, view_states, instance_states"},
        {"_w_condition", "read_or_take_w_condition_untypedI", "DDS_ReadCondition *condition", "condition"},
        {"_instance", "read_or_take_instance_untypedI",
         "const DDS_InstanceHandle_t *a_handle, DDS_SampleStateMask sample_states, DDS_ViewStateMask view_states, "
         "DDS_InstanceStateMask instance_states",
         "a_handle, sample_states, view_states, instance_states"},
        {"_next_instance", "read_or_take_next_instance_untypedI",
         "const DDS_InstanceHandle_t *previous_handle, DDS_SampleStateMask sample_states, "
         "DDS_ViewStateMask view_states, DDS_InstanceStateMask instance_states",
         "previous_handle, sample_states, view_states, instance_states"},
        {"_next_instance_w_condition", "read_or_take_next_instance_w_condition_untypedI",
         "const DDS_InstanceHandle_t *previous_handle, DDS_ReadCondition *condition", "previous_handle, condition"},
};

std::string readerSignatureI(const Declaration &d, const ReaderOp &op, const char *which) {
    const std::string r = d.flatName() + "DataReader";
    return "DDS_ReturnCode_t " + r + "_" + which + op.name + "(" + r + " *self, " + d.sequenceName() +
           " *received_data, struct DDS_SampleInfoSeq *info_seq, DDS_Long max_samples, " + op.extra + ")";
}

std::string nextSampleSignatureI(const Declaration &d, const char *which) {
    const std::string f = d.flatName();
    return "DDS_ReturnCode_t " + f + "DataReader_" + which + "_next_sample(" + f + "DataReader *self, " + f +
           " *received_data, struct DDS_SampleInfo *sample_info)";
}

std::string writerSignatureI(const Declaration &d, const WriterOp &op) {
    const std::string f = d.flatName();
    std::string s = std::string(op.returnsHandle ? "DDS_InstanceHandle_t " : "DDS_ReturnCode_t ") + f + "DataWriter_" +
                    op.name + "(" + f + "DataWriter *self, const " + f + " *instance_data";
    if (op.extra[0] != '\0') {
        s += std::string(", ") + op.extra;
    }
    return s + ")";
}

}  // namespace

void writeTypedDeclarations(std::ostream &out, const Declaration &d, const GeneratorOptions &options) {
    const std::string api = exportPrefix(options);
    const std::string f = d.flatName();
    const std::string w = f + "DataWriter";
    const std::string r = f + "DataReader";
    const std::string seq = d.sequenceName();
    out << "typedef struct " << w << " " << w << ";\n";
    out << "typedef struct " << r << " " << r << ";\n";
    out << api << w << " *" << w << "_narrow(DDS_DataWriter *writer);\n";
    out << api << "DDS_DataWriter *" << w << "_as_datawriter(" << w << " *writer);\n";
    for (const WriterOp &op : kWriterOps) {
        out << api << writerSignatureI(d, op) << ";\n";
    }
    out << api << "DDS_ReturnCode_t " << w << "_get_key_value(" << w << " *self, " << f
        << " *key_holder, const DDS_InstanceHandle_t *handle);\n";
    out << api << "DDS_InstanceHandle_t " << w << "_lookup_instance(" << w << " *self, const " << f
        << " *key_holder);\n";
    out << api << r << " *" << r << "_narrow(DDS_DataReader *reader);\n";
    out << api << "DDS_DataReader *" << r << "_as_datareader(" << r << " *reader);\n";
    for (const char *which : {"read", "take"}) {
        for (const ReaderOp &op : kReaderOps) {
            out << api << readerSignatureI(d, op, which) << ";\n";
        }
        out << api << nextSampleSignatureI(d, which) << ";\n";
    }
    out << api << "DDS_ReturnCode_t " << r << "_get_key_value(" << r << " *self, " << f
        << " *key_holder, const DDS_InstanceHandle_t *handle);\n";
    out << api << "DDS_InstanceHandle_t " << r << "_lookup_instance(" << r << " *self, const " << f
        << " *key_holder);\n";
    out << api << "DDS_ReturnCode_t " << r << "_return_loan(" << r << " *self, " << seq
        << " *received_data, struct DDS_SampleInfoSeq *info_seq);\n";
}

void writeTypedDefinitions(std::ostream &out, const Declaration &d) {
    const std::string f = d.flatName();
    const std::string w = f + "DataWriter";
    const std::string r = f + "DataReader";
    const std::string seq = d.sequenceName();
    out << "\n"
        << w << " *" << w << "_narrow(DDS_DataWriter *writer)\n{\n"
        << "    if (writer == nullptr) {\n"
        << "        zelidlLogI(\"TDataWriter_narrow\", ZEL_LOG_BAD_PARAMETER_s, \"null writer\");\n"
        << "        return nullptr;\n    }\n"
        << "    if (!DDS_DataWriter_compare_typeI(writer, " << typeNameExpressionI(d) << ")) {\n"
        << "        zelidlLogI(\"TDataWriter_narrow\", ZEL_LOG_BAD_PARAMETER_s, \"wrong type writer\");\n"
        << "        return nullptr;\n    }\n"
        << "    return reinterpret_cast<" << w << " *>(writer);\n}\n";
    out << "\nDDS_DataWriter *" << w << "_as_datawriter(" << w << " *writer)\n{\n"
        << "    if (writer == nullptr) {\n"
        << "        zelidlLogI(\"TDataWriter_as_datawriter\", ZEL_LOG_BAD_PARAMETER_s, \"null writer\");\n"
        << "        return nullptr;\n    }\n"
        << "    return reinterpret_cast<DDS_DataWriter *>(writer);\n}\n";
    for (const WriterOp &op : kWriterOps) {
        out << "\n"
            << writerSignatureI(d, op) << "\n{\n"
            << "    return DDS_DataWriter_" << op.untyped << "(reinterpret_cast<DDS_DataWriter *>(self), instance_data"
            << (op.args[0] != '\0' ? ", " : "") << op.args << ");\n}\n";
    }
    out << "\nDDS_ReturnCode_t " << w << "_get_key_value(" << w << " *self, " << f
        << " *key_holder, const DDS_InstanceHandle_t *handle)\n{\n"
        << "    return DDS_DataWriter_get_key_value_untypedI(reinterpret_cast<DDS_DataWriter *>(self), key_holder, "
           "handle);\n}\n";
    out << "\nDDS_InstanceHandle_t " << w << "_lookup_instance(" << w << " *self, const " << f << " *key_holder)\n{\n"
        << "    return DDS_DataWriter_lookup_instance_untypedI(reinterpret_cast<DDS_DataWriter *>(self), "
           "key_holder);\n}\n";

    out << "\n"
        << r << " *" << r << "_narrow(DDS_DataReader *reader)\n{\n"
        << "    if (reader == nullptr) {\n"
        << "        zelidlLogI(\"TDataReader_narrow\", ZEL_LOG_BAD_PARAMETER_s, \"null reader\");\n"
        << "        return nullptr;\n    }\n"
        << "    if (!DDS_DataReader_compare_typeI(reader, " << typeNameExpressionI(d) << ")) {\n"
        << "        zelidlLogI(\"TDataReader_narrow\", ZEL_LOG_BAD_PARAMETER_s, \"wrong type reader\");\n"
        << "        return nullptr;\n    }\n"
        << "    return reinterpret_cast<" << r << " *>(reader);\n}\n";
    out << "\nDDS_DataReader *" << r << "_as_datareader(" << r << " *reader)\n{\n"
        << "    if (reader == nullptr) {\n"
        << "        zelidlLogI(\"TDataReader_as_datareader\", ZEL_LOG_BAD_PARAMETER_s, \"null reader\");\n"
        << "        return nullptr;\n    }\n"
        << "    return reinterpret_cast<DDS_DataReader *>(reader);\n}\n";
    for (const char *which : {"read", "take"}) {
        const char *const take = std::string(which) == "take" ? "DDS_BOOLEAN_TRUE" : "DDS_BOOLEAN_FALSE";
        for (const ReaderOp &op : kReaderOps) {
            out << "\n"
                << readerSignatureI(d, op, which) << "\n{\n"
                << "    if (received_data == nullptr) {\n"
                << "        zelidlLogI(\"" << r << "_" << which << op.name
                << "\", ZEL_LOG_BAD_PARAMETER_s, \"received_data\");\n"
                << "        return DDS_RETCODE_BAD_PARAMETER;\n    }\n"
                << "    return DDS_DataReader_" << op.untyped
                << "(reinterpret_cast<DDS_DataReader *>(self), "
                   "reinterpret_cast<ZELSequence *>(received_data), info_seq, max_samples, "
                << op.args << ", " << take << ");\n}\n";
        }
        out << "\n"
            << nextSampleSignatureI(d, which) << "\n{\n"
            << "    if (received_data == nullptr) {\n"
            << "        zelidlLogI(\"" << r << "_" << which
            << "_next_sample\", ZEL_LOG_BAD_PARAMETER_s, \"received_data\");\n"
            << "        return DDS_RETCODE_BAD_PARAMETER;\n    }\n"
            << "    return DDS_DataReader_read_or_take_next_sample_untypedI(reinterpret_cast<DDS_DataReader *>(self), "
               "received_data, sample_info, "
            << take << ");\n}\n";
    }
    out << "\nDDS_ReturnCode_t " << r << "_get_key_value(" << r << " *self, " << f
        << " *key_holder, const DDS_InstanceHandle_t *handle)\n{\n"
        << "    return DDS_DataReader_get_key_value_untypedI(reinterpret_cast<DDS_DataReader *>(self), key_holder, "
           "handle);\n}\n";
    out << "\nDDS_InstanceHandle_t " << r << "_lookup_instance(" << r << " *self, const " << f << " *key_holder)\n{\n"
        << "    return DDS_DataReader_lookup_instance_untypedI(reinterpret_cast<DDS_DataReader *>(self), "
           "key_holder);\n}\n";
    const std::string loan = r + "_return_loan";
    out << "\nDDS_ReturnCode_t " << loan << "(" << r << " *self, " << seq
        << " *received_data, struct DDS_SampleInfoSeq *info_seq)\n{\n"
        << "    const DDS_ReturnCode_t result = DDS_DataReader_return_loan_untypedI(reinterpret_cast<DDS_DataReader "
           "*>(self), reinterpret_cast<ZELSequence *>(received_data), info_seq);\n"
        << "    if (result != DDS_RETCODE_OK) {\n"
        << "        zelidlLogI(\"" << loan << "\", ZEL_LOG_ANY_FAILURE_s, \"unloan sequence\");\n    }\n"
        << "    return result;\n}\n";
}

}  // namespace gen

}  // namespace zelidl
