// Content filters: a condition over the members of a described type
// (comparisons, BETWEEN, LIKE, AND, OR, NOT, %n parameters), compiled once
// against the type's descriptor and evaluated on samples in place.
//
//   condition := predicate | condition AND condition | condition OR condition
//              | NOT condition | '(' condition ')'        (NOT > AND > OR)
//   predicate := operand op operand | member [NOT] BETWEEN operand AND operand
//   op        := = | <> | != | < | <= | > | >= | LIKE    (LIKE: % any run, _ one character)
//   operand   := member path (a.b.c) | integer (decimal, 0x hex, signed) | float
//              | 'string' ('' is a quote) | enumerator name | TRUE | FALSE | %0..%99
//
// Every comparison names at least one member; literals and parameters take
// their meaning from it (a parameter text is parsed for that member's type
// each time parameters are bound). Keywords are case-insensitive; member and
// enumerator names are not, and a name that is both is the member. An empty
// expression lets every sample pass.
//
// C++ only (private to vurnc). The entry points have C linkage and are
// exported for the data path's tests.
#ifndef VURNC_CONTENT_FILTER_H
#define VURNC_CONTENT_FILTER_H

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "vurnc/dll.h"
#include "vurncore/cdr_type.h"
#include "vurncore/dds_sequences.h"

#define ZEL_CONTENT_FILTER_ERROR_MESSAGE_MAX 160
// Parentheses and NOTs deeper than this are refused, which bounds the
// stack that compiling and evaluating use.
#define ZEL_CONTENT_FILTER_MAX_NESTING 64
#define ZEL_CONTENT_FILTER_MAX_PARAMETER 99

// Why an expression or its parameters were refused.
struct ZELContentFilterError {
    uint32_t position; /* 1-based offset of the fault in the expression; 0 when it has none */
    char message[ZEL_CONTENT_FILTER_ERROR_MESSAGE_MAX]; /* "unknown member 'colr' at 1" */
};

struct ZELContentFilter;

extern "C" {

// Compiles `expression` for samples of `type` (a struct, or an alias of
// one) with `parameters` bound (NULL: none). Returns NULL when the
// expression does not parse, does not fit the type, names a parameter that
// is missing or does not parse for its member, or the heap is exhausted;
// `error` (may be NULL) then says why. Nothing is logged: the caller reports
// the failure in its own name.
VURNC_API struct ZELContentFilter *ZELContentFilter_compile(const struct ZELCdrTypeDesc *type, const char *expression,
                                                            const struct DDS_StringSeq *parameters,
                                                            struct ZELContentFilterError *error);

// Binds new parameters (NULL: none). On failure (a parameter missing or not
// parsing for its member, or out of heap) the filter keeps its previous
// binding and `error` says why. Must not run while the same filter is
// evaluated: the caller serializes the two.
VURNC_API DDS_Boolean ZELContentFilter_setParameters(struct ZELContentFilter *self,
                                                     const struct DDS_StringSeq *parameters,
                                                     struct ZELContentFilterError *error);

// Whether `sample` (of the compiled type) passes. Reads members in place and
// allocates nothing, so any number of threads may evaluate one filter.
VURNC_API DDS_Boolean ZELContentFilter_evaluate(const struct ZELContentFilter *self, const void *sample);

VURNC_API void ZELContentFilter_delete(struct ZELContentFilter *self);

}  // extern "C"

// ---- the compiled form, shared by the compiler, the binder and the evaluator ----

enum class ZELContentFilterValueKindI : uint8_t { SIGNED, UNSIGNED, FLOAT, STRING, CHAR, BOOLEAN };

// One operand's value at evaluation. Strings point into the filter's own
// buffers or into the sample.
struct ZELContentFilterValueI {
    ZELContentFilterValueKindI kind;
    bool boolean;
    char character;
    int64_t signedValue;
    uint64_t unsignedValue;
    double floatValue;
    const char *text;
    size_t length;
};

enum class ZELContentFilterSourceI : uint8_t { MEMBER, CONSTANT, PARAMETER };

struct ZELContentFilterOperandI {
    ZELContentFilterSourceI source;
    enum ZELCdrTypeKind memberKind; /* MEMBER: a primitive, enum or string kind (aliases resolved) */
    uint32_t offset;                /* MEMBER: from the start of the sample */
    uint32_t slot;                  /* PARAMETER: index in the filter's bound values */
    ZELContentFilterValueI value;   /* CONSTANT */
};

enum class ZELContentFilterOpI : uint8_t { EQ, NE, LT, LE, GT, GE, LIKE };

enum class ZELContentFilterNodeKindI : uint8_t { AND, OR, NOT, COMPARE, BETWEEN, NOT_BETWEEN };

// AND and OR chains are built right-deep so the evaluator loops along them
// and recurses only into nesting.
struct ZELContentFilterNodeI {
    ZELContentFilterNodeKindI kind;
    ZELContentFilterOpI op; /* COMPARE */
    uint32_t left;          /* AND, OR, NOT: child node indices */
    uint32_t right;
    ZELContentFilterOperandI operands[3]; /* COMPARE: 0 op 1; BETWEEN: 0 between 1 and 2 */
};

// Where a %n stands and the member type its text is parsed for.
struct ZELContentFilterParameterUseI {
    uint32_t index;                    /* n of %n */
    uint32_t position;                 /* 1-based, for errors */
    const struct ZELCdrTypeDesc *type; /* the member compared with (aliases resolved) */
};

struct ZELContentFilter {
    const struct ZELCdrTypeDesc *type;
    ZELContentFilterNodeI *nodes; /* heap array; root at `root` */
    uint32_t nodeCount;           /* 0: every sample passes */
    uint32_t root;
    char *literalText;                            /* heap: the texts of string literals */
    ZELContentFilterParameterUseI *parameterUses; /* heap array, one per %n in the expression */
    uint32_t parameterUseCount;
    /* The binding, replaced as a whole by ZELContentFilter_setParameters. */
    ZELContentFilterValueI *parameterValues; /* heap array parallel to parameterUses */
    char *parameterText;                     /* heap: the texts of string parameters */
};

// ---- tokens and literals (content_filter_lexer.cpp) ----

enum class ZELContentFilterTokenKindI : uint8_t {
    END,
    IDENTIFIER,
    NUMBER,
    STRING,
    PARAMETER,
    LEFT_PAREN,
    RIGHT_PAREN,
    COMPARISON,
    AND,
    OR,
    NOT,
    BETWEEN,
    LIKE,
    TRUE_,
    FALSE_
};

struct ZELContentFilterTokenI {
    ZELContentFilterTokenKindI kind;
    ZELContentFilterOpI op; /* COMPARISON */
    uint32_t start;         /* 0-based offset in the expression */
    uint32_t length;
};

// Reads the token at `*offset` and moves past it; false (with `error` set)
// on a malformed number, string or parameter or a stray character.
bool ZELContentFilterLexer_nextI(std::string_view text, uint32_t *offset, ZELContentFilterTokenI *token,
                                 ZELContentFilterError *error);
// The value of a whole number text: integer (decimal or 0x hex) or float,
// with an optional sign; false when it is not one or is out of range.
bool ZELContentFilter_parseNumberI(std::string_view text, ZELContentFilterValueI *value);
// Writes the content of a quoted text ('it''s') to `out` with a terminating
// NUL; returns the content's length. `out` holds at least quoted.size() octets.
size_t ZELContentFilter_unquoteI(std::string_view quoted, char *out);
bool ZELContentFilter_isIdentifierStartI(char c);
// Whether `text` is `upperKeyword` in any case.
bool ZELContentFilter_equalsIgnoringCaseI(std::string_view text, const char *upperKeyword);
// The n of a "%n" token.
uint32_t ZELContentFilter_parameterIndexI(std::string_view token);
// Sets `error` (when not NULL) to the formatted message and, for a
// position other than 0, " at <position>".
void ZELContentFilterError_setI(ZELContentFilterError *error, uint32_t position, const char *format, ...)
        __attribute__((format(printf, 3, 4)));

// ---- values for members, and parameter binding (content_filter_parameters.cpp) ----

// What a member's values compare with: numbers (enumerations included),
// texts (strings and characters) or booleans.
enum class ZELContentFilterCategoryI : uint8_t { NUMBER, TEXT, BOOLEAN };
ZELContentFilterCategoryI ZELContentFilter_categoryOfKindI(enum ZELCdrTypeKind kind);
// The value of enumerator `name` of enumeration `type`; false when it has none.
bool ZELContentFilter_findEnumeratorI(const struct ZELCdrTypeDesc *type, std::string_view name, int64_t *value);
// Adapts a literal to the member it is compared with: a float member holds
// floats, so a float literal is rounded to float (f = 0.1 holds for 0.1f).
void ZELContentFilter_fitToMemberI(enum ZELCdrTypeKind memberKind, ZELContentFilterValueI *value);

// Parses each parameter use's text and replaces the filter's binding; on
// failure the previous binding stays.
bool ZELContentFilter_bindParametersI(ZELContentFilter *self, const struct DDS_StringSeq *parameters,
                                      ZELContentFilterError *error);

#endif
