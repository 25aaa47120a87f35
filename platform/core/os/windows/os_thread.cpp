// Threads: creation with name, stack and priority settings, join, sleep.
#include <windows.h>
#include <process.h>

#include <cstdint>
#include <cstdio>

#include "vurncore/clock.h"
#include "vurncore/heap.h"
#include "vurncore/osapi.h"

namespace {

constexpr size_t kThreadNameSize = 64;

}  // namespace

struct ZELOsapiThread {
    HANDLE handle;
    DWORD id;
    ZELOsapiThreadFunction function;
    void *param;
    char name[kThreadNameSize];
};

namespace {

// SetThreadDescription exists from Windows 10 on: looked up, not linked.
void ZELOsapiThread_nameI(const char *name) {
    using SetDescription = HRESULT(WINAPI *)(HANDLE, PCWSTR);
    static const auto setDescription = reinterpret_cast<SetDescription>(
            reinterpret_cast<void *>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "SetThreadDescription")));
    if (setDescription == nullptr || name[0] == '\0') {
        return;
    }
    wchar_t wide[kThreadNameSize];
    size_t i = 0;
    for (; name[i] != '\0' && i + 1 < kThreadNameSize; ++i) {
        wide[i] = static_cast<wchar_t>(static_cast<unsigned char>(name[i]));
    }
    wide[i] = L'\0';
    setDescription(GetCurrentThread(), wide);
}

unsigned __stdcall ZELOsapiThread_startI(void *argument) {
    auto *thread = static_cast<ZELOsapiThread *>(argument);
    // Naming is a courtesy to debuggers; a refusal changes nothing else.
    ZELOsapiThread_nameI(thread->name);
    thread->function(thread->param);
    return 0;
}

// The settings' priority clamped into the range a thread of a normal
// process may take without privileges.
int ZELOsapiThread_priorityI(int32_t priority) {
    return priority < THREAD_PRIORITY_LOWEST    ? THREAD_PRIORITY_LOWEST
           : priority > THREAD_PRIORITY_HIGHEST ? THREAD_PRIORITY_HIGHEST
                                                : static_cast<int>(priority);
}

}  // namespace

extern "C" {

struct ZELOsapiThread *ZELOsapiThread_new(const char *name, const struct ZELOsapiThreadSettings *settings,
                                          ZELOsapiThreadFunction function, void *param) {
    if (function == nullptr) {
        return nullptr;
    }
    const struct ZELOsapiThreadSettings defaults = ZEL_OSAPI_THREAD_SETTINGS_DEFAULT;
    if (settings == nullptr) {
        settings = &defaults;
    }
    if (settings->stackSize < 0) {
        return nullptr;
    }
    auto *thread = static_cast<ZELOsapiThread *>(ZELOsapiHeap_allocateStructure(sizeof(ZELOsapiThread), "OTHR"));
    if (thread == nullptr) {
        return nullptr;
    }
    thread->function = function;
    thread->param = param;
    thread->name[0] = '\0';
    if (name != nullptr) {
        std::snprintf(thread->name, sizeof(thread->name), "%s", name);
    }
    // The same floor as elsewhere: a small stack is raised, never refused.
    constexpr unsigned floor = 1024 * 1024;
    const unsigned stackSize = settings->stackSize == 0 ? 0
                               : static_cast<unsigned>(settings->stackSize) < floor
                                       ? floor
                                       : static_cast<unsigned>(settings->stackSize);
    // Started suspended so that its priority is set before it runs.
    unsigned id = 0;
    const uintptr_t handle = _beginthreadex(nullptr, stackSize, &ZELOsapiThread_startI, thread,
                                            CREATE_SUSPENDED | STACK_SIZE_PARAM_IS_A_RESERVATION, &id);
    if (handle == 0) {
        ZELOsapiHeap_freeStructure(thread);
        return nullptr;
    }
    thread->handle = reinterpret_cast<HANDLE>(handle);
    thread->id = id;
    const bool enforce = (settings->options & ZEL_OSAPI_THREAD_OPTION_PRIORITY_ENFORCE) != 0;
    const bool realtime = enforce || (settings->options & ZEL_OSAPI_THREAD_OPTION_REALTIME_PRIORITY) != 0;
    if (realtime && !SetThreadPriority(thread->handle, ZELOsapiThread_priorityI(settings->priority)) && enforce) {
        // The thread never ran: ending it loses nothing.
        TerminateThread(thread->handle, 0);
        CloseHandle(thread->handle);
        ZELOsapiHeap_freeStructure(thread);
        return nullptr;
    }
    ResumeThread(thread->handle);
    return thread;
}

ZELBoolean ZELOsapiThread_join(struct ZELOsapiThread *thread) {
    if (thread == nullptr || thread->id == GetCurrentThreadId()) {
        return ZEL_FALSE;
    }
    if (WaitForSingleObject(thread->handle, INFINITE) != WAIT_OBJECT_0) {
        return ZEL_FALSE;
    }
    CloseHandle(thread->handle);
    ZELOsapiHeap_freeStructure(thread);
    return ZEL_TRUE;
}

uint64_t ZELOsapiThread_getCurrentId(void) { return static_cast<uint64_t>(GetCurrentThreadId()); }

void ZELOsapiThread_sleep(const struct ZELNtpTime *duration) {
    if (duration == nullptr || duration->sec < 0) {
        return;
    }
    // Sleep takes milliseconds: round up, so the sleep is never shorter.
    uint64_t milliseconds = (ZELNtpTime_toNanoseconds(duration) + 999999u) / 1000000u;
    while (milliseconds > 0) {
        const DWORD part = milliseconds >= INFINITE ? INFINITE - 1 : static_cast<DWORD>(milliseconds);
        Sleep(part);
        milliseconds -= part;
    }
}

}  // extern "C"
