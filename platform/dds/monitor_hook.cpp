// The monitoring hook: loads a monitoring plug-in for the factory when a
// participant asks for one, attaches participants to it, detaches them at
// deletion and deletes the monitor when the factory is finalized.
//
// No entity lock is held while the plug-in runs: it calls back into the
// DDS API from inside create, attach, events and detach, and may create a
// participant of its own from inside attach.
#include <atomic>
#include <cctype>
#include <cerrno>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>

#include "entity_private.h"
#include "vurnc/dds_monitor.h"
#include "vurncore/dds_string.h"
#include "vurncore/heap.h"
#include "vurncore/lock_order.h"
#include "vurncore/osapi.h"

namespace {

const char *const DDS_MONITOR_LIBRARY_PROPERTY_I = "zel.monitor.library";
const char *const DDS_MONITOR_CREATE_FUNCTION_PROPERTY_I = "zel.monitor.create_function";
const char *const DDS_MONITOR_CREATE_FUNCTION_PTR_PROPERTY_I = "zel.monitor.create_function_ptr";

// The factory's monitor and where it came from; allocated when first
// needed, freed at factory finalization.
struct DDS_MonitorHookI {
    // Held while the monitor is loaded and created, so that a participant
    // created meanwhile on another thread waits for it. Recursive: the create
    // function may create a participant on the same thread.
    ZELOrderedRecursiveMutex<ZEL_LOCK_LEVEL_MONITOR_LOAD> loadMutex{"monitoring library load"};
    DDS_MonitorVersion version = DDS_MONITOR_VERSION_DEFAULT; /* [loadMutex] */
    bool creating = false;                                    /* [loadMutex] the create function runs */
    ZELOsapiLibrary *library = nullptr;                       /* [loadMutex] NULL for a linked-in plug-in */
    char *libraryName = nullptr;                              /* [loadMutex] as the participant named it */
    DDS_MonitorCreateFunction createFunction = nullptr;       /* [loadMutex] */
    // Set once under loadMutex, read without it.
    std::atomic<DDS_Monitor *> monitor{nullptr};
};

// What a participant's properties ask for; the texts are owned copies,
// NULL when a property is absent or empty.
struct DDS_MonitorRequestI {
    char *library = nullptr;
    char *createFunction = nullptr;
    char *createFunctionPtr = nullptr;

    DDS_MonitorRequestI() = default;
    DDS_MonitorRequestI(const DDS_MonitorRequestI &) = delete;
    DDS_MonitorRequestI &operator=(const DDS_MonitorRequestI &) = delete;
    ~DDS_MonitorRequestI() {
        DDS_String_free(createFunctionPtr);
        DDS_String_free(createFunction);
        DDS_String_free(library);
    }
    bool asksForMonitor() const {
        return library != nullptr || createFunction != nullptr || createFunctionPtr != nullptr;
    }
};

}  // namespace

// The hook of `factory`, made when `create` is true and there is none yet;
// NULL otherwise or when out of heap (logged).
static DDS_MonitorHookI *DDS_MonitorHook_getI(DDS_DomainParticipantFactory *factory, bool create) {
    DDS_EntityLockGuardI lock(factory, factory->lock);
    if (!lock.held()) {
        ZELLog_printContextAndMsg("DDS_MonitorHook_getI", &ZEL_LOG_GET_FAILURE_s, "ea");
        return nullptr;
    }
    auto *hook = static_cast<DDS_MonitorHookI *>(factory->monitorHooks.hookData);
    if (hook != nullptr || !create) {
        return hook;
    }
    void *memory = ZELOsapiHeap_allocateStructure(sizeof(DDS_MonitorHookI), "DMON");
    if (memory == nullptr) {
        DDS_Entity_logOutOfHeapI("DDS_MonitorHook_getI", sizeof(DDS_MonitorHookI));
        return nullptr;
    }
    hook = new (memory) DDS_MonitorHookI{};
    factory->monitorHooks.hookData = hook;
    return hook;
}

// Copies the value of property `name` into `*value` unless it is absent
// or empty; false when out of heap.
static bool DDS_MonitorRequest_copyPropertyI(const DDS_PropertyQosPolicy *policy, const char *name, char **value) {
    const DDS_Property_t *property = DDS_PropertyQosPolicyHelper_lookup_property(policy, name);
    if (property == nullptr || property->value == nullptr || property->value[0] == '\0') {
        return true;
    }
    *value = DDS_String_dup(property->value);
    return *value != nullptr;
}

// Reads what the participant's properties ask for; false when out of heap
// (logged).
static bool DDS_MonitorRequest_readI(DDS_MonitorRequestI *self, DDS_DomainParticipant *participant) {
    DDS_EntityLockGuardI lock(&participant->entity);
    if (!lock.held()) {
        ZELLog_printContextAndMsg("DDS_MonitorRequest_readI", &ZEL_LOG_GET_FAILURE_s, "ea");
        return false;
    }
    const DDS_PropertyQosPolicy *policy = &participant->qos.property;
    if (!DDS_MonitorRequest_copyPropertyI(policy, DDS_MONITOR_LIBRARY_PROPERTY_I, &self->library) ||
        !DDS_MonitorRequest_copyPropertyI(policy, DDS_MONITOR_CREATE_FUNCTION_PROPERTY_I, &self->createFunction) ||
        !DDS_MonitorRequest_copyPropertyI(policy, DDS_MONITOR_CREATE_FUNCTION_PTR_PROPERTY_I,
                                          &self->createFunctionPtr)) {
        ZELLog_printContextAndMsg("DDS_MonitorRequest_readI", &ZEL_LOG_GET_FAILURE_s, "monitor properties");
        return false;
    }
    return true;
}

// The function whose address `text` holds ("0x" and hex digits, or decimal
// digits); NULL (logged) for anything else or zero.
static DDS_MonitorCreateFunction DDS_MonitorRequest_parseFunctionPtrI(const char *text) {
    const bool hex = text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    const char *digits = hex ? text + 2 : text;
    char *end = nullptr;
    errno = 0;
    const uintmax_t value = std::strtoumax(digits, &end, hex ? 16 : 10);
    // strtoumax skips blanks and takes a sign: a number must start with a digit.
    const bool isDigit = hex ? std::isxdigit(static_cast<unsigned char>(digits[0])) != 0
                             : std::isdigit(static_cast<unsigned char>(digits[0])) != 0;
    if (!isDigit || *end != '\0' || errno == ERANGE || value == 0 || value > UINTPTR_MAX) {
        char what[256];
        std::snprintf(what, sizeof what, "%s \"%s\"", DDS_MONITOR_CREATE_FUNCTION_PTR_PROPERTY_I, text);
        ZELLog_printContextAndMsg("DDS_MonitorHook_obtainMonitorI", &ZEL_LOG_BAD_PARAMETER_s, what);
        return nullptr;
    }
    return reinterpret_cast<DDS_MonitorCreateFunction>(static_cast<uintptr_t>(value));
}

// True when `request` names the plug-in the hook's monitor came from;
// logged otherwise [loadMutex].
static bool DDS_MonitorHook_isSameSourceI(const DDS_MonitorHookI *self, const DDS_MonitorRequestI *request) {
    if (request->library != nullptr) {
        if (self->libraryName != nullptr && std::strcmp(self->libraryName, request->library) == 0) {
            return true;
        }
    } else if (request->createFunctionPtr != nullptr &&
               DDS_MonitorRequest_parseFunctionPtrI(request->createFunctionPtr) == self->createFunction) {
        return true;
    }
    char what[256];
    std::snprintf(what, sizeof what, "monitor %s: another monitor is loaded",
                  request->library != nullptr             ? request->library
                  : request->createFunctionPtr != nullptr ? request->createFunctionPtr
                                                          : request->createFunction);
    ZELLog_printContextAndMsg("DDS_MonitorHook_obtainMonitorI", &ZEL_LOG_PRECONDITION_NOT_MET_s, what);
    return false;
}

// Finds the create function that `request` names, loading its library
// into `*library`; NULL (logged, nothing left loaded) on failure.
static DDS_MonitorCreateFunction DDS_MonitorHook_findCreateFunctionI(const DDS_MonitorRequestI *request,
                                                                     ZELOsapiLibrary **library) {
    const char *const context = "DDS_MonitorHook_obtainMonitorI";
    char what[512];
    if (request->library == nullptr) {
        if (request->createFunctionPtr == nullptr) {
            std::snprintf(what, sizeof what, "%s without %s", DDS_MONITOR_CREATE_FUNCTION_PROPERTY_I,
                          DDS_MONITOR_LIBRARY_PROPERTY_I);
            ZELLog_printContextAndMsg(context, &ZEL_LOG_PRECONDITION_NOT_MET_s, what);
            return nullptr;
        }
        return DDS_MonitorRequest_parseFunctionPtrI(request->createFunctionPtr);
    }
    char reason[256] = "";
    *library = ZELOsapiLibrary_open(request->library, reason, sizeof reason);
    if (*library == nullptr) {
        std::snprintf(what, sizeof what, "monitor library %s: %s", request->library, reason);
        ZELLog_printContextAndMsg(context, &ZEL_LOG_GET_FAILURE_s, what);
        return nullptr;
    }
    DDS_MonitorCreateFunction create = nullptr;
    if (request->createFunction != nullptr) {
        create = reinterpret_cast<DDS_MonitorCreateFunction>(
                ZELOsapiLibrary_getSymbol(*library, request->createFunction));
        if (create == nullptr) {
            std::snprintf(what, sizeof what, "monitor create function %s in %s", request->createFunction,
                          request->library);
            ZELLog_printContextAndMsg(context, &ZEL_LOG_GET_FAILURE_s, what);
        }
    } else if (request->createFunctionPtr != nullptr) {
        create = DDS_MonitorRequest_parseFunctionPtrI(request->createFunctionPtr);
    } else {
        std::snprintf(what, sizeof what, "%s without %s", DDS_MONITOR_LIBRARY_PROPERTY_I,
                      DDS_MONITOR_CREATE_FUNCTION_PROPERTY_I);
        ZELLog_printContextAndMsg(context, &ZEL_LOG_PRECONDITION_NOT_MET_s, what);
    }
    if (create == nullptr) {
        ZELOsapiLibrary_close(*library);
        *library = nullptr;
    }
    return create;
}

// The factory's monitor for a participant that asks for one: the monitor
// already created if `request` names the same plug-in, else a new one
// loaded and created now. NULL (logged) when none can be had, and while
// the create function itself runs (a participant it creates is not
// monitored).
static DDS_Monitor *DDS_MonitorHook_obtainMonitorI(DDS_MonitorHookI *self, DDS_DomainParticipantFactory *factory,
                                                   const DDS_MonitorRequestI *request) {
    const char *const context = "DDS_MonitorHook_obtainMonitorI";
    std::lock_guard guard(self->loadMutex);
    if (self->creating) {
        return nullptr;
    }
    DDS_Monitor *monitor = self->monitor.load();
    if (monitor != nullptr) {
        return DDS_MonitorHook_isSameSourceI(self, request) ? monitor : nullptr;
    }
    char *libraryName = nullptr;
    if (request->library != nullptr && (libraryName = DDS_String_dup(request->library)) == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_GET_FAILURE_s, "library name");
        return nullptr;
    }
    ZELOsapiLibrary *library = nullptr;
    DDS_MonitorCreateFunction create = DDS_MonitorHook_findCreateFunctionI(request, &library);
    if (create == nullptr) {
        DDS_String_free(libraryName);
        return nullptr;
    }
    DDS_UnsignedLong result = DDS_MONITOR_RESULT_FAILURE;
    self->creating = true;
    monitor = create(&result, factory, self->version);
    self->creating = false;
    char what[128];
    if (monitor == nullptr) {
        if (result == DDS_MONITOR_RESULT_VERSION_NOT_SUPPORTED) {
            std::snprintf(what, sizeof what, "monitor: version %u.%u.%u.%u not supported", self->version.major,
                          self->version.minor, self->version.release, self->version.revision);
        } else {
            std::snprintf(what, sizeof what, "monitor");
        }
        ZELLog_printContextAndMsg(context, &ZEL_LOG_CREATION_FAILURE_s, what);
        ZELOsapiLibrary_close(library);
        DDS_String_free(libraryName);
        return nullptr;
    }
    if (result != DDS_MONITOR_RESULT_OK) {
        // The plug-in hands back what it could build; it is used, and
        // deleted at finalization like any other.
        std::snprintf(what, sizeof what, "create monitor: result %" PRIu32, result);
        ZELLog_printContextAndMsg(context, &ZEL_LOG_ANY_FAILURE_s, what);
    }
    self->library = library;
    self->libraryName = libraryName;
    self->createFunction = create;
    self->monitor.store(monitor);
    return monitor;
}

// Attaches the participant; a participant object handed back makes it
// monitored from now on.
static void DDS_MonitorHook_attachI(DDS_Monitor *monitor, DDS_DomainParticipant *participant) {
    DDS_UnsignedLong result = DDS_MONITOR_RESULT_FAILURE;
    void *participantObject = monitor->onDomainParticipantAttach(&result, monitor, participant);
    if (result != DDS_MONITOR_RESULT_OK) {
        char what[64];
        std::snprintf(what, sizeof what, "attach participant: result %" PRIu32, result);
        ZELLog_printContextAndMsg("DDS_MonitorHook_attachI", &ZEL_LOG_ANY_FAILURE_s, what);
    }
    if (participantObject == nullptr) {
        return;
    }
    // The participant is not enabled yet, so nothing reports its events
    // concurrently.
    participant->monitor.onEventNotify = monitor->onEventNotify;
    participant->monitor.participantObject = participantObject;
}

static void DDS_MonitorHook_onParticipantCreatedI(DDS_DomainParticipantFactory *factory,
                                                  DDS_DomainParticipant *participant) {
    DDS_MonitorRequestI request;
    if (!DDS_MonitorRequest_readI(&request, participant)) {
        return;
    }
    DDS_MonitorHookI *hook = nullptr;
    DDS_Monitor *monitor = nullptr;
    if (request.asksForMonitor()) {
        hook = DDS_MonitorHook_getI(factory, true);
        monitor = hook != nullptr ? DDS_MonitorHook_obtainMonitorI(hook, factory, &request) : nullptr;
    } else if (participant->entity.vendorSpecific) {
        // Vendor-specific participants belong to the monitoring machinery:
        // an existing monitor is offered them and decides.
        hook = DDS_MonitorHook_getI(factory, false);
        monitor = hook != nullptr ? hook->monitor.load() : nullptr;
    }
    if (monitor != nullptr) {
        DDS_MonitorHook_attachI(monitor, participant);
    }
}

// Detaches a monitored participant; no event reaches its participant
// object once detaching has begun.
static void DDS_MonitorHook_onParticipantDeletingI(DDS_DomainParticipantFactory *factory,
                                                   DDS_DomainParticipant *participant) {
    void *participantObject = participant->monitor.participantObject;
    if (participantObject == nullptr) {
        return;
    }
    participant->monitor = DDS_MonitorAttachmentI{};
    DDS_MonitorHookI *hook = DDS_MonitorHook_getI(factory, false);
    DDS_Monitor *monitor = hook != nullptr ? hook->monitor.load() : nullptr;
    if (monitor == nullptr) {
        ZELLog_printContextAndMsg("DDS_MonitorHook_onParticipantDeletingI", &ZEL_LOG_GET_FAILURE_s, "monitor");
        return;
    }
    const DDS_UnsignedLong result = monitor->onDomainParticipantDetach(participantObject);
    if (result != DDS_MONITOR_RESULT_OK) {
        char what[64];
        std::snprintf(what, sizeof what, "detach participant: result %" PRIu32, result);
        ZELLog_printContextAndMsg("DDS_MonitorHook_onParticipantDeletingI", &ZEL_LOG_ANY_FAILURE_s, what);
    }
}

// Deletes the monitor and unloads its library. A monitor that refuses to
// be deleted keeps its library loaded, since its code may still run.
static void DDS_MonitorHook_onFactoryFinalizingI(DDS_DomainParticipantFactory *factory) {
    DDS_MonitorHookI *hook = DDS_MonitorHook_getI(factory, false);
    if (hook == nullptr) {
        return;
    }
    bool unload = true;
    DDS_Monitor *monitor = hook->monitor.load();
    if (monitor != nullptr) {
        const DDS_UnsignedLong result = monitor->deleteMonitor(monitor);
        if (result != DDS_MONITOR_RESULT_OK) {
            char what[64];
            std::snprintf(what, sizeof what, "monitor: result %" PRIu32, result);
            ZELLog_printContextAndMsg("DDS_MonitorHook_onFactoryFinalizingI", &ZEL_LOG_DESTRUCTION_FAILURE_s, what);
            unload = false;
        }
    }
    if (unload) {
        ZELOsapiLibrary_close(hook->library);
    }
    {
        DDS_EntityLockGuardI lock(factory, factory->lock);
        factory->monitorHooks.hookData = nullptr;
    }
    DDS_String_free(hook->libraryName);
    hook->~DDS_MonitorHookI();
    ZELOsapiHeap_freeStructure(hook);
}

void DDS_DomainParticipantFactory_installMonitorHookI(DDS_DomainParticipantFactory *factory) {
    factory->monitorHooks.onParticipantCreated = DDS_MonitorHook_onParticipantCreatedI;
    factory->monitorHooks.onParticipantDeleting = DDS_MonitorHook_onParticipantDeletingI;
    factory->monitorHooks.onFactoryFinalizing = DDS_MonitorHook_onFactoryFinalizingI;
}

extern "C" {

VURNC_API DDS_ReturnCode_t DDS_DomainParticipantFactory_set_monitor_versionI(DDS_DomainParticipantFactory *self,
                                                                             struct DDS_MonitorVersion version) {
    if (self == nullptr) {
        ZELLog_printContextAndMsg("DDS_DomainParticipantFactory_set_monitor_versionI", &ZEL_LOG_BAD_PARAMETER_s,
                                  "self");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    DDS_MonitorHookI *hook = DDS_MonitorHook_getI(self, true);
    if (hook == nullptr) {
        return DDS_RETCODE_OUT_OF_RESOURCES;
    }
    std::lock_guard guard(hook->loadMutex);
    hook->version = version;
    return DDS_RETCODE_OK;
}

}  // extern "C"
