// Thread-local storage with a destructor run at thread end.
#include <pthread.h>

#include "vurncore/heap.h"
#include "vurncore/osapi.h"

struct ZELOsapiThreadLocal {
    pthread_key_t key;
};

extern "C" {

struct ZELOsapiThreadLocal *ZELOsapiThreadLocal_new(void (*destructor)(void *value)) {
    auto *local =
            static_cast<ZELOsapiThreadLocal *>(ZELOsapiHeap_allocateStructure(sizeof(ZELOsapiThreadLocal), "OTLS"));
    if (local == nullptr) {
        return nullptr;
    }
    if (pthread_key_create(&local->key, destructor) != 0) {
        ZELOsapiHeap_freeStructure(local);
        return nullptr;
    }
    return local;
}

// Values still set stay with their threads: their destructor no longer runs.
void ZELOsapiThreadLocal_delete(struct ZELOsapiThreadLocal *local) {
    if (local == nullptr) {
        return;
    }
    pthread_key_delete(local->key);
    ZELOsapiHeap_freeStructure(local);
}

void *ZELOsapiThreadLocal_get(const struct ZELOsapiThreadLocal *local) {
    return local != nullptr ? pthread_getspecific(local->key) : nullptr;
}

ZELBoolean ZELOsapiThreadLocal_set(struct ZELOsapiThreadLocal *local, void *value) {
    if (local == nullptr) {
        return ZEL_FALSE;
    }
    return pthread_setspecific(local->key, value) == 0 ? ZEL_TRUE : ZEL_FALSE;
}

}  // extern "C"
