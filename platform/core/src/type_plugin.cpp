// Default parts of type plug-ins: participant data holding a copy of the
// plug-in record, and endpoint data with pools of samples, key holders and
// serialization buffers plus the key-hash scratch stream.
#include "vurncore/lock_order.h"
#include "vurncore/type_plugin.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <new>

#include "vurncore/cdr_stream.h"
#include "vurncore/heap.h"
#include "vurncore/log.h"

namespace {

constexpr uint32_t kKeyHashLength = 16;

struct ParticipantData {
    PRESTypePlugin plugin;
};

// A singly linked node of a pool: holds a pooled item, or is spare. A pool
// keeps one spare node per item handed out, so that taking an item back
// never allocates and so never fails.
struct PoolNode {
    PoolNode *next;
    void *item;
    uint32_t length;  // buffers: their size
};

void pushI(PoolNode **list, PoolNode *node) {
    node->next = *list;
    *list = node;
}

PoolNode *popI(PoolNode **list) {
    PoolNode *node = *list;
    if (node != nullptr) {
        *list = node->next;
    }
    return node;
}

PoolNode *newNodeI(const char *context) {
    auto *node = static_cast<PoolNode *>(ZELOsapiHeap_allocateStructure(sizeof(PoolNode), "PTPN"));
    if (node == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_STRUCT_d,
                                  static_cast<int>(sizeof(PoolNode)));
    }
    return node;
}

void freeListI(PoolNode *list) {
    while (list != nullptr) {
        PoolNode *next = list->next;
        ZELOsapiHeap_freeStructure(list);
        list = next;
    }
}

// Samples (or key holders) made through the plug-in; kept for reuse.
struct SamplePool {
    ZELOrderedMutex<ZEL_LOCK_LEVEL_TYPE_POOL> mutex{"type plug-in pool"};
    PoolNode *ready = nullptr;  // nodes holding a sample; guarded by mutex
    PoolNode *spare = nullptr;  // one per sample handed out; guarded by mutex

    void *get(const PRESTypePlugin &plugin, const char *context) {
        {
            std::lock_guard guard(mutex);
            if (PoolNode *node = popI(&ready); node != nullptr) {
                void *sample = node->item;
                node->item = nullptr;
                pushI(&spare, node);
                return sample;
            }
        }
        // Empty: make one outside the lock (the plug-in may take its time).
        PoolNode *node = newNodeI(context);
        if (node == nullptr) {
            return nullptr;
        }
        void *sample = plugin.createSampleFnc();
        if (sample == nullptr) {
            ZELOsapiHeap_freeStructure(node);
            ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, "sample");
            return nullptr;
        }
        std::lock_guard guard(mutex);
        pushI(&spare, node);
        return sample;
    }

    bool put(void *sample) {
        std::lock_guard guard(mutex);
        PoolNode *node = popI(&spare);
        if (node == nullptr) {
            return false;  // more returned than handed out: not one of ours
        }
        node->item = sample;
        pushI(&ready, node);
        return true;
    }

    // Deletes the pooled samples; false when some were still handed out.
    bool finalize(const PRESTypePlugin &plugin) {
        for (PoolNode *node = ready; node != nullptr; node = node->next) {
            plugin.deleteSampleFnc(node->item);
        }
        const bool allReturned = spare == nullptr;
        freeListI(ready);
        freeListI(spare);
        ready = nullptr;
        spare = nullptr;
        return allReturned;
    }
};

// Serialization buffers of a writer, reused when large enough.
struct BufferPool {
    ZELOrderedMutex<ZEL_LOCK_LEVEL_TYPE_POOL> mutex{"type plug-in pool"};
    uint32_t maxSize = 0;       // 0: no writer pool; set once before the endpoint is shared
    PoolNode *ready = nullptr;  // nodes holding a buffer; guarded by mutex
    PoolNode *spare = nullptr;  // one per buffer handed out; guarded by mutex

    bool get(PRESTypePluginBuffer *buffer, uint32_t size, const char *context) {
        PoolNode *node = nullptr;
        {
            std::lock_guard guard(mutex);
            PoolNode **link = &ready;
            while (*link != nullptr && (*link)->length < size) {
                link = &(*link)->next;
            }
            node = *link != nullptr ? popI(link) : popI(&ready);
        }
        if (node != nullptr && node->length >= size) {
            std::memset(node->item, 0, size);
        } else if (!resizeI(&node, size, context)) {
            return false;
        }
        buffer->pointer = static_cast<char *>(node->item);
        buffer->length = node->length;
        node->item = nullptr;
        node->length = 0;
        std::lock_guard guard(mutex);
        pushI(&spare, node);
        return true;
    }

    bool put(PRESTypePluginBuffer *buffer) {
        std::lock_guard guard(mutex);
        PoolNode *node = popI(&spare);
        if (node == nullptr) {
            return false;
        }
        node->item = buffer->pointer;
        node->length = buffer->length;
        pushI(&ready, node);
        buffer->pointer = nullptr;
        buffer->length = 0;
        return true;
    }

    bool finalize() {
        for (PoolNode *node = ready; node != nullptr; node = node->next) {
            ZELOsapiHeap_freeArray(node->item);
        }
        const bool allReturned = spare == nullptr;
        freeListI(ready);
        freeListI(spare);
        ready = nullptr;
        spare = nullptr;
        return allReturned;
    }

private:
    // Gives `*node` (a too-small pooled buffer, or none yet) a new zeroed
    // buffer of `size` octets. On failure the pool is as before: a node taken
    // from it goes back with its old buffer.
    bool resizeI(PoolNode **node, uint32_t size, const char *context) {
        void *pointer = ZELOsapiHeap_allocateArray(size, 1, "PTBF");
        if (pointer == nullptr) {
            ZELLog_printContextAndMsg(context, &ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_ARRAY_dd, static_cast<int>(size), 1);
            giveBackI(*node);
            return false;
        }
        if (*node == nullptr) {
            *node = newNodeI(context);
            if (*node == nullptr) {
                ZELOsapiHeap_freeArray(pointer);
                return false;
            }
        } else {
            ZELOsapiHeap_freeArray((*node)->item);
        }
        (*node)->item = pointer;
        (*node)->length = size;
        return true;
    }

    void giveBackI(PoolNode *node) {
        if (node != nullptr) {
            std::lock_guard guard(mutex);
            pushI(&ready, node);
        }
    }
};

struct EndpointData {
    ParticipantData *participant;
    PRESTypePluginEndpointKind kind;
    SamplePool samples;
    SamplePool keys;
    BufferPool buffers;
    char *md5Buffer = nullptr;  // NULL until _createMD5Stream; set before the endpoint is shared
    ZELCdrStream md5Stream{};   // used by one thread at a time, under the endpoint's own lock

    const PRESTypePlugin &plugin() const { return participant->plugin; }
};

EndpointData *endpointI(PRESTypePluginEndpointData endpointData) { return static_cast<EndpointData *>(endpointData); }

}  // namespace

extern "C" {

PRESTypePluginKeyKind PRESTypePluginDefault_getUserKeyKind(void) { return PRES_TYPEPLUGIN_USER_KEY; }

PRESTypePluginKeyKind PRESTypePluginDefault_getNoKeyKind(void) { return PRES_TYPEPLUGIN_NO_KEY; }

PRESTypePluginParticipantData PRESTypePluginDefaultParticipantData_new(const PRESTypePlugin *plugin) {
    static const char *const kContext = "PRESTypePluginDefaultParticipantData_new";
    if (plugin == nullptr) {
        ZELLog_printContextAndMsg(kContext, &ZEL_LOG_BAD_PARAMETER_s, "plugin");
        return nullptr;
    }
    auto *self = static_cast<ParticipantData *>(ZELOsapiHeap_allocateStructure(sizeof(ParticipantData), "PTPD"));
    if (self == nullptr) {
        ZELLog_printContextAndMsg(kContext, &ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_STRUCT_d,
                                  static_cast<int>(sizeof(ParticipantData)));
        return nullptr;
    }
    self->plugin = *plugin;
    return self;
}

void PRESTypePluginDefaultParticipantData_delete(PRESTypePluginParticipantData participantData) {
    ZELOsapiHeap_freeStructure(participantData);
}

const PRESTypePlugin *PRESTypePluginDefaultParticipantData_getPlugin(PRESTypePluginParticipantData participantData) {
    return participantData != nullptr ? &static_cast<ParticipantData *>(participantData)->plugin : nullptr;
}

PRESTypePluginEndpointData PRESTypePluginDefaultEndpointData_new(PRESTypePluginParticipantData participantData,
                                                                 const PRESTypePluginEndpointInfo *endpointInfo) {
    static const char *const kContext = "PRESTypePluginDefaultEndpointData_new";
    if (participantData == nullptr || endpointInfo == nullptr) {
        ZELLog_printContextAndMsg(kContext, &ZEL_LOG_BAD_PARAMETER_s,
                                  participantData == nullptr ? "participantData" : "endpointInfo");
        return nullptr;
    }
    const PRESTypePlugin &plugin = static_cast<ParticipantData *>(participantData)->plugin;
    // Without both the pools could neither fill nor empty.
    if (plugin.createSampleFnc == nullptr || plugin.deleteSampleFnc == nullptr) {
        ZELLog_printContextAndMsg(kContext, &ZEL_LOG_PRECONDITION_NOT_MET_s, "sample functions");
        return nullptr;
    }
    void *storage = ZELOsapiHeap_allocateStructure(sizeof(EndpointData), "PTED");
    if (storage == nullptr) {
        ZELLog_printContextAndMsg(kContext, &ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_STRUCT_d,
                                  static_cast<int>(sizeof(EndpointData)));
        return nullptr;
    }
    auto *self = new (storage) EndpointData{};
    self->participant = static_cast<ParticipantData *>(participantData);
    self->kind = endpointInfo->endpointKind;
    return self;
}

void PRESTypePluginDefaultEndpointData_delete(PRESTypePluginEndpointData endpointData) {
    static const char *const kContext = "PRESTypePluginDefaultEndpointData_delete";
    EndpointData *self = endpointI(endpointData);
    if (self == nullptr) {
        return;
    }
    // Everything still handed out is the caller's to free; the pools free what they hold.
    if (!self->samples.finalize(self->plugin())) {
        ZELLog_printContextAndMsg(kContext, &ZEL_LOG_PRECONDITION_NOT_MET_s, "all samples returned");
    }
    if (!self->keys.finalize(self->plugin())) {
        ZELLog_printContextAndMsg(kContext, &ZEL_LOG_PRECONDITION_NOT_MET_s, "all keys returned");
    }
    if (!self->buffers.finalize()) {
        ZELLog_printContextAndMsg(kContext, &ZEL_LOG_PRECONDITION_NOT_MET_s, "all buffers returned");
    }
    ZELOsapiHeap_freeArray(self->md5Buffer);
    self->~EndpointData();
    ZELOsapiHeap_freeStructure(self);
}

PRESTypePluginEndpointData PRESTypePluginDefault_onEndpointAttached(PRESTypePluginParticipantData participantData,
                                                                    const PRESTypePluginEndpointInfo *endpointInfo) {
    static const char *const kContext = "PRESTypePluginDefault_onEndpointAttached";
    PRESTypePluginEndpointData self = PRESTypePluginDefaultEndpointData_new(participantData, endpointInfo);
    if (self == nullptr) {
        ZELLog_printContextAndMsg(kContext, &ZEL_LOG_CREATION_FAILURE_s, "endpoint data");
        return nullptr;
    }
    const PRESTypePlugin &plugin = endpointI(self)->plugin();
    const bool keyed = plugin.getKeyKindFnc != nullptr && plugin.getKeyKindFnc() == PRES_TYPEPLUGIN_USER_KEY;
    if (keyed && !PRESTypePluginDefaultEndpointData_createMD5Stream(self)) {
        ZELLog_printContextAndMsg(kContext, &ZEL_LOG_CREATION_FAILURE_s, "MD5 stream");
        PRESTypePluginDefaultEndpointData_delete(self);
        return nullptr;
    }
    if (endpointInfo->endpointKind == PRES_TYPEPLUGIN_ENDPOINT_WRITER &&
        !PRESTypePluginDefaultEndpointData_createWriterPool(self)) {
        ZELLog_printContextAndMsg(kContext, &ZEL_LOG_CREATION_FAILURE_s, "writer pool");
        PRESTypePluginDefaultEndpointData_delete(self);
        return nullptr;
    }
    return self;
}

void PRESTypePluginDefault_onEndpointDetached(PRESTypePluginEndpointData endpointData) {
    PRESTypePluginDefaultEndpointData_delete(endpointData);
}

const PRESTypePlugin *PRESTypePluginDefaultEndpointData_getPlugin(PRESTypePluginEndpointData endpointData) {
    return endpointData != nullptr ? &endpointI(endpointData)->plugin() : nullptr;
}

PRESTypePluginParticipantData PRESTypePluginDefaultEndpointData_getParticipantData(
        PRESTypePluginEndpointData endpointData) {
    return endpointData != nullptr ? endpointI(endpointData)->participant : nullptr;
}

PRESTypePluginEndpointKind PRESTypePluginDefaultEndpointData_getEndpointKind(PRESTypePluginEndpointData endpointData) {
    return endpointI(endpointData)->kind;
}

void *PRESTypePluginDefaultEndpointData_createSample(PRESTypePluginEndpointData endpointData) {
    void *sample = endpointI(endpointData)->plugin().createSampleFnc();
    if (sample == nullptr) {
        ZELLog_printContextAndMsg("PRESTypePluginDefaultEndpointData_createSample", &ZEL_LOG_CREATION_FAILURE_s,
                                  "sample");
    }
    return sample;
}

void PRESTypePluginDefaultEndpointData_deleteSample(PRESTypePluginEndpointData endpointData, void *sample) {
    if (sample != nullptr) {
        endpointI(endpointData)->plugin().deleteSampleFnc(sample);
    }
}

void *PRESTypePluginDefaultEndpointData_getSample(PRESTypePluginEndpointData endpointData) {
    EndpointData *self = endpointI(endpointData);
    return self->samples.get(self->plugin(), "PRESTypePluginDefaultEndpointData_getSample");
}

void PRESTypePluginDefaultEndpointData_returnSample(PRESTypePluginEndpointData endpointData, void *sample) {
    if (sample != nullptr && !endpointI(endpointData)->samples.put(sample)) {
        ZELLog_printContextAndMsg("PRESTypePluginDefaultEndpointData_returnSample", &ZEL_LOG_BAD_PARAMETER_s, "sample");
    }
}

void *PRESTypePluginDefaultEndpointData_getKey(PRESTypePluginEndpointData endpointData) {
    EndpointData *self = endpointI(endpointData);
    return self->keys.get(self->plugin(), "PRESTypePluginDefaultEndpointData_getKey");
}

void PRESTypePluginDefaultEndpointData_returnKey(PRESTypePluginEndpointData endpointData, void *key) {
    if (key != nullptr && !endpointI(endpointData)->keys.put(key)) {
        ZELLog_printContextAndMsg("PRESTypePluginDefaultEndpointData_returnKey", &ZEL_LOG_BAD_PARAMETER_s, "key");
    }
}

DDS_Boolean PRESTypePluginDefaultEndpointData_createWriterPool(PRESTypePluginEndpointData endpointData) {
    static const char *const kContext = "PRESTypePluginDefaultEndpointData_createWriterPool";
    EndpointData *self = endpointI(endpointData);
    const PRESTypePlugin &plugin = self->plugin();
    if (self->buffers.maxSize != 0 || plugin.serializedSampleMaxSizeFnc == nullptr) {
        ZELLog_printContextAndMsg(kContext, &ZEL_LOG_PRECONDITION_NOT_MET_s,
                                  self->buffers.maxSize != 0 ? "no writer pool yet" : "serializedSampleMaxSize");
        return DDS_BOOLEAN_FALSE;
    }
    const unsigned int maxSize =
            plugin.serializedSampleMaxSizeFnc(self, DDS_BOOLEAN_TRUE, ZEL_CDR_ENCAPSULATION_ID_CDR_BE, 0);
    if (maxSize == 0) {
        ZELLog_printContextAndMsg(kContext, &ZEL_LOG_GET_FAILURE_s, "serialized sample max size");
        return DDS_BOOLEAN_FALSE;
    }
    self->buffers.maxSize = maxSize;
    return DDS_BOOLEAN_TRUE;
}

DDS_Boolean PRESTypePluginDefaultEndpointData_getBuffer(PRESTypePluginEndpointData endpointData,
                                                        PRESTypePluginBuffer *buffer, uint32_t size) {
    static const char *const kContext = "PRESTypePluginDefaultEndpointData_getBuffer";
    EndpointData *self = endpointI(endpointData);
    if (buffer == nullptr || size == 0 || size > self->buffers.maxSize) {
        ZELLog_printContextAndMsg(kContext, &ZEL_LOG_BAD_PARAMETER_s, buffer == nullptr ? "buffer" : "size");
        return DDS_BOOLEAN_FALSE;
    }
    return self->buffers.get(buffer, size, kContext) ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

void PRESTypePluginDefaultEndpointData_returnBuffer(PRESTypePluginEndpointData endpointData,
                                                    PRESTypePluginBuffer *buffer) {
    if (buffer != nullptr && buffer->pointer != nullptr && !endpointI(endpointData)->buffers.put(buffer)) {
        ZELLog_printContextAndMsg("PRESTypePluginDefaultEndpointData_returnBuffer", &ZEL_LOG_BAD_PARAMETER_s, "buffer");
    }
}

uint32_t PRESTypePluginDefaultEndpointData_getBufferMaxSize(PRESTypePluginEndpointData endpointData) {
    return endpointI(endpointData)->buffers.maxSize;
}

DDS_Boolean PRESTypePluginDefaultEndpointData_createMD5Stream(PRESTypePluginEndpointData endpointData) {
    static const char *const kContext = "PRESTypePluginDefaultEndpointData_createMD5Stream";
    EndpointData *self = endpointI(endpointData);
    const PRESTypePlugin &plugin = self->plugin();
    if (self->md5Buffer != nullptr || plugin.serializedKeyMaxSizeFnc == nullptr) {
        ZELLog_printContextAndMsg(kContext, &ZEL_LOG_PRECONDITION_NOT_MET_s,
                                  self->md5Buffer != nullptr ? "no MD5 stream yet" : "serializedKeyMaxSize");
        return DDS_BOOLEAN_FALSE;
    }
    // The hash of a short key is the key itself, read as 16 octets.
    const uint32_t length = std::max<uint32_t>(
            plugin.serializedKeyMaxSizeFnc(self, DDS_BOOLEAN_FALSE, ZEL_CDR_ENCAPSULATION_ID_CDR_BE, 0),
            kKeyHashLength);
    self->md5Buffer = static_cast<char *>(ZELOsapiHeap_allocateArray(length, 1, "PTMD"));
    if (self->md5Buffer == nullptr) {
        ZELLog_printContextAndMsg(kContext, &ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_ARRAY_dd, static_cast<int>(length), 1);
        return DDS_BOOLEAN_FALSE;
    }
    ZELCdrStream_init(&self->md5Stream, self->md5Buffer, length, ZEL_CDR_BIG_ENDIAN);
    return DDS_BOOLEAN_TRUE;
}

ZELCdrStream *PRESTypePluginDefaultEndpointData_getMD5Stream(PRESTypePluginEndpointData endpointData) {
    EndpointData *self = endpointI(endpointData);
    return self->md5Buffer != nullptr ? &self->md5Stream : nullptr;
}

}  // extern "C"
