// What the IDL declares: modules, enumerations, aliases and structs, with
// member types resolved to their declarations.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "diagnostic.h"

namespace zelidl {

enum class PrimitiveKind { Boolean, Octet, Char, Short, UShort, Long, ULong, LongLong, ULongLong, Float, Double };

struct Declaration;

// A type as written at a member or alias: a primitive, a string, an
// anonymous sequence or array, or a reference to a declaration.
struct TypeSpec {
    enum class Form { Primitive, String, Sequence, Array, Named };

    Form form = Form::Primitive;
    PrimitiveKind primitive = PrimitiveKind::Long;
    uint32_t bound = 0;                  // strings and sequences (0 unbounded); arrays: length
    std::unique_ptr<TypeSpec> element;   // sequences and arrays
    const Declaration *named = nullptr;  // Form::Named
    SourceLocation location;
};

enum class Extensibility { Final, Appendable, Mutable };

struct Member {
    std::string name;
    TypeSpec type;
    bool isKey = false;
    SourceLocation location;
};

struct Enumerator {
    std::string name;
    int32_t value = 0;
    SourceLocation location;
};

struct SourceFile;

struct Declaration {
    enum class Kind { Enum, Alias, Struct };

    Kind kind = Kind::Struct;
    std::string name;
    std::vector<std::string> scope;          // enclosing modules, outermost first, as renamed
    std::vector<std::string> declaredScope;  // enclosing modules as written in the IDL
    SourceLocation location;
    const SourceFile *file = nullptr;
    bool complete = false;  // a struct is usable once its closing brace is read

    Extensibility extensibility = Extensibility::Appendable;  // structs
    std::vector<Member> members;                              // structs
    std::vector<Enumerator> enumerators;                      // enums
    TypeSpec aliased;                                         // aliases

    std::string scopedName() const;        // "A::B::Name"
    std::string flatName() const;          // "A_B_Name"
    std::string moduleFlatName() const;    // "A_B" ("" at global scope)
    std::string declaredFlatName() const;  // flatName() before any module rename
    // The C name of a sequence of this type: "<flat>Seq", except that a type
    // of a renamed module whose flat name ends in "_t" drops it ("A_Foo_t"
    // -> "A_FooSeq"), as hand-written APIs name such sequences.
    std::string sequenceName() const;
    bool isKeyed() const;  // a struct with @key members
};

// One IDL file: what it includes and what it declares, in order.
struct SourceFile {
    std::string path;      // path as opened
    std::string baseName;  // file name without directory and ".idl"
    std::vector<const SourceFile *> includes;
    std::vector<const Declaration *> declarations;
};

// A module scope. Modules reopen: every file that opens "A" adds to the same
// scope.
struct Module {
    std::string name;
    Module *parent = nullptr;
    std::map<std::string, std::unique_ptr<Module>> modules;
    std::map<std::string, Declaration *> types;
    std::map<std::string, SourceLocation> enumerators;  // enumerators live in their enum's scope

    std::vector<std::string> path() const;  // names from the outermost module
};

// Everything read for one compilation: the root file and all it includes.
class Model {
public:
    Model();

    Module &root() { return root_; }
    const Module &root() const { return root_; }

    SourceFile &addFile(const std::string &path, const std::string &baseName);
    // Declarations made afterwards inside module `from` ("A" or "A::B") are
    // named as if declared in module `to`: scoped names, flat C names and
    // enumerator names change; lookups in the IDL still use `from`. Throws
    // CompileError on a malformed name or a module renamed twice.
    void renameModule(const std::string &from, const std::string &to);
    // Adds a declaration to `scope`; throws CompileError when the name is
    // taken in that scope or its flat C name is taken anywhere.
    Declaration &declare(Module &scope, Declaration::Kind kind, const std::string &name, const SourceLocation &location,
                         SourceFile &file);
    // Adds an enumerator name to `scope` (it must be unique there, and its C
    // name unique everywhere).
    void declareEnumerator(Module &scope, const std::string &name, const std::string &cName,
                           const SourceLocation &location);
    // Opens (or reopens) module `name` in `scope`.
    Module &openModule(Module &scope, const std::string &name, const SourceLocation &location);

    // Resolves a possibly scoped name from `scope`: the first component is
    // looked up in `scope` and then in each enclosing scope outwards (only
    // from the root when `absolute`); the rest inside what was found.
    const Declaration &resolve(const Module &scope, const std::vector<std::string> &parts, bool absolute,
                               const SourceLocation &location) const;

    // The declaration with this scoped name ("A::B"), or NULL.
    const Declaration *find(const std::string &scopedName) const;

private:
    void claimCName(const std::string &cName, const SourceLocation &location);
    std::vector<std::string> renamedI(const std::vector<std::string> &path) const;

    Module root_;
    std::vector<std::unique_ptr<SourceFile>> files_;
    std::vector<std::unique_ptr<Declaration>> declarations_;
    std::map<std::string, SourceLocation> cNames_;  // every generated C name, to catch collisions
    std::vector<std::pair<std::vector<std::string>, std::vector<std::string>>> renames_;  // from, to
};

// True for words that C or C++ reserve, which cannot name a generated member
// or type.
bool isReservedWord(const std::string &word);

}  // namespace zelidl
