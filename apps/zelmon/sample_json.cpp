#include "sample_json.h"

#include <cstring>

namespace zelmon {
namespace {

const ZELCdrTypeDesc *resolveAlias(const ZELCdrTypeDesc *type) {
    while (type->kind == ZEL_CDR_TK_ALIAS) {
        type = type->element;
    }
    return type;
}

template <typename T>
T load(const void *at) {
    T value;
    std::memcpy(&value, at, sizeof(value));
    return value;
}

nlohmann::json enumToJson(const ZELCdrTypeDesc *type, DDS_Long value) {
    for (uint32_t i = 0; i < type->enumeratorCount; ++i) {
        if (type->enumerators[i].value == value) {
            return type->enumerators[i].name;
        }
    }
    return value;
}

nlohmann::json elementsToJson(const ZELCdrTypeDesc *element, const char *base, uint32_t count) {
    nlohmann::json array = nlohmann::json::array();
    for (uint32_t i = 0; i < count; ++i) {
        array.push_back(sampleToJson(element, base + static_cast<size_t>(i) * element->size));
    }
    return array;
}

}  // namespace

nlohmann::json sampleToJson(const ZELCdrTypeDesc *type, const void *sample) {
    type = resolveAlias(type);
    switch (type->kind) {
    case ZEL_CDR_TK_BOOLEAN:
        return load<DDS_Boolean>(sample) != 0;
    case ZEL_CDR_TK_OCTET:
        return load<DDS_Octet>(sample);
    case ZEL_CDR_TK_CHAR:
        return std::string(1, load<DDS_Char>(sample));
    case ZEL_CDR_TK_SHORT:
        return load<DDS_Short>(sample);
    case ZEL_CDR_TK_USHORT:
        return load<DDS_UnsignedShort>(sample);
    case ZEL_CDR_TK_LONG:
        return load<DDS_Long>(sample);
    case ZEL_CDR_TK_ULONG:
        return load<DDS_UnsignedLong>(sample);
    case ZEL_CDR_TK_LONGLONG:
        return load<DDS_LongLong>(sample);
    case ZEL_CDR_TK_ULONGLONG:
        return load<DDS_UnsignedLongLong>(sample);
    case ZEL_CDR_TK_FLOAT:
        return load<DDS_Float>(sample);
    case ZEL_CDR_TK_DOUBLE:
        return load<DDS_Double>(sample);
    case ZEL_CDR_TK_ENUM:
        return enumToJson(type, load<DDS_Long>(sample));
    case ZEL_CDR_TK_STRING: {
        const char *text = load<const char *>(sample);
        return text != nullptr ? std::string(text) : std::string();
    }
    case ZEL_CDR_TK_ARRAY:
        return elementsToJson(type->element, static_cast<const char *>(sample), type->bound);
    case ZEL_CDR_TK_SEQUENCE: {
        const auto *sequence = static_cast<const ZELSequence *>(sample);
        if (sequence->_discontiguous_buffer != nullptr) {
            nlohmann::json array = nlohmann::json::array();
            for (uint32_t i = 0; i < sequence->_length; ++i) {
                array.push_back(sampleToJson(type->element, sequence->_discontiguous_buffer[i]));
            }
            return array;
        }
        return elementsToJson(type->element, static_cast<const char *>(sequence->_contiguous_buffer),
                              sequence->_contiguous_buffer != nullptr ? sequence->_length : 0);
    }
    case ZEL_CDR_TK_STRUCT: {
        nlohmann::json object = nlohmann::json::object();
        for (uint32_t i = 0; i < type->memberCount; ++i) {
            const ZELCdrMember &member = type->members[i];
            object[member.name] = sampleToJson(member.type, static_cast<const char *>(sample) + member.offset);
        }
        return object;
    }
    case ZEL_CDR_TK_ALIAS:
        break;
    }
    return nullptr;
}

void typeLeafPaths(const ZELCdrTypeDesc *type, const std::string &prefix, std::vector<std::string> *paths) {
    type = resolveAlias(type);
    if (type->kind == ZEL_CDR_TK_STRUCT) {
        for (uint32_t i = 0; i < type->memberCount; ++i) {
            typeLeafPaths(type->members[i].type, prefix + "/" + type->members[i].name, paths);
        }
    } else if (type->kind == ZEL_CDR_TK_ARRAY) {
        for (uint32_t i = 0; i < type->bound; ++i) {
            typeLeafPaths(type->element, prefix + "/" + std::to_string(i), paths);
        }
    } else {
        paths->push_back(prefix);
    }
}

}  // namespace zelmon
