// Turns one parsed IDL file into its C header, its type-support source and
// its plug-in source (and, on request, a table of its types).
#pragma once

#include <set>
#include <string>

#include "model.h"

namespace zelidl {

struct GeneratorOptions {
    std::string exportMacro;            // marks every exported declaration
    std::string exportHeader;           // defines exportMacro; empty: none included
    std::set<std::string> pluginTypes;  // scoped names of keyless types that also get a type plug-in
    std::string outputBaseName;         // base name of the outputs; empty: the IDL file's
};

struct GeneratedFiles {
    std::string header;        // <base>.h
    std::string source;        // <base>.cpp: descriptors, type codes, sequences, samples
    std::string pluginSource;  // <base>Plugin.cpp: serialization, keys, plug-ins, registration
    std::string typeTable;     // <base>_types.inc
    std::string layoutTable;   // <base>_layout.inc
};

// Throws CompileError when a plug-in type is not declared in `model` or is
// not a struct.
GeneratedFiles generate(const Model &model, const SourceFile &file, const GeneratorOptions &options);

// The parts of generate(), one per output.
std::string generateHeader(const SourceFile &file, const GeneratorOptions &options);
std::string generateSource(const SourceFile &file, const GeneratorOptions &options);
std::string generatePluginSource(const SourceFile &file, const GeneratorOptions &options);
std::string generateTypeTable(const SourceFile &file, const GeneratorOptions &options);
// Pairs every type of a renamed module with the type of the same name as
// declared, member by member and enumerator by enumerator, so that a test
// can check the two agree in layout and values.
std::string generateLayoutTable(const SourceFile &file, const GeneratorOptions &options);

}  // namespace zelidl
