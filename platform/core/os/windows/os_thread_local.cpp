// Thread-local storage with a destructor run at thread end. Windows' slots
// have no destructors: the library keeps the list of live slots and runs
// their destructors when a thread leaves (DLL_THREAD_DETACH).
#include <windows.h>

#include "vurncore/heap.h"
#include "vurncore/osapi.h"

struct ZELOsapiThreadLocal {
    DWORD slot;
    void (*destructor)(void *value);
    ZELOsapiThreadLocal *next;  // guarded by g_liveLock
};

namespace {

SRWLOCK g_liveLock = SRWLOCK_INIT;
ZELOsapiThreadLocal *g_live = nullptr;  // guarded by g_liveLock

// The values of the leaving thread, each given to its slot's destructor,
// one at a time with no lock held. A destructor may set a value again; as
// with POSIX keys, a bounded number of further calls takes care of it.
void ZELOsapiThreadLocal_onThreadExitI() {
    constexpr int kMaxCalls = 64;
    for (int calls = 0; calls < kMaxCalls; ++calls) {
        void (*destructor)(void *) = nullptr;
        void *value = nullptr;
        AcquireSRWLockShared(&g_liveLock);
        for (ZELOsapiThreadLocal *local = g_live; local != nullptr && destructor == nullptr; local = local->next) {
            value = TlsGetValue(local->slot);
            if (value != nullptr && local->destructor != nullptr) {
                TlsSetValue(local->slot, nullptr);
                destructor = local->destructor;
            }
        }
        ReleaseSRWLockShared(&g_liveLock);
        if (destructor == nullptr) {
            return;
        }
        destructor(value);
    }
}

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
    if (reason == DLL_THREAD_DETACH) {
        ZELOsapiThreadLocal_onThreadExitI();
    }
    return TRUE;
}

extern "C" {

struct ZELOsapiThreadLocal *ZELOsapiThreadLocal_new(void (*destructor)(void *value)) {
    auto *local =
            static_cast<ZELOsapiThreadLocal *>(ZELOsapiHeap_allocateStructure(sizeof(ZELOsapiThreadLocal), "OTLS"));
    if (local == nullptr) {
        return nullptr;
    }
    local->slot = TlsAlloc();
    if (local->slot == TLS_OUT_OF_INDEXES) {
        ZELOsapiHeap_freeStructure(local);
        return nullptr;
    }
    local->destructor = destructor;
    AcquireSRWLockExclusive(&g_liveLock);
    local->next = g_live;
    g_live = local;
    ReleaseSRWLockExclusive(&g_liveLock);
    return local;
}

// Values still set stay with their threads: their destructor no longer runs.
void ZELOsapiThreadLocal_delete(struct ZELOsapiThreadLocal *local) {
    if (local == nullptr) {
        return;
    }
    AcquireSRWLockExclusive(&g_liveLock);
    for (ZELOsapiThreadLocal **at = &g_live; *at != nullptr; at = &(*at)->next) {
        if (*at == local) {
            *at = local->next;
            break;
        }
    }
    ReleaseSRWLockExclusive(&g_liveLock);
    TlsFree(local->slot);
    ZELOsapiHeap_freeStructure(local);
}

void *ZELOsapiThreadLocal_get(const struct ZELOsapiThreadLocal *local) {
    return local != nullptr ? TlsGetValue(local->slot) : nullptr;
}

ZELBoolean ZELOsapiThreadLocal_set(struct ZELOsapiThreadLocal *local, void *value) {
    if (local == nullptr) {
        return ZEL_FALSE;
    }
    return TlsSetValue(local->slot, value) ? ZEL_TRUE : ZEL_FALSE;
}

}  // extern "C"
