// Keys of described types: the key stream, key copies and instance key
// hashes.
#include <cstring>

#include "cdr_type_engine.h"

namespace zel::cdr {

bool ZELCdrType_hasKeyMembersI(const ZELCdrTypeDesc *structType) {
    for (uint32_t i = 0; i < structType->memberCount; ++i) {
        if (structType->members[i].isKey) {
            return true;
        }
    }
    return false;
}

}  // namespace zel::cdr

using namespace zel::cdr;

namespace {

// Size of a key hash, and the largest key taken as its own hash.
constexpr uint32_t kKeyHashSize = 16;

// The key of `sample` into a cleared big-endian stream, without
// encapsulation header, and its hash.
bool ZELCdrType_hashKeyI(const ZELCdrTypeDesc *type, ZELCdrStream *md5Stream, DDS_KeyHash_t *keyHash,
                         const void *sample) {
    ZELCdrStream_clear(md5Stream);
    md5Stream->byteOrder = ZEL_CDR_BIG_ENDIAN;
    md5Stream->encapsulationKind = ZEL_CDR_ENCAPSULATION_ID_CDR_BE;
    md5Stream->skipSentinel = ZEL_FALSE;
    HeaderChoice headers = shortHeaders();
    if (!ZELCdrType_serializeValueI(type, sample, md5Stream, headers, KeyMode::keys)) {
        return false;
    }
    if (ZELCdrType_getSerializedKeyMaxSize(type, DDS_BOOLEAN_FALSE, 0, 0) <= kKeyHashSize) {
        // Left-aligned in a zero-filled field: the stream was cleared and
        // holds at least 16 octets.
        std::memset(keyHash->value, 0, kKeyHashSize);
        const uint32_t written = ZELCdrStream_getCurrentPositionOffset(md5Stream);
        std::memcpy(keyHash->value, md5Stream->buffer, written < kKeyHashSize ? written : kKeyHashSize);
    } else {
        ZELCdrStream_computeMD5(md5Stream, keyHash->value);
    }
    keyHash->length = kKeyHashSize;
    return true;
}

}  // namespace

extern "C" {

DDS_Boolean ZELCdrType_serializeKey(const ZELCdrTypeDesc *type, const void *sample, ZELCdrStream *stream,
                                    DDS_Boolean serializeEncapsulation, uint16_t encapsulationId,
                                    DDS_Boolean serializeKey) {
    return ZELCdrType_serializeTopI(type, sample, stream, serializeEncapsulation, encapsulationId, serializeKey,
                                    shortHeaders(), KeyMode::keys);
}

DDS_Boolean ZELCdrType_deserializeKey(const ZELCdrTypeDesc *type, void *sample, ZELCdrStream *stream,
                                      DDS_Boolean deserializeEncapsulation, DDS_Boolean deserializeKey) {
    return ZELCdrType_deserializeTopI(type, sample, stream, deserializeEncapsulation, deserializeKey, KeyMode::keys);
}

DDS_Boolean ZELCdrType_copyKey(const ZELCdrTypeDesc *type, void *dst, const void *src) {
    if (type == nullptr || dst == nullptr || src == nullptr) {
        return DDS_BOOLEAN_FALSE;
    }
    if (dst == src) {
        return DDS_BOOLEAN_TRUE;
    }
    return ZELCdrType_copyValueI(type, dst, src, KeyMode::keys) ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

DDS_Boolean ZELCdrType_instanceToKeyHash(const ZELCdrTypeDesc *type, ZELCdrStream *md5Stream, DDS_KeyHash_t *keyHash,
                                         const void *sample) {
    if (type == nullptr || md5Stream == nullptr || keyHash == nullptr || sample == nullptr) {
        return DDS_BOOLEAN_FALSE;
    }
    return ZELCdrType_hashKeyI(type, md5Stream, keyHash, sample) ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

DDS_Boolean ZELCdrType_serializedSampleToKeyHash(const ZELCdrTypeDesc *type, ZELCdrStream *stream,
                                                 ZELCdrStream *md5Stream, void *keyHolder, DDS_KeyHash_t *keyHash,
                                                 DDS_Boolean deserializeEncapsulation) {
    if (type == nullptr || stream == nullptr || md5Stream == nullptr || keyHolder == nullptr || keyHash == nullptr) {
        return DDS_BOOLEAN_FALSE;
    }
    char *savedBase = nullptr;
    if (!ZELCdrType_beginDecapsulationI(stream, deserializeEncapsulation, &savedBase)) {
        return DDS_BOOLEAN_FALSE;
    }
    const bool read = ZELCdrType_deserializeValueI(type, keyHolder, stream, KeyMode::sampleKeys);
    ZELCdrType_endEncapsulationI(stream, savedBase);
    if (!read) {
        return DDS_BOOLEAN_FALSE;
    }
    return ZELCdrType_hashKeyI(type, md5Stream, keyHash, keyHolder) ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

}  // extern "C"
