// Values for members: what a member compares with, and the binding of %n
// parameter texts, each parsed for the member it is compared with.
#include <cstring>

#include "content_filter.h"
#include "vurncore/heap.h"

ZELContentFilterCategoryI ZELContentFilter_categoryOfKindI(enum ZELCdrTypeKind kind) {
    switch (kind) {
    case ZEL_CDR_TK_BOOLEAN:
        return ZELContentFilterCategoryI::BOOLEAN;
    case ZEL_CDR_TK_CHAR:
    case ZEL_CDR_TK_STRING:
        return ZELContentFilterCategoryI::TEXT;
    default:
        return ZELContentFilterCategoryI::NUMBER;
    }
}

bool ZELContentFilter_findEnumeratorI(const ZELCdrTypeDesc *type, std::string_view name, int64_t *value) {
    for (uint32_t i = 0; i < type->enumeratorCount; ++i) {
        if (name == type->enumerators[i].name) {
            *value = type->enumerators[i].value;
            return true;
        }
    }
    return false;
}

void ZELContentFilter_fitToMemberI(enum ZELCdrTypeKind memberKind, ZELContentFilterValueI *value) {
    if (memberKind == ZEL_CDR_TK_FLOAT && value->kind == ZELContentFilterValueKindI::FLOAT) {
        value->floatValue = static_cast<double>(static_cast<float>(value->floatValue));
    }
}

namespace {

std::string_view ZELContentFilter_trimI(std::string_view text) {
    const size_t first = text.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

bool ZELContentFilter_isQuotedI(std::string_view text) {
    if (text.size() < 2 || text.front() != '\'' || text.back() != '\'') {
        return false;
    }
    // Inner quotes come in pairs; otherwise the text is taken as it stands.
    for (size_t i = 1; i + 1 < text.size(); ++i) {
        if (text[i] == '\'') {
            if (i + 2 >= text.size() || text[i + 1] != '\'') {
                return false;
            }
            ++i;
        }
    }
    return true;
}

// Parses `text` for `use`'s member into `value`; string contents go to
// `*cursor`, which moves past them. False (with `error` set) when the text
// does not fit the member's type.
bool ZELContentFilter_parseParameterI(const ZELContentFilterParameterUseI &use, const char *text,
                                      ZELContentFilterValueI *value, char **cursor, ZELContentFilterError *error) {
    const std::string_view raw(text);
    const std::string_view trimmed = ZELContentFilter_trimI(raw);
    const int shown = static_cast<int>(trimmed.size() > 32 ? 32 : trimmed.size());
    *value = ZELContentFilterValueI{};
    switch (ZELContentFilter_categoryOfKindI(use.type->kind)) {
    case ZELContentFilterCategoryI::TEXT:
        // 'quoted' like a literal, or the text as it stands.
        value->kind = ZELContentFilterValueKindI::STRING;
        value->text = *cursor;
        if (ZELContentFilter_isQuotedI(trimmed)) {
            value->length = ZELContentFilter_unquoteI(trimmed, *cursor);
        } else {
            std::memcpy(*cursor, raw.data(), raw.size());
            (*cursor)[raw.size()] = '\0';
            value->length = raw.size();
        }
        *cursor += value->length + 1;
        return true;
    case ZELContentFilterCategoryI::BOOLEAN:
        value->kind = ZELContentFilterValueKindI::BOOLEAN;
        value->boolean = ZELContentFilter_equalsIgnoringCaseI(trimmed, "TRUE");
        if (value->boolean || ZELContentFilter_equalsIgnoringCaseI(trimmed, "FALSE")) {
            return true;
        }
        ZELContentFilterError_setI(error, use.position, "parameter %%%u '%.*s' is not a boolean", use.index, shown,
                                   trimmed.data());
        return false;
    case ZELContentFilterCategoryI::NUMBER:
        break;
    }
    if (use.type->kind == ZEL_CDR_TK_ENUM && !trimmed.empty() && ZELContentFilter_isIdentifierStartI(trimmed[0])) {
        value->kind = ZELContentFilterValueKindI::SIGNED;
        if (!ZELContentFilter_findEnumeratorI(use.type, trimmed, &value->signedValue)) {
            ZELContentFilterError_setI(error, use.position, "parameter %%%u '%.*s' is not an enumerator of %s",
                                       use.index, shown, trimmed.data(),
                                       use.type->name != nullptr ? use.type->name : "the enumeration");
            return false;
        }
        return true;
    }
    if (!ZELContentFilter_parseNumberI(trimmed, value)) {
        ZELContentFilterError_setI(error, use.position, "parameter %%%u '%.*s' is not a number", use.index, shown,
                                   trimmed.data());
        return false;
    }
    ZELContentFilter_fitToMemberI(use.type->kind, value);
    return true;
}

}  // namespace

bool ZELContentFilter_bindParametersI(ZELContentFilter *self, const DDS_StringSeq *parameters,
                                      ZELContentFilterError *error) {
    if (self->parameterUseCount == 0) {
        return true;
    }
    const DDS_Long given = parameters == nullptr ? 0 : DDS_StringSeq_get_length(parameters);
    size_t textOctets = 0;
    for (uint32_t i = 0; i < self->parameterUseCount; ++i) {
        const ZELContentFilterParameterUseI &use = self->parameterUses[i];
        if (use.index >= static_cast<uint32_t>(given)) {
            ZELContentFilterError_setI(error, use.position, "parameter %%%u not given", use.index);
            return false;
        }
        const char *text = DDS_StringSeq_get(parameters, static_cast<DDS_Long>(use.index));
        if (ZELContentFilter_categoryOfKindI(use.type->kind) == ZELContentFilterCategoryI::TEXT) {
            textOctets += (text == nullptr ? 0 : std::strlen(text)) + 1;
        }
    }
    auto *values = static_cast<ZELContentFilterValueI *>(
            ZELOsapiHeap_allocateArray(self->parameterUseCount, sizeof(ZELContentFilterValueI), "CFPV"));
    char *text = static_cast<char *>(ZELOsapiHeap_allocateArray(textOctets, 1, "CFPT"));
    if (values == nullptr || text == nullptr) {
        ZELContentFilterError_setI(error, 0, "out of heap");
        ZELOsapiHeap_freeArray(text);
        ZELOsapiHeap_freeArray(values);
        return false;
    }
    char *cursor = text;
    for (uint32_t i = 0; i < self->parameterUseCount; ++i) {
        const ZELContentFilterParameterUseI &use = self->parameterUses[i];
        const char *parameter = DDS_StringSeq_get(parameters, static_cast<DDS_Long>(use.index));
        if (!ZELContentFilter_parseParameterI(use, parameter == nullptr ? "" : parameter, &values[i], &cursor, error)) {
            ZELOsapiHeap_freeArray(text);
            ZELOsapiHeap_freeArray(values);
            return false;
        }
    }
    ZELOsapiHeap_freeArray(self->parameterText);
    ZELOsapiHeap_freeArray(self->parameterValues);
    self->parameterValues = values;
    self->parameterText = text;
    return true;
}
