// Compiling filter expressions: parsing, resolving member paths through the
// type's descriptors, and checking that the operands of each comparison fit
// together. Compilation allocates everything the filter needs, so
// evaluation never does.
#include "content_filter.h"
#include "vurncore/heap.h"

namespace {

enum class ZELContentFilterMemberStatusI { FOUND, UNKNOWN, NOT_STRUCT, NOT_COMPARABLE };

// What a member path names, or which of its segments is at fault.
struct ZELContentFilterMemberI {
    ZELContentFilterMemberStatusI status;
    uint32_t offset;
    const ZELCdrTypeDesc *type; /* aliases resolved */
    uint32_t faultStart;        /* the segment at fault (UNKNOWN, NOT_STRUCT) or the whole path */
    uint32_t faultLength;
};

struct ZELContentFilterParserI {
    std::string_view text;
    uint32_t offset;              /* of the next token */
    ZELContentFilterTokenI token; /* the current token */
    ZELContentFilter *filter;
    size_t literalUsed;
    uint32_t depth;
    ZELContentFilterError *error;
};

const ZELCdrTypeDesc *ZELContentFilter_resolveAliasI(const ZELCdrTypeDesc *type) {
    while (type->kind == ZEL_CDR_TK_ALIAS) {
        type = type->element;
    }
    return type;
}

std::string_view ZELContentFilterParser_textI(const ZELContentFilterParserI *p, const ZELContentFilterTokenI &token) {
    return p->text.substr(token.start, token.length);
}

bool ZELContentFilterParser_advanceI(ZELContentFilterParserI *p) {
    return ZELContentFilterLexer_nextI(p->text, &p->offset, &p->token, p->error);
}

bool ZELContentFilterParser_unexpectedI(ZELContentFilterParserI *p) {
    if (p->token.kind == ZELContentFilterTokenKindI::END) {
        ZELContentFilterError_setI(p->error, static_cast<uint32_t>(p->text.size()) + 1, "unexpected end of expression");
    } else {
        const std::string_view text = ZELContentFilterParser_textI(p, p->token);
        ZELContentFilterError_setI(p->error, p->token.start + 1, "unexpected '%.*s'",
                                   static_cast<int>(text.size() > 32 ? 32 : text.size()), text.data());
    }
    return false;
}

// Nodes never outnumber tokens, so the array sized by the first pass holds them.
uint32_t ZELContentFilterParser_newNodeI(ZELContentFilterParserI *p, ZELContentFilterNodeKindI kind) {
    const uint32_t index = p->filter->nodeCount++;
    p->filter->nodes[index].kind = kind;
    return index;
}

bool ZELContentFilterParser_enterI(ZELContentFilterParserI *p) {
    if (p->depth == ZEL_CONTENT_FILTER_MAX_NESTING) {
        ZELContentFilterError_setI(p->error, p->token.start + 1, "expression nested too deeply");
        return false;
    }
    ++p->depth;
    return true;
}

ZELContentFilterMemberI ZELContentFilter_findMemberI(const ZELCdrTypeDesc *type, std::string_view path,
                                                     uint32_t pathStart) {
    ZELContentFilterMemberI member{};
    size_t segmentStart = 0;
    for (;;) {
        const size_t dot = path.find('.', segmentStart);
        const std::string_view segment =
                path.substr(segmentStart, dot == std::string_view::npos ? dot : dot - segmentStart);
        const ZELCdrMember *found = nullptr;
        for (uint32_t i = 0; i < type->memberCount; ++i) {
            if (segment == type->members[i].name) {
                found = &type->members[i];
                break;
            }
        }
        if (found == nullptr) {
            member.status = ZELContentFilterMemberStatusI::UNKNOWN;
            member.faultStart = pathStart + static_cast<uint32_t>(segmentStart);
            member.faultLength = static_cast<uint32_t>(segment.size());
            return member;
        }
        member.offset += found->offset;
        type = ZELContentFilter_resolveAliasI(found->type);
        if (dot == std::string_view::npos) {
            break;
        }
        if (type->kind != ZEL_CDR_TK_STRUCT) {
            member.status = ZELContentFilterMemberStatusI::NOT_STRUCT;
            member.faultStart = pathStart;
            member.faultLength = static_cast<uint32_t>(dot);
            return member;
        }
        segmentStart = dot + 1;
    }
    member.type = type;
    member.faultStart = pathStart;
    member.faultLength = static_cast<uint32_t>(path.size());
    member.status =
            type->kind == ZEL_CDR_TK_STRUCT || type->kind == ZEL_CDR_TK_SEQUENCE || type->kind == ZEL_CDR_TK_ARRAY
                    ? ZELContentFilterMemberStatusI::NOT_COMPARABLE
                    : ZELContentFilterMemberStatusI::FOUND;
    return member;
}

bool ZELContentFilterParser_memberFaultI(ZELContentFilterParserI *p, const ZELContentFilterMemberI &member) {
    const int length = static_cast<int>(member.faultLength > 48 ? 48 : member.faultLength);
    const char *name = p->text.data() + member.faultStart;
    const uint32_t position = member.faultStart + 1;
    switch (member.status) {
    case ZELContentFilterMemberStatusI::UNKNOWN:
        ZELContentFilterError_setI(p->error, position, "unknown member '%.*s'", length, name);
        break;
    case ZELContentFilterMemberStatusI::NOT_STRUCT:
        ZELContentFilterError_setI(p->error, position, "'%.*s' has no members", length, name);
        break;
    case ZELContentFilterMemberStatusI::NOT_COMPARABLE:
    case ZELContentFilterMemberStatusI::FOUND:
        ZELContentFilterError_setI(p->error, position, "member '%.*s' cannot be compared", length, name);
        break;
    }
    return false;
}

// How an operand is named in type errors.
const char *ZELContentFilter_kindNameI(enum ZELCdrTypeKind kind) {
    switch (kind) {
    case ZEL_CDR_TK_BOOLEAN:
        return "boolean";
    case ZEL_CDR_TK_CHAR:
        return "character";
    case ZEL_CDR_TK_STRING:
        return "string";
    case ZEL_CDR_TK_ENUM:
        return "enumeration";
    default:
        return "number";
    }
}

const char *ZELContentFilter_valueNameI(ZELContentFilterValueKindI kind) {
    switch (kind) {
    case ZELContentFilterValueKindI::STRING:
    case ZELContentFilterValueKindI::CHAR:
        return "string";
    case ZELContentFilterValueKindI::BOOLEAN:
        return "boolean";
    default:
        return "number";
    }
}

ZELContentFilterCategoryI ZELContentFilter_valueCategoryI(ZELContentFilterValueKindI kind) {
    switch (kind) {
    case ZELContentFilterValueKindI::STRING:
    case ZELContentFilterValueKindI::CHAR:
        return ZELContentFilterCategoryI::TEXT;
    case ZELContentFilterValueKindI::BOOLEAN:
        return ZELContentFilterCategoryI::BOOLEAN;
    default:
        return ZELContentFilterCategoryI::NUMBER;
    }
}

bool ZELContentFilter_isOperandTokenI(ZELContentFilterTokenKindI kind) {
    return kind == ZELContentFilterTokenKindI::IDENTIFIER || kind == ZELContentFilterTokenKindI::NUMBER ||
           kind == ZELContentFilterTokenKindI::STRING || kind == ZELContentFilterTokenKindI::PARAMETER ||
           kind == ZELContentFilterTokenKindI::TRUE_ || kind == ZELContentFilterTokenKindI::FALSE_;
}

// Turns `token` into an operand compared with member `anchor`: a member of
// the same category, a literal, an enumerator of the anchor's enumeration or
// a parameter parsed for the anchor's type.
bool ZELContentFilterParser_resolveOperandI(ZELContentFilterParserI *p, const ZELContentFilterTokenI &token,
                                            const ZELContentFilterMemberI &member,
                                            const ZELContentFilterMemberI &anchor, ZELContentFilterOperandI *operand) {
    ZELContentFilter *filter = p->filter;
    const std::string_view text = ZELContentFilterParser_textI(p, token);
    const uint32_t position = token.start + 1;
    const ZELContentFilterCategoryI anchorCategory = ZELContentFilter_categoryOfKindI(anchor.type->kind);
    ZELContentFilterCategoryI category = anchorCategory;
    const char *name = nullptr;
    *operand = ZELContentFilterOperandI{};
    switch (token.kind) {
    case ZELContentFilterTokenKindI::IDENTIFIER:
        if (member.status == ZELContentFilterMemberStatusI::FOUND) {
            operand->source = ZELContentFilterSourceI::MEMBER;
            operand->memberKind = member.type->kind;
            operand->offset = member.offset;
            category = ZELContentFilter_categoryOfKindI(member.type->kind);
            name = ZELContentFilter_kindNameI(member.type->kind);
            break;
        }
        // A plain name that is no member may be an enumerator of the anchor.
        if (member.status != ZELContentFilterMemberStatusI::UNKNOWN || anchor.type->kind != ZEL_CDR_TK_ENUM ||
            text.find('.') != std::string_view::npos) {
            return ZELContentFilterParser_memberFaultI(p, member);
        }
        operand->source = ZELContentFilterSourceI::CONSTANT;
        operand->value.kind = ZELContentFilterValueKindI::SIGNED;
        if (!ZELContentFilter_findEnumeratorI(anchor.type, text, &operand->value.signedValue)) {
            ZELContentFilterError_setI(p->error, position, "unknown member or enumerator '%.*s'",
                                       static_cast<int>(text.size() > 48 ? 48 : text.size()), text.data());
            return false;
        }
        break;
    case ZELContentFilterTokenKindI::NUMBER:
        operand->source = ZELContentFilterSourceI::CONSTANT;
        ZELContentFilter_parseNumberI(text, &operand->value);  // the lexer checked it
        break;
    case ZELContentFilterTokenKindI::STRING: {
        char *out = filter->literalText + p->literalUsed;
        operand->source = ZELContentFilterSourceI::CONSTANT;
        operand->value.kind = ZELContentFilterValueKindI::STRING;
        operand->value.length = ZELContentFilter_unquoteI(text, out);
        operand->value.text = out;
        p->literalUsed += operand->value.length + 1;
        break;
    }
    case ZELContentFilterTokenKindI::TRUE_:
    case ZELContentFilterTokenKindI::FALSE_:
        operand->source = ZELContentFilterSourceI::CONSTANT;
        operand->value.kind = ZELContentFilterValueKindI::BOOLEAN;
        operand->value.boolean = token.kind == ZELContentFilterTokenKindI::TRUE_;
        break;
    default: {  // PARAMETER: its text is parsed for the anchor at binding
        ZELContentFilterParameterUseI *use = &filter->parameterUses[filter->parameterUseCount];
        use->index = ZELContentFilter_parameterIndexI(text);
        use->position = position;
        use->type = anchor.type;
        operand->source = ZELContentFilterSourceI::PARAMETER;
        operand->slot = filter->parameterUseCount++;
        return true;
    }
    }
    if (operand->source == ZELContentFilterSourceI::CONSTANT) {
        category = ZELContentFilter_valueCategoryI(operand->value.kind);
        name = ZELContentFilter_valueNameI(operand->value.kind);
        ZELContentFilter_fitToMemberI(anchor.type->kind, &operand->value);
    }
    if (category != anchorCategory) {
        ZELContentFilterError_setI(p->error, position, "cannot compare %s with %s",
                                   ZELContentFilter_kindNameI(anchor.type->kind), name);
        return false;
    }
    return true;
}

// Resolves the operands of a comparison (2) or a BETWEEN (3) into `node`.
// The anchor is the first operand naming a member; a BETWEEN's first
// operand must be one.
bool ZELContentFilterParser_resolvePredicateI(ZELContentFilterParserI *p, const ZELContentFilterTokenI *tokens,
                                              uint32_t count, const ZELContentFilterTokenI &op,
                                              ZELContentFilterNodeI *node) {
    ZELContentFilterMemberI members[3]{};
    uint32_t anchor = count;
    for (uint32_t i = 0; i < count; ++i) {
        members[i].status = ZELContentFilterMemberStatusI::UNKNOWN;
        if (tokens[i].kind == ZELContentFilterTokenKindI::IDENTIFIER) {
            members[i] = ZELContentFilter_findMemberI(p->filter->type, ZELContentFilterParser_textI(p, tokens[i]),
                                                      tokens[i].start);
            if (members[i].status == ZELContentFilterMemberStatusI::FOUND && anchor == count &&
                (i == 0 || node->kind == ZELContentFilterNodeKindI::COMPARE)) {
                anchor = i;
            }
        }
    }
    if (anchor == count) {
        for (uint32_t i = 0; i < count; ++i) {
            if (tokens[i].kind == ZELContentFilterTokenKindI::IDENTIFIER &&
                members[i].status != ZELContentFilterMemberStatusI::FOUND) {
                return ZELContentFilterParser_memberFaultI(p, members[i]);
            }
        }
        ZELContentFilterError_setI(p->error, tokens[0].start + 1,
                                   node->kind == ZELContentFilterNodeKindI::COMPARE
                                           ? "comparison without a member"
                                           : "BETWEEN needs a member on its left");
        return false;
    }
    const enum ZELCdrTypeKind anchorKind = members[anchor].type->kind;
    const std::string_view opText = ZELContentFilterParser_textI(p, op);
    if (node->kind == ZELContentFilterNodeKindI::COMPARE && node->op == ZELContentFilterOpI::LIKE &&
        ZELContentFilter_categoryOfKindI(anchorKind) != ZELContentFilterCategoryI::TEXT) {
        ZELContentFilterError_setI(p->error, op.start + 1, "LIKE applies to strings only");
        return false;
    }
    if (anchorKind == ZEL_CDR_TK_BOOLEAN &&
        (node->kind != ZELContentFilterNodeKindI::COMPARE ||
         (node->op != ZELContentFilterOpI::EQ && node->op != ZELContentFilterOpI::NE))) {
        ZELContentFilterError_setI(p->error, op.start + 1, "'%.*s' does not apply to booleans",
                                   static_cast<int>(opText.size()), opText.data());
        return false;
    }
    for (uint32_t i = 0; i < count; ++i) {
        if (!ZELContentFilterParser_resolveOperandI(p, tokens[i], members[i], members[anchor], &node->operands[i])) {
            return false;
        }
    }
    return true;
}

bool ZELContentFilterParser_parseOperandTokenI(ZELContentFilterParserI *p, ZELContentFilterTokenI *token) {
    if (!ZELContentFilter_isOperandTokenI(p->token.kind)) {
        return ZELContentFilterParser_unexpectedI(p);
    }
    *token = p->token;
    return ZELContentFilterParser_advanceI(p);
}

bool ZELContentFilterParser_parsePredicateI(ZELContentFilterParserI *p, uint32_t *node) {
    ZELContentFilterTokenI operands[3];
    if (!ZELContentFilterParser_parseOperandTokenI(p, &operands[0])) {
        return false;
    }
    const ZELContentFilterTokenI op = p->token;
    ZELContentFilterNodeKindI kind = ZELContentFilterNodeKindI::COMPARE;
    if (op.kind == ZELContentFilterTokenKindI::NOT) {
        if (!ZELContentFilterParser_advanceI(p)) {
            return false;
        }
        if (p->token.kind != ZELContentFilterTokenKindI::BETWEEN) {
            return ZELContentFilterParser_unexpectedI(p);
        }
        kind = ZELContentFilterNodeKindI::NOT_BETWEEN;
    } else if (op.kind == ZELContentFilterTokenKindI::BETWEEN) {
        kind = ZELContentFilterNodeKindI::BETWEEN;
    } else if (op.kind != ZELContentFilterTokenKindI::COMPARISON && op.kind != ZELContentFilterTokenKindI::LIKE) {
        return ZELContentFilterParser_unexpectedI(p);
    }
    if (!ZELContentFilterParser_advanceI(p) || !ZELContentFilterParser_parseOperandTokenI(p, &operands[1])) {
        return false;
    }
    uint32_t count = 2;
    if (kind != ZELContentFilterNodeKindI::COMPARE) {
        if (p->token.kind != ZELContentFilterTokenKindI::AND) {
            return ZELContentFilterParser_unexpectedI(p);
        }
        if (!ZELContentFilterParser_advanceI(p) || !ZELContentFilterParser_parseOperandTokenI(p, &operands[2])) {
            return false;
        }
        count = 3;
    }
    *node = ZELContentFilterParser_newNodeI(p, kind);
    ZELContentFilterNodeI *predicate = &p->filter->nodes[*node];
    predicate->op = op.kind == ZELContentFilterTokenKindI::LIKE ? ZELContentFilterOpI::LIKE : op.op;
    return ZELContentFilterParser_resolvePredicateI(p, operands, count, op, predicate);
}

bool ZELContentFilterParser_parseOrI(ZELContentFilterParserI *p, uint32_t *node);

bool ZELContentFilterParser_parseNotI(ZELContentFilterParserI *p, uint32_t *node) {
    if (p->token.kind == ZELContentFilterTokenKindI::NOT) {
        uint32_t child = 0;
        if (!ZELContentFilterParser_enterI(p) || !ZELContentFilterParser_advanceI(p) ||
            !ZELContentFilterParser_parseNotI(p, &child)) {
            return false;
        }
        --p->depth;
        *node = ZELContentFilterParser_newNodeI(p, ZELContentFilterNodeKindI::NOT);
        p->filter->nodes[*node].left = child;
        return true;
    }
    if (p->token.kind == ZELContentFilterTokenKindI::LEFT_PAREN) {
        if (!ZELContentFilterParser_enterI(p) || !ZELContentFilterParser_advanceI(p) ||
            !ZELContentFilterParser_parseOrI(p, node)) {
            return false;
        }
        if (p->token.kind != ZELContentFilterTokenKindI::RIGHT_PAREN) {
            return ZELContentFilterParser_unexpectedI(p);
        }
        --p->depth;
        return ZELContentFilterParser_advanceI(p);
    }
    return ZELContentFilterParser_parsePredicateI(p, node);
}

// One AND or OR chain, built right-deep: a OR b OR c is OR(a, OR(b, c)).
bool ZELContentFilterParser_parseChainI(ZELContentFilterParserI *p, uint32_t *node, ZELContentFilterTokenKindI joiner,
                                        bool (*parseOperand)(ZELContentFilterParserI *, uint32_t *)) {
    uint32_t left = 0;
    if (!parseOperand(p, &left)) {
        return false;
    }
    uint32_t *slot = node;
    while (p->token.kind == joiner) {
        uint32_t next = 0;
        if (!ZELContentFilterParser_advanceI(p) || !parseOperand(p, &next)) {
            return false;
        }
        const uint32_t joined = ZELContentFilterParser_newNodeI(p, joiner == ZELContentFilterTokenKindI::AND
                                                                           ? ZELContentFilterNodeKindI::AND
                                                                           : ZELContentFilterNodeKindI::OR);
        p->filter->nodes[joined].left = left;
        *slot = joined;
        slot = &p->filter->nodes[joined].right;
        left = next;
    }
    *slot = left;
    return true;
}

bool ZELContentFilterParser_parseAndI(ZELContentFilterParserI *p, uint32_t *node) {
    return ZELContentFilterParser_parseChainI(p, node, ZELContentFilterTokenKindI::AND,
                                              ZELContentFilterParser_parseNotI);
}

bool ZELContentFilterParser_parseOrI(ZELContentFilterParserI *p, uint32_t *node) {
    return ZELContentFilterParser_parseChainI(p, node, ZELContentFilterTokenKindI::OR,
                                              ZELContentFilterParser_parseAndI);
}

}  // namespace

extern "C" {

VURNC_API ZELContentFilter *ZELContentFilter_compile(const ZELCdrTypeDesc *type, const char *expression,
                                                     const DDS_StringSeq *parameters, ZELContentFilterError *error) {
    if (error != nullptr) {
        *error = ZELContentFilterError{};
    }
    if (type == nullptr || expression == nullptr) {
        ZELContentFilterError_setI(error, 0, type == nullptr ? "no type" : "no expression");
        return nullptr;
    }
    type = ZELContentFilter_resolveAliasI(type);
    if (type->kind != ZEL_CDR_TK_STRUCT) {
        ZELContentFilterError_setI(error, 0, "type is not a struct");
        return nullptr;
    }
    const std::string_view text(expression);
    if (text.size() >= UINT32_MAX) {  // positions are 32 bits
        ZELContentFilterError_setI(error, 0, "expression too long");
        return nullptr;
    }
    // First pass: lexical faults, and the sizes of what compiling fills.
    uint32_t tokenCount = 0;
    uint32_t parameterCount = 0;
    size_t literalOctets = 0;
    ZELContentFilterTokenI token{};
    for (uint32_t offset = 0;;) {
        if (!ZELContentFilterLexer_nextI(text, &offset, &token, error)) {
            return nullptr;
        }
        if (token.kind == ZELContentFilterTokenKindI::END) {
            break;
        }
        ++tokenCount;
        parameterCount += token.kind == ZELContentFilterTokenKindI::PARAMETER ? 1 : 0;
        literalOctets += token.kind == ZELContentFilterTokenKindI::STRING ? token.length : 0;
    }

    auto *filter = static_cast<ZELContentFilter *>(ZELOsapiHeap_allocateStructure(sizeof(ZELContentFilter), "CFLT"));
    if (filter == nullptr) {
        ZELContentFilterError_setI(error, 0, "out of heap");
        return nullptr;
    }
    filter->type = type;
    if (tokenCount != 0) {
        filter->nodes = static_cast<ZELContentFilterNodeI *>(
                ZELOsapiHeap_allocateArray(tokenCount, sizeof(ZELContentFilterNodeI), "CFND"));
        filter->literalText = static_cast<char *>(ZELOsapiHeap_allocateArray(literalOctets, 1, "CFTX"));
        filter->parameterUses = static_cast<ZELContentFilterParameterUseI *>(
                ZELOsapiHeap_allocateArray(parameterCount, sizeof(ZELContentFilterParameterUseI), "CFPU"));
        if (filter->nodes == nullptr || filter->literalText == nullptr || filter->parameterUses == nullptr) {
            ZELContentFilterError_setI(error, 0, "out of heap");
            ZELContentFilter_delete(filter);
            return nullptr;
        }
        ZELContentFilterParserI parser{};
        parser.text = text;
        parser.filter = filter;
        parser.error = error;
        bool parsed =
                ZELContentFilterParser_advanceI(&parser) && ZELContentFilterParser_parseOrI(&parser, &filter->root);
        if (parsed && parser.token.kind != ZELContentFilterTokenKindI::END) {
            parsed = ZELContentFilterParser_unexpectedI(&parser);
        }
        if (!parsed) {
            ZELContentFilter_delete(filter);
            return nullptr;
        }
    }
    if (!ZELContentFilter_bindParametersI(filter, parameters, error)) {
        ZELContentFilter_delete(filter);
        return nullptr;
    }
    return filter;
}

VURNC_API DDS_Boolean ZELContentFilter_setParameters(ZELContentFilter *self, const DDS_StringSeq *parameters,
                                                     ZELContentFilterError *error) {
    if (error != nullptr) {
        *error = ZELContentFilterError{};
    }
    if (self == nullptr) {
        ZELContentFilterError_setI(error, 0, "no filter");
        return DDS_BOOLEAN_FALSE;
    }
    return ZELContentFilter_bindParametersI(self, parameters, error) ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

VURNC_API void ZELContentFilter_delete(ZELContentFilter *self) {
    if (self == nullptr) {
        return;
    }
    ZELOsapiHeap_freeArray(self->parameterText);
    ZELOsapiHeap_freeArray(self->parameterValues);
    ZELOsapiHeap_freeArray(self->parameterUses);
    ZELOsapiHeap_freeArray(self->literalText);
    ZELOsapiHeap_freeArray(self->nodes);
    ZELOsapiHeap_freeStructure(self);
}

}  // extern "C"
