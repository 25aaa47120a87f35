// Spelling of IDL types in generated C and C++, shared by the generators.
#pragma once

#include <ostream>
#include <string>

#include "generator.h"
#include "model.h"

namespace zelidl::gen {

// The C type of a primitive ("DDS_Long"), its engine descriptor
// ("ZELCdrType_g_long"), its type code ("DDS_g_tc_long") and the platform
// sequence of it ("DDS_LongSeq").
const char *primitiveCType(PrimitiveKind kind);
const char *primitiveDescriptor(PrimitiveKind kind);
const char *primitiveTypeCode(PrimitiveKind kind);
const char *primitiveSequence(PrimitiveKind kind);

// The C type of a non-array type ("DDS_Char *", "DDS_LongSeq", "A_B").
std::string cTypeName(const TypeSpec &type);
// A C declaration of `name` with `type`, arrays included ("DDS_Long value[4]").
std::string cDeclaration(const TypeSpec &type, const std::string &name);

// True when a value of the type owns no heap memory (numbers, enums and
// structs or arrays of them): its samples are plain memory.
bool isPlain(const TypeSpec &type);
bool isPlain(const Declaration &declaration);

// Whether a type gets the key operations, and whether it gets a plug-in.
bool hasKeyOperations(const Declaration &declaration);
bool hasPlugin(const Declaration &declaration, const GeneratorOptions &options);

// The banner at the top of each generated file.
std::string banner(const SourceFile &file, const std::string &what);

// The base name of the generated files: the option, or the IDL file's.
std::string outputBaseName(const SourceFile &file, const GeneratorOptions &options);

// "API " or "" when no export macro was given.
std::string exportPrefix(const GeneratorOptions &options);

// The typed data writer and data reader of a type with a plug-in: their
// declarations in the header and their definitions in the plug-in source.
void writeTypedDeclarations(std::ostream &out, const Declaration &declaration, const GeneratorOptions &options);
void writeTypedDefinitions(std::ostream &out, const Declaration &declaration);

}  // namespace zelidl::gen
