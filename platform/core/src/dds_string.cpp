// Strings of the DDS API: NUL-terminated arrays of the platform heap, so that
// tests can fail their allocation and count them like any other block.
#include "vurncore/dds_string.h"

#include <cstring>

#include "vurncore/heap.h"

namespace {

const char *const kStringTag = "STRN";

}  // namespace

extern "C" {

char *DDS_String_alloc(size_t length) {
    if (length == SIZE_MAX) {
        return nullptr;  // no room for the NUL
    }
    return static_cast<char *>(ZELOsapiHeap_allocateArray(length + 1, 1, kStringTag));
}

char *DDS_String_dup(const char *str) {
    if (str == nullptr) {
        return nullptr;
    }
    const size_t length = std::strlen(str);
    char *copy = DDS_String_alloc(length);
    if (copy != nullptr) {
        std::memcpy(copy, str, length);  // the NUL is there already: the block is zero-filled
    }
    return copy;
}

void DDS_String_free(char *str) { ZELOsapiHeap_freeArray(str); }

}  // extern "C"
