// Renamed modules: the names a renamed module's types, enumerators and
// sequences take in generated code, the output base name, and the table that
// pairs each renamed type with its type as declared.
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "generator.h"
#include "parser.h"

namespace {

using zelidl::CompileError;
using zelidl::Frontend;
using zelidl::SourceFile;

const char *const kSource = R"(
module M {
    enum Kind { @value(3) FIRST, SECOND };
    @final struct Item_t { long x; };
    typedef M::Item_t Handle_t;
    @final struct Holder {
        sequence<Item_t, 4> items;
        sequence<Handle_t, 2> handles;
        Kind kind;
        string<8> label;
    };
    module N { @final struct Inner_t { M::Holder holder; }; };
};
module Other {
    @final struct Plain_t { sequence<M::Item_t, 2> items; };
};
)";

Frontend frontendOf(const std::string &source) {
    return Frontend({}, [source](const std::string &) -> std::optional<std::string> { return source; });
}

bool contains(const std::string &text, const std::string &part) { return text.find(part) != std::string::npos; }

TEST(IdlRename, TypesOfARenamedModuleTakeItsNewNameInCAndInDescriptors) {
    Frontend frontend = frontendOf(kSource);
    frontend.renameModule("M", "R");
    const SourceFile &file = frontend.load("t.idl");
    zelidl::GeneratorOptions options;
    const zelidl::GeneratedFiles files = zelidl::generate(frontend.model(), file, options);

    // Types, enumerators and nested modules move; IDL lookups still say M.
    EXPECT_TRUE(contains(files.header, "typedef enum R_Kind {\n    R_FIRST = 3,\n    R_SECOND = 4\n} R_Kind;"));
    EXPECT_TRUE(contains(files.header, "typedef struct R_N_Inner_t {\n    R_Holder holder;\n} R_N_Inner_t;"));
    EXPECT_TRUE(contains(files.source, "\"R::Holder\""));
    EXPECT_FALSE(contains(files.header + files.source + files.pluginSource, "M_"));

    // Sequences of renamed "_t" types drop the suffix; others keep their name.
    EXPECT_TRUE(contains(files.header, "    R_ItemSeq items;\n    R_HandleSeq handles;\n"));
    EXPECT_TRUE(contains(files.header, "ZEL_SEQUENCE_DECLARE(, R_ItemSeq, R_Item_t);"));
    EXPECT_TRUE(contains(files.header, "ZEL_SEQUENCE_DECLARE(, R_HolderSeq, R_Holder);"));
    EXPECT_TRUE(contains(files.header, "ZEL_SEQUENCE_DECLARE(, Other_Plain_tSeq, Other_Plain_t);"));
    EXPECT_TRUE(contains(files.header, "    R_ItemSeq items;\n} Other_Plain_t;"));
    EXPECT_TRUE(contains(files.source, "ZEL_SEQUENCE_DEFINE(, R_ItemSeq, R_Item_t,"));

    // Without the rename nothing changes.
    Frontend plain = frontendOf(kSource);
    const SourceFile &plainFile = plain.load("t.idl");
    const std::string header = zelidl::generate(plain.model(), plainFile, options).header;
    EXPECT_TRUE(contains(header, "    M_Item_tSeq items;\n    M_Handle_tSeq handles;\n"));
    EXPECT_TRUE(contains(header, "M_FIRST = 3"));
}

TEST(IdlRename, TheInnermostRenamedModuleWinsAndFaultsAreReported) {
    Frontend frontend = frontendOf(kSource);
    frontend.renameModule("M", "R");
    frontend.renameModule("M::N", "S::T");
    const SourceFile &file = frontend.load("t.idl");
    const std::string header = zelidl::generate(frontend.model(), file, {}).header;
    EXPECT_TRUE(contains(header, "typedef struct S_T_Inner_t {\n    R_Holder holder;"));
    EXPECT_TRUE(contains(header, "S_T_InnerSeq"));

    auto renameError = [](const std::string &from, const std::string &to) {
        Frontend f = frontendOf(kSource);
        try {
            f.renameModule("M", "R");
            f.renameModule(from, to);
        } catch (const CompileError &e) {
            return std::string(e.what());
        }
        return std::string();
    };
    EXPECT_EQ(renameError("M", "Q"), "<command line>:1:1: error: module 'M' is renamed twice");
    EXPECT_EQ(renameError("1M", "Q"), "<command line>:1:1: error: cannot rename module '1M' to 'Q': not a module name");
    EXPECT_EQ(renameError("A::", "Q"),
              "<command line>:1:1: error: cannot rename module 'A::' to 'Q': not a module name");
    EXPECT_EQ(renameError("A", ""), "<command line>:1:1: error: cannot rename module 'A' to '': not a module name");

    // Dropping "_t" may make two sequences one C name: reported at the second.
    Frontend clash = frontendOf("module M { struct A_t { long x; }; struct A { long y; }; };");
    clash.renameModule("M", "R");
    try {
        clash.load("t.idl");
        FAIL() << "two sequences took the name R_ASeq";
    } catch (const CompileError &e) {
        EXPECT_STREQ(e.what(), "t.idl:1:43: error: C name 'R_ASeq' is already used by the declaration at t.idl:1:19");
    }
}

TEST(IdlRename, OutputBaseNameNamesTheHeaderAndLayoutTablePairsEveryRenamedType) {
    Frontend frontend = frontendOf(kSource);
    frontend.renameModule("M", "R");
    const SourceFile &file = frontend.load("t.idl");
    zelidl::GeneratorOptions options;
    options.outputBaseName = "renamed_types";
    const zelidl::GeneratedFiles files = zelidl::generate(frontend.model(), file, options);
    EXPECT_TRUE(contains(files.header, "#ifndef ZELIDL_RENAMED_TYPES_H\n"));
    EXPECT_TRUE(contains(files.source, "#include \"renamed_types.h\"\n"));
    EXPECT_TRUE(contains(files.pluginSource, "#include \"renamed_types.h\"\n"));

    const std::string &table = files.layoutTable;
    EXPECT_TRUE(contains(table,
                         "ZELIDL_LAYOUT_ENUM(R_Kind, M_Kind)\n"
                         "ZELIDL_LAYOUT_ENUMERATOR(R_FIRST, M_FIRST)\n"
                         "ZELIDL_LAYOUT_ENUMERATOR(R_SECOND, M_SECOND)\n"
                         "ZELIDL_LAYOUT_STRUCT(R_Item_t, M_Item_t)\n"
                         "ZELIDL_LAYOUT_MEMBER(R_Item_t, M_Item_t, x)\n"
                         "ZELIDL_LAYOUT_ALIAS(R_Handle_t, M_Handle_t)\n"
                         "ZELIDL_LAYOUT_STRUCT(R_Holder, M_Holder)\n"
                         "ZELIDL_LAYOUT_MEMBER(R_Holder, M_Holder, items)\n"));
    EXPECT_TRUE(contains(table, "ZELIDL_LAYOUT_STRUCT(R_N_Inner_t, M_N_Inner_t)\n"));
    // Types of modules not renamed have no twin.
    EXPECT_FALSE(contains(table, "Plain_t"));
}

}  // namespace
