// The OS layer: identities, semaphores, threads, thread-local storage and
// dynamic loading.
#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "heap_check.h"
#include "vurncore/osapi.h"

namespace {

class OsapiTest : public zeltest::HeapCheckedTest {};

constexpr ZELNtpTime kNoWait{0, 0};
constexpr ZELNtpTime kShortWait{0, 0x04000000u};  // about 16 ms

// Starts `function(param)` on a thread with default settings.
ZELOsapiThread *startThread(const char *name, ZELOsapiThreadFunction function, void *param) {
    const ZELOsapiThreadSettings settings = ZEL_OSAPI_THREAD_SETTINGS_DEFAULT;
    return ZELOsapiThread_new(name, &settings, function, param);
}

TEST_F(OsapiTest, HostAndProcessIdsAreStableAndNameThisProcess) {
    const uint32_t hostId = ZELOsapiHost_getId();
    EXPECT_NE(hostId, 0u);
    EXPECT_EQ(ZELOsapiHost_getId(), hostId);
    EXPECT_EQ(std::filesystem::read_symlink("/proc/self").string(), std::to_string(ZELOsapiProcess_getId()));
}

TEST_F(OsapiTest, BinarySemaphoreKeepsAtMostOneGiveAndTimesOut) {
    ZELOsapiSemaphore *semaphore = ZELOsapiSemaphore_new(ZEL_OSAPI_SEMAPHORE_KIND_BINARY, nullptr);
    ASSERT_NE(semaphore, nullptr);
    EXPECT_EQ(ZELOsapiSemaphore_take(semaphore, &kShortWait), ZEL_OSAPI_SEMAPHORE_STATUS_TIMEOUT);
    EXPECT_EQ(ZELOsapiSemaphore_give(semaphore), ZEL_OSAPI_SEMAPHORE_STATUS_OK);
    EXPECT_EQ(ZELOsapiSemaphore_give(semaphore), ZEL_OSAPI_SEMAPHORE_STATUS_OK);
    EXPECT_EQ(ZELOsapiSemaphore_take(semaphore, &kNoWait), ZEL_OSAPI_SEMAPHORE_STATUS_OK);
    EXPECT_EQ(ZELOsapiSemaphore_take(semaphore, &kNoWait), ZEL_OSAPI_SEMAPHORE_STATUS_TIMEOUT);
    const ZELNtpTime negative{-1, 0};
    EXPECT_EQ(ZELOsapiSemaphore_take(semaphore, &negative), ZEL_OSAPI_SEMAPHORE_STATUS_ERROR);
    ZELOsapiSemaphore_delete(semaphore);
}

TEST_F(OsapiTest, BinaryGiveWakesAThreadWaitingForEver) {
    struct Context {
        ZELOsapiSemaphore *semaphore;
        std::atomic<bool> woken{false};
    } context{ZELOsapiSemaphore_new(ZEL_OSAPI_SEMAPHORE_KIND_BINARY, nullptr)};
    ASSERT_NE(context.semaphore, nullptr);
    ZELOsapiThread *waiter = startThread("waiter", [](void *param) -> void * {
        auto *c = static_cast<Context *>(param);
        if (ZELOsapiSemaphore_take(c->semaphore, nullptr) == ZEL_OSAPI_SEMAPHORE_STATUS_OK) {
            c->woken = true;
        }
        return nullptr;
    }, &context);
    ASSERT_NE(waiter, nullptr);
    EXPECT_EQ(ZELOsapiSemaphore_give(context.semaphore), ZEL_OSAPI_SEMAPHORE_STATUS_OK);
    EXPECT_TRUE(ZELOsapiThread_join(waiter));
    EXPECT_TRUE(context.woken);
    ZELOsapiSemaphore_delete(context.semaphore);
}

TEST_F(OsapiTest, MutexIsRecursiveAndOnlyItsOwnerGivesItBack) {
    struct Context {
        ZELOsapiSemaphore *mutex;
        ZELOsapiSemaphoreStatus takeStatus;
        ZELOsapiSemaphoreStatus giveStatus;
    } context{ZELOsapiSemaphore_new(ZEL_OSAPI_SEMAPHORE_KIND_MUTEX, nullptr), {}, {}};
    ASSERT_NE(context.mutex, nullptr);
    auto tryFromOtherThread = [](void *param) -> void * {
        auto *c = static_cast<Context *>(param);
        c->giveStatus = ZELOsapiSemaphore_give(c->mutex);
        c->takeStatus = ZELOsapiSemaphore_take(c->mutex, &kShortWait);
        if (c->takeStatus == ZEL_OSAPI_SEMAPHORE_STATUS_OK) {
            ZELOsapiSemaphore_give(c->mutex);
        }
        return nullptr;
    };

    ASSERT_EQ(ZELOsapiSemaphore_take(context.mutex, nullptr), ZEL_OSAPI_SEMAPHORE_STATUS_OK);
    ASSERT_EQ(ZELOsapiSemaphore_take(context.mutex, &kNoWait), ZEL_OSAPI_SEMAPHORE_STATUS_OK);
    ASSERT_TRUE(ZELOsapiThread_join(startThread("other", tryFromOtherThread, &context)));
    EXPECT_EQ(context.giveStatus, ZEL_OSAPI_SEMAPHORE_STATUS_ERROR);
    EXPECT_EQ(context.takeStatus, ZEL_OSAPI_SEMAPHORE_STATUS_TIMEOUT);

    // Still held after one give: it was taken twice.
    EXPECT_EQ(ZELOsapiSemaphore_give(context.mutex), ZEL_OSAPI_SEMAPHORE_STATUS_OK);
    ASSERT_TRUE(ZELOsapiThread_join(startThread("other", tryFromOtherThread, &context)));
    EXPECT_EQ(context.takeStatus, ZEL_OSAPI_SEMAPHORE_STATUS_TIMEOUT);

    EXPECT_EQ(ZELOsapiSemaphore_give(context.mutex), ZEL_OSAPI_SEMAPHORE_STATUS_OK);
    EXPECT_EQ(ZELOsapiSemaphore_give(context.mutex), ZEL_OSAPI_SEMAPHORE_STATUS_ERROR);
    ASSERT_TRUE(ZELOsapiThread_join(startThread("other", tryFromOtherThread, &context)));
    EXPECT_EQ(context.takeStatus, ZEL_OSAPI_SEMAPHORE_STATUS_OK);
    ZELOsapiSemaphore_delete(context.mutex);
}

struct ThreadLocalContext {
    ZELOsapiThreadLocal *local;
    std::string name;  // the thread's name as the system reports it
};

std::atomic<int> g_destructorCalls{0};
std::atomic<void *> g_destroyedValue{nullptr};

TEST_F(OsapiTest, ThreadIsNamedAndItsLocalValueDestroyedAtItsEnd) {
    g_destructorCalls = 0;
    ThreadLocalContext context{ZELOsapiThreadLocal_new([](void *value) {
        g_destructorCalls += 1;
        g_destroyedValue = value;
    }), {}};
    ASSERT_NE(context.local, nullptr);
    auto body = [](void *param) -> void * {
        auto *c = static_cast<ThreadLocalContext *>(param);
        std::ifstream("/proc/thread-self/comm") >> c->name;
        if (c->name == "setter") {
            ZELOsapiThreadLocal_set(c->local, param);
        }
        return ZELOsapiThreadLocal_get(c->local);
    };
    ASSERT_TRUE(ZELOsapiThread_join(startThread("setter", body, &context)));
    EXPECT_EQ(context.name, "setter");
    EXPECT_EQ(g_destructorCalls, 1);
    EXPECT_EQ(g_destroyedValue, &context);

    // A thread that sets no value has nothing destroyed; a long name is cut.
    ASSERT_TRUE(ZELOsapiThread_join(startThread("averyveryverylongname", body, &context)));
    EXPECT_EQ(context.name, "averyveryverylo");
    EXPECT_EQ(g_destructorCalls, 1);
    EXPECT_EQ(ZELOsapiThreadLocal_get(context.local), nullptr);
    ZELOsapiThreadLocal_delete(context.local);
}

TEST_F(OsapiTest, ThreadSettingsAreAppliedOrRefused) {
    std::atomic<int> runs{0};
    auto body = [](void *param) -> void * {
        *static_cast<std::atomic<int> *>(param) += 1;
        return nullptr;
    };
    // A stack below the system's minimum is raised to it.
    const ZELOsapiThreadSettings tinyStack{0, 1, ZEL_OSAPI_THREAD_OPTION_DEFAULT};
    ASSERT_TRUE(ZELOsapiThread_join(ZELOsapiThread_new("tiny", &tinyStack, body, &runs)));
    // Without the right to a fixed priority, the thread runs normally.
    const ZELOsapiThreadSettings realtime{99, 0, ZEL_OSAPI_THREAD_OPTION_REALTIME_PRIORITY};
    ASSERT_TRUE(ZELOsapiThread_join(ZELOsapiThread_new("realtime", &realtime, body, &runs)));
    EXPECT_EQ(runs, 2);

    const ZELOsapiThreadSettings negativeStack{0, -1, ZEL_OSAPI_THREAD_OPTION_DEFAULT};
    EXPECT_EQ(ZELOsapiThread_new("bad", &negativeStack, body, &runs), nullptr);
    EXPECT_EQ(ZELOsapiThread_new("bad", nullptr, nullptr, &runs), nullptr);
}

TEST_F(OsapiTest, LibraryLoadsByPathAndByPlainName) {
    for (const char *name : {OS_TEST_PLUGIN_PATH, "os_test_plugin"}) {
        char error[256] = "";
        ZELOsapiLibrary *library = ZELOsapiLibrary_open(name, error, sizeof(error));
        ASSERT_NE(library, nullptr) << name << ": " << error;
        auto answer = reinterpret_cast<int (*)(int)>(ZELOsapiLibrary_getSymbol(library, "osTestPlugin_answer"));
        ASSERT_NE(answer, nullptr);
        EXPECT_EQ(answer(1), 43);
        EXPECT_EQ(ZELOsapiLibrary_getSymbol(library, "osTestPlugin_question"), nullptr);
        ZELOsapiLibrary_close(library);
    }
}

TEST_F(OsapiTest, LibraryThatCannotBeOpenedReportsWhy) {
    char error[256] = "";
    EXPECT_EQ(ZELOsapiLibrary_open("zel_no_such_plugin", error, sizeof(error)), nullptr);
    EXPECT_NE(std::string(error).find("libzel_no_such_plugin.so"), std::string::npos) << error;

    ZELOsapiHeap_failAllocation(1, ZEL_TRUE);
    EXPECT_EQ(ZELOsapiLibrary_open(OS_TEST_PLUGIN_PATH, error, sizeof(error)), nullptr);
    ZELOsapiHeap_failAllocation(0, ZEL_FALSE);
    EXPECT_STREQ(error, "out of heap");
}

}  // namespace
