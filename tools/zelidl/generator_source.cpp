// The type-support source of an IDL file: one constant descriptor per type
// for the shared engine, the type codes, the sequences and the sample
// operations (initialize, finalize, copy, print, heap samples).
#include <sstream>

#include "generator_common.h"

namespace zelidl {

namespace {

// Helpers that every generated source shares; unused ones are harmless.
const char *const kSourcePrelude = R"(namespace {

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

[[maybe_unused]] DDS_Boolean zelidlInitializeI(const ZELCdrTypeDesc *type, void *sample,
                                               const DDS_TypeAllocationParams_t *params, const char *context)
{
    if (sample == nullptr || params == nullptr) {
        zelidlLogI(context, ZEL_LOG_BAD_PARAMETER_s, sample == nullptr ? "sample" : "allocParams");
        return DDS_BOOLEAN_FALSE;
    }
    if (!ZELCdrType_initializeSample(type, sample, params)) {
        zelidlLogI(context, ZEL_LOG_ANY_FAILURE_s, "initialize");
        return DDS_BOOLEAN_FALSE;
    }
    return DDS_BOOLEAN_TRUE;
}

[[maybe_unused]] void zelidlFinalizeI(const ZELCdrTypeDesc *type, void *sample,
                                      const DDS_TypeDeallocationParams_t *params, const char *context)
{
    if (sample == nullptr || params == nullptr) {
        zelidlLogI(context, ZEL_LOG_BAD_PARAMETER_s, sample == nullptr ? "sample" : "deallocParams");
        return;
    }
    ZELCdrType_finalizeSample(type, sample, params);
}

[[maybe_unused]] DDS_Boolean zelidlCopyI(const ZELCdrTypeDesc *type, void *dst, const void *src,
                                         const char *context)
{
    if (dst == nullptr || src == nullptr) {
        zelidlLogI(context, ZEL_LOG_BAD_PARAMETER_s, dst == nullptr ? "dst" : "src");
        return DDS_BOOLEAN_FALSE;
    }
    if (!ZELCdrType_copySample(type, dst, src)) {
        zelidlLogI(context, ZEL_LOG_ANY_FAILURE_s, "copy");
        return DDS_BOOLEAN_FALSE;
    }
    return DDS_BOOLEAN_TRUE;
}

// A heap sample, initialized; NULL (with nothing left allocated) on failure.
[[maybe_unused]] void *zelidlCreateDataI(const ZELCdrTypeDesc *type, const char *context)
{
    void *sample = ZELOsapiHeap_allocateStructure(type->size, "TSMP");
    if (sample == nullptr) {
        const ZELLogSetLogLevelFunction hook = ZELLog_setLogLevel;
        if (hook != nullptr) {
            hook(ZEL_LOG_LEVEL_ERROR);
        }
        ZELLog_printContextAndMsg(context, &ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_STRUCT_d, static_cast<int>(type->size));
        return nullptr;
    }
    const DDS_TypeAllocationParams_t params = DDS_TYPE_ALLOCATION_PARAMS_DEFAULT;
    if (!ZELCdrType_initializeSample(type, sample, &params)) {
        zelidlLogI(context, ZEL_LOG_ANY_FAILURE_s, "initialize");
        ZELOsapiHeap_freeStructure(sample);
        return nullptr;
    }
    return sample;
}

[[maybe_unused]] void zelidlDestroyDataI(const ZELCdrTypeDesc *type, void *sample)
{
    if (sample == nullptr) {
        return;
    }
    const DDS_TypeDeallocationParams_t params = DDS_TYPE_DEALLOCATION_PARAMS_DEFAULT;
    ZELCdrType_finalizeSample(type, sample, &params);
    ZELOsapiHeap_freeStructure(sample);
}

}  // namespace
)";

const char *extensibilityI(Extensibility extensibility, bool forTypeCode) {
    switch (extensibility) {
    case Extensibility::Final:
        return forTypeCode ? "DDS_FINAL_EXTENSIBILITY" : "ZEL_CDR_EXTENSIBILITY_FINAL";
    case Extensibility::Appendable:
        return forTypeCode ? "DDS_EXTENSIBLE_EXTENSIBILITY" : "ZEL_CDR_EXTENSIBILITY_APPENDABLE";
    case Extensibility::Mutable:
        break;
    }
    return forTypeCode ? "DDS_MUTABLE_EXTENSIBILITY" : "ZEL_CDR_EXTENSIBILITY_MUTABLE";
}

// The C type of any type, arrays included, as a type-id ("DDS_Long[4]").
std::string cTypeIdI(const TypeSpec &type) {
    std::string declaration = gen::cDeclaration(type, "");
    while (!declaration.empty() && declaration.back() == ' ') {
        declaration.pop_back();
    }
    if (size_t space = declaration.find(" ["); space != std::string::npos) {
        declaration.erase(space, 1);
    }
    return declaration;
}

std::string sequenceElementTypeI(const Declaration &d) {
    const std::string f = d.flatName();
    // Plain values need no call per element: the sequence moves whole buffers.
    if (gen::isPlain(d)) {
        return "&zel::plainSequenceElementType<" + f + ">";
    }
    return "&zel::structSequenceElementType<" + f + ", &" + f + "_initialize_w_params, &" + f +
           "_finalize_w_params, &" + f + "_copy>";
}

// Writes the descriptors of an anonymous type (and of its anonymous parts)
// under `name`; returns the address expression of the type's descriptor.
std::string writeDescriptorI(std::ostream &out, const TypeSpec &type, const std::string &name) {
    switch (type.form) {
    case TypeSpec::Form::Primitive:
        return std::string("&") + gen::primitiveDescriptor(type.primitive);
    case TypeSpec::Form::Named:
        return "&" + type.named->flatName() + "_g_desc";
    case TypeSpec::Form::String:
        if (type.bound == 0) {
            return "&ZELCdrType_g_string";
        }
        out << "const ZELCdrTypeDesc " << name << " = {ZEL_CDR_TK_STRING, nullptr, "
            << "static_cast<uint32_t>(sizeof(DDS_Char *)), static_cast<uint32_t>(alignof(DDS_Char *)), "
               "ZEL_CDR_EXTENSIBILITY_FINAL, 0, nullptr, "
            << type.bound << "u, nullptr, 0, nullptr, &zel::stringSequenceElementType, nullptr, nullptr};\n";
        return "&" + name;
    case TypeSpec::Form::Sequence:
    case TypeSpec::Form::Array:
        break;
    }
    std::string element = writeDescriptorI(out, *type.element, name + "_e");
    std::string cType = cTypeIdI(type);
    out << "const ZELCdrTypeDesc " << name << " = {"
        << (type.form == TypeSpec::Form::Sequence ? "ZEL_CDR_TK_SEQUENCE" : "ZEL_CDR_TK_ARRAY")
        << ", nullptr, static_cast<uint32_t>(sizeof(" << cType << ")), static_cast<uint32_t>(alignof(" << cType
        << ")), ZEL_CDR_EXTENSIBILITY_FINAL, 0, nullptr, " << type.bound << "u, " << element
        << ", 0, nullptr, nullptr, nullptr, nullptr};\n";
    return "&" + name;
}

// Writes the type-code records of an anonymous type under `name` and the
// statements that complete them into `fill`; returns the expression that
// gives the completed type code.
std::string writeTypeCodeI(std::ostream &out, std::ostream &fill, const TypeSpec &type, const std::string &name) {
    switch (type.form) {
    case TypeSpec::Form::Primitive:
        return std::string("&") + gen::primitiveTypeCode(type.primitive);
    case TypeSpec::Form::Named:
        return type.named->flatName() + "_get_typecode()";
    case TypeSpec::Form::String:
        out << "DDS_TypeCode " << name << " = {DDS_TK_STRING, nullptr, DDS_FINAL_EXTENSIBILITY, 0, nullptr, "
            << type.bound << "u, nullptr, 0, nullptr, 0, nullptr};\n";
        return "&" + name;
    case TypeSpec::Form::Sequence: {
        std::string element = writeTypeCodeI(out, fill, *type.element, name + "_e");
        out << "DDS_TypeCode " << name << " = {DDS_TK_SEQUENCE, nullptr, DDS_FINAL_EXTENSIBILITY, 0, nullptr, "
            << type.bound << "u, nullptr, 0, nullptr, 0, nullptr};\n";
        fill << "        " << name << ".contentType = " << element << ";\n";
        return "&" + name;
    }
    case TypeSpec::Form::Array:
        break;
    }
    // Nested arrays are one array type code with several dimensions.
    std::vector<uint32_t> dimensions;
    const TypeSpec *element = &type;
    while (element->form == TypeSpec::Form::Array) {
        dimensions.push_back(element->bound);
        element = element->element.get();
    }
    std::string elementCode = writeTypeCodeI(out, fill, *element, name + "_e");
    out << "const DDS_UnsignedLong " << name << "_dimensions[] = {";
    for (size_t i = 0; i < dimensions.size(); ++i) {
        out << (i == 0 ? "" : ", ") << dimensions[i] << "u";
    }
    out << "};\n";
    out << "DDS_TypeCode " << name << " = {DDS_TK_ARRAY, nullptr, DDS_FINAL_EXTENSIBILITY, 0, nullptr, 0, nullptr, "
        << dimensions.size() << "u, " << name << "_dimensions, 0, nullptr};\n";
    fill << "        " << name << ".contentType = " << elementCode << ";\n";
    return "&" + name;
}

void writeDescriptorAndTypeCodeI(std::ostream &out, const Declaration &d, const GeneratorOptions &options) {
    const std::string f = d.flatName();
    const std::string scoped = d.scopedName();
    std::ostringstream anonymous;  // descriptors and type codes of member types
    std::ostringstream fill;       // statements that complete the type code

    // Type code records.
    std::string typeCodeRecord;
    switch (d.kind) {
    case Declaration::Kind::Enum: {
        anonymous << "const DDS_TypeCode_Enumerator " << f << "_g_tc_enumerators[] = {\n";
        for (const Enumerator &e : d.enumerators) {
            anonymous << "    {\"" << e.name << "\", " << e.value << "},\n";
        }
        anonymous << "};\n";
        typeCodeRecord = "DDS_TypeCode " + f + "_g_tc = {DDS_TK_ENUM, \"" + scoped +
                         "\", DDS_FINAL_EXTENSIBILITY, 0, nullptr, 0, nullptr, 0, nullptr, " +
                         std::to_string(d.enumerators.size()) + "u, " + f + "_g_tc_enumerators};\n";
        break;
    }
    case Declaration::Kind::Alias: {
        std::string content = writeTypeCodeI(anonymous, fill, d.aliased, f + "_g_tc_aliased");
        fill << "        " << f << "_g_tc.contentType = " << content << ";\n";
        typeCodeRecord = "DDS_TypeCode " + f + "_g_tc = {DDS_TK_ALIAS, \"" + scoped +
                         "\", DDS_FINAL_EXTENSIBILITY, 0, nullptr, 0, nullptr, 0, nullptr, 0, nullptr};\n";
        break;
    }
    case Declaration::Kind::Struct: {
        std::ostringstream members;
        members << "DDS_TypeCode_Member " << f << "_g_tc_members[" << d.members.size() << "] = {\n";
        for (size_t i = 0; i < d.members.size(); ++i) {
            const Member &m = d.members[i];
            std::string code = writeTypeCodeI(anonymous, fill, m.type, f + "_g_tc_m" + std::to_string(i));
            fill << "        " << f << "_g_tc_members[" << i << "].type = " << code << ";\n";
            members << "    {\"" << m.name << "\", " << i << ", "
                    << (m.isKey ? "DDS_TYPECODE_KEY_MEMBER" : "DDS_TYPECODE_NONKEY_REQUIRED_MEMBER")
                    << ", DDS_PUBLIC_MEMBER, nullptr},\n";
        }
        members << "};\n";
        anonymous << members.str();
        typeCodeRecord = "DDS_TypeCode " + f + "_g_tc = {DDS_TK_STRUCT, \"" + scoped + "\", " +
                         extensibilityI(d.extensibility, true) + ", " + std::to_string(d.members.size()) + "u, " + f +
                         "_g_tc_members, 0, nullptr, 0, nullptr, 0, nullptr};\n";
        break;
    }
    }

    // Descriptor parts.
    std::string descriptor;
    const std::string common = "static_cast<uint32_t>(sizeof(" + f + ")), static_cast<uint32_t>(alignof(" + f + "))";
    const std::string tail = sequenceElementTypeI(d) + ", &" + f + "_get_typecode, ";
    switch (d.kind) {
    case Declaration::Kind::Enum:
        anonymous << "static_assert(sizeof(" << f << ") == 4, \"an enumeration is 32 bits\");\n";
        anonymous << "const ZELCdrEnumerator " << f << "_g_enumerators[] = {\n";
        for (const Enumerator &e : d.enumerators) {
            anonymous << "    {\"" << e.name << "\", " << e.value << "},\n";
        }
        anonymous << "};\n";
        descriptor = "{ZEL_CDR_TK_ENUM, \"" + scoped + "\", " + common +
                     ", ZEL_CDR_EXTENSIBILITY_FINAL, 0, nullptr, "
                     "0, nullptr, " +
                     std::to_string(d.enumerators.size()) + "u, " + f + "_g_enumerators, " + tail + "nullptr}";
        break;
    case Declaration::Kind::Alias: {
        std::string aliased = writeDescriptorI(anonymous, d.aliased, f + "_g_desc_aliased");
        descriptor = "{ZEL_CDR_TK_ALIAS, \"" + scoped + "\", " + common +
                     ", ZEL_CDR_EXTENSIBILITY_FINAL, 0, nullptr, "
                     "0, " +
                     aliased + ", 0, nullptr, " + tail + "nullptr}";
        break;
    }
    case Declaration::Kind::Struct: {
        std::ostringstream members;
        members << "const ZELCdrMember " << f << "_g_members[] = {\n";
        for (size_t i = 0; i < d.members.size(); ++i) {
            const Member &m = d.members[i];
            std::string type = writeDescriptorI(anonymous, m.type, f + "_g_desc_m" + std::to_string(i));
            members << "    {\"" << m.name << "\", static_cast<uint32_t>(offsetof(" << f << ", " << m.name << ")), "
                    << type << ", " << (m.isKey ? "DDS_BOOLEAN_TRUE" : "DDS_BOOLEAN_FALSE") << "},\n";
        }
        members << "};\n";
        anonymous << members.str();
        anonymous << "ZELCdrTypeCache " << f << "_g_cache{};\n";
        descriptor = "{ZEL_CDR_TK_STRUCT, \"" + scoped + "\", " + common + ", " +
                     extensibilityI(d.extensibility, false) + ", " + std::to_string(d.members.size()) + "u, " + f +
                     "_g_members, 0, nullptr, 0, nullptr, " + tail + "&" + f + "_g_cache}";
        break;
    }
    }

    out << "namespace {\n\n" << anonymous.str() << typeCodeRecord << "\n}  // namespace\n\n";
    out << "const struct ZELCdrTypeDesc " << f << "_g_desc = " << descriptor << ";\n\n";
    out << "ZEL_SEQUENCE_DEFINE(" << options.exportMacro << ", " << d.sequenceName() << ", " << f << ", " << f
        << "_g_desc.sequenceElementType);\n\n";
    out << "struct DDS_TypeCode *" << f << "_get_typecode(void)\n{\n";
    const std::string filled = fill.str();
    if (filled.empty()) {
        out << "    return &" << f << "_g_tc;\n}\n";
    } else {
        out << "    // Member and element types are filled on the first call, once.\n"
               "    static struct DDS_TypeCode *const typeCode = [] {\n"
            << filled << "        return &" << f << "_g_tc;\n    }();\n    return typeCode;\n}\n";
    }
}

void writeSampleOperationsI(std::ostream &out, const Declaration &d) {
    const std::string f = d.flatName();
    const std::string desc = "&" + f + "_g_desc";
    out << "\nDDS_Boolean " << f << "_initialize(" << f << " *sample)\n{\n"
        << "    const struct DDS_TypeAllocationParams_t params = DDS_TYPE_ALLOCATION_PARAMS_DEFAULT;\n"
        << "    return zelidlInitializeI(" << desc << ", sample, &params, \"" << f << "_initialize\");\n}\n";
    out << "\nDDS_Boolean " << f << "_initialize_ex(" << f
        << " *sample, DDS_Boolean allocatePointers, DDS_Boolean allocateMemory)\n{\n"
        << "    struct DDS_TypeAllocationParams_t params = DDS_TYPE_ALLOCATION_PARAMS_DEFAULT;\n"
        << "    params.allocate_pointers = allocatePointers;\n"
        << "    params.allocate_memory = allocateMemory;\n"
        << "    return zelidlInitializeI(" << desc << ", sample, &params, \"" << f << "_initialize_ex\");\n}\n";
    out << "\nDDS_Boolean " << f << "_initialize_w_params(" << f
        << " *sample, const struct DDS_TypeAllocationParams_t *allocParams)\n{\n"
        << "    return zelidlInitializeI(" << desc << ", sample, allocParams, \"" << f
        << "_initialize_w_params\");\n}\n";
    out << "\nvoid " << f << "_finalize(" << f << " *sample)\n{\n"
        << "    const struct DDS_TypeDeallocationParams_t params = DDS_TYPE_DEALLOCATION_PARAMS_DEFAULT;\n"
        << "    zelidlFinalizeI(" << desc << ", sample, &params, \"" << f << "_finalize\");\n}\n";
    out << "\nvoid " << f << "_finalize_ex(" << f << " *sample, DDS_Boolean deletePointers)\n{\n"
        << "    struct DDS_TypeDeallocationParams_t params = DDS_TYPE_DEALLOCATION_PARAMS_DEFAULT;\n"
        << "    params.delete_pointers = deletePointers;\n"
        << "    zelidlFinalizeI(" << desc << ", sample, &params, \"" << f << "_finalize_ex\");\n}\n";
    out << "\nvoid " << f << "_finalize_w_params(" << f
        << " *sample, const struct DDS_TypeDeallocationParams_t *deallocParams)\n{\n"
        << "    zelidlFinalizeI(" << desc << ", sample, deallocParams, \"" << f << "_finalize_w_params\");\n}\n";
    out << "\nDDS_Boolean " << f << "_copy(" << f << " *dst, const " << f << " *src)\n{\n"
        << "    return zelidlCopyI(" << desc << ", dst, src, \"" << f << "_copy\");\n}\n";
    out << "\n"
        << f << " *" << f << "PluginSupport_create_data(void)\n{\n"
        << "    return static_cast<" << f << " *>(zelidlCreateDataI(" << desc << ", \"" << f
        << "PluginSupport_create_data\"));\n}\n";
    out << "\nvoid " << f << "PluginSupport_destroy_data(" << f << " *sample)\n{\n"
        << "    zelidlDestroyDataI(" << desc << ", sample);\n}\n";
    out << "\nvoid " << f << "PluginSupport_print_data(const " << f
        << " *sample, const char *desc, unsigned int indent)\n{\n"
        << "    ZELCdrType_printSample(" << desc << ", sample, desc, indent);\n}\n";
}

}  // namespace

std::string generateSource(const SourceFile &file, const GeneratorOptions &options) {
    std::ostringstream out;
    out << gen::banner(file, gen::outputBaseName(file, options) +
                                     ".cpp: descriptors, type codes, sequences and sample operations of " +
                                     file.baseName + ".idl.");
    out << "#include \"" << gen::outputBaseName(file, options) << ".h\"\n\n"
        << "#include <cstddef>\n#include <cstdint>\n\n"
        << "#include \"vurncore/heap.h\"\n#include \"vurncore/log.h\"\n#include \"vurncore/sequence_define.hpp\"\n\n";
    out << kSourcePrelude;
    for (const Declaration *d : file.declarations) {
        out << "\n/* ---- " << d->scopedName() << " ---- */\n\n";
        writeDescriptorAndTypeCodeI(out, *d, options);
        writeSampleOperationsI(out, *d);
    }
    return out.str();
}

}  // namespace zelidl
