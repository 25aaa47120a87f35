// Evaluating compiled filters on samples: members are read in place through
// the offsets found at compilation; nothing is allocated.
#include <cmath>
#include <cstring>

#include "content_filter.h"

namespace {

enum class ZELContentFilterOrderI { LESS, EQUAL, GREATER, UNORDERED };

template <typename T>
T ZELContentFilter_readI(const unsigned char *at) {
    T value;
    std::memcpy(&value, at, sizeof(value));
    return value;
}

// The operand's value: a constant or bound parameter in place, or a member
// read from the sample into `scratch`.
const ZELContentFilterValueI *ZELContentFilter_loadI(const ZELContentFilter *filter,
                                                     const ZELContentFilterOperandI &operand,
                                                     const unsigned char *sample, ZELContentFilterValueI *scratch) {
    if (operand.source == ZELContentFilterSourceI::CONSTANT) {
        return &operand.value;
    }
    if (operand.source == ZELContentFilterSourceI::PARAMETER) {
        return &filter->parameterValues[operand.slot];
    }
    const unsigned char *at = sample + operand.offset;
    ZELContentFilterValueI &v = *scratch;
    switch (operand.memberKind) {
    case ZEL_CDR_TK_BOOLEAN:
        v.kind = ZELContentFilterValueKindI::BOOLEAN;
        v.boolean = ZELContentFilter_readI<DDS_Boolean>(at) != 0;
        break;
    case ZEL_CDR_TK_CHAR:
        v.kind = ZELContentFilterValueKindI::CHAR;
        v.character = ZELContentFilter_readI<DDS_Char>(at);
        break;
    case ZEL_CDR_TK_OCTET:
        v.kind = ZELContentFilterValueKindI::UNSIGNED;
        v.unsignedValue = ZELContentFilter_readI<DDS_Octet>(at);
        break;
    case ZEL_CDR_TK_USHORT:
        v.kind = ZELContentFilterValueKindI::UNSIGNED;
        v.unsignedValue = ZELContentFilter_readI<DDS_UnsignedShort>(at);
        break;
    case ZEL_CDR_TK_ULONG:
        v.kind = ZELContentFilterValueKindI::UNSIGNED;
        v.unsignedValue = ZELContentFilter_readI<DDS_UnsignedLong>(at);
        break;
    case ZEL_CDR_TK_ULONGLONG:
        v.kind = ZELContentFilterValueKindI::UNSIGNED;
        v.unsignedValue = ZELContentFilter_readI<DDS_UnsignedLongLong>(at);
        break;
    case ZEL_CDR_TK_SHORT:
        v.kind = ZELContentFilterValueKindI::SIGNED;
        v.signedValue = ZELContentFilter_readI<DDS_Short>(at);
        break;
    case ZEL_CDR_TK_LONG:
        v.kind = ZELContentFilterValueKindI::SIGNED;
        v.signedValue = ZELContentFilter_readI<DDS_Long>(at);
        break;
    case ZEL_CDR_TK_ENUM:
        v.kind = ZELContentFilterValueKindI::SIGNED;
        v.signedValue = ZELContentFilter_readI<DDS_Enum>(at);
        break;
    case ZEL_CDR_TK_LONGLONG:
        v.kind = ZELContentFilterValueKindI::SIGNED;
        v.signedValue = ZELContentFilter_readI<DDS_LongLong>(at);
        break;
    case ZEL_CDR_TK_FLOAT:
        v.kind = ZELContentFilterValueKindI::FLOAT;
        v.floatValue = ZELContentFilter_readI<DDS_Float>(at);
        break;
    case ZEL_CDR_TK_DOUBLE:
        v.kind = ZELContentFilterValueKindI::FLOAT;
        v.floatValue = ZELContentFilter_readI<DDS_Double>(at);
        break;
    default: {  // ZEL_CDR_TK_STRING: compilation admits no other kind; an unset string reads as ""
        const char *text = ZELContentFilter_readI<const char *>(at);
        v.kind = ZELContentFilterValueKindI::STRING;
        v.text = text != nullptr ? text : "";
        v.length = std::strlen(v.text);
        break;
    }
    }
    return scratch;
}

std::string_view ZELContentFilter_textOfI(const ZELContentFilterValueI &value) {
    if (value.kind == ZELContentFilterValueKindI::CHAR) {
        return {&value.character, 1};
    }
    return {value.text, value.length};
}

long double ZELContentFilter_asLongDoubleI(const ZELContentFilterValueI &value) {
    switch (value.kind) {
    case ZELContentFilterValueKindI::SIGNED:
        return static_cast<long double>(value.signedValue);
    case ZELContentFilterValueKindI::UNSIGNED:
        return static_cast<long double>(value.unsignedValue);
    default:
        return value.floatValue;
    }
}

template <typename T>
ZELContentFilterOrderI ZELContentFilter_orderI(T a, T b) {
    return a < b ? ZELContentFilterOrderI::LESS
                 : (b < a ? ZELContentFilterOrderI::GREATER : ZELContentFilterOrderI::EQUAL);
}

// Compilation made both values of one category. Integers of either
// signedness compare exactly; with a float both widen to long double, which
// holds every 64-bit integer where the platform's long double is extended.
ZELContentFilterOrderI ZELContentFilter_compareI(const ZELContentFilterValueI &a, const ZELContentFilterValueI &b) {
    using Kind = ZELContentFilterValueKindI;
    if (a.kind == Kind::STRING || a.kind == Kind::CHAR) {
        const int order = ZELContentFilter_textOfI(a).compare(ZELContentFilter_textOfI(b));
        return ZELContentFilter_orderI(order, 0);
    }
    if (a.kind == Kind::BOOLEAN) {
        return ZELContentFilter_orderI(a.boolean, b.boolean);
    }
    if (a.kind == Kind::FLOAT || b.kind == Kind::FLOAT) {
        const long double x = ZELContentFilter_asLongDoubleI(a);
        const long double y = ZELContentFilter_asLongDoubleI(b);
        if (std::isnan(x) || std::isnan(y)) {
            return ZELContentFilterOrderI::UNORDERED;
        }
        return ZELContentFilter_orderI(x, y);
    }
    if (a.kind == Kind::SIGNED && b.kind == Kind::SIGNED) {
        return ZELContentFilter_orderI(a.signedValue, b.signedValue);
    }
    if (a.kind == Kind::UNSIGNED && b.kind == Kind::UNSIGNED) {
        return ZELContentFilter_orderI(a.unsignedValue, b.unsignedValue);
    }
    if (a.kind == Kind::SIGNED) {
        return a.signedValue < 0 ? ZELContentFilterOrderI::LESS
                                 : ZELContentFilter_orderI(static_cast<uint64_t>(a.signedValue), b.unsignedValue);
    }
    return b.signedValue < 0 ? ZELContentFilterOrderI::GREATER
                             : ZELContentFilter_orderI(a.unsignedValue, static_cast<uint64_t>(b.signedValue));
}

// SQL LIKE: '%' matches any run of characters, '_' any one character.
// Backtracks to the last '%' only, which is enough since a later '%'
// subsumes every choice an earlier one could make.
bool ZELContentFilter_likeI(std::string_view text, std::string_view pattern) {
    size_t t = 0;
    size_t p = 0;
    size_t starPattern = std::string_view::npos;
    size_t starText = 0;
    while (t < text.size()) {
        if (p < pattern.size() && pattern[p] == '%') {
            starPattern = p++;
            starText = t;
        } else if (p < pattern.size() && (pattern[p] == '_' || pattern[p] == text[t])) {
            ++p;
            ++t;
        } else if (starPattern != std::string_view::npos) {
            p = starPattern + 1;
            t = ++starText;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == '%') {
        ++p;
    }
    return p == pattern.size();
}

bool ZELContentFilter_holdsI(ZELContentFilterOpI op, ZELContentFilterOrderI order) {
    switch (op) {
    case ZELContentFilterOpI::EQ:
        return order == ZELContentFilterOrderI::EQUAL;
    case ZELContentFilterOpI::NE:
        return order != ZELContentFilterOrderI::EQUAL;
    case ZELContentFilterOpI::LT:
        return order == ZELContentFilterOrderI::LESS;
    case ZELContentFilterOpI::LE:
        return order == ZELContentFilterOrderI::LESS || order == ZELContentFilterOrderI::EQUAL;
    case ZELContentFilterOpI::GT:
        return order == ZELContentFilterOrderI::GREATER;
    default:  // GE (LIKE is matched, not ordered)
        return order == ZELContentFilterOrderI::GREATER || order == ZELContentFilterOrderI::EQUAL;
    }
}

bool ZELContentFilter_evaluatePredicateI(const ZELContentFilter *filter, const ZELContentFilterNodeI &node,
                                         const unsigned char *sample) {
    ZELContentFilterValueI scratch[3];
    const ZELContentFilterValueI *first = ZELContentFilter_loadI(filter, node.operands[0], sample, &scratch[0]);
    const ZELContentFilterValueI *second = ZELContentFilter_loadI(filter, node.operands[1], sample, &scratch[1]);
    if (node.kind == ZELContentFilterNodeKindI::COMPARE) {
        if (node.op == ZELContentFilterOpI::LIKE) {
            return ZELContentFilter_likeI(ZELContentFilter_textOfI(*first), ZELContentFilter_textOfI(*second));
        }
        return ZELContentFilter_holdsI(node.op, ZELContentFilter_compareI(*first, *second));
    }
    const ZELContentFilterValueI *third = ZELContentFilter_loadI(filter, node.operands[2], sample, &scratch[2]);
    const bool inside = ZELContentFilter_holdsI(ZELContentFilterOpI::GE, ZELContentFilter_compareI(*first, *second)) &&
                        ZELContentFilter_holdsI(ZELContentFilterOpI::LE, ZELContentFilter_compareI(*first, *third));
    return node.kind == ZELContentFilterNodeKindI::BETWEEN ? inside : !inside;
}

// Loops along AND and OR chains (built right-deep) and recurses only into
// their left operands and NOT, so the depth is bounded by the nesting that
// compilation allows.
bool ZELContentFilter_evaluateNodeI(const ZELContentFilter *filter, uint32_t index, const unsigned char *sample) {
    for (;;) {
        const ZELContentFilterNodeI &node = filter->nodes[index];
        switch (node.kind) {
        case ZELContentFilterNodeKindI::AND:
            if (!ZELContentFilter_evaluateNodeI(filter, node.left, sample)) {
                return false;
            }
            index = node.right;
            break;
        case ZELContentFilterNodeKindI::OR:
            if (ZELContentFilter_evaluateNodeI(filter, node.left, sample)) {
                return true;
            }
            index = node.right;
            break;
        case ZELContentFilterNodeKindI::NOT:
            return !ZELContentFilter_evaluateNodeI(filter, node.left, sample);
        default:
            return ZELContentFilter_evaluatePredicateI(filter, node, sample);
        }
    }
}

}  // namespace

extern "C" VURNC_API DDS_Boolean ZELContentFilter_evaluate(const ZELContentFilter *self, const void *sample) {
    if (self == nullptr || sample == nullptr) {
        return DDS_BOOLEAN_FALSE;
    }
    if (self->nodeCount == 0) {
        return DDS_BOOLEAN_TRUE;
    }
    return ZELContentFilter_evaluateNodeI(self, self->root, static_cast<const unsigned char *>(sample))
                   ? DDS_BOOLEAN_TRUE
                   : DDS_BOOLEAN_FALSE;
}
