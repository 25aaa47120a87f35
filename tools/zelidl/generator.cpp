#include "generator.h"

#include <sstream>

#include "generator_common.h"

namespace zelidl {

std::string generateTypeTable(const SourceFile &file, const GeneratorOptions &options)
{
    std::ostringstream out;
    out << gen::banner(file, file.baseName + "_types.inc: every type of " + file.baseName +
                                     ".idl, for code that visits them all.\n"
                                     " * Define ZELIDL_TYPE(Flat) (every type), ZELIDL_KEYED_TYPE(Flat) (types "
                                     "with key operations)\n"
                                     " * and ZELIDL_PLUGIN_TYPE(Flat) (types with a plug-in) as needed, then "
                                     "include this file.");
    const char *const macros[] = {"ZELIDL_TYPE", "ZELIDL_KEYED_TYPE", "ZELIDL_PLUGIN_TYPE"};
    for (const char *macro : macros) {
        out << "#ifndef " << macro << "\n#define " << macro << "(flat)\n#endif\n";
    }
    for (const Declaration *d : file.declarations) {
        out << "ZELIDL_TYPE(" << d->flatName() << ")\n";
    }
    for (const Declaration *d : file.declarations) {
        if (gen::hasKeyOperations(*d)) {
            out << "ZELIDL_KEYED_TYPE(" << d->flatName() << ")\n";
        }
    }
    for (const Declaration *d : file.declarations) {
        if (gen::hasPlugin(*d, options)) {
            out << "ZELIDL_PLUGIN_TYPE(" << d->flatName() << ")\n";
        }
    }
    for (const char *macro : macros) {
        out << "#undef " << macro << "\n";
    }
    return out.str();
}

GeneratedFiles generate(const Model &model, const SourceFile &file, const GeneratorOptions &options)
{
    // Plug-in types may be named for a whole set of files: each file handles
    // those it declares and ignores the others.
    for (const std::string &name : options.pluginTypes) {
        const Declaration *found = model.find(name);
        if (found != nullptr && found->kind != Declaration::Kind::Struct) {
            throw CompileError(found->location, "plug-in type '" + name + "' is not a struct");
        }
    }
    GeneratedFiles files;
    files.header = generateHeader(file, options);
    files.source = generateSource(file, options);
    files.pluginSource = generatePluginSource(file, options);
    files.typeTable = generateTypeTable(file, options);
    return files;
}

}  // namespace zelidl
