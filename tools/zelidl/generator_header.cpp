// The C header of an IDL file: the C types and every exported declaration
// of their type support. It must compile as C and as C++.
#include <algorithm>
#include <cctype>
#include <sstream>

#include "generator_common.h"

namespace zelidl {

namespace {

std::string guardI(const std::string &baseName) {
    std::string guard = "ZELIDL_";
    for (char c : baseName) {
        guard += std::isalnum(static_cast<unsigned char>(c))
                         ? static_cast<char>(std::toupper(static_cast<unsigned char>(c)))
                         : '_';
    }
    return guard + "_H";
}

void writeCTypeI(std::ostream &out, const Declaration &d) {
    const std::string flat = d.flatName();
    switch (d.kind) {
    case Declaration::Kind::Enum: {
        const std::string prefix = d.moduleFlatName().empty() ? "" : d.moduleFlatName() + "_";
        out << "typedef enum " << flat << " {\n";
        for (size_t i = 0; i < d.enumerators.size(); ++i) {
            out << "    " << prefix << d.enumerators[i].name << " = " << d.enumerators[i].value
                << (i + 1 < d.enumerators.size() ? ",\n" : "\n");
        }
        out << "} " << flat << ";\n";
        break;
    }
    case Declaration::Kind::Alias:
        out << "typedef " << gen::cDeclaration(d.aliased, flat) << ";\n";
        break;
    case Declaration::Kind::Struct:
        out << "typedef struct " << flat << " {\n";
        for (const Member &member : d.members) {
            out << "    " << gen::cDeclaration(member.type, member.name) << ";\n";
        }
        out << "} " << flat << ";\n";
        out << "#define " << flat << "_INITIALIZER ZELIDL_ZERO_INITIALIZER\n";
        break;
    }
}

void writeFamilyI(std::ostream &out, const Declaration &d, const GeneratorOptions &options) {
    const std::string api = gen::exportPrefix(options);
    const std::string f = d.flatName();
    out << "ZEL_SEQUENCE_DECLARE(" << options.exportMacro << ", " << d.sequenceName() << ", " << f << ");\n";
    out << api << "extern const struct ZELCdrTypeDesc " << f << "_g_desc;\n";
    out << api << "struct DDS_TypeCode *" << f << "_get_typecode(void);\n";
    out << api << "DDS_Boolean " << f << "_initialize(" << f << " *sample);\n";
    out << api << "DDS_Boolean " << f << "_initialize_ex(" << f
        << " *sample, DDS_Boolean allocatePointers, DDS_Boolean allocateMemory);\n";
    out << api << "DDS_Boolean " << f << "_initialize_w_params(" << f
        << " *sample, const struct DDS_TypeAllocationParams_t *allocParams);\n";
    out << api << "void " << f << "_finalize(" << f << " *sample);\n";
    out << api << "void " << f << "_finalize_ex(" << f << " *sample, DDS_Boolean deletePointers);\n";
    out << api << "void " << f << "_finalize_w_params(" << f
        << " *sample, const struct DDS_TypeDeallocationParams_t *deallocParams);\n";
    out << api << "DDS_Boolean " << f << "_copy(" << f << " *dst, const " << f << " *src);\n";
    out << api << f << " *" << f << "PluginSupport_create_data(void);\n";
    out << api << "void " << f << "PluginSupport_destroy_data(" << f << " *sample);\n";
    out << api << "void " << f << "PluginSupport_print_data(const " << f
        << " *sample, const char *desc, unsigned int indent);\n";
    out << api << "DDS_Boolean " << f << "Plugin_serialize(PRESTypePluginEndpointData endpoint_data, const " << f
        << " *sample, struct ZELCdrStream *stream, DDS_Boolean serialize_encapsulation, DDS_UnsignedShort "
           "encapsulation_id, DDS_Boolean serialize_sample, void *endpoint_plugin_qos);\n";
    out << api << "DDS_Boolean " << f << "Plugin_deserialize(PRESTypePluginEndpointData endpoint_data, " << f
        << " *sample, struct ZELCdrStream *stream, DDS_Boolean deserialize_encapsulation, DDS_Boolean "
           "deserialize_sample, void *endpoint_plugin_qos);\n";
    for (const char *which : {"max", "min"}) {
        out << api << "unsigned int " << f << "Plugin_get_serialized_sample_" << which
            << "_size(PRESTypePluginEndpointData endpoint_data, DDS_Boolean include_encapsulation, "
               "DDS_UnsignedShort encapsulation_id, unsigned int current_alignment);\n";
    }
    out << api << "unsigned int " << f
        << "Plugin_get_serialized_sample_size(PRESTypePluginEndpointData endpoint_data, DDS_Boolean "
           "include_encapsulation, DDS_UnsignedShort encapsulation_id, unsigned int current_alignment, const "
        << f << " *sample);\n";
    if (gen::hasKeyOperations(d)) {
        out << "typedef " << f << " " << f << "KeyHolder;\n";
        out << api << "const char *" << f << "TypeSupport_get_type_name(void);\n";
        out << api << "DDS_Boolean " << f << "Plugin_serialize_key(PRESTypePluginEndpointData endpoint_data, const "
            << f
            << " *sample, struct ZELCdrStream *stream, DDS_Boolean serialize_encapsulation, "
               "DDS_UnsignedShort encapsulation_id, DDS_Boolean serialize_key, void *endpoint_plugin_qos);\n";
        out << api << "DDS_Boolean " << f << "Plugin_deserialize_key(PRESTypePluginEndpointData endpoint_data, " << f
            << " *sample, struct ZELCdrStream *stream, DDS_Boolean deserialize_encapsulation, DDS_Boolean "
               "deserialize_key, void *endpoint_plugin_qos);\n";
        out << api << "unsigned int " << f
            << "Plugin_get_serialized_key_max_size(PRESTypePluginEndpointData endpoint_data, DDS_Boolean "
               "include_encapsulation, DDS_UnsignedShort encapsulation_id, unsigned int current_alignment);\n";
        out << api << "DDS_Boolean " << f << "Plugin_instance_to_key(PRESTypePluginEndpointData endpoint_data, " << f
            << "KeyHolder *key, const " << f << " *instance);\n";
        out << api << "DDS_Boolean " << f << "Plugin_key_to_instance(PRESTypePluginEndpointData endpoint_data, " << f
            << " *instance, const " << f << "KeyHolder *key);\n";
        out << api << "DDS_Boolean " << f
            << "Plugin_instance_to_keyhash(PRESTypePluginEndpointData endpoint_data, DDS_KeyHash_t *keyhash, const "
            << f << " *instance);\n";
        out << api << "DDS_Boolean " << f
            << "Plugin_serialized_sample_to_keyhash(PRESTypePluginEndpointData endpoint_data, struct ZELCdrStream "
               "*stream, DDS_KeyHash_t *keyhash, DDS_Boolean deserialize_encapsulation, void "
               "*endpoint_plugin_qos);\n";
    }
    if (gen::hasPlugin(d, options)) {
        out << api << "struct PRESTypePlugin *" << f << "Plugin_new(void);\n";
        out << api << "void " << f << "Plugin_delete(struct PRESTypePlugin *plugin);\n";
        out << api << "DDS_ReturnCode_t " << f
            << "TypeSupport_register_type(DDS_DomainParticipant *participant, const char *type_name);\n";
        out << api << "DDS_ReturnCode_t " << f
            << "TypeSupport_unregister_type(DDS_DomainParticipant *participant, const char *type_name);\n";
        gen::writeTypedDeclarations(out, d, options);
    }
}

}  // namespace

std::string generateHeader(const SourceFile &file, const GeneratorOptions &options) {
    std::ostringstream out;
    const std::string base = gen::outputBaseName(file, options);
    const std::string guard = guardI(base);
    out << gen::banner(file, base + ".h: the C types of " + file.baseName + ".idl and their type support.");
    out << "#ifndef " << guard << "\n#define " << guard << "\n\n";
    out << "#include \"vurncore/types.h\"\n"
           "#include \"vurncore/sequence.h\"\n"
           "#include \"vurncore/dds_sequences.h\"\n"
           "#include \"vurncore/cdr_type.h\"\n"
           "#include \"vurncore/typecode.h\"\n"
           "#include \"vurncore/type_plugin.h\"\n";
    // Registration of a plug-in goes through the participant, so only the
    // files that have plug-ins depend on the DDS API.
    if (std::any_of(file.declarations.begin(), file.declarations.end(),
                    [&options](const Declaration *d) { return gen::hasPlugin(*d, options); })) {
        out << "#include \"vurnc/dds_domain.h\"\n"
               "#include \"vurnc/dds_publication.h\"\n"
               "#include \"vurnc/dds_subscription.h\"\n";
    }
    if (!options.exportHeader.empty()) {
        out << "#include \"" << options.exportHeader << "\"\n";
    }
    for (const SourceFile *included : file.includes) {
        out << "#include \"" << included->baseName << ".h\"\n";
    }
    // A zero-filled struct is an initialized one (its sequences are empty
    // and its strings NULL); C and C++ spell the zero initializer apart.
    out << "\n#ifndef ZELIDL_ZERO_INITIALIZER\n"
           "#ifdef __cplusplus\n#define ZELIDL_ZERO_INITIALIZER {}\n"
           "#else\n#define ZELIDL_ZERO_INITIALIZER {0}\n#endif\n#endif\n";
    out << "\nZEL_EXTERN_C_BEGIN\n";
    for (const Declaration *d : file.declarations) {
        out << "\n/* ---- " << d->scopedName() << " ---- */\n\n";
        writeCTypeI(out, *d);
        out << "\n";
        writeFamilyI(out, *d, options);
    }
    out << "\nZEL_EXTERN_C_END\n\n#endif\n";
    return out.str();
}

}  // namespace zelidl
