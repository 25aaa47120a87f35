// Runs a capturing lambda on a thread of the OS layer; and what the system
// itself says of the calling thread and process, to check the OS layer
// against.
#pragma once

#if defined(_WIN32)
#include <windows.h>
#include <process.h>
#else
#include <filesystem>
#include <fstream>
#endif

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

#include "vurncore/osapi.h"

namespace zeltest {

class TestThread {
public:
    TestThread(const char *name, std::function<void()> body) : body_(std::move(body)) {
        thread_ = ZELOsapiThread_new(
                name, nullptr,
                [](void *param) -> void * {
                    static_cast<TestThread *>(param)->body_();
                    return nullptr;
                },
                this);
    }
    ~TestThread() { join(); }
    TestThread(const TestThread &) = delete;
    TestThread &operator=(const TestThread &) = delete;

    bool started() const { return thread_ != nullptr; }
    bool join() {
        const bool joined = thread_ != nullptr && ZELOsapiThread_join(thread_);
        thread_ = nullptr;
        return joined;
    }

private:
    std::function<void()> body_;
    ZELOsapiThread *thread_ = nullptr;
};

// The calling thread's name as the system keeps it ("" when it keeps none).
inline std::string currentThreadName() {
#if defined(_WIN32)
    // GetThreadDescription exists from Windows 10 on: looked up, not linked.
    using GetDescription = HRESULT(WINAPI *)(HANDLE, PWSTR *);
    const auto get = reinterpret_cast<GetDescription>(
            reinterpret_cast<void *>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "GetThreadDescription")));
    PWSTR wide = nullptr;
    if (get == nullptr || FAILED(get(GetCurrentThread(), &wide))) {
        return "";
    }
    std::string name;
    for (PWSTR c = wide; *c != L'\0'; ++c) {
        name += static_cast<char>(*c);
    }
    LocalFree(wide);
    return name;
#else
    std::string name;
    std::ifstream("/proc/thread-self/comm") >> name;
    return name;
#endif
}

inline uint32_t currentProcessId() {
#if defined(_WIN32)
    return static_cast<uint32_t>(_getpid());
#else
    return static_cast<uint32_t>(std::stoul(std::filesystem::read_symlink("/proc/self").string()));
#endif
}

// The file a plain library name stands for on this system.
inline std::string libraryFileName(const std::string &name) {
#if defined(_WIN32)
    return name + ".dll";
#else
    return "lib" + name + ".so";
#endif
}

}  // namespace zeltest
