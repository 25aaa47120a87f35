// The OS layer: identities, semaphores, threads, thread-local storage and
// dynamic loading.
#include <atomic>
#include <string>

#include <gtest/gtest.h>

#include "heap_check.h"
#include "test_thread.h"
#include "vurncore/osapi.h"

namespace {

class OsapiTest : public zeltest::HeapCheckedTest {};

constexpr ZELNtpTime kNoWait{0, 0};
constexpr ZELNtpTime kShortWait{0, 0x04000000u};  // about 16 ms

TEST_F(OsapiTest, HostAndProcessIdsAreStableAndNameThisProcess) {
    EXPECT_NE(ZELOsapiHost_getId(), 0u);
    EXPECT_EQ(ZELOsapiHost_getId(), ZELOsapiHost_getId());
    EXPECT_EQ(zeltest::currentProcessId(), ZELOsapiProcess_getId());
}

TEST_F(OsapiTest, BinarySemaphoreKeepsOneGiveTimesOutAndWakesAWaiter) {
    ZELOsapiSemaphore *semaphore = ZELOsapiSemaphore_new(ZEL_OSAPI_SEMAPHORE_KIND_BINARY, nullptr);
    ASSERT_NE(semaphore, nullptr);
    EXPECT_EQ(ZELOsapiSemaphore_take(semaphore, &kShortWait), ZEL_OSAPI_SEMAPHORE_STATUS_TIMEOUT);
    EXPECT_EQ(ZELOsapiSemaphore_give(semaphore), ZEL_OSAPI_SEMAPHORE_STATUS_OK);
    EXPECT_EQ(ZELOsapiSemaphore_give(semaphore), ZEL_OSAPI_SEMAPHORE_STATUS_OK);
    EXPECT_EQ(ZELOsapiSemaphore_take(semaphore, &kNoWait), ZEL_OSAPI_SEMAPHORE_STATUS_OK);
    EXPECT_EQ(ZELOsapiSemaphore_take(semaphore, &kNoWait), ZEL_OSAPI_SEMAPHORE_STATUS_TIMEOUT);

    ZELOsapiSemaphoreStatus waited = ZEL_OSAPI_SEMAPHORE_STATUS_ERROR;
    zeltest::TestThread waiter("waiter", [&] { waited = ZELOsapiSemaphore_take(semaphore, nullptr); });
    ASSERT_TRUE(waiter.started());
    EXPECT_EQ(ZELOsapiSemaphore_give(semaphore), ZEL_OSAPI_SEMAPHORE_STATUS_OK);
    EXPECT_TRUE(waiter.join());
    EXPECT_EQ(waited, ZEL_OSAPI_SEMAPHORE_STATUS_OK);
    ZELOsapiSemaphore_delete(semaphore);
}

TEST_F(OsapiTest, MutexIsRecursiveAndOnlyItsOwnerGivesItBack) {
    ZELOsapiSemaphore *mutex = ZELOsapiSemaphore_new(ZEL_OSAPI_SEMAPHORE_KIND_MUTEX, nullptr);
    ASSERT_NE(mutex, nullptr);
    ZELOsapiSemaphoreStatus otherGive{}, otherTake{};
    auto fromOtherThread = [&] {
        zeltest::TestThread other("other", [&] {
            otherGive = ZELOsapiSemaphore_give(mutex);
            otherTake = ZELOsapiSemaphore_take(mutex, &kShortWait);
            if (otherTake == ZEL_OSAPI_SEMAPHORE_STATUS_OK) {
                ZELOsapiSemaphore_give(mutex);
            }
        });
    };
    ASSERT_EQ(ZELOsapiSemaphore_take(mutex, nullptr), ZEL_OSAPI_SEMAPHORE_STATUS_OK);
    ASSERT_EQ(ZELOsapiSemaphore_take(mutex, &kNoWait), ZEL_OSAPI_SEMAPHORE_STATUS_OK);
    fromOtherThread();
    EXPECT_EQ(otherGive, ZEL_OSAPI_SEMAPHORE_STATUS_ERROR);
    EXPECT_EQ(otherTake, ZEL_OSAPI_SEMAPHORE_STATUS_TIMEOUT);
    // Still held after one give: it was taken twice.
    EXPECT_EQ(ZELOsapiSemaphore_give(mutex), ZEL_OSAPI_SEMAPHORE_STATUS_OK);
    fromOtherThread();
    EXPECT_EQ(otherTake, ZEL_OSAPI_SEMAPHORE_STATUS_TIMEOUT);
    EXPECT_EQ(ZELOsapiSemaphore_give(mutex), ZEL_OSAPI_SEMAPHORE_STATUS_OK);
    EXPECT_EQ(ZELOsapiSemaphore_give(mutex), ZEL_OSAPI_SEMAPHORE_STATUS_ERROR);
    fromOtherThread();
    EXPECT_EQ(otherTake, ZEL_OSAPI_SEMAPHORE_STATUS_OK);
    ZELOsapiSemaphore_delete(mutex);
}

std::atomic<int> g_destructorCalls{0};
std::atomic<void *> g_destroyedValue{nullptr};

TEST_F(OsapiTest, ThreadIsNamedAndItsLocalValueDestroyedAtItsEnd) {
    g_destructorCalls = 0;
    ZELOsapiThreadLocal *local = ZELOsapiThreadLocal_new([](void *value) {
        g_destructorCalls += 1;
        g_destroyedValue = value;
    });
    ASSERT_NE(local, nullptr);
    std::string name;
    auto body = [&] {
        name = zeltest::currentThreadName();
        if (name == "setter") {
            ZELOsapiThreadLocal_set(local, &name);
        }
    };
    EXPECT_TRUE(zeltest::TestThread("setter", body).join());
    EXPECT_EQ(name, "setter");
    EXPECT_EQ(g_destructorCalls, 1);
    EXPECT_EQ(g_destroyedValue, &name);
    // A thread that sets no value has nothing destroyed.
    EXPECT_TRUE(zeltest::TestThread("other", body).join());
    EXPECT_EQ(g_destructorCalls, 1);
    ZELOsapiThreadLocal_delete(local);
}

TEST_F(OsapiTest, ThreadSettingsAreAppliedOrRefused) {
    auto body = [](void *param) -> void * { return param; };
    // A tiny stack is raised to the minimum; a fixed priority that may not
    // be used falls back to the normal one.
    const ZELOsapiThreadSettings tinyStack{0, 1, ZEL_OSAPI_THREAD_OPTION_DEFAULT};
    EXPECT_TRUE(ZELOsapiThread_join(ZELOsapiThread_new("tiny", &tinyStack, body, nullptr)));
    const ZELOsapiThreadSettings realtime{99, 0, ZEL_OSAPI_THREAD_OPTION_REALTIME_PRIORITY};
    EXPECT_TRUE(ZELOsapiThread_join(ZELOsapiThread_new("realtime", &realtime, body, nullptr)));
    const ZELOsapiThreadSettings negativeStack{0, -1, ZEL_OSAPI_THREAD_OPTION_DEFAULT};
    EXPECT_EQ(ZELOsapiThread_new("bad", &negativeStack, body, nullptr), nullptr);
}

TEST_F(OsapiTest, LibraryLoadsByPathAndByPlainNameOrReportsWhyNot) {
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
    char error[256] = "";
    EXPECT_EQ(ZELOsapiLibrary_open("zel_no_such_plugin", error, sizeof(error)), nullptr);
    EXPECT_NE(std::string(error).find(zeltest::libraryFileName("zel_no_such_plugin")), std::string::npos) << error;
    ZELOsapiHeap_failAllocation(1, ZEL_TRUE);
    EXPECT_EQ(ZELOsapiLibrary_open(OS_TEST_PLUGIN_PATH, error, sizeof(error)), nullptr);
    ZELOsapiHeap_failAllocation(0, ZEL_FALSE);
    EXPECT_STREQ(error, "out of heap");
}

}  // namespace
