// The CDR stream: bounds-checked reading and writing of CDR values and
// parameter lists over a caller's buffer. Alignment is always relative to
// the stream's origin; writers pad with zeros so that a reused buffer sends
// no stale octets.
#include "vurncore/cdr_stream.h"

#include <bit>
#include <cstring>

#include "vurncore/dds_string.h"

namespace {

constexpr uint16_t kShortIdMax = 0x3f00;  // 0x3f01 and above are reserved ids
constexpr uint32_t kExtendedIdMask = 0x0fffffffu;
constexpr uint32_t kExtendedMustUnderstand = 0x40000000u;
constexpr uint16_t kExtendedShortLength = 8;
constexpr uint32_t kShortLengthMax = 0xffffu;
constexpr uint32_t kParameterAlignment = 4;
// Fewest octets a string element takes: its length word and the NUL.
constexpr uint64_t kStringMinSize = 5;

bool isPrimitiveSize(uint32_t size) { return size == 1 || size == 2 || size == 4 || size == 8; }

bool streamIsHostOrder(const ZELCdrStream *self) {
    const ZELCdrByteOrder host =
            std::endian::native == std::endian::little ? ZEL_CDR_LITTLE_ENDIAN : ZEL_CDR_BIG_ENDIAN;
    return self->byteOrder == host;
}

uint32_t remainderI(const ZELCdrStream *self) {
    return self->bufferLength - static_cast<uint32_t>(self->currentPosition - self->buffer);
}

// Octets from the position to the next multiple of `alignment` (a power of
// two) counted from the origin; the origin may lie after the position.
uint32_t paddingI(const ZELCdrStream *self, uint32_t alignment) {
    const uintptr_t distance =
            reinterpret_cast<uintptr_t>(self->currentPosition) - reinterpret_cast<uintptr_t>(self->alignBase);
    return static_cast<uint32_t>((uintptr_t{0} - distance) & (alignment - 1u));
}

bool moveToAlignmentI(ZELCdrStream *self, uint32_t alignment, bool zero) {
    if (!isPrimitiveSize(alignment)) {
        return false;
    }
    const uint32_t padding = paddingI(self, alignment);
    if (padding > remainderI(self)) {
        return false;
    }
    if (zero) {
        for (uint32_t i = 0; i < padding; ++i) {  // at most 7: no library call
            self->currentPosition[i] = 0;
        }
    }
    self->currentPosition += padding;
    return true;
}

template <class T>
T byteSwapI(T value) {
    const uint64_t wide = value;
    uint64_t swapped = 0;
    for (size_t i = 0; i < sizeof(T); ++i) {  // compilers turn this into one swap instruction
        swapped = (swapped << 8) | ((wide >> (8 * i)) & 0xffu);
    }
    return static_cast<T>(swapped);
}

template <class T>
void copySwappedI(char *to, const char *from, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) {
        T value;
        std::memcpy(&value, from + static_cast<size_t>(i) * sizeof(T), sizeof(T));
        value = byteSwapI(value);
        std::memcpy(to + static_cast<size_t>(i) * sizeof(T), &value, sizeof(T));
    }
}

// Copies `count` values of `size` octets (1, 2, 4 or 8), reversing the
// octets of each when the stream's order is not the host's.
void copyValuesI(char *to, const char *from, uint32_t count, uint32_t size, bool sameOrder) {
    if (sameOrder || size == 1) {
        std::memcpy(to, from, static_cast<size_t>(count) * size);
    } else if (size == 2) {
        copySwappedI<uint16_t>(to, from, count);
    } else if (size == 4) {
        copySwappedI<uint32_t>(to, from, count);
    } else {
        copySwappedI<uint64_t>(to, from, count);
    }
}

// One value of 1, 2, 4 or 8 octets: each size a fixed-size move that
// compiles to a load and a store, not a library call.
template <class T>
void copyOneI(char *to, const char *from, bool sameOrder) {
    T value;
    std::memcpy(&value, from, sizeof(T));
    if (!sameOrder) {
        value = byteSwapI(value);
    }
    std::memcpy(to, &value, sizeof(T));
}

void copyValueI(char *to, const char *from, uint32_t size, bool sameOrder) {
    switch (size) {
    case 1:
        *to = *from;
        return;
    case 2:
        copyOneI<uint16_t>(to, from, sameOrder);
        return;
    case 4:
        copyOneI<uint32_t>(to, from, sameOrder);
        return;
    default:
        copyOneI<uint64_t>(to, from, sameOrder);
    }
}

// Writes or reads a value at the position without alignment (the caller
// checked the room).
void putI(ZELCdrStream *self, const void *value, uint32_t size) {
    copyValueI(self->currentPosition, static_cast<const char *>(value), size, streamIsHostOrder(self));
    self->currentPosition += size;
}

void getI(ZELCdrStream *self, void *value, uint32_t size) {
    copyValueI(static_cast<char *>(value), self->currentPosition, size, streamIsHostOrder(self));
    self->currentPosition += size;
}

void patchI(const ZELCdrStream *self, char *at, const void *value, uint32_t size) {
    copyValueI(at, static_cast<const char *>(value), size, streamIsHostOrder(self));
}

bool fitsI(const ZELCdrStream *self, uint32_t count, uint32_t size) {
    return static_cast<uint64_t>(count) * size <= remainderI(self);
}

// Reads a string's length and checks its characters; leaves the position
// after the string and gives where its characters start.
bool readStringI(ZELCdrStream *self, uint32_t maximumLength, uint32_t *length, const char **characters) {
    uint32_t announced = 0;
    if (!ZELCdrStream_deserializePrimitive(self, &announced, 4) || announced == 0 || announced > maximumLength ||
        announced > remainderI(self)) {
        return false;
    }
    const char *start = self->currentPosition;
    if (start[announced - 1] != '\0') {
        return false;
    }
    self->currentPosition += announced;
    *length = announced;
    *characters = start;
    return true;
}

// Reads a string into a sequence element, keeping the element's string when
// the incoming one fits in it.
bool readStringElementI(ZELCdrStream *self, char **element, uint32_t maximumLength) {
    uint32_t length = 0;
    const char *characters = nullptr;
    if (!readStringI(self, maximumLength, &length, &characters)) {
        return false;
    }
    if (*element == nullptr || std::strlen(*element) + 1 < length) {
        char *replacement = DDS_String_alloc(length - 1);
        if (replacement == nullptr) {
            return false;
        }
        DDS_String_free(*element);
        *element = replacement;
    }
    std::memcpy(*element, characters, length);
    return true;
}

// Reads a sequence count and asks the caller for storage. `minimumElementSize`
// is the fewest octets one element can take: a count that cannot fit in the
// remainder is refused before any storage is asked for.
bool reserveSequenceI(ZELCdrStream *self, uint32_t maximumLength, uint64_t minimumElementSize, void *sequence,
                      ZELCdrStreamReserveFunction reserve, uint32_t *length, void **elements) {
    if (reserve == nullptr || !ZELCdrStream_deserializeSequenceLength(self, length, maximumLength) ||
        *length * minimumElementSize > remainderI(self)) {
        return false;
    }
    *elements = nullptr;
    if (!reserve(sequence, *length, elements)) {
        return false;
    }
    return *length == 0 || *elements != nullptr;
}

bool writeShortHeaderI(ZELCdrStream *self, uint16_t rawId, uint16_t length) {
    if (!moveToAlignmentI(self, kParameterAlignment, true) || remainderI(self) < 4) {
        return false;
    }
    putI(self, &rawId, 2);
    putI(self, &length, 2);
    return true;
}

// Whether a value laid out as its CDR form can be moved in one go here:
// see ZELCdrStream_serializeInPlace. `*padding` is what comes before it.
bool inPlaceFitsI(const ZELCdrStream *self, uint32_t size, uint32_t alignment, ZELBoolean pad, uint32_t *padding) {
    if (!streamIsHostOrder(self) || !isPrimitiveSize(alignment)) {
        return false;
    }
    *padding = paddingI(self, alignment);
    return (*padding == 0 || pad) && static_cast<uint64_t>(*padding) + size <= remainderI(self);
}

}  // namespace

extern "C" {

void ZELCdrStream_init(ZELCdrStream *self, char *buffer, uint32_t length, ZELCdrByteOrder byteOrder) {
    self->buffer = buffer;
    self->alignBase = buffer;
    self->currentPosition = buffer;
    self->bufferLength = length;
    self->byteOrder = byteOrder;
    self->encapsulationKind = ZEL_CDR_ENCAPSULATION_ID_CDR_BE;
    self->encapsulationOptions = 0;
    self->skipSentinel = ZEL_FALSE;
    self->dirty = ZEL_FALSE;
}

void ZELCdrStream_clear(ZELCdrStream *self) {
    if (self->bufferLength > 0) {
        std::memset(self->buffer, 0, self->bufferLength);
    }
    ZELCdrStream_resetPosition(self);
    self->dirty = ZEL_TRUE;
}

void ZELCdrStream_resetPosition(ZELCdrStream *self) {
    self->currentPosition = self->buffer;
    self->alignBase = self->buffer;
}

uint32_t ZELCdrStream_getCurrentPositionOffset(const ZELCdrStream *self) {
    return static_cast<uint32_t>(self->currentPosition - self->buffer);
}

uint32_t ZELCdrStream_getRemainder(const ZELCdrStream *self) { return remainderI(self); }

ZELBoolean ZELCdrStream_setCurrentPositionOffset(ZELCdrStream *self, uint32_t offset) {
    if (offset > self->bufferLength) {
        return ZEL_FALSE;
    }
    self->currentPosition = self->buffer + offset;
    return ZEL_TRUE;
}

char *ZELCdrStream_resetAlignment(ZELCdrStream *self) {
    char *previous = self->alignBase;
    self->alignBase = self->currentPosition;
    return previous;
}

void ZELCdrStream_restoreAlignBase(ZELCdrStream *self, char *alignBase) { self->alignBase = alignBase; }

ZELBoolean ZELCdrStream_align(ZELCdrStream *self, uint32_t alignment) {
    return moveToAlignmentI(self, alignment, false) ? ZEL_TRUE : ZEL_FALSE;
}

ZELBoolean ZELCdrStream_pad(ZELCdrStream *self, uint32_t alignment) {
    return moveToAlignmentI(self, alignment, true) ? ZEL_TRUE : ZEL_FALSE;
}

ZELBoolean ZELCdrStream_serializeEncapsulation(ZELCdrStream *self, uint16_t encapsulationId) {
    if (encapsulationId > ZEL_CDR_ENCAPSULATION_ID_PL_CDR_LE || remainderI(self) < ZEL_CDR_ENCAPSULATION_HEADER_SIZE) {
        return ZEL_FALSE;
    }
    // The header is big-endian whatever the order of what follows.
    auto *at = reinterpret_cast<unsigned char *>(self->currentPosition);
    at[0] = static_cast<unsigned char>(encapsulationId >> 8);
    at[1] = static_cast<unsigned char>(encapsulationId & 0xffu);
    at[2] = static_cast<unsigned char>(self->encapsulationOptions >> 8);
    at[3] = static_cast<unsigned char>(self->encapsulationOptions & 0xffu);
    self->currentPosition += ZEL_CDR_ENCAPSULATION_HEADER_SIZE;
    self->encapsulationKind = encapsulationId;
    self->byteOrder = (encapsulationId & 1u) != 0 ? ZEL_CDR_LITTLE_ENDIAN : ZEL_CDR_BIG_ENDIAN;
    return ZEL_TRUE;
}

ZELBoolean ZELCdrStream_deserializeEncapsulation(ZELCdrStream *self, uint16_t *encapsulationId) {
    if (remainderI(self) < ZEL_CDR_ENCAPSULATION_HEADER_SIZE) {
        return ZEL_FALSE;
    }
    const auto *at = reinterpret_cast<const unsigned char *>(self->currentPosition);
    const auto id = static_cast<uint16_t>((at[0] << 8) | at[1]);
    if (id > ZEL_CDR_ENCAPSULATION_ID_PL_CDR_LE) {
        return ZEL_FALSE;
    }
    self->encapsulationOptions = static_cast<uint16_t>((at[2] << 8) | at[3]);
    self->currentPosition += ZEL_CDR_ENCAPSULATION_HEADER_SIZE;
    self->encapsulationKind = id;
    self->byteOrder = (id & 1u) != 0 ? ZEL_CDR_LITTLE_ENDIAN : ZEL_CDR_BIG_ENDIAN;
    *encapsulationId = id;
    return ZEL_TRUE;
}

ZELBoolean ZELCdrStream_serializePrimitive(ZELCdrStream *self, const void *value, uint32_t size) {
    if (!moveToAlignmentI(self, size, true) || remainderI(self) < size) {
        return ZEL_FALSE;
    }
    putI(self, value, size);
    return ZEL_TRUE;
}

ZELBoolean ZELCdrStream_deserializePrimitive(ZELCdrStream *self, void *value, uint32_t size) {
    if (!moveToAlignmentI(self, size, false) || remainderI(self) < size) {
        return ZEL_FALSE;
    }
    getI(self, value, size);
    return ZEL_TRUE;
}

ZELBoolean ZELCdrStream_skipPrimitive(ZELCdrStream *self, uint32_t size) {
    return ZELCdrStream_skipPrimitiveArray(self, 1, size);
}

ZELBoolean ZELCdrStream_serializeInPlace(ZELCdrStream *self, const void *value, uint32_t size, uint32_t alignment,
                                         ZELBoolean pad) {
    uint32_t padding = 0;
    if (!inPlaceFitsI(self, size, alignment, pad, &padding)) {
        return ZEL_FALSE;
    }
    std::memset(self->currentPosition, 0, padding);
    std::memcpy(self->currentPosition + padding, value, size);
    self->currentPosition += padding + size;
    return ZEL_TRUE;
}

ZELBoolean ZELCdrStream_deserializeInPlace(ZELCdrStream *self, void *value, uint32_t size, uint32_t alignment,
                                           ZELBoolean pad) {
    uint32_t padding = 0;
    if (!inPlaceFitsI(self, size, alignment, pad, &padding)) {
        return ZEL_FALSE;
    }
    std::memcpy(value, self->currentPosition + padding, size);
    self->currentPosition += padding + size;
    return ZEL_TRUE;
}

// Arrays align before their first element only, so an empty one moves nothing.
ZELBoolean ZELCdrStream_serializePrimitiveArray(ZELCdrStream *self, const void *array, uint32_t count,
                                                uint32_t elementSize) {
    if (!isPrimitiveSize(elementSize)) {
        return ZEL_FALSE;
    }
    if (count == 0) {
        return ZEL_TRUE;
    }
    if (array == nullptr || !moveToAlignmentI(self, elementSize, true) || !fitsI(self, count, elementSize)) {
        return ZEL_FALSE;
    }
    copyValuesI(self->currentPosition, static_cast<const char *>(array), count, elementSize, streamIsHostOrder(self));
    self->currentPosition += count * elementSize;
    return ZEL_TRUE;
}

ZELBoolean ZELCdrStream_deserializePrimitiveArray(ZELCdrStream *self, void *array, uint32_t count,
                                                  uint32_t elementSize) {
    if (!isPrimitiveSize(elementSize)) {
        return ZEL_FALSE;
    }
    if (count == 0) {
        return ZEL_TRUE;
    }
    if (array == nullptr || !moveToAlignmentI(self, elementSize, false) || !fitsI(self, count, elementSize)) {
        return ZEL_FALSE;
    }
    copyValuesI(static_cast<char *>(array), self->currentPosition, count, elementSize, streamIsHostOrder(self));
    self->currentPosition += count * elementSize;
    return ZEL_TRUE;
}

ZELBoolean ZELCdrStream_skipPrimitiveArray(ZELCdrStream *self, uint32_t count, uint32_t elementSize) {
    if (!isPrimitiveSize(elementSize)) {
        return ZEL_FALSE;
    }
    if (count == 0) {
        return ZEL_TRUE;
    }
    if (!moveToAlignmentI(self, elementSize, false) || !fitsI(self, count, elementSize)) {
        return ZEL_FALSE;
    }
    self->currentPosition += count * elementSize;
    return ZEL_TRUE;
}

ZELBoolean ZELCdrStream_serializeString(ZELCdrStream *self, const char *string, uint32_t maximumLength) {
    if (string == nullptr) {
        return ZEL_FALSE;
    }
    const size_t withNul = std::strlen(string) + 1;
    if (withNul > maximumLength) {
        return ZEL_FALSE;
    }
    const auto length = static_cast<uint32_t>(withNul);
    if (!ZELCdrStream_serializePrimitive(self, &length, 4) || remainderI(self) < length) {
        return ZEL_FALSE;
    }
    std::memcpy(self->currentPosition, string, length);
    self->currentPosition += length;
    return ZEL_TRUE;
}

ZELBoolean ZELCdrStream_deserializeString(ZELCdrStream *self, char *string, uint32_t maximumLength) {
    uint32_t length = 0;
    const char *characters = nullptr;
    if (string == nullptr || !readStringI(self, maximumLength, &length, &characters)) {
        return ZEL_FALSE;
    }
    std::memcpy(string, characters, length);
    return ZEL_TRUE;
}

ZELBoolean ZELCdrStream_skipString(ZELCdrStream *self, uint32_t maximumLength) {
    uint32_t length = 0;
    const char *characters = nullptr;
    return readStringI(self, maximumLength, &length, &characters) ? ZEL_TRUE : ZEL_FALSE;
}

ZELBoolean ZELCdrStream_serializeSequenceLength(ZELCdrStream *self, uint32_t length, uint32_t maximumLength) {
    if (length > maximumLength) {
        return ZEL_FALSE;
    }
    return ZELCdrStream_serializePrimitive(self, &length, 4);
}

ZELBoolean ZELCdrStream_deserializeSequenceLength(ZELCdrStream *self, uint32_t *length, uint32_t maximumLength) {
    uint32_t count = 0;
    if (!ZELCdrStream_deserializePrimitive(self, &count, 4) || count > maximumLength) {
        return ZEL_FALSE;
    }
    *length = count;
    return ZEL_TRUE;
}

ZELBoolean ZELCdrStream_serializePrimitiveSequence(ZELCdrStream *self, const void *elements, uint32_t length,
                                                   uint32_t maximumLength, uint32_t elementSize) {
    if (!isPrimitiveSize(elementSize)) {
        return ZEL_FALSE;
    }
    return ZELCdrStream_serializeSequenceLength(self, length, maximumLength) &&
                           ZELCdrStream_serializePrimitiveArray(self, elements, length, elementSize)
                   ? ZEL_TRUE
                   : ZEL_FALSE;
}

ZELBoolean ZELCdrStream_deserializePrimitiveSequence(ZELCdrStream *self, void *sequence,
                                                     ZELCdrStreamReserveFunction reserve, uint32_t maximumLength,
                                                     uint32_t elementSize) {
    uint32_t length = 0;
    void *elements = nullptr;
    // The count is checked against the room after the elements' alignment.
    if (!isPrimitiveSize(elementSize) || reserve == nullptr ||
        !ZELCdrStream_deserializeSequenceLength(self, &length, maximumLength) ||
        (length > 0 && (!moveToAlignmentI(self, elementSize, false) || !fitsI(self, length, elementSize))) ||
        !reserve(sequence, length, &elements) || (length > 0 && elements == nullptr)) {
        return ZEL_FALSE;
    }
    return ZELCdrStream_deserializePrimitiveArray(self, elements, length, elementSize);
}

ZELBoolean ZELCdrStream_skipPrimitiveSequence(ZELCdrStream *self, uint32_t maximumLength, uint32_t elementSize) {
    uint32_t length = 0;
    if (!isPrimitiveSize(elementSize) || !ZELCdrStream_deserializeSequenceLength(self, &length, maximumLength)) {
        return ZEL_FALSE;
    }
    return ZELCdrStream_skipPrimitiveArray(self, length, elementSize);
}

ZELBoolean ZELCdrStream_serializeStringSequence(ZELCdrStream *self, char *const *elements, uint32_t length,
                                                uint32_t maximumLength, uint32_t maximumStringLength) {
    if ((length > 0 && elements == nullptr) || !ZELCdrStream_serializeSequenceLength(self, length, maximumLength)) {
        return ZEL_FALSE;
    }
    for (uint32_t i = 0; i < length; ++i) {
        if (!ZELCdrStream_serializeString(self, elements[i], maximumStringLength)) {
            return ZEL_FALSE;
        }
    }
    return ZEL_TRUE;
}

ZELBoolean ZELCdrStream_deserializeStringSequence(ZELCdrStream *self, void *sequence,
                                                  ZELCdrStreamReserveFunction reserve, uint32_t maximumLength,
                                                  uint32_t maximumStringLength) {
    uint32_t length = 0;
    void *elements = nullptr;
    if (!reserveSequenceI(self, maximumLength, kStringMinSize, sequence, reserve, &length, &elements)) {
        return ZEL_FALSE;
    }
    auto *strings = static_cast<char **>(elements);
    for (uint32_t i = 0; i < length; ++i) {
        if (!readStringElementI(self, &strings[i], maximumStringLength)) {
            return ZEL_FALSE;
        }
    }
    return ZEL_TRUE;
}

ZELBoolean ZELCdrStream_skipStringSequence(ZELCdrStream *self, uint32_t maximumLength, uint32_t maximumStringLength) {
    uint32_t length = 0;
    if (!ZELCdrStream_deserializeSequenceLength(self, &length, maximumLength)) {
        return ZEL_FALSE;
    }
    for (uint32_t i = 0; i < length; ++i) {
        if (!ZELCdrStream_skipString(self, maximumStringLength)) {
            return ZEL_FALSE;
        }
    }
    return ZEL_TRUE;
}

ZELBoolean ZELCdrStream_serializeNonPrimitiveSequence(ZELCdrStream *self, const void *elements, uint32_t length,
                                                      uint32_t maximumLength, uint32_t elementSize,
                                                      ZELCdrStreamSerializeFunction serializeElement, void *param) {
    if (serializeElement == nullptr || (length > 0 && elements == nullptr) ||
        !ZELCdrStream_serializeSequenceLength(self, length, maximumLength)) {
        return ZEL_FALSE;
    }
    const auto *element = static_cast<const char *>(elements);
    for (uint32_t i = 0; i < length; ++i, element += elementSize) {
        if (!serializeElement(self, element, param)) {
            return ZEL_FALSE;
        }
    }
    return ZEL_TRUE;
}

// Every element of an IDL type takes at least one octet, which bounds the
// count a stream can announce.
ZELBoolean ZELCdrStream_deserializeNonPrimitiveSequence(ZELCdrStream *self, void *sequence,
                                                        ZELCdrStreamReserveFunction reserve, uint32_t maximumLength,
                                                        uint32_t elementSize,
                                                        ZELCdrStreamDeserializeFunction deserializeElement,
                                                        void *param) {
    uint32_t length = 0;
    void *elements = nullptr;
    if (deserializeElement == nullptr ||
        !reserveSequenceI(self, maximumLength, 1, sequence, reserve, &length, &elements)) {
        return ZEL_FALSE;
    }
    auto *element = static_cast<char *>(elements);
    for (uint32_t i = 0; i < length; ++i, element += elementSize) {
        if (!deserializeElement(self, element, param)) {
            return ZEL_FALSE;
        }
    }
    return ZEL_TRUE;
}

ZELBoolean ZELCdrStream_skipNonPrimitiveSequence(ZELCdrStream *self, uint32_t maximumLength,
                                                 ZELCdrStreamSkipFunction skipElement, void *param) {
    uint32_t length = 0;
    if (skipElement == nullptr || !ZELCdrStream_deserializeSequenceLength(self, &length, maximumLength) ||
        length > remainderI(self)) {
        return ZEL_FALSE;
    }
    for (uint32_t i = 0; i < length; ++i) {
        if (!skipElement(self, param)) {
            return ZEL_FALSE;
        }
    }
    return ZEL_TRUE;
}

ZELBoolean ZELCdrStream_serializeParameterHeader(ZELCdrStream *self, ZELCdrParameterHeader *header, uint32_t id,
                                                 ZELBoolean mustUnderstand, ZELBoolean extended) {
    const auto mustUnderstandFlag = static_cast<uint16_t>(mustUnderstand ? ZEL_CDR_PID_MUST_UNDERSTAND : 0);
    if (!extended) {
        if (id > kShortIdMax || !writeShortHeaderI(self, static_cast<uint16_t>(id | mustUnderstandFlag), 0)) {
            return ZEL_FALSE;
        }
        header->lengthPosition = self->currentPosition - 2;
    } else {
        if (id > kExtendedIdMask) {
            return ZEL_FALSE;
        }
        const uint32_t rawId = id | (mustUnderstand ? kExtendedMustUnderstand : 0u);
        const uint32_t zero = 0;
        if (!ZELCdrStream_pad(self, kParameterAlignment) || remainderI(self) < 12 ||
            !writeShortHeaderI(self, ZEL_CDR_PID_EXTENDED | ZEL_CDR_PID_MUST_UNDERSTAND, kExtendedShortLength)) {
            return ZEL_FALSE;
        }
        putI(self, &rawId, 4);
        header->lengthPosition = self->currentPosition;
        putI(self, &zero, 4);
    }
    header->id = id;
    header->length = 0;
    header->mustUnderstand = mustUnderstand ? ZEL_TRUE : ZEL_FALSE;
    header->extended = extended ? ZEL_TRUE : ZEL_FALSE;
    header->valueStart = self->currentPosition;
    return ZEL_TRUE;
}

ZELBoolean ZELCdrStream_serializePrimitiveParameter(ZELCdrStream *self, uint32_t id, const void *value, uint32_t size) {
    if (id > kShortIdMax || !isPrimitiveSize(size) || !writeShortHeaderI(self, static_cast<uint16_t>(id), 0)) {
        return ZEL_FALSE;
    }
    char *lengthPosition = self->currentPosition - 2;
    const char *valueStart = self->currentPosition;
    if (!moveToAlignmentI(self, size, true) || remainderI(self) < size) {
        return ZEL_FALSE;
    }
    putI(self, value, size);
    if (!moveToAlignmentI(self, kParameterAlignment, true)) {
        return ZEL_FALSE;
    }
    const auto length = static_cast<uint16_t>(self->currentPosition - valueStart);
    patchI(self, lengthPosition, &length, 2);
    return ZEL_TRUE;
}

ZELBoolean ZELCdrStream_serializeParameterLength(ZELCdrStream *self, ZELCdrParameterHeader *header) {
    if (!ZELCdrStream_pad(self, kParameterAlignment)) {
        return ZEL_FALSE;
    }
    const auto length = static_cast<uint32_t>(self->currentPosition - header->valueStart);
    if (header->extended) {
        patchI(self, header->lengthPosition, &length, 4);
    } else {
        if (length > kShortLengthMax) {
            return ZEL_FALSE;
        }
        const auto shortLength = static_cast<uint16_t>(length);
        patchI(self, header->lengthPosition, &shortLength, 2);
    }
    header->length = length;
    return ZEL_TRUE;
}

ZELBoolean ZELCdrStream_serializeSentinel(ZELCdrStream *self) {
    return writeShortHeaderI(self, ZEL_CDR_PID_LIST_END | ZEL_CDR_PID_MUST_UNDERSTAND, 0) ? ZEL_TRUE : ZEL_FALSE;
}

ZELBoolean ZELCdrStream_deserializeParameterHeader(ZELCdrStream *self, ZELCdrParameterHeader *header) {
    uint16_t rawId = 0;
    uint16_t shortLength = 0;
    if (!moveToAlignmentI(self, kParameterAlignment, false) || remainderI(self) < 4) {
        return ZEL_FALSE;
    }
    getI(self, &rawId, 2);
    char *lengthPosition = self->currentPosition;
    getI(self, &shortLength, 2);
    uint32_t id = rawId & ZEL_CDR_PID_MASK;
    bool mustUnderstand = (rawId & ZEL_CDR_PID_MUST_UNDERSTAND) != 0;
    uint32_t length = shortLength;
    const bool extended = id == ZEL_CDR_PID_EXTENDED;
    if (extended) {
        uint32_t rawExtendedId = 0;
        if (shortLength != kExtendedShortLength || remainderI(self) < kExtendedShortLength) {
            return ZEL_FALSE;
        }
        getI(self, &rawExtendedId, 4);
        lengthPosition = self->currentPosition;
        getI(self, &length, 4);
        id = rawExtendedId & kExtendedIdMask;
        mustUnderstand = (rawExtendedId & kExtendedMustUnderstand) != 0;
    }
    if (length > remainderI(self)) {
        return ZEL_FALSE;
    }
    header->id = id;
    header->length = length;
    header->mustUnderstand = mustUnderstand ? ZEL_TRUE : ZEL_FALSE;
    header->extended = extended ? ZEL_TRUE : ZEL_FALSE;
    header->lengthPosition = lengthPosition;
    header->valueStart = self->currentPosition;
    return ZEL_TRUE;
}

ZELBoolean ZELCdrStream_moveToNextParameterHeader(ZELCdrStream *self, const ZELCdrParameterHeader *header) {
    // Compared as addresses: a header from another buffer must fail, not move.
    const uintptr_t start = reinterpret_cast<uintptr_t>(header->valueStart);
    const uintptr_t begin = reinterpret_cast<uintptr_t>(self->buffer);
    if (start < begin || start - begin > self->bufferLength || header->length > self->bufferLength - (start - begin)) {
        return ZEL_FALSE;
    }
    self->currentPosition = header->valueStart + header->length;
    return ZEL_TRUE;
}

}  // extern "C"
