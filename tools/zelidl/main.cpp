// zelidl: compiles one IDL file into its C header and C++ type support.
//
//   zelidl [-I dir]... [-o outdir] [--export-macro M] [--export-header H]
//          [--plugin-type A::B]... [--type-table] [--depfile F]
//          [--rename-module A=B]... [--output-basename N] [--layout-table] file.idl
//
// Writes <outdir>/<base>.h, <base>.cpp and <base>Plugin.cpp (and
// <base>_types.inc with --type-table, <base>_layout.inc with
// --layout-table), <base> being the IDL file's name or --output-basename.
// --rename-module names the types of module A as if declared in module B. Exits 1 with a message on standard
// error at the first fault, 2 on a bad command line.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "generator.h"
#include "parser.h"

namespace {

struct CommandLine {
    std::vector<std::string> includeDirs;
    std::string outputDir = ".";
    std::string depfile;
    bool typeTable = false;
    bool layoutTable = false;
    std::vector<std::pair<std::string, std::string>> renames;  // from, to
    zelidl::GeneratorOptions options;
    std::string input;
};

void usageI() {
    std::cerr << "usage: zelidl [-I dir]... [-o outdir] [--export-macro M] [--export-header H]\n"
                 "              [--plugin-type A::B]... [--type-table] [--depfile F]\n"
                 "              [--rename-module A=B]... [--output-basename N] [--layout-table] file.idl\n";
}

bool parseCommandLineI(int argc, char **argv, CommandLine &line) {
    std::vector<std::string> args(argv + 1, argv + argc);
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string &arg = args[i];
        auto value = [&](std::string &target) {
            if (i + 1 >= args.size()) {
                std::cerr << "zelidl: " << arg << " needs a value\n";
                return false;
            }
            target = args[++i];
            return true;
        };
        std::string text;
        if (arg == "-I") {
            if (!value(text)) {
                return false;
            }
            line.includeDirs.push_back(text);
        } else if (arg.rfind("-I", 0) == 0) {
            line.includeDirs.push_back(arg.substr(2));
        } else if (arg == "-o") {
            if (!value(line.outputDir)) {
                return false;
            }
        } else if (arg == "--export-macro") {
            if (!value(line.options.exportMacro)) {
                return false;
            }
        } else if (arg == "--export-header") {
            if (!value(line.options.exportHeader)) {
                return false;
            }
        } else if (arg == "--plugin-type") {
            if (!value(text)) {
                return false;
            }
            line.options.pluginTypes.insert(text);
        } else if (arg == "--type-table") {
            line.typeTable = true;
        } else if (arg == "--layout-table") {
            line.layoutTable = true;
        } else if (arg == "--output-basename") {
            if (!value(line.options.outputBaseName)) {
                return false;
            }
        } else if (arg == "--rename-module") {
            if (!value(text)) {
                return false;
            }
            const size_t equals = text.find('=');
            if (equals == std::string::npos) {
                std::cerr << "zelidl: --rename-module needs FROM=TO\n";
                return false;
            }
            line.renames.emplace_back(text.substr(0, equals), text.substr(equals + 1));
        } else if (arg == "--depfile") {
            if (!value(line.depfile)) {
                return false;
            }
        } else if (!arg.empty() && arg[0] == '-') {
            std::cerr << "zelidl: unknown option " << arg << "\n";
            return false;
        } else if (line.input.empty()) {
            line.input = arg;
        } else {
            std::cerr << "zelidl: one IDL file per run\n";
            return false;
        }
    }
    if (line.input.empty()) {
        std::cerr << "zelidl: no IDL file given\n";
        return false;
    }
    return true;
}

bool writeFileI(const std::filesystem::path &path, const std::string &contents) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << contents;
    out.close();
    if (!out) {
        std::cerr << "zelidl: cannot write " << path.string() << "\n";
        return false;
    }
    return true;
}

std::string escapeForDepfileI(const std::string &path) {
    std::string out;
    for (char c : path) {
        if (c == ' ' || c == '#' || c == '\\') {
            out += '\\';
        } else if (c == '$') {
            out += '$';
        }
        out += c;
    }
    return out;
}

}  // namespace

int main(int argc, char **argv) {
    CommandLine line;
    if (!parseCommandLineI(argc, argv, line)) {
        usageI();
        return 2;
    }
    try {
        zelidl::Frontend frontend(line.includeDirs);
        for (const auto &[from, to] : line.renames) {
            frontend.renameModule(from, to);
        }
        const zelidl::SourceFile &file = frontend.load(line.input);
        zelidl::GeneratedFiles files = zelidl::generate(frontend.model(), file, line.options);

        std::filesystem::path dir(line.outputDir);
        std::error_code error;
        std::filesystem::create_directories(dir, error);
        const std::string base = line.options.outputBaseName.empty() ? file.baseName : line.options.outputBaseName;
        const std::filesystem::path header = dir / (base + ".h");
        bool ok = writeFileI(header, files.header) && writeFileI(dir / (base + ".cpp"), files.source) &&
                  writeFileI(dir / (base + "Plugin.cpp"), files.pluginSource);
        if (ok && line.typeTable) {
            ok = writeFileI(dir / (base + "_types.inc"), files.typeTable);
        }
        if (ok && line.layoutTable) {
            ok = writeFileI(dir / (base + "_layout.inc"), files.layoutTable);
        }
        if (ok && !line.depfile.empty()) {
            // The outputs depend on every IDL file read.
            std::string deps = escapeForDepfileI(std::filesystem::absolute(header).lexically_normal().string()) + ":";
            for (const std::string &path : frontend.loadedPaths()) {
                deps += " \\\n  " + escapeForDepfileI(std::filesystem::absolute(path).lexically_normal().string());
            }
            ok = writeFileI(line.depfile, deps + "\n");
        }
        return ok ? 0 : 1;
    } catch (const zelidl::CompileError &e) {
        std::cerr << e.what() << "\n";
        return 1;
    } catch (const std::exception &e) {
        std::cerr << "zelidl: " << e.what() << "\n";
        return 1;
    }
}
