// Printing of sample values through the core log, one line per value.
#include "vurncore/cdr_print.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "cdr_type_engine.h"
#include "vurncore/log.h"

namespace {

constexpr int kIndentWidth = 3;

int indentWidthI(unsigned int indent) { return static_cast<int>(indent) * kIndentWidth; }

template <typename T>
T valueI(const void *value) {
    T result;
    std::memcpy(&result, value, sizeof result);
    return result;
}

}  // namespace

namespace zel::cdr {

void ZELCdrType_printLineI(const char *text, const char *description, unsigned int indent) {
    if (description != nullptr) {
        ZELLog_debug("%*s%s: %s\n", indentWidthI(indent), "", description, text);
    } else {
        ZELLog_debug("%*s%s\n", indentWidthI(indent), "", text);
    }
}

void ZELCdrType_printHeaderI(const char *description, unsigned int indent) {
    if (description != nullptr) {
        ZELLog_debug("%*s%s:\n", indentWidthI(indent), "", description);
    }
}

ElementName::ElementName(unsigned int i) { std::snprintf(text, sizeof text, "[%u]", i); }

}  // namespace zel::cdr

using zel::cdr::ElementName;
using zel::cdr::ZELCdrType_printHeaderI;
using zel::cdr::ZELCdrType_printLineI;

extern "C" {

void ZELCdrType_printIndent(unsigned int indent) {
    if (indent > 0) {
        ZELLog_debug("%*s", indentWidthI(indent), "");
    }
}

void ZELCdrType_printBoolean(const void *value, const char *description, unsigned int indent) {
    char text[8];
    std::snprintf(text, sizeof text, "%u", static_cast<unsigned int>(valueI<DDS_Boolean>(value)));
    ZELCdrType_printLineI(text, description, indent);
}

void ZELCdrType_printOctet(const void *value, const char *description, unsigned int indent) {
    char text[8];
    std::snprintf(text, sizeof text, "0x%02x", static_cast<unsigned int>(valueI<DDS_Octet>(value)));
    ZELCdrType_printLineI(text, description, indent);
}

void ZELCdrType_printChar(const void *value, const char *description, unsigned int indent) {
    const char text[2] = {valueI<DDS_Char>(value), '\0'};
    ZELCdrType_printLineI(text, description, indent);
}

void ZELCdrType_printShort(const void *value, const char *description, unsigned int indent) {
    char text[8];
    std::snprintf(text, sizeof text, "%d", static_cast<int>(valueI<DDS_Short>(value)));
    ZELCdrType_printLineI(text, description, indent);
}

void ZELCdrType_printUnsignedShort(const void *value, const char *description, unsigned int indent) {
    char text[8];
    std::snprintf(text, sizeof text, "%u", static_cast<unsigned int>(valueI<DDS_UnsignedShort>(value)));
    ZELCdrType_printLineI(text, description, indent);
}

void ZELCdrType_printLong(const void *value, const char *description, unsigned int indent) {
    char text[16];
    std::snprintf(text, sizeof text, "%" PRId32, valueI<DDS_Long>(value));
    ZELCdrType_printLineI(text, description, indent);
}

void ZELCdrType_printUnsignedLong(const void *value, const char *description, unsigned int indent) {
    char text[16];
    std::snprintf(text, sizeof text, "%" PRIu32, valueI<DDS_UnsignedLong>(value));
    ZELCdrType_printLineI(text, description, indent);
}

void ZELCdrType_printLongLong(const void *value, const char *description, unsigned int indent) {
    char text[24];
    std::snprintf(text, sizeof text, "%" PRId64, valueI<DDS_LongLong>(value));
    ZELCdrType_printLineI(text, description, indent);
}

void ZELCdrType_printUnsignedLongLong(const void *value, const char *description, unsigned int indent) {
    char text[24];
    std::snprintf(text, sizeof text, "%" PRIu64, valueI<DDS_UnsignedLongLong>(value));
    ZELCdrType_printLineI(text, description, indent);
}

void ZELCdrType_printFloat(const void *value, const char *description, unsigned int indent) {
    char text[64];
    std::snprintf(text, sizeof text, "%f", static_cast<double>(valueI<DDS_Float>(value)));
    ZELCdrType_printLineI(text, description, indent);
}

void ZELCdrType_printDouble(const void *value, const char *description, unsigned int indent) {
    char text[352];  // the widest double in %f
    std::snprintf(text, sizeof text, "%f", valueI<DDS_Double>(value));
    ZELCdrType_printLineI(text, description, indent);
}

void ZELCdrType_printEnum(const void *value, const char *description, unsigned int indent) {
    char text[16];
    std::snprintf(text, sizeof text, "%" PRId32, valueI<DDS_Enum>(value));
    ZELCdrType_printLineI(text, description, indent);
}

void ZELCdrType_printString(const char *value, const char *description, unsigned int indent) {
    if (value == nullptr) {
        ZELCdrType_printLineI("NULL", description, indent);
    } else if (description != nullptr) {
        ZELLog_debug("%*s%s: \"%s\"\n", indentWidthI(indent), "", description, value);
    } else {
        ZELLog_debug("%*s\"%s\"\n", indentWidthI(indent), "", value);
    }
}

void ZELCdrType_printArray(const void *array, unsigned int length, unsigned int elementSize,
                           ZELCdrTypePrintFunction printElement, const char *description, unsigned int indent) {
    ZELCdrType_printHeaderI(description, indent);
    const auto *elements = static_cast<const char *>(array);
    for (unsigned int i = 0; i < length; ++i) {
        printElement(elements + size_t{i} * elementSize, ElementName(i).text, indent + 1);
    }
}

void ZELCdrType_printStringArray(const char *const *array, unsigned int length, const char *description,
                                 unsigned int indent) {
    ZELCdrType_printHeaderI(description, indent);
    for (unsigned int i = 0; i < length; ++i) {
        ZELCdrType_printString(array[i], ElementName(i).text, indent + 1);
    }
}

void ZELCdrType_printPointerArray(const void *const *array, unsigned int length, ZELCdrTypePrintFunction printElement,
                                  const char *description, unsigned int indent) {
    ZELCdrType_printHeaderI(description, indent);
    for (unsigned int i = 0; i < length; ++i) {
        printElement(array[i], ElementName(i).text, indent + 1);
    }
}

}  // extern "C"
