/* The type plug-in: what the middleware knows of a registered type (its
 * name, type code, key kind and operations over untyped samples), and the
 * default participant and endpoint data that generated plug-ins use. The
 * middleware copies the record when a type is registered, so the creator may
 * delete its own record afterwards. */
#ifndef VURNCORE_TYPE_PLUGIN_H
#define VURNCORE_TYPE_PLUGIN_H

#include "vurncore/cdr_type.h" /* DDS_KeyHash_t */
#include "vurncore/dll.h"
#include "vurncore/types.h"

ZEL_EXTERN_C_BEGIN

struct DDS_TypeCode;
struct ZELCdrStream;

typedef void *PRESTypePluginParticipantData;
typedef void *PRESTypePluginEndpointData;

typedef enum PRESTypePluginKeyKind { PRES_TYPEPLUGIN_NO_KEY = 0, PRES_TYPEPLUGIN_USER_KEY = 2 } PRESTypePluginKeyKind;

typedef enum PRESTypePluginEndpointKind {
    PRES_TYPEPLUGIN_ENDPOINT_WRITER = 1,
    PRES_TYPEPLUGIN_ENDPOINT_READER = 2
} PRESTypePluginEndpointKind;

struct PRESTypePluginEndpointInfo {
    PRESTypePluginEndpointKind endpointKind;
};

struct PRESTypePlugin;

/* ---- operation shapes (samples and keys untyped) ---- */

typedef PRESTypePluginKeyKind (*PRESTypePluginGetKeyKindFunction)(void);
typedef PRESTypePluginParticipantData (*PRESTypePluginOnParticipantAttachedFunction)(
        const struct PRESTypePlugin *plugin);
typedef void (*PRESTypePluginOnParticipantDetachedFunction)(PRESTypePluginParticipantData participantData);
typedef PRESTypePluginEndpointData (*PRESTypePluginOnEndpointAttachedFunction)(
        PRESTypePluginParticipantData participantData, const struct PRESTypePluginEndpointInfo *endpointInfo);
typedef void (*PRESTypePluginOnEndpointDetachedFunction)(PRESTypePluginEndpointData endpointData);

typedef void *(*PRESTypePluginCreateSampleFunction)(void);
typedef void (*PRESTypePluginDeleteSampleFunction)(void *sample);
typedef DDS_Boolean (*PRESTypePluginCopySampleFunction)(void *dst, const void *src);
typedef DDS_Boolean (*PRESTypePluginInitializeSampleFunction)(void *sample);
typedef void (*PRESTypePluginFinalizeSampleFunction)(void *sample);
typedef void (*PRESTypePluginPrintSampleFunction)(const void *sample, const char *description, unsigned int indent);

typedef DDS_Boolean (*PRESTypePluginSerializeFunction)(PRESTypePluginEndpointData endpointData, const void *sample,
                                                       struct ZELCdrStream *stream, DDS_Boolean serializeEncapsulation,
                                                       DDS_UnsignedShort encapsulationId, DDS_Boolean serializeSample,
                                                       void *endpointPluginQos);
typedef DDS_Boolean (*PRESTypePluginDeserializeFunction)(PRESTypePluginEndpointData endpointData, void *sample,
                                                         struct ZELCdrStream *stream,
                                                         DDS_Boolean deserializeEncapsulation,
                                                         DDS_Boolean deserializeSample, void *endpointPluginQos);
/* Given the current alignment, returns the new one (current + size). */
typedef unsigned int (*PRESTypePluginGetSerializedSizeFunction)(PRESTypePluginEndpointData endpointData,
                                                                DDS_Boolean includeEncapsulation,
                                                                DDS_UnsignedShort encapsulationId,
                                                                unsigned int currentAlignment);
typedef unsigned int (*PRESTypePluginGetSampleSerializedSizeFunction)(PRESTypePluginEndpointData endpointData,
                                                                      DDS_Boolean includeEncapsulation,
                                                                      DDS_UnsignedShort encapsulationId,
                                                                      unsigned int currentAlignment,
                                                                      const void *sample);
typedef DDS_Boolean (*PRESTypePluginInstanceToKeyFunction)(PRESTypePluginEndpointData endpointData, void *key,
                                                           const void *instance);
typedef DDS_Boolean (*PRESTypePluginKeyToInstanceFunction)(PRESTypePluginEndpointData endpointData, void *instance,
                                                           const void *key);
typedef DDS_Boolean (*PRESTypePluginInstanceToKeyHashFunction)(PRESTypePluginEndpointData endpointData,
                                                               DDS_KeyHash_t *keyHash, const void *instance);
typedef DDS_Boolean (*PRESTypePluginSerializedSampleToKeyHashFunction)(PRESTypePluginEndpointData endpointData,
                                                                       struct ZELCdrStream *stream,
                                                                       DDS_KeyHash_t *keyHash,
                                                                       DDS_Boolean deserializeEncapsulation,
                                                                       void *endpointPluginQos);

struct ZELCdrTypeDesc;

/* The plug-in record. Keyless types leave the key operations NULL. */
struct PRESTypePlugin {
    const char *typeName;          /* registered name (static text of the type support) */
    struct DDS_TypeCode *typeCode; /* NULL when the type has none */
    PRESTypePluginGetKeyKindFunction getKeyKindFnc;

    PRESTypePluginOnParticipantAttachedFunction onParticipantAttachedFnc;
    PRESTypePluginOnParticipantDetachedFunction onParticipantDetachedFnc;
    PRESTypePluginOnEndpointAttachedFunction onEndpointAttachedFnc;
    PRESTypePluginOnEndpointDetachedFunction onEndpointDetachedFnc;

    PRESTypePluginCreateSampleFunction createSampleFnc; /* a heap sample, initialized */
    PRESTypePluginDeleteSampleFunction deleteSampleFnc;
    PRESTypePluginCopySampleFunction copySampleFnc;
    PRESTypePluginInitializeSampleFunction initializeSampleFnc;
    PRESTypePluginFinalizeSampleFunction finalizeSampleFnc;
    PRESTypePluginPrintSampleFunction printSampleFnc;

    PRESTypePluginSerializeFunction serializeFnc;
    PRESTypePluginDeserializeFunction deserializeFnc;
    PRESTypePluginGetSerializedSizeFunction serializedSampleMaxSizeFnc;
    PRESTypePluginGetSerializedSizeFunction serializedSampleMinSizeFnc;
    PRESTypePluginGetSampleSerializedSizeFunction serializedSampleSizeFnc;

    PRESTypePluginSerializeFunction serializeKeyFnc;
    PRESTypePluginDeserializeFunction deserializeKeyFnc;
    PRESTypePluginGetSerializedSizeFunction serializedKeyMaxSizeFnc;
    PRESTypePluginInstanceToKeyFunction instanceToKeyFnc;
    PRESTypePluginKeyToInstanceFunction keyToInstanceFnc;
    PRESTypePluginInstanceToKeyHashFunction instanceToKeyHashFnc;
    PRESTypePluginSerializedSampleToKeyHashFunction serializedSampleToKeyHashFnc;

    /* The sample's descriptor: its size, its members (content filters read
     * them) and its sequence element type (readers fill typed sequences
     * through it). NULL for a plug-in made by hand, whose readers can then
     * only be read through loans and not be content-filtered. */
    const struct ZELCdrTypeDesc *typeDesc;
};

/* The two key kinds as functions for getKeyKindFnc. */
VURNCORE_API PRESTypePluginKeyKind PRESTypePluginDefault_getUserKeyKind(void);
VURNCORE_API PRESTypePluginKeyKind PRESTypePluginDefault_getNoKeyKind(void);

/* ---- default participant data: a copy of the plug-in record, which the
 * endpoint data of that participant use. Failures log under the function's
 * own name and return NULL or false. ---- */

VURNCORE_API PRESTypePluginParticipantData
PRESTypePluginDefaultParticipantData_new(const struct PRESTypePlugin *plugin);
VURNCORE_API void PRESTypePluginDefaultParticipantData_delete(PRESTypePluginParticipantData participantData);
/* The participant data's copy of the record. */
VURNCORE_API const struct PRESTypePlugin *PRESTypePluginDefaultParticipantData_getPlugin(
        PRESTypePluginParticipantData participantData);

/* ---- default endpoint data: pools of samples and key holders (made and
 * deleted through the plug-in), a writer's pool of serialization buffers and
 * the key-hash scratch stream. Pools are safe to use from several threads;
 * the scratch stream is not (the endpoint's own lock covers it). The
 * endpoint data must be deleted before its participant data, and every
 * sample, key and buffer taken from it returned first. ---- */

VURNCORE_API PRESTypePluginEndpointData PRESTypePluginDefaultEndpointData_new(
        PRESTypePluginParticipantData participantData, const struct PRESTypePluginEndpointInfo *endpointInfo);
VURNCORE_API void PRESTypePluginDefaultEndpointData_delete(PRESTypePluginEndpointData endpointData);

/* The record's endpoint hooks made of the default parts: _new, then for a
 * keyed type _createMD5Stream, then for a writer _createWriterPool; and
 * _delete. */
VURNCORE_API PRESTypePluginEndpointData PRESTypePluginDefault_onEndpointAttached(
        PRESTypePluginParticipantData participantData, const struct PRESTypePluginEndpointInfo *endpointInfo);
VURNCORE_API void PRESTypePluginDefault_onEndpointDetached(PRESTypePluginEndpointData endpointData);

VURNCORE_API const struct PRESTypePlugin *PRESTypePluginDefaultEndpointData_getPlugin(
        PRESTypePluginEndpointData endpointData);
VURNCORE_API PRESTypePluginParticipantData
PRESTypePluginDefaultEndpointData_getParticipantData(PRESTypePluginEndpointData endpointData);
VURNCORE_API PRESTypePluginEndpointKind
PRESTypePluginDefaultEndpointData_getEndpointKind(PRESTypePluginEndpointData endpointData);

/* Samples straight from the plug-in (createSampleFnc / deleteSampleFnc). */
VURNCORE_API void *PRESTypePluginDefaultEndpointData_createSample(PRESTypePluginEndpointData endpointData);
VURNCORE_API void PRESTypePluginDefaultEndpointData_deleteSample(PRESTypePluginEndpointData endpointData, void *sample);
/* A sample from the pool (made through the plug-in when the pool is empty),
 * and back. A returned sample keeps its contents. */
VURNCORE_API void *PRESTypePluginDefaultEndpointData_getSample(PRESTypePluginEndpointData endpointData);
VURNCORE_API void PRESTypePluginDefaultEndpointData_returnSample(PRESTypePluginEndpointData endpointData, void *sample);
/* A key holder (a sample of the type) from its own pool, and back. */
VURNCORE_API void *PRESTypePluginDefaultEndpointData_getKey(PRESTypePluginEndpointData endpointData);
VURNCORE_API void PRESTypePluginDefaultEndpointData_returnKey(PRESTypePluginEndpointData endpointData, void *key);

/* A serialization buffer. */
struct PRESTypePluginBuffer {
    char *pointer;
    uint32_t length;
};

/* Makes the writer's buffer pool: buffers of at most the type's maximum
 * serialized size with encapsulation (serializedSampleMaxSizeFnc from 0).
 * Fails when the plug-in has no such function or the pool exists. */
VURNCORE_API DDS_Boolean PRESTypePluginDefaultEndpointData_createWriterPool(PRESTypePluginEndpointData endpointData);
/* A buffer of at least `size` octets (0 < size <= the pool's maximum), its
 * first `size` octets zero; reuses a returned buffer that is large enough.
 * Fails on an endpoint without a writer pool. */
VURNCORE_API DDS_Boolean PRESTypePluginDefaultEndpointData_getBuffer(PRESTypePluginEndpointData endpointData,
                                                                     struct PRESTypePluginBuffer *buffer,
                                                                     uint32_t size);
VURNCORE_API void PRESTypePluginDefaultEndpointData_returnBuffer(PRESTypePluginEndpointData endpointData,
                                                                 struct PRESTypePluginBuffer *buffer);
/* The pool's maximum buffer size (0 without a writer pool). */
VURNCORE_API uint32_t PRESTypePluginDefaultEndpointData_getBufferMaxSize(PRESTypePluginEndpointData endpointData);

/* Makes the key-hash scratch stream: a big-endian stream whose buffer holds
 * the type's maximum serialized key size (serializedKeyMaxSizeFnc without
 * encapsulation, from 0) and at least 16 octets. Fails when the plug-in has
 * no such function or the stream exists. */
VURNCORE_API DDS_Boolean PRESTypePluginDefaultEndpointData_createMD5Stream(PRESTypePluginEndpointData endpointData);
/* The scratch stream; NULL when not made. */
VURNCORE_API struct ZELCdrStream *PRESTypePluginDefaultEndpointData_getMD5Stream(
        PRESTypePluginEndpointData endpointData);

ZEL_EXTERN_C_END

#endif
