// Default participant and endpoint data of type plug-ins: what an endpoint
// gets, pool reuse, misuse reported, and every allocation failure handled.
#include <cstring>
#include <set>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "heap_check.h"
#include "log_capture.h"
#include "vurncore/cdr_stream.h"
#include "vurncore/dds_string.h"
#include "vurncore/heap.h"
#include "vurncore/log.h"
#include "vurncore/type_plugin.h"

namespace {

// A sample type that allocates twice, like a struct with a string member.
struct Point {
    int32_t x;
    char *label;
};

void *createPoint() {
    auto *point = static_cast<Point *>(ZELOsapiHeap_allocateStructure(sizeof(Point), "TEST"));
    if (point == nullptr) {
        return nullptr;
    }
    point->label = DDS_String_alloc(8);
    if (point->label == nullptr) {
        ZELOsapiHeap_freeStructure(point);
        return nullptr;
    }
    return point;
}

void deletePoint(void *sample) {
    auto *point = static_cast<Point *>(sample);
    DDS_String_free(point->label);
    ZELOsapiHeap_freeStructure(point);
}

uint32_t g_keyMaxSize = 40;

unsigned int sampleMaxSize(PRESTypePluginEndpointData, DDS_Boolean includeEncapsulation, DDS_UnsignedShort,
                           unsigned int currentAlignment) {
    return currentAlignment + (includeEncapsulation ? 4u : 0u) + 100u;
}

unsigned int keyMaxSize(PRESTypePluginEndpointData, DDS_Boolean includeEncapsulation, DDS_UnsignedShort,
                        unsigned int currentAlignment) {
    return currentAlignment + (includeEncapsulation ? 4u : 0u) + g_keyMaxSize;
}

PRESTypePlugin pointPlugin(bool keyed) {
    PRESTypePlugin plugin{};
    plugin.typeName = "Point";
    plugin.getKeyKindFnc = keyed ? PRESTypePluginDefault_getUserKeyKind : PRESTypePluginDefault_getNoKeyKind;
    plugin.onParticipantAttachedFnc = PRESTypePluginDefaultParticipantData_new;
    plugin.onParticipantDetachedFnc = PRESTypePluginDefaultParticipantData_delete;
    plugin.onEndpointAttachedFnc = PRESTypePluginDefault_onEndpointAttached;
    plugin.onEndpointDetachedFnc = PRESTypePluginDefault_onEndpointDetached;
    plugin.createSampleFnc = createPoint;
    plugin.deleteSampleFnc = deletePoint;
    plugin.serializedSampleMaxSizeFnc = sampleMaxSize;
    if (keyed) {
        plugin.serializedKeyMaxSizeFnc = keyMaxSize;
    }
    return plugin;
}

const PRESTypePluginEndpointInfo kWriter = {PRES_TYPEPLUGIN_ENDPOINT_WRITER};
const PRESTypePluginEndpointInfo kReader = {PRES_TYPEPLUGIN_ENDPOINT_READER};

class TypePluginTest : public zeltest::HeapCheckedTest {
protected:
    zeltest::LogCapture log_;
};

TEST_F(TypePluginTest, ParticipantDataKeepsItsOwnCopyOfTheRecord) {
    PRESTypePlugin plugin = pointPlugin(true);
    PRESTypePluginParticipantData participant = plugin.onParticipantAttachedFnc(&plugin);
    ASSERT_NE(participant, nullptr);
    plugin.typeName = "Changed";
    plugin.createSampleFnc = nullptr;
    const PRESTypePlugin *copy = PRESTypePluginDefaultParticipantData_getPlugin(participant);
    EXPECT_STREQ(copy->typeName, "Point");

    PRESTypePluginEndpointData endpoint = copy->onEndpointAttachedFnc(participant, &kReader);
    ASSERT_NE(endpoint, nullptr);
    EXPECT_EQ(PRESTypePluginDefaultEndpointData_getPlugin(endpoint), copy);
    EXPECT_EQ(PRESTypePluginDefaultEndpointData_getParticipantData(endpoint), participant);
    EXPECT_EQ(PRESTypePluginDefaultEndpointData_getEndpointKind(endpoint), PRES_TYPEPLUGIN_ENDPOINT_READER);
    copy->onEndpointDetachedFnc(endpoint);
    copy->onParticipantDetachedFnc(participant);

    EXPECT_EQ(PRESTypePluginDefaultParticipantData_new(nullptr), nullptr);
    EXPECT_TRUE(log_.contains("PRESTypePluginDefaultParticipantData_new", ZEL_LOG_BAD_PARAMETER_s,
                              "bad parameter: plugin\n"));
}

// A keyed writer gets a big-endian key-hash stream of at least 16 octets and
// a buffer pool; a keyless reader gets neither.
TEST_F(TypePluginTest, AttachedEndpointsGetWhatTheirKindAndKeyNeed) {
    for (const uint32_t keySize : {40u, 8u}) {
        g_keyMaxSize = keySize;
        PRESTypePlugin plugin = pointPlugin(true);
        PRESTypePluginParticipantData participant = PRESTypePluginDefaultParticipantData_new(&plugin);
        PRESTypePluginEndpointData writer = PRESTypePluginDefault_onEndpointAttached(participant, &kWriter);
        ASSERT_NE(writer, nullptr);
        const ZELCdrStream *md5 = PRESTypePluginDefaultEndpointData_getMD5Stream(writer);
        ASSERT_NE(md5, nullptr);
        EXPECT_EQ(md5->bufferLength, keySize > 16 ? keySize : 16u);
        EXPECT_EQ(md5->byteOrder, ZEL_CDR_BIG_ENDIAN);
        EXPECT_EQ(PRESTypePluginDefaultEndpointData_getBufferMaxSize(writer), 104u);
        EXPECT_FALSE(PRESTypePluginDefaultEndpointData_createMD5Stream(writer));  // once only
        EXPECT_FALSE(PRESTypePluginDefaultEndpointData_createWriterPool(writer));
        PRESTypePluginDefault_onEndpointDetached(writer);
        PRESTypePluginDefaultParticipantData_delete(participant);
    }
    EXPECT_TRUE(log_.contains("PRESTypePluginDefaultEndpointData_createWriterPool", ZEL_LOG_PRECONDITION_NOT_MET_s,
                              "precondition not met: no writer pool yet\n"));

    PRESTypePlugin plugin = pointPlugin(false);
    PRESTypePluginParticipantData participant = PRESTypePluginDefaultParticipantData_new(&plugin);
    PRESTypePluginEndpointData reader = PRESTypePluginDefault_onEndpointAttached(participant, &kReader);
    ASSERT_NE(reader, nullptr);
    EXPECT_EQ(PRESTypePluginDefaultEndpointData_getMD5Stream(reader), nullptr);
    EXPECT_EQ(PRESTypePluginDefaultEndpointData_getBufferMaxSize(reader), 0u);
    PRESTypePluginBuffer buffer{};
    EXPECT_FALSE(PRESTypePluginDefaultEndpointData_getBuffer(reader, &buffer, 1));
    EXPECT_TRUE(log_.contains("PRESTypePluginDefaultEndpointData_getBuffer", ZEL_LOG_BAD_PARAMETER_s,
                              "bad parameter: size\n"));
    EXPECT_FALSE(PRESTypePluginDefaultEndpointData_createMD5Stream(reader));  // no key size function
    EXPECT_TRUE(log_.contains("PRESTypePluginDefaultEndpointData_createMD5Stream", ZEL_LOG_PRECONDITION_NOT_MET_s,
                              "precondition not met: serializedKeyMaxSize\n"));
    PRESTypePluginDefaultEndpointData_delete(reader);

    // A writer whose plug-in cannot size samples cannot have a pool.
    plugin.serializedSampleMaxSizeFnc = nullptr;
    PRESTypePluginParticipantData sizeless = PRESTypePluginDefaultParticipantData_new(&plugin);
    EXPECT_EQ(PRESTypePluginDefault_onEndpointAttached(sizeless, &kWriter), nullptr);
    EXPECT_TRUE(log_.contains("PRESTypePluginDefault_onEndpointAttached", ZEL_LOG_CREATION_FAILURE_s,
                              "failed to create writer pool\n"));
    PRESTypePluginDefaultParticipantData_delete(sizeless);
    PRESTypePluginDefaultParticipantData_delete(participant);
}

TEST_F(TypePluginTest, SamplesAndKeysComeBackFromTheirOwnPools) {
    PRESTypePlugin plugin = pointPlugin(true);
    PRESTypePluginParticipantData participant = PRESTypePluginDefaultParticipantData_new(&plugin);
    PRESTypePluginEndpointData endpoint = PRESTypePluginDefault_onEndpointAttached(participant, &kReader);
    ASSERT_NE(endpoint, nullptr);

    void *first = PRESTypePluginDefaultEndpointData_getSample(endpoint);
    void *second = PRESTypePluginDefaultEndpointData_getSample(endpoint);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(first, second);
    static_cast<Point *>(first)->x = 42;
    PRESTypePluginDefaultEndpointData_returnSample(endpoint, first);
    void *again = PRESTypePluginDefaultEndpointData_getSample(endpoint);
    EXPECT_EQ(again, first);
    EXPECT_EQ(static_cast<Point *>(again)->x, 42);  // returned samples keep their contents

    void *key = PRESTypePluginDefaultEndpointData_getKey(endpoint);
    ASSERT_NE(key, nullptr);
    EXPECT_NE(key, first);
    EXPECT_NE(key, second);

    // Giving back more than was taken is refused and leaves the pool intact.
    void *foreign = PRESTypePluginDefaultEndpointData_createSample(endpoint);
    PRESTypePluginDefaultEndpointData_returnKey(endpoint, key);
    PRESTypePluginDefaultEndpointData_returnKey(endpoint, foreign);
    EXPECT_TRUE(log_.contains("PRESTypePluginDefaultEndpointData_returnKey", ZEL_LOG_BAD_PARAMETER_s,
                              "bad parameter: key\n"));
    PRESTypePluginDefaultEndpointData_deleteSample(endpoint, foreign);
    EXPECT_EQ(PRESTypePluginDefaultEndpointData_getKey(endpoint), key);
    PRESTypePluginDefaultEndpointData_returnKey(endpoint, key);

    // Deleting with a sample still out says so; the pooled ones are freed.
    PRESTypePluginDefaultEndpointData_returnSample(endpoint, again);
    PRESTypePluginDefaultEndpointData_delete(endpoint);
    EXPECT_TRUE(log_.contains("PRESTypePluginDefaultEndpointData_delete", ZEL_LOG_PRECONDITION_NOT_MET_s,
                              "precondition not met: all samples returned\n"));
    deletePoint(second);
    PRESTypePluginDefaultParticipantData_delete(participant);
}

TEST_F(TypePluginTest, BuffersAreReusedWhenLargeEnoughAndHandedOutZeroed) {
    PRESTypePlugin plugin = pointPlugin(false);
    PRESTypePluginParticipantData participant = PRESTypePluginDefaultParticipantData_new(&plugin);
    PRESTypePluginEndpointData writer = PRESTypePluginDefault_onEndpointAttached(participant, &kWriter);
    ASSERT_NE(writer, nullptr);

    PRESTypePluginBuffer small{};
    ASSERT_TRUE(PRESTypePluginDefaultEndpointData_getBuffer(writer, &small, 10));
    EXPECT_EQ(small.length, 10u);
    std::memset(small.pointer, 'x', small.length);
    char *const smallPointer = small.pointer;
    PRESTypePluginDefaultEndpointData_returnBuffer(writer, &small);
    EXPECT_EQ(small.pointer, nullptr);

    PRESTypePluginBuffer reused{};
    ASSERT_TRUE(PRESTypePluginDefaultEndpointData_getBuffer(writer, &reused, 8));
    EXPECT_EQ(reused.pointer, smallPointer);
    EXPECT_EQ(reused.length, 10u);
    EXPECT_EQ(std::string(reused.pointer, 10), std::string(8, '\0') + "xx");

    PRESTypePluginBuffer large{};
    ASSERT_TRUE(PRESTypePluginDefaultEndpointData_getBuffer(writer, &large, 104));
    EXPECT_EQ(large.length, 104u);
    PRESTypePluginDefaultEndpointData_returnBuffer(writer, &large);
    PRESTypePluginDefaultEndpointData_returnBuffer(writer, &reused);

    // Nothing pooled is large enough: one pooled buffer grows, no buffer is added.
    const long blocks = ZELOsapiHeap_getLiveBlockCount();
    PRESTypePluginBuffer grown{};
    PRESTypePluginBuffer other{};
    ASSERT_TRUE(PRESTypePluginDefaultEndpointData_getBuffer(writer, &grown, 50));
    ASSERT_TRUE(PRESTypePluginDefaultEndpointData_getBuffer(writer, &other, 50));
    EXPECT_EQ(ZELOsapiHeap_getLiveBlockCount(), blocks);
    EXPECT_GE(grown.length, 50u);
    EXPECT_GE(other.length, 50u);

    PRESTypePluginBuffer refused{};
    EXPECT_FALSE(PRESTypePluginDefaultEndpointData_getBuffer(writer, &refused, 105));
    EXPECT_FALSE(PRESTypePluginDefaultEndpointData_getBuffer(writer, &refused, 0));
    PRESTypePluginDefaultEndpointData_returnBuffer(writer, &grown);
    PRESTypePluginDefaultEndpointData_returnBuffer(writer, &other);
    PRESTypePluginDefaultEndpointData_delete(writer);
    PRESTypePluginDefaultParticipantData_delete(participant);
}

// Threads sharing one endpoint each hold at most one sample, key and buffer
// at a time, so the pools never hold more than one per thread.
TEST_F(TypePluginTest, PoolsServeConcurrentThreads) {
    constexpr int kThreads = 4;
    PRESTypePlugin plugin = pointPlugin(true);
    PRESTypePluginParticipantData participant = PRESTypePluginDefaultParticipantData_new(&plugin);
    PRESTypePluginEndpointData writer = PRESTypePluginDefault_onEndpointAttached(participant, &kWriter);
    ASSERT_NE(writer, nullptr);
    const long blocks = ZELOsapiHeap_getLiveBlockCount();
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([writer, t] {
            for (int i = 0; i < 200; ++i) {
                auto *sample = static_cast<Point *>(PRESTypePluginDefaultEndpointData_getSample(writer));
                void *key = PRESTypePluginDefaultEndpointData_getKey(writer);
                PRESTypePluginBuffer buffer{};
                ASSERT_TRUE(PRESTypePluginDefaultEndpointData_getBuffer(writer, &buffer,
                                                                        1u + static_cast<uint32_t>(i + t) % 100u));
                ASSERT_NE(sample, nullptr);
                sample->x = t;
                buffer.pointer[0] = 'x';
                PRESTypePluginDefaultEndpointData_returnBuffer(writer, &buffer);
                PRESTypePluginDefaultEndpointData_returnKey(writer, key);
                PRESTypePluginDefaultEndpointData_returnSample(writer, sample);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    // Per thread: a sample and a key (node, struct, string each) and a buffer with its node.
    EXPECT_LE(ZELOsapiHeap_getLiveBlockCount() - blocks, kThreads * (3 + 3 + 2));
    PRESTypePluginDefault_onEndpointDetached(writer);
    PRESTypePluginDefaultParticipantData_delete(participant);
}

// The life of a keyed writer's endpoint data, failing each allocation in
// turn: every failure is reported and nothing leaks.
TEST_F(TypePluginTest, EveryAllocationFailureOfAWritersLifeIsHandled) {
    g_keyMaxSize = 40;
    PRESTypePlugin plugin = pointPlugin(true);
    std::set<std::string> failures;
    const long allocations = zeltest::forEachAllocationFailure([&](long) {
        log_.clear();
        PRESTypePluginParticipantData participant = PRESTypePluginDefaultParticipantData_new(&plugin);
        PRESTypePluginEndpointData writer =
                participant != nullptr ? PRESTypePluginDefault_onEndpointAttached(participant, &kWriter) : nullptr;
        if (writer != nullptr) {
            void *sample = PRESTypePluginDefaultEndpointData_getSample(writer);
            void *key = PRESTypePluginDefaultEndpointData_getKey(writer);
            PRESTypePluginBuffer buffer{};
            if (PRESTypePluginDefaultEndpointData_getBuffer(writer, &buffer, 64)) {
                PRESTypePluginDefaultEndpointData_returnBuffer(writer, &buffer);
                // Growing the pooled buffer can fail too, and keeps the old one.
                if (PRESTypePluginDefaultEndpointData_getBuffer(writer, &buffer, 100)) {
                    PRESTypePluginDefaultEndpointData_returnBuffer(writer, &buffer);
                }
            }
            PRESTypePluginDefaultEndpointData_returnSample(writer, sample);
            PRESTypePluginDefaultEndpointData_returnKey(writer, key);
            PRESTypePluginDefault_onEndpointDetached(writer);
        }
        PRESTypePluginDefaultParticipantData_delete(participant);
        for (const zeltest::CapturedLine &line : log_.lines()) {
            failures.insert(line.context);
        }
    });
    // participant, endpoint, MD5 buffer, 2 + 2 per sample and key, node + buffer, bigger buffer
    EXPECT_EQ(allocations, 13);
    EXPECT_EQ(failures,
              (std::set<std::string>{
                      "PRESTypePluginDefaultParticipantData_new", "PRESTypePluginDefaultEndpointData_new",
                      "PRESTypePluginDefaultEndpointData_createMD5Stream", "PRESTypePluginDefault_onEndpointAttached",
                      "PRESTypePluginDefaultEndpointData_getSample", "PRESTypePluginDefaultEndpointData_getKey",
                      "PRESTypePluginDefaultEndpointData_getBuffer"}));
}

}  // namespace
