// Dynamic loading of DLLs.
#include <windows.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "vurncore/heap.h"
#include "vurncore/osapi.h"

struct ZELOsapiLibrary {
    HMODULE handle;
};

namespace {

void ZELOsapiLibrary_setErrorI(char *error, size_t errorSize, const char *reason) {
    if (error != nullptr && errorSize > 0) {
        std::snprintf(error, errorSize, "%s", reason != nullptr ? reason : "unknown error");
    }
}

// The system's text for the calling thread's last error, with its number.
std::string ZELOsapiLibrary_lastErrorI(const std::string &file) {
    const DWORD code = GetLastError();
    char text[256] = {0};
    const DWORD length = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0,
                                        text, sizeof(text), nullptr);
    std::string reason = file + ": ";
    reason += length > 0 ? std::string(text, length) : "error";
    while (!reason.empty() && (reason.back() == '\n' || reason.back() == '\r' || reason.back() == ' ')) {
        reason.pop_back();
    }
    return reason + " (" + std::to_string(code) + ")";
}

}  // namespace

extern "C" {

struct ZELOsapiLibrary *ZELOsapiLibrary_open(const char *name, char *error, size_t errorSize) {
    if (name == nullptr || name[0] == '\0') {
        ZELOsapiLibrary_setErrorI(error, errorSize, "no library name");
        return nullptr;
    }
    auto *library = static_cast<ZELOsapiLibrary *>(ZELOsapiHeap_allocateStructure(sizeof(ZELOsapiLibrary), "OLIB"));
    if (library == nullptr) {
        ZELOsapiLibrary_setErrorI(error, errorSize, "out of heap");
        return nullptr;
    }
    // A plain name gets the suffix; the system's search starts in the
    // program's own directory, where a plug-in shipped with it lives.
    const bool plainName = std::strpbrk(name, "/\\.") == nullptr;
    const std::string file = plainName ? std::string(name) + ".dll" : std::string(name);
    library->handle = LoadLibraryA(file.c_str());
    if (library->handle == nullptr) {
        ZELOsapiLibrary_setErrorI(error, errorSize, ZELOsapiLibrary_lastErrorI(file).c_str());
        ZELOsapiHeap_freeStructure(library);
        return nullptr;
    }
    return library;
}

void *ZELOsapiLibrary_getSymbol(struct ZELOsapiLibrary *library, const char *symbol) {
    if (library == nullptr || symbol == nullptr) {
        return nullptr;
    }
    return reinterpret_cast<void *>(GetProcAddress(library->handle, symbol));
}

void ZELOsapiLibrary_close(struct ZELOsapiLibrary *library) {
    if (library == nullptr) {
        return;
    }
    FreeLibrary(library->handle);
    ZELOsapiHeap_freeStructure(library);
}

}  // extern "C"
