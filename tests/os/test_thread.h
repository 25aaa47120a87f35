// Runs a capturing lambda on a thread of the OS layer.
#pragma once

#include <functional>
#include <utility>

#include "vurncore/osapi.h"

namespace zeltest {

class TestThread {
public:
    TestThread(const char *name, std::function<void()> body) : body_(std::move(body)) {
        thread_ = ZELOsapiThread_new(name, nullptr, [](void *param) -> void * {
            static_cast<TestThread *>(param)->body_();
            return nullptr;
        }, this);
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

}  // namespace zeltest
