#include "parser.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>

#include "lexer.h"

namespace zelidl {

namespace {

struct Annotation {
    std::string name;
    bool hasArgument = false;
    int64_t argument = 0;
    SourceLocation location;
};

const std::map<std::string, PrimitiveKind> &singleWordPrimitivesI() {
    static const std::map<std::string, PrimitiveKind> kinds = {
            {"boolean", PrimitiveKind::Boolean}, {"octet", PrimitiveKind::Octet}, {"char", PrimitiveKind::Char},
            {"short", PrimitiveKind::Short},     {"float", PrimitiveKind::Float}, {"double", PrimitiveKind::Double}};
    return kinds;
}

// Words of the dialect that cannot name anything.
bool isKeywordI(const std::string &word) {
    static const char *const keywords[] = {"module",  "struct",  "enum",  "typedef", "sequence",  "string",
                                           "boolean", "octet",   "char",  "short",   "long",      "unsigned",
                                           "float",   "double",  "union", "const",   "interface", "any",
                                           "wchar",   "wstring", "fixed", "map",     "bitset",    "bitmask"};
    return std::find_if(std::begin(keywords), std::end(keywords), [&](const char *k) { return word == k; }) !=
           std::end(keywords);
}

std::string describeTokenI(const Token &token) {
    switch (token.kind) {
    case TokenKind::End:
        return "end of file";
    case TokenKind::Include:
        return "#include";
    default:
        return "'" + token.text + "'";
    }
}

class Parser {
public:
    using IncludeHandler = std::function<const SourceFile &(const std::string &name, const SourceLocation &)>;

    Parser(std::vector<Token> tokens, Model &model, SourceFile &file, IncludeHandler includeHandler)
        : tokens_(std::move(tokens)), model_(model), file_(file), includeHandler_(std::move(includeHandler)) {}

    void parseSpecification() {
        while (peek().kind != TokenKind::End) {
            if (peek().kind == TokenKind::Include) {
                const Token &token = next();
                const SourceFile &included = includeHandler_(token.text, token.location);
                if (std::find(file_.includes.begin(), file_.includes.end(), &included) == file_.includes.end()) {
                    file_.includes.push_back(&included);
                }
            } else {
                parseDefinition(model_.root());
            }
        }
    }

private:
    // ---- token access ----

    const Token &peek(size_t ahead = 0) const {
        size_t i = std::min(position_ + ahead, tokens_.size() - 1);
        return tokens_[i];
    }

    const Token &next() {
        const Token &token = peek();
        if (position_ < tokens_.size() - 1) {
            ++position_;
        }
        return token;
    }

    bool isPunctuation(const char *text, size_t ahead = 0) const {
        return peek(ahead).kind == TokenKind::Punctuation && peek(ahead).text == text;
    }

    bool isWord(const char *word, size_t ahead = 0) const {
        return peek(ahead).kind == TokenKind::Identifier && peek(ahead).text == word;
    }

    [[noreturn]] void fail(const Token &token, const std::string &expected) const {
        throw CompileError(token.location, "expected " + expected + " but found " + describeTokenI(token));
    }

    const Token &expectPunctuation(const char *text) {
        if (!isPunctuation(text)) {
            fail(peek(), std::string("'") + text + "'");
        }
        return next();
    }

    void expectWord(const char *word) {
        if (!isWord(word)) {
            fail(peek(), std::string("'") + word + "'");
        }
        next();
    }

    // An identifier that names something new.
    const Token &expectName(const char *what) {
        const Token &token = peek();
        if (token.kind != TokenKind::Identifier) {
            fail(token, what);
        }
        if (isKeywordI(token.text)) {
            throw CompileError(token.location, "'" + token.text + "' is a keyword and cannot name " + what);
        }
        return next();
    }

    uint64_t expectInteger(const char *what) {
        if (peek().kind != TokenKind::Integer) {
            fail(peek(), what);
        }
        return next().value;
    }

    // A positive bound or length that fits 32 bits.
    uint32_t expectPositive(const char *what) {
        const Token &token = peek();
        uint64_t value = expectInteger(what);
        if (value == 0 || value > std::numeric_limits<uint32_t>::max()) {
            throw CompileError(token.location, std::string(what) + " must be between 1 and 4294967295");
        }
        return static_cast<uint32_t>(value);
    }

    // ---- annotations ----

    std::vector<Annotation> parseAnnotations() {
        std::vector<Annotation> annotations;
        while (isPunctuation("@")) {
            Annotation annotation;
            annotation.location = next().location;
            if (peek().kind != TokenKind::Identifier) {
                fail(peek(), "an annotation name");
            }
            annotation.name = next().text;
            if (isPunctuation("(")) {
                next();
                bool negative = false;
                if (isPunctuation("-")) {
                    next();
                    negative = true;
                }
                const Token &valueToken = peek();
                uint64_t magnitude = expectInteger("an integer");
                if (magnitude > static_cast<uint64_t>(std::numeric_limits<int64_t>::max())) {
                    throw CompileError(valueToken.location, "annotation value " + valueToken.text + " is too large");
                }
                annotation.argument = negative ? -static_cast<int64_t>(magnitude) : static_cast<int64_t>(magnitude);
                annotation.hasArgument = true;
                expectPunctuation(")");
            }
            annotations.push_back(annotation);
        }
        return annotations;
    }

    // Checks that each annotation is one of `allowed` for `what`; no
    // annotation may appear twice.
    static void checkAnnotations(const std::vector<Annotation> &annotations, const std::vector<std::string> &allowed,
                                 const std::string &what) {
        static const std::vector<std::string> known = {"key", "final", "appendable", "mutable", "value"};
        for (size_t i = 0; i < annotations.size(); ++i) {
            const Annotation &a = annotations[i];
            if (std::find(known.begin(), known.end(), a.name) == known.end()) {
                throw CompileError(a.location, "unsupported annotation '@" + a.name + "'");
            }
            if (std::find(allowed.begin(), allowed.end(), a.name) == allowed.end()) {
                throw CompileError(a.location, "annotation '@" + a.name + "' does not apply to " + what);
            }
            bool wantsArgument = a.name == "value";
            if (a.hasArgument != wantsArgument) {
                throw CompileError(a.location, wantsArgument ? "annotation '@value' needs an integer argument"
                                                             : "annotation '@" + a.name + "' takes no argument");
            }
            for (size_t j = 0; j < i; ++j) {
                if (annotations[j].name == a.name) {
                    throw CompileError(a.location, "annotation '@" + a.name + "' is repeated");
                }
            }
        }
    }

    // ---- definitions ----

    void parseDefinition(Module &scope) {
        std::vector<Annotation> annotations = parseAnnotations();
        const Token &token = peek();
        if (isWord("module")) {
            checkAnnotations(annotations, {}, "a module");
            parseModule(scope);
        } else if (isWord("struct")) {
            checkAnnotations(annotations, {"final", "appendable", "mutable"}, "a struct");
            parseStruct(scope, annotations);
        } else if (isWord("enum")) {
            checkAnnotations(annotations, {}, "an enum");
            parseEnum(scope);
        } else if (isWord("typedef")) {
            checkAnnotations(annotations, {}, "a typedef");
            parseTypedef(scope);
        } else if (token.kind == TokenKind::Include) {
            throw CompileError(token.location, "#include is only supported outside modules");
        } else if (token.kind == TokenKind::Identifier && isKeywordI(token.text)) {
            throw CompileError(token.location, "unsupported construct '" + token.text + "'");
        } else {
            fail(token, "a declaration (module, struct, enum or typedef)");
        }
    }

    void parseModule(Module &scope) {
        next();  // module
        const Token &name = expectName("a module");
        Module &module = model_.openModule(scope, name.text, name.location);
        expectPunctuation("{");
        if (isPunctuation("}")) {
            throw CompileError(peek().location, "module '" + name.text + "' is empty");
        }
        while (!isPunctuation("}")) {
            if (peek().kind == TokenKind::End) {
                fail(peek(), "'}'");
            }
            parseDefinition(module);
        }
        next();
        expectPunctuation(";");
    }

    void parseStruct(Module &scope, const std::vector<Annotation> &annotations) {
        next();  // struct
        const Token &name = expectName("a struct");
        Declaration &declaration = model_.declare(scope, Declaration::Kind::Struct, name.text, name.location, file_);
        for (const Annotation &a : annotations) {
            declaration.extensibility = a.name == "final"     ? Extensibility::Final
                                        : a.name == "mutable" ? Extensibility::Mutable
                                                              : Extensibility::Appendable;
        }
        if (annotations.size() > 1) {
            throw CompileError(annotations[1].location, "a struct has one extensibility kind");
        }
        expectPunctuation("{");
        while (!isPunctuation("}")) {
            parseMembers(scope, declaration);
        }
        if (declaration.members.empty()) {
            throw CompileError(peek().location, "struct '" + name.text + "' has no members");
        }
        next();
        expectPunctuation(";");
        declaration.complete = true;
    }

    // `[@key] Type name [dims], name2 [dims] ... ;`: every declarator gets
    // its own copy of the type, read again from where it starts.
    void parseMembers(Module &scope, Declaration &declaration) {
        std::vector<Annotation> annotations = parseAnnotations();
        checkAnnotations(annotations, {"key"}, "a member");
        if (peek().kind == TokenKind::End) {
            fail(peek(), "'}'");
        }
        size_t typeStart = position_;
        for (;;) {
            size_t resume = position_;
            position_ = typeStart;
            Member member;
            member.isKey = !annotations.empty();
            member.type = parseType(scope);
            if (resume != typeStart) {
                position_ = resume;
            }
            const Token &name = expectName("a member");
            checkCName(name);
            for (const Member &other : declaration.members) {
                if (other.name == name.text) {
                    throw CompileError(name.location, "member '" + name.text + "' is already declared");
                }
            }
            member.name = name.text;
            member.location = name.location;
            member.type = parseArrayDimensions(std::move(member.type));
            declaration.members.push_back(std::move(member));
            if (!isPunctuation(",")) {
                break;
            }
            next();
        }
        expectPunctuation(";");
    }

    static void checkCName(const Token &name) {
        if (isReservedWord(name.text)) {
            throw CompileError(name.location, "'" + name.text + "' is a reserved word in C or C++");
        }
    }

    // `name[2][3]` is an array of 2 arrays of 3.
    TypeSpec parseArrayDimensions(TypeSpec type) {
        std::vector<std::pair<uint32_t, SourceLocation>> dimensions;
        while (isPunctuation("[")) {
            SourceLocation location = next().location;
            dimensions.emplace_back(expectPositive("an array length"), location);
            expectPunctuation("]");
        }
        for (auto it = dimensions.rbegin(); it != dimensions.rend(); ++it) {
            TypeSpec array;
            array.form = TypeSpec::Form::Array;
            array.bound = it->first;
            array.location = it->second;
            array.element = std::make_unique<TypeSpec>(std::move(type));
            type = std::move(array);
        }
        return type;
    }

    void parseEnum(Module &scope) {
        next();  // enum
        const Token &name = expectName("an enum");
        Declaration &declaration = model_.declare(scope, Declaration::Kind::Enum, name.text, name.location, file_);
        expectPunctuation("{");
        int64_t nextValue = 0;
        for (;;) {
            std::vector<Annotation> annotations = parseAnnotations();
            checkAnnotations(annotations, {"value"}, "an enumerator");
            const Token &enumeratorName = expectName("an enumerator");
            int64_t value = annotations.empty() ? nextValue : annotations.front().argument;
            const SourceLocation &valueLocation =
                    annotations.empty() ? enumeratorName.location : annotations.front().location;
            if (value < std::numeric_limits<int32_t>::min() || value > std::numeric_limits<int32_t>::max()) {
                throw CompileError(valueLocation, "enumerator value does not fit 32 bits");
            }
            for (const Enumerator &other : declaration.enumerators) {
                if (other.value == value) {
                    throw CompileError(valueLocation, "enumerator '" + enumeratorName.text + "' repeats the value " +
                                                              std::to_string(value) + " of '" + other.name + "'");
                }
            }
            std::string moduleFlat = declaration.moduleFlatName();
            std::string cName = moduleFlat.empty() ? enumeratorName.text : moduleFlat + "_" + enumeratorName.text;
            model_.declareEnumerator(scope, enumeratorName.text, cName, enumeratorName.location);
            declaration.enumerators.push_back(
                    Enumerator{enumeratorName.text, static_cast<int32_t>(value), enumeratorName.location});
            nextValue = value + 1;
            if (isPunctuation(",")) {
                next();
                continue;
            }
            break;
        }
        expectPunctuation("}");
        expectPunctuation(";");
        declaration.complete = true;
    }

    void parseTypedef(Module &scope) {
        next();  // typedef
        TypeSpec type = parseType(scope);
        const Token &name = expectName("a typedef");
        if (isPunctuation("[")) {
            throw CompileError(peek().location, "a typedef of an array is not supported");
        }
        Declaration &declaration = model_.declare(scope, Declaration::Kind::Alias, name.text, name.location, file_);
        declaration.aliased = std::move(type);
        expectPunctuation(";");
        declaration.complete = true;
    }

    // ---- types ----

    TypeSpec parseType(const Module &scope) {
        TypeSpec type;
        type.location = peek().location;
        const Token &token = peek();
        if (token.kind != TokenKind::Identifier && !isPunctuation("::")) {
            fail(token, "a type");
        }
        if (auto it = singleWordPrimitivesI().find(token.text);
            token.kind == TokenKind::Identifier && it != singleWordPrimitivesI().end()) {
            next();
            type.primitive = it->second;
        } else if (isWord("long")) {
            next();
            if (isWord("long")) {
                next();
                type.primitive = PrimitiveKind::LongLong;
            } else if (isWord("double")) {
                throw CompileError(token.location, "unsupported type 'long double'");
            } else {
                type.primitive = PrimitiveKind::Long;
            }
        } else if (isWord("unsigned")) {
            next();
            if (isWord("short")) {
                next();
                type.primitive = PrimitiveKind::UShort;
            } else if (isWord("long")) {
                next();
                if (isWord("long")) {
                    next();
                    type.primitive = PrimitiveKind::ULongLong;
                } else {
                    type.primitive = PrimitiveKind::ULong;
                }
            } else {
                fail(peek(), "'short' or 'long' after 'unsigned'");
            }
        } else if (isWord("string")) {
            next();
            type.form = TypeSpec::Form::String;
            if (isPunctuation("<")) {
                next();
                type.bound = expectPositive("a string bound");
                expectPunctuation(">");
            }
        } else if (isWord("sequence")) {
            next();
            type.form = TypeSpec::Form::Sequence;
            expectPunctuation("<");
            type.element = std::make_unique<TypeSpec>(parseType(scope));
            if (type.element->form == TypeSpec::Form::Sequence) {
                throw CompileError(type.element->location,
                                   "a sequence of an anonymous sequence is not supported; name it with a typedef");
            }
            if (isPunctuation(",")) {
                next();
                type.bound = expectPositive("a sequence bound");
            }
            expectPunctuation(">");
        } else if (token.kind == TokenKind::Identifier && isKeywordI(token.text)) {
            throw CompileError(token.location, "unsupported type '" + token.text + "'");
        } else {
            type.form = TypeSpec::Form::Named;
            type.named = &parseScopedName(scope);
        }
        return type;
    }

    const Declaration &parseScopedName(const Module &scope) {
        SourceLocation location = peek().location;
        bool absolute = false;
        if (isPunctuation("::")) {
            next();
            absolute = true;
        }
        std::vector<std::string> parts;
        for (;;) {
            if (peek().kind != TokenKind::Identifier) {
                fail(peek(), "a name");
            }
            parts.push_back(next().text);
            if (!isPunctuation("::")) {
                break;
            }
            next();
        }
        return model_.resolve(scope, parts, absolute, location);
    }

    std::vector<Token> tokens_;
    size_t position_ = 0;
    Model &model_;
    SourceFile &file_;
    IncludeHandler includeHandler_;
};

std::string normalizedI(const std::string &path) {
    return std::filesystem::absolute(std::filesystem::path(path)).lexically_normal().generic_string();
}

}  // namespace

std::optional<std::string> readFileFromDisk(const std::string &path) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) {
        return std::nullopt;
    }
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        return std::nullopt;
    }
    std::ostringstream contents;
    contents << in.rdbuf();
    return contents.str();
}

Frontend::Frontend(std::vector<std::string> includeDirs, FileReader reader)
    : includeDirs_(std::move(includeDirs)), reader_(std::move(reader)) {}

const SourceFile &Frontend::load(const std::string &path) {
    std::optional<std::string> source = reader_(path);
    if (!source) {
        throw CompileError(SourceLocation{path, 1, 1}, "cannot read '" + path + "'");
    }
    return parse(path, *source);
}

const SourceFile &Frontend::parse(const std::string &path, const std::string &source) {
    std::string key = normalizedI(path);
    loadedPaths_.push_back(path);
    std::filesystem::path fsPath(path);
    SourceFile &file = model_.addFile(path, fsPath.stem().string());
    inProgress_.push_back(key);
    Parser parser(tokenize(source, path), model_, file,
                  [this, path](const std::string &name, const SourceLocation &location) -> const SourceFile & {
                      return include(name, path, location);
                  });
    parser.parseSpecification();
    inProgress_.pop_back();
    loaded_.emplace(key, &file);
    return file;
}

const SourceFile &Frontend::include(const std::string &name, const std::string &includingPath,
                                    const SourceLocation &location) {
    // Beside the including file first, then each include directory in order.
    std::vector<std::string> candidates;
    candidates.push_back((std::filesystem::path(includingPath).parent_path() / name).generic_string());
    for (const std::string &dir : includeDirs_) {
        candidates.push_back((std::filesystem::path(dir) / name).generic_string());
    }
    for (const std::string &candidate : candidates) {
        std::string key = normalizedI(candidate);
        if (auto it = loaded_.find(key); it != loaded_.end()) {
            return *it->second;
        }
        if (std::find(inProgress_.begin(), inProgress_.end(), key) != inProgress_.end()) {
            throw CompileError(location, "'" + candidate + "' includes itself through this #include");
        }
        if (std::optional<std::string> source = reader_(candidate)) {
            return parse(candidate, *source);
        }
    }
    throw CompileError(location, "cannot find '" + name + "' beside the including file or in the include directories");
}

}  // namespace zelidl
