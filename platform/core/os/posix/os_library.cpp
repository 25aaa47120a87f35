// Dynamic loading of shared libraries.
#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "vurncore/heap.h"
#include "vurncore/osapi.h"

struct ZELOsapiLibrary {
    void *handle;
};

namespace {

void ZELOsapiLibrary_setErrorI(char *error, size_t errorSize, const char *reason) {
    if (error != nullptr && errorSize > 0) {
        std::snprintf(error, errorSize, "%s", reason != nullptr ? reason : "unknown error");
    }
}

// The directory of the running program, with a trailing separator; empty
// when the system does not tell.
std::string ZELOsapiLibrary_programDirectoryI() {
    char path[4096];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof(path) - 1);
    if (length <= 0) {
        return std::string();
    }
    path[length] = '\0';
    const char *separator = std::strrchr(path, '/');
    return separator != nullptr ? std::string(path, static_cast<size_t>(separator - path + 1)) : std::string();
}

// dlopen with the system's reason kept on failure.
void *ZELOsapiLibrary_loadI(const std::string &file, std::string *reason) {
    void *handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        const char *text = dlerror();
        *reason = text != nullptr ? text : "cannot load " + file;
    }
    return handle;
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
    std::string reason;
    const bool plainName = std::strchr(name, '/') == nullptr && std::strchr(name, '.') == nullptr;
    if (!plainName) {
        library->handle = ZELOsapiLibrary_loadI(name, &reason);
    } else {
        const std::string fileName = std::string("lib") + name + ".so";
        library->handle = ZELOsapiLibrary_loadI(fileName, &reason);
        // Like an application on Windows, look beside the program too, so a
        // plug-in shipped with it is found without a search path. The
        // reason reported is that of the system's search.
        const std::string directory = ZELOsapiLibrary_programDirectoryI();
        if (library->handle == nullptr && !directory.empty()) {
            std::string besideReason;
            library->handle = ZELOsapiLibrary_loadI(directory + fileName, &besideReason);
        }
    }
    if (library->handle == nullptr) {
        ZELOsapiLibrary_setErrorI(error, errorSize, reason.c_str());
        ZELOsapiHeap_freeStructure(library);
        return nullptr;
    }
    return library;
}

void *ZELOsapiLibrary_getSymbol(struct ZELOsapiLibrary *library, const char *symbol) {
    if (library == nullptr || symbol == nullptr) {
        return nullptr;
    }
    return dlsym(library->handle, symbol);
}

void ZELOsapiLibrary_close(struct ZELOsapiLibrary *library) {
    if (library == nullptr) {
        return;
    }
    dlclose(library->handle);
    ZELOsapiHeap_freeStructure(library);
}

}  // extern "C"
