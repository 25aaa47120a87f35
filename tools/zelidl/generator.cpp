#include "generator.h"

#include <iterator>
#include <sstream>

#include "generator_common.h"

namespace zelidl {

std::string generateTypeTable(const SourceFile &file, const GeneratorOptions &options) {
    std::ostringstream out;
    out << gen::banner(file, gen::outputBaseName(file, options) + "_types.inc: every type of " + file.baseName +
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

std::string generateLayoutTable(const SourceFile &file, const GeneratorOptions &options) {
    std::ostringstream out;
    const std::string base = gen::outputBaseName(file, options);
    out << gen::banner(file, base + "_layout.inc: each type of " + file.baseName +
                                     ".idl whose module is renamed, beside the type as\n"
                                     " * declared. Define ZELIDL_LAYOUT_STRUCT(renamed, declared), "
                                     "ZELIDL_LAYOUT_MEMBER(renamed, declared, member),\n"
                                     " * ZELIDL_LAYOUT_ENUM(renamed, declared), "
                                     "ZELIDL_LAYOUT_ENUMERATOR(renamed, declared) and\n"
                                     " * ZELIDL_LAYOUT_ALIAS(renamed, declared) as needed, then include this file.");
    const char *const macros[] = {"ZELIDL_LAYOUT_STRUCT", "ZELIDL_LAYOUT_MEMBER", "ZELIDL_LAYOUT_ENUM",
                                  "ZELIDL_LAYOUT_ENUMERATOR", "ZELIDL_LAYOUT_ALIAS"};
    const char *const parameters[] = {"(renamed, declared)", "(renamed, declared, member)", "(renamed, declared)",
                                      "(renamed, declared)", "(renamed, declared)"};
    for (size_t i = 0; i < std::size(macros); ++i) {
        out << "#ifndef " << macros[i] << "\n#define " << macros[i] << parameters[i] << "\n#endif\n";
    }
    for (const Declaration *d : file.declarations) {
        if (d->scope == d->declaredScope) {
            continue;
        }
        const std::string renamed = d->flatName();
        const std::string declared = d->declaredFlatName();
        switch (d->kind) {
        case Declaration::Kind::Struct:
            out << "ZELIDL_LAYOUT_STRUCT(" << renamed << ", " << declared << ")\n";
            for (const Member &member : d->members) {
                out << "ZELIDL_LAYOUT_MEMBER(" << renamed << ", " << declared << ", " << member.name << ")\n";
            }
            break;
        case Declaration::Kind::Enum: {
            out << "ZELIDL_LAYOUT_ENUM(" << renamed << ", " << declared << ")\n";
            const std::string renamedPrefix = d->moduleFlatName() + "_";
            std::string declaredPrefix;
            for (const std::string &module : d->declaredScope) {
                declaredPrefix += module + "_";
            }
            for (const Enumerator &enumerator : d->enumerators) {
                out << "ZELIDL_LAYOUT_ENUMERATOR(" << renamedPrefix << enumerator.name << ", " << declaredPrefix
                    << enumerator.name << ")\n";
            }
            break;
        }
        case Declaration::Kind::Alias:
            out << "ZELIDL_LAYOUT_ALIAS(" << renamed << ", " << declared << ")\n";
            break;
        }
    }
    for (const char *macro : macros) {
        out << "#undef " << macro << "\n";
    }
    return out.str();
}

GeneratedFiles generate(const Model &model, const SourceFile &file, const GeneratorOptions &options) {
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
    files.layoutTable = generateLayoutTable(file, options);
    return files;
}

}  // namespace zelidl
