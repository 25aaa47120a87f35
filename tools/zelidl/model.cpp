#include "model.h"

#include <algorithm>
#include <cctype>
#include <set>

namespace zelidl {

namespace {

std::string joinI(const std::vector<std::string> &parts, const std::string &separator) {
    std::string out;
    for (const std::string &part : parts) {
        if (!out.empty()) {
            out += separator;
        }
        out += part;
    }
    return out;
}

std::string describeLocationI(const SourceLocation &location) {
    return location.file + ":" + std::to_string(location.line) + ":" + std::to_string(location.column);
}

}  // namespace

std::string Declaration::scopedName() const {
    std::vector<std::string> parts = scope;
    parts.push_back(name);
    return joinI(parts, "::");
}

std::string Declaration::flatName() const {
    std::vector<std::string> parts = scope;
    parts.push_back(name);
    return joinI(parts, "_");
}

std::string Declaration::moduleFlatName() const { return joinI(scope, "_"); }

std::string Declaration::declaredFlatName() const {
    std::vector<std::string> parts = declaredScope;
    parts.push_back(name);
    return joinI(parts, "_");
}

std::string Declaration::sequenceName() const {
    std::string flat = flatName();
    if (scope != declaredScope && flat.size() > 2 && flat.compare(flat.size() - 2, 2, "_t") == 0) {
        flat.resize(flat.size() - 2);
    }
    return flat + "Seq";
}

bool Declaration::isKeyed() const {
    for (const Member &member : members) {
        if (member.isKey) {
            return true;
        }
    }
    return false;
}

std::vector<std::string> Module::path() const {
    std::vector<std::string> parts;
    for (const Module *m = this; m->parent != nullptr; m = m->parent) {
        parts.insert(parts.begin(), m->name);
    }
    return parts;
}

Model::Model() = default;

SourceFile &Model::addFile(const std::string &path, const std::string &baseName) {
    files_.push_back(std::make_unique<SourceFile>());
    files_.back()->path = path;
    files_.back()->baseName = baseName;
    return *files_.back();
}

namespace {

// "A::B" -> {"A", "B"}; empty when a component is not an identifier.
std::vector<std::string> splitScopedNameI(const std::string &scoped) {
    std::vector<std::string> parts;
    size_t start = 0;
    for (;;) {
        size_t end = scoped.find("::", start);
        std::string part = scoped.substr(start, end == std::string::npos ? std::string::npos : end - start);
        bool identifier = !part.empty() && (std::isalpha(static_cast<unsigned char>(part[0])) || part[0] == '_');
        for (char c : part) {
            identifier = identifier && (std::isalnum(static_cast<unsigned char>(c)) || c == '_');
        }
        if (!identifier) {
            return {};
        }
        parts.push_back(part);
        if (end == std::string::npos) {
            return parts;
        }
        start = end + 2;
    }
}

}  // namespace

void Model::renameModule(const std::string &from, const std::string &to) {
    const SourceLocation nowhere{"<command line>", 1, 1};
    std::vector<std::string> fromParts = splitScopedNameI(from);
    std::vector<std::string> toParts = splitScopedNameI(to);
    if (fromParts.empty() || toParts.empty()) {
        throw CompileError(nowhere, "cannot rename module '" + from + "' to '" + to + "': not a module name");
    }
    for (const auto &rename : renames_) {
        if (rename.first == fromParts) {
            throw CompileError(nowhere, "module '" + from + "' is renamed twice");
        }
    }
    renames_.emplace_back(std::move(fromParts), std::move(toParts));
}

std::vector<std::string> Model::renamedI(const std::vector<std::string> &path) const {
    // The longest renamed module that encloses the path wins.
    const std::pair<std::vector<std::string>, std::vector<std::string>> *best = nullptr;
    for (const auto &rename : renames_) {
        const std::vector<std::string> &from = rename.first;
        if (from.size() <= path.size() && std::equal(from.begin(), from.end(), path.begin()) &&
            (best == nullptr || from.size() > best->first.size())) {
            best = &rename;
        }
    }
    if (best == nullptr) {
        return path;
    }
    std::vector<std::string> renamed = best->second;
    renamed.insert(renamed.end(), path.begin() + static_cast<std::ptrdiff_t>(best->first.size()), path.end());
    return renamed;
}

void Model::claimCName(const std::string &cName, const SourceLocation &location) {
    auto [it, inserted] = cNames_.emplace(cName, location);
    if (!inserted) {
        throw CompileError(location, "C name '" + cName + "' is already used by the declaration at " +
                                             describeLocationI(it->second));
    }
}

Declaration &Model::declare(Module &scope, Declaration::Kind kind, const std::string &name,
                            const SourceLocation &location, SourceFile &file) {
    if (scope.types.count(name) != 0 || scope.modules.count(name) != 0 || scope.enumerators.count(name) != 0) {
        throw CompileError(location, "'" + name + "' is already declared in this scope");
    }
    auto declaration = std::make_unique<Declaration>();
    declaration->kind = kind;
    declaration->name = name;
    declaration->declaredScope = scope.path();
    declaration->scope = renamedI(declaration->declaredScope);
    declaration->location = location;
    declaration->file = &file;
    std::string flat = declaration->flatName();
    if (isReservedWord(flat)) {
        throw CompileError(location, "'" + flat + "' is a reserved word in C or C++");
    }
    // The type's own name and its sequence's name are C names.
    claimCName(flat, location);
    claimCName(declaration->sequenceName(), location);
    Declaration &result = *declaration;
    scope.types.emplace(name, declaration.get());
    file.declarations.push_back(declaration.get());
    declarations_.push_back(std::move(declaration));
    return result;
}

void Model::declareEnumerator(Module &scope, const std::string &name, const std::string &cName,
                              const SourceLocation &location) {
    if (scope.types.count(name) != 0 || scope.modules.count(name) != 0 || scope.enumerators.count(name) != 0) {
        throw CompileError(location, "'" + name + "' is already declared in this scope");
    }
    if (isReservedWord(cName)) {
        throw CompileError(location, "'" + cName + "' is a reserved word in C or C++");
    }
    claimCName(cName, location);
    scope.enumerators.emplace(name, location);
}

Module &Model::openModule(Module &scope, const std::string &name, const SourceLocation &location) {
    if (scope.types.count(name) != 0 || scope.enumerators.count(name) != 0) {
        throw CompileError(location, "'" + name + "' is already declared in this scope");
    }
    auto it = scope.modules.find(name);
    if (it == scope.modules.end()) {
        auto module = std::make_unique<Module>();
        module->name = name;
        module->parent = &scope;
        it = scope.modules.emplace(name, std::move(module)).first;
    }
    return *it->second;
}

const Declaration &Model::resolve(const Module &scope, const std::vector<std::string> &parts, bool absolute,
                                  const SourceLocation &location) const {
    std::string written = (absolute ? "::" : "") + joinI(parts, "::");
    // The first component decides where the name lives: the innermost scope
    // that knows it wins, without falling back outwards when the rest fails.
    const Module *start = absolute ? &root_ : &scope;
    const Module *module = nullptr;
    const Declaration *found = nullptr;
    for (const Module *m = start; m != nullptr && module == nullptr && found == nullptr; m = m->parent) {
        if (auto t = m->types.find(parts.front()); t != m->types.end()) {
            found = t->second;
        } else if (auto sub = m->modules.find(parts.front()); sub != m->modules.end()) {
            module = sub->second.get();
        } else if (m->enumerators.count(parts.front()) != 0) {
            throw CompileError(location, "'" + written + "' names an enumerator, not a type");
        }
    }
    for (size_t i = 1; i < parts.size(); ++i) {
        if (module == nullptr) {
            if (found != nullptr) {
                throw CompileError(location, "'" + found->scopedName() + "' is not a module, in '" + written + "'");
            }
            break;
        }
        const std::string &part = parts[i];
        if (auto t = module->types.find(part); t != module->types.end()) {
            found = t->second;
            module = nullptr;
        } else if (auto sub = module->modules.find(part); sub != module->modules.end()) {
            module = sub->second.get();
        } else {
            module = nullptr;
            found = nullptr;
            break;
        }
    }
    if (found == nullptr) {
        throw CompileError(location, module != nullptr ? "'" + written + "' is a module, not a type"
                                                       : "unknown type '" + written + "'");
    }
    if (!found->complete) {
        throw CompileError(location, "'" + found->scopedName() + "' is used inside its own definition");
    }
    return *found;
}

const Declaration *Model::find(const std::string &scopedName) const {
    for (const auto &declaration : declarations_) {
        if (declaration->scopedName() == scopedName) {
            return declaration.get();
        }
    }
    return nullptr;
}

bool isReservedWord(const std::string &word) {
    static const std::set<std::string> words = {
            // C
            "auto", "break", "case", "char", "const", "continue", "default", "do", "double", "else", "enum", "extern",
            "float", "for", "goto", "if", "inline", "int", "long", "register", "restrict", "return", "short", "signed",
            "sizeof", "static", "struct", "switch", "typedef", "union", "unsigned", "void", "volatile", "while",
            "_Alignas", "_Alignof", "_Atomic", "_Bool", "_Complex", "_Generic", "_Imaginary", "_Noreturn",
            "_Static_assert", "_Thread_local",
            // C++ beyond C
            "alignas", "alignof", "and", "and_eq", "asm", "bitand", "bitor", "bool", "catch", "char8_t", "char16_t",
            "char32_t", "class", "compl", "concept", "consteval", "constexpr", "constinit", "const_cast", "co_await",
            "co_return", "co_yield", "decltype", "delete", "dynamic_cast", "explicit", "export", "false", "friend",
            "mutable", "namespace", "new", "noexcept", "not", "not_eq", "nullptr", "operator", "or", "or_eq", "private",
            "protected", "public", "reinterpret_cast", "requires", "static_assert", "static_cast", "template", "this",
            "thread_local", "throw", "true", "try", "typeid", "typename", "using", "virtual", "wchar_t", "xor",
            "xor_eq",
            // macros of the standard headers that generated code includes
            "NULL", "offsetof"};
    return words.count(word) != 0;
}

}  // namespace zelidl
