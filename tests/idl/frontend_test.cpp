// The IDL front end: what it accepts, how names resolve, and where it
// reports what it rejects.
#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "generator.h"
#include "parser.h"

namespace {

using zelidl::CompileError;
using zelidl::Declaration;
using zelidl::Frontend;
using zelidl::SourceFile;
using zelidl::TypeSpec;

// A frontend over files held in memory.
class Files {
public:
    Files &add(const std::string &path, const std::string &text) {
        files_[path] = text;
        return *this;
    }

    Frontend frontend(std::vector<std::string> includeDirs = {}) const {
        auto files = files_;
        return Frontend(std::move(includeDirs), [files](const std::string &path) -> std::optional<std::string> {
            auto it = files.find(std::filesystem::path(path).lexically_normal().generic_string());
            if (it == files.end()) {
                return std::nullopt;
            }
            return it->second;
        });
    }

private:
    std::map<std::string, std::string> files_;
};

// The message of the error that `compile` raises; empty when it succeeds.
template <class Compile>
std::string errorFrom(Compile compile) {
    try {
        compile();
    } catch (const CompileError &e) {
        return e.what();
    }
    return "";
}

// The message of the error that loading `source` as t.idl raises.
std::string errorOf(const std::string &source) {
    Frontend frontend = Files().add("t.idl", source).frontend();
    return errorFrom([&] { frontend.load("t.idl"); });
}

const Declaration &declarationNamed(const SourceFile &file, const std::string &scopedName) {
    for (const Declaration *d : file.declarations) {
        if (d->scopedName() == scopedName) {
            return *d;
        }
    }
    throw std::runtime_error("no declaration " + scopedName);
}

TEST(IdlFrontend, RejectsFaultsAtTheirPosition) {
    const std::pair<const char *, const char *> cases[] = {
            {"module A { struct S { long x; } };", "t.idl:1:33: error: expected ';' but found '}'"},
            {"struct S {\n  long x;\n  $ y;\n};", "t.idl:3:3: error: unexpected character '$'"},
            {"/* open\nstruct S { long x; };", "t.idl:1:1: error: unterminated comment"},
            {"struct S {\n  Missing m;\n};", "t.idl:2:3: error: unknown type 'Missing'"},
            {"@optional struct S { long x; };", "t.idl:1:1: error: unsupported annotation '@optional'"},
            {"@key struct S { long x; };", "t.idl:1:1: error: annotation '@key' does not apply to a struct"},
            {"struct S { @mutable long x; };", "t.idl:1:12: error: annotation '@mutable' does not apply to a member"},
            {"@final @mutable struct S { long x; };", "t.idl:1:8: error: a struct has one extensibility kind"},
            {"enum E { @value A };", "t.idl:1:10: error: annotation '@value' needs an integer argument"},
            {"struct S { long x; short x; };", "t.idl:1:26: error: member 'x' is already declared"},
            {"struct S { long x; };\nenum S { A };", "t.idl:2:6: error: 'S' is already declared in this scope"},
            {"struct S { long class; };", "t.idl:1:17: error: 'class' is a reserved word in C or C++"},
            {"enum E { A, @value(0) B };", "t.idl:1:13: error: enumerator 'B' repeats the value 0 of 'A'"},
            {"enum E { A };\nenum F { A };", "t.idl:2:10: error: 'A' is already declared in this scope"},
            {"struct S { string<0> s; };", "t.idl:1:19: error: a string bound must be between 1 and 4294967295"},
            {"struct S { long a[4294967296]; };",
             "t.idl:1:19: error: an array length must be between 1 and 4294967295"},
            {"typedef long A[2];", "t.idl:1:15: error: a typedef of an array is not supported"},
            {"struct S { sequence<sequence<long> > s; };",
             "t.idl:1:21: error: a sequence of an anonymous sequence is not supported; name it with a typedef"},
            {"struct S { long x; S next; };", "t.idl:1:20: error: 'S' is used inside its own definition"},
            {"#pragma once\nstruct S { long x; };", "t.idl:1:2: error: unsupported directive '#pragma'"},
            {"struct S { long double d; };", "t.idl:1:12: error: unsupported type 'long double'"},
            {"struct S { wstring w; };", "t.idl:1:12: error: unsupported type 'wstring'"},
            {"union U { long x; };", "t.idl:1:1: error: unsupported construct 'union'"},
            {"struct S { };", "t.idl:1:12: error: struct 'S' has no members"},
            {"module M { struct S { long x; }; };\nstruct T { M m; };",
             "t.idl:2:12: error: 'M' is a module, not a type"},
            {"struct S { long x; };\nstruct T { S::x y; };", "t.idl:2:12: error: 'S' is not a module, in 'S::x'"},
            {"enum E { A };\nstruct T { A a; };", "t.idl:2:12: error: 'A' names an enumerator, not a type"},
            {"struct S { long x = 1; };", "t.idl:1:19: error: unexpected character '='"},
            {"struct S { long x; };\nmodule A { #include \"x.idl\"\n};",
             "t.idl:2:12: error: #include is only supported outside modules"},
            {"struct S { octet o[0x]; };", "t.idl:1:20: error: hexadecimal literal without digits"},
            {"struct S { octet o[09]; };", "t.idl:1:21: error: invalid digit '9' in integer literal"},
            {"struct A_B { long x; };\nmodule A { struct B { long y; }; };",
             "t.idl:2:19: error: C name 'A_B' is already used by the declaration at t.idl:1:8"},
            {"struct S { long x; }", "t.idl:1:21: error: expected ';' but found end of file"},
    };
    for (const auto &[source, expected] : cases) {
        EXPECT_EQ(errorOf(source), expected) << source;
    }
}

TEST(IdlFrontend, ResolvesNamesFromTheInnermostScopeOutwards) {
    Frontend frontend = Files().add("t.idl", R"(
module A {
    struct T { long x; };
    module B {
        struct T { short y; };
        struct U {
            T inner;        // A::B::T, the innermost
            A::T outer;     // from the enclosing scopes
            ::A::T rooted;
            B::T relative;  // B found in A
        };
    };
};
module A {            // reopened: still sees what it declared before
    struct V { T t; B::U u; };
};
)")
                                .frontend();
    const SourceFile &file = frontend.load("t.idl");
    const Declaration &u = declarationNamed(file, "A::B::U");
    ASSERT_EQ(u.members.size(), 4u);
    EXPECT_EQ(u.members[0].type.named->scopedName(), "A::B::T");
    EXPECT_EQ(u.members[1].type.named->scopedName(), "A::T");
    EXPECT_EQ(u.members[2].type.named->scopedName(), "A::T");
    EXPECT_EQ(u.members[3].type.named->scopedName(), "A::B::T");
    const Declaration &v = declarationNamed(file, "A::V");
    EXPECT_EQ(v.members[0].type.named->scopedName(), "A::T");
    EXPECT_EQ(v.members[1].type.named->flatName(), "A_B_U");

    // The first name component decides: once B is found in A, a name that
    // B lacks is not looked for further out.
    EXPECT_EQ(errorOf("module B { struct T { long t; }; };\nmodule A { module B { struct X { long x; }; struct Y "
                      "{ B::T t; }; }; };"),
              "t.idl:2:56: error: unknown type 'B::T'");
}

TEST(IdlFrontend, ReadsDeclaratorsEnumeratorsAndAnnotations) {
    Frontend frontend = Files().add("t.idl", R"(
enum Color { RED, @value(10) GREEN, BLUE, @value(-5) NONE, LAST };
@mutable struct S {
    @key long id, part[2][3];
    sequence<Color, 0x10> history;
    string text;
};
struct D { long d; };
)")
                                .frontend();
    const SourceFile &file = frontend.load("t.idl");

    const Declaration &color = declarationNamed(file, "Color");
    std::vector<std::pair<std::string, int32_t>> values;
    for (const auto &e : color.enumerators) {
        values.emplace_back(e.name, e.value);
    }
    EXPECT_EQ(values, (std::vector<std::pair<std::string, int32_t>>{
                              {"RED", 0}, {"GREEN", 10}, {"BLUE", 11}, {"NONE", -5}, {"LAST", -4}}))
            << "a plain enumerator follows the previous value";

    const Declaration &s = declarationNamed(file, "S");
    EXPECT_EQ(s.extensibility, zelidl::Extensibility::Mutable);
    EXPECT_EQ(declarationNamed(file, "D").extensibility, zelidl::Extensibility::Appendable);
    ASSERT_EQ(s.members.size(), 4u);
    // @key applies to every declarator of its member declaration.
    EXPECT_TRUE(s.members[0].isKey && s.members[1].isKey);
    EXPECT_FALSE(s.members[2].isKey || s.members[3].isKey);
    EXPECT_EQ(s.members[0].type.form, TypeSpec::Form::Primitive);
    const TypeSpec &part = s.members[1].type;
    ASSERT_EQ(part.form, TypeSpec::Form::Array);
    EXPECT_EQ(part.bound, 2u);
    ASSERT_EQ(part.element->form, TypeSpec::Form::Array);
    EXPECT_EQ(part.element->bound, 3u);
    EXPECT_EQ(s.members[2].type.bound, 16u);
    EXPECT_EQ(s.members[2].type.element->named, &color);
    EXPECT_EQ(s.members[3].type.form, TypeSpec::Form::String);
    EXPECT_EQ(s.members[3].type.bound, 0u);
}

TEST(IdlFrontend, ReadsEachIncludedFileOnceAndKeepsItsDeclarationsApart) {
    Files files;
    files.add("dir/main.idl", "#include \"common.idl\"\n#include <other.idl>\nstruct M { C c; O o; };")
            .add("dir/common.idl", "struct C { long c; };")
            .add("inc/common.idl", "struct Wrong { long w; };")
            .add("inc/other.idl", "#include \"../dir/common.idl\"\nstruct O { C c; };");
    Frontend frontend = files.frontend({"inc"});
    const SourceFile &main = frontend.load("dir/main.idl");

    ASSERT_EQ(main.declarations.size(), 1u);
    EXPECT_EQ(main.declarations[0]->name, "M");
    ASSERT_EQ(main.includes.size(), 2u);
    // Beside the including file before the include directories.
    EXPECT_EQ(main.includes[0]->path, "dir/common.idl");
    EXPECT_EQ(main.includes[1]->path, "inc/other.idl");
    // The same file under another spelling is the file already read.
    ASSERT_EQ(main.includes[1]->includes.size(), 1u);
    EXPECT_EQ(main.includes[1]->includes[0], main.includes[0]);
    EXPECT_EQ(frontend.loadedPaths(), (std::vector<std::string>{"dir/main.idl", "dir/common.idl", "inc/other.idl"}));

    Files cycle;
    cycle.add("a.idl", "#include \"b.idl\"\nstruct A { long a; };").add("b.idl", "#include \"a.idl\"\n");
    Frontend cyclic = cycle.frontend();
    EXPECT_EQ(errorFrom([&] { cyclic.load("a.idl"); }),
              "b.idl:1:1: error: 'a.idl' includes itself through this #include");

    EXPECT_EQ(errorOf("#include \"nowhere.idl\"\n"),
              "t.idl:1:1: error: cannot find 'nowhere.idl' beside the including file or in the include directories");
}

TEST(IdlGenerator, RejectsAPluginTypeThatIsNotAStruct) {
    Frontend frontend = Files().add("t.idl", "enum E { A };\nstruct S { E e; };").frontend();
    const SourceFile &file = frontend.load("t.idl");
    zelidl::GeneratorOptions options;
    options.pluginTypes = {"E"};
    EXPECT_EQ(errorFrom([&] { zelidl::generate(frontend.model(), file, options); }),
              "t.idl:1:6: error: plug-in type 'E' is not a struct");
    options.pluginTypes = {"S", "Elsewhere::T"};
    EXPECT_NE(zelidl::generate(frontend.model(), file, options).pluginSource.find("SPlugin_new"), std::string::npos);
}

// The DDS API's own types come from this generator, so a header that has no
// plug-in to register must not include the API it would register with.
TEST(IdlGenerator, OnlyFilesWithPlugInsRegisterThemThroughTheDdsApi) {
    Frontend frontend = Files().add("t.idl", "struct Plain { long a; };\nstruct Extra { long b; };")
                                .add("k.idl", "struct Keyed { @key long id; };")
                                .frontend();
    const std::string api = "#include \"vurnc/dds_domain.h\"";
    zelidl::GeneratorOptions options;
    const SourceFile &plain = frontend.load("t.idl");
    zelidl::GeneratedFiles files = zelidl::generate(frontend.model(), plain, options);
    EXPECT_EQ(files.header.find(api), std::string::npos);
    EXPECT_EQ(files.pluginSource.find("DDS_DomainParticipant_"), std::string::npos);

    options.pluginTypes = {"Extra"};
    files = zelidl::generate(frontend.model(), plain, options);
    EXPECT_NE(files.header.find(api), std::string::npos);
    EXPECT_NE(files.header.find("DDS_ReturnCode_t ExtraTypeSupport_register_type("), std::string::npos);
    EXPECT_EQ(files.header.find("PlainTypeSupport_"), std::string::npos);

    files = zelidl::generate(frontend.model(), frontend.load("k.idl"), zelidl::GeneratorOptions{});
    EXPECT_NE(files.header.find(api), std::string::npos);
}

}  // namespace
