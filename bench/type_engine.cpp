// The type engine's cost on a statistics-like mutable type: serialize,
// deserialize and key hash through the descriptors, against the same
// serializer written by hand over the stream and against a plain memcpy.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstring>
#include <vector>

#include "vurncore/cdr_stream.h"
#include "vurncore/cdr_type.h"

namespace {

struct Key16 {
    DDS_Long value[4];
};
struct Duration {
    DDS_Long sec;
    DDS_UnsignedLong nanosec;
};
struct Counts {
    DDS_LongLong total;
    DDS_LongLong change;
    DDS_Long current;
    DDS_Long peak;
};
// @mutable, keyed by `key` and `period` like the statistics topics.
struct Stats {
    Key16 key;
    Duration period;
    Key16 participant;
    DDS_Long domain;
    DDS_UnsignedLong host;
    DDS_UnsignedLong process;
    Counts sent;
    Counts received;
    DDS_Long rates[8];
    DDS_LongLong bytes;
    char *topic;  // string<256>
};

#define MEMBER(S, field, type, key) \
    { #field, offsetof(S, field), type, key }

ZELCdrTypeDesc structDesc(const char *name, uint32_t size, ZELCdrExtensibility extensibility, uint32_t count,
                          const ZELCdrMember *members, ZELCdrTypeCache *cache) {
    return ZELCdrTypeDesc{ZEL_CDR_TK_STRUCT, name, size,    8,       extensibility, count, members, 0,
                          nullptr,           0,    nullptr, nullptr, nullptr,       cache};
}

ZELCdrTypeDesc arrayDesc(uint32_t length, const ZELCdrTypeDesc *element) {
    return ZELCdrTypeDesc{ZEL_CDR_TK_ARRAY,
                          nullptr,
                          length * element->size,
                          element->alignment,
                          ZEL_CDR_EXTENSIBILITY_FINAL,
                          0,
                          nullptr,
                          length,
                          element,
                          0,
                          nullptr,
                          nullptr,
                          nullptr,
                          nullptr};
}

const ZELCdrTypeDesc kLong4 = arrayDesc(4, &ZELCdrType_g_long);
const ZELCdrTypeDesc kLong8 = arrayDesc(8, &ZELCdrType_g_long);
const ZELCdrTypeDesc kString256 = {ZEL_CDR_TK_STRING,
                                   nullptr,
                                   sizeof(char *),
                                   alignof(char *),
                                   ZEL_CDR_EXTENSIBILITY_FINAL,
                                   0,
                                   nullptr,
                                   256,
                                   nullptr,
                                   0,
                                   nullptr,
                                   nullptr,
                                   nullptr,
                                   nullptr};

const ZELCdrMember kKeyMembers[] = {MEMBER(Key16, value, &kLong4, DDS_BOOLEAN_FALSE)};
ZELCdrTypeCache g_keyCache;
const ZELCdrTypeDesc kKey =
        structDesc("Key16", sizeof(Key16), ZEL_CDR_EXTENSIBILITY_FINAL, 1, kKeyMembers, &g_keyCache);

const ZELCdrMember kDurationMembers[] = {MEMBER(Duration, sec, &ZELCdrType_g_long, DDS_BOOLEAN_FALSE),
                                         MEMBER(Duration, nanosec, &ZELCdrType_g_ulong, DDS_BOOLEAN_FALSE)};
ZELCdrTypeCache g_durationCache;
const ZELCdrTypeDesc kDuration =
        structDesc("Duration", sizeof(Duration), ZEL_CDR_EXTENSIBILITY_FINAL, 2, kDurationMembers, &g_durationCache);

const ZELCdrMember kCountsMembers[] = {MEMBER(Counts, total, &ZELCdrType_g_longlong, DDS_BOOLEAN_FALSE),
                                       MEMBER(Counts, change, &ZELCdrType_g_longlong, DDS_BOOLEAN_FALSE),
                                       MEMBER(Counts, current, &ZELCdrType_g_long, DDS_BOOLEAN_FALSE),
                                       MEMBER(Counts, peak, &ZELCdrType_g_long, DDS_BOOLEAN_FALSE)};
ZELCdrTypeCache g_countsCache;
const ZELCdrTypeDesc kCounts =
        structDesc("Counts", sizeof(Counts), ZEL_CDR_EXTENSIBILITY_APPENDABLE, 4, kCountsMembers, &g_countsCache);

const ZELCdrMember kStatsMembers[] = {MEMBER(Stats, key, &kKey, DDS_BOOLEAN_TRUE),
                                      MEMBER(Stats, period, &kDuration, DDS_BOOLEAN_TRUE),
                                      MEMBER(Stats, participant, &kKey, DDS_BOOLEAN_FALSE),
                                      MEMBER(Stats, domain, &ZELCdrType_g_long, DDS_BOOLEAN_FALSE),
                                      MEMBER(Stats, host, &ZELCdrType_g_ulong, DDS_BOOLEAN_FALSE),
                                      MEMBER(Stats, process, &ZELCdrType_g_ulong, DDS_BOOLEAN_FALSE),
                                      MEMBER(Stats, sent, &kCounts, DDS_BOOLEAN_FALSE),
                                      MEMBER(Stats, received, &kCounts, DDS_BOOLEAN_FALSE),
                                      MEMBER(Stats, rates, &kLong8, DDS_BOOLEAN_FALSE),
                                      MEMBER(Stats, bytes, &ZELCdrType_g_longlong, DDS_BOOLEAN_FALSE),
                                      MEMBER(Stats, topic, &kString256, DDS_BOOLEAN_FALSE)};
ZELCdrTypeCache g_statsCache;
const ZELCdrTypeDesc kStats =
        structDesc("Stats", sizeof(Stats), ZEL_CDR_EXTENSIBILITY_MUTABLE, 11, kStatsMembers, &g_statsCache);

// ---- the same wire form written by hand ----

bool writeCounts(ZELCdrStream *s, const Counts &c) {
    return ZELCdrStream_serializePrimitive(s, &c.total, 8) && ZELCdrStream_serializePrimitive(s, &c.change, 8) &&
           ZELCdrStream_serializePrimitive(s, &c.current, 4) && ZELCdrStream_serializePrimitive(s, &c.peak, 4);
}

template <typename Write>
bool writeParameter(ZELCdrStream *s, uint32_t id, Write write) {
    ZELCdrParameterHeader header;
    return ZELCdrStream_serializeParameterHeader(s, &header, id, ZEL_FALSE, ZEL_FALSE) && write() &&
           ZELCdrStream_serializeParameterLength(s, &header);
}

bool writeStatsByHand(ZELCdrStream *s, const Stats &v) {
    if (!ZELCdrStream_serializeEncapsulation(s, ZEL_CDR_ENCAPSULATION_ID_PL_CDR_LE)) {
        return false;
    }
    char *base = ZELCdrStream_resetAlignment(s);
    const bool ok =
            writeParameter(s, 0, [&] { return ZELCdrStream_serializePrimitiveArray(s, v.key.value, 4, 4); }) &&
            writeParameter(s, 1,
                           [&] {
                               return ZELCdrStream_serializePrimitive(s, &v.period.sec, 4) &&
                                      ZELCdrStream_serializePrimitive(s, &v.period.nanosec, 4);
                           }) &&
            writeParameter(s, 2, [&] { return ZELCdrStream_serializePrimitiveArray(s, v.participant.value, 4, 4); }) &&
            writeParameter(s, 3, [&] { return ZELCdrStream_serializePrimitive(s, &v.domain, 4); }) &&
            writeParameter(s, 4, [&] { return ZELCdrStream_serializePrimitive(s, &v.host, 4); }) &&
            writeParameter(s, 5, [&] { return ZELCdrStream_serializePrimitive(s, &v.process, 4); }) &&
            writeParameter(s, 6, [&] { return writeCounts(s, v.sent); }) &&
            writeParameter(s, 7, [&] { return writeCounts(s, v.received); }) &&
            writeParameter(s, 8, [&] { return ZELCdrStream_serializePrimitiveArray(s, v.rates, 8, 4); }) &&
            writeParameter(s, 9, [&] { return ZELCdrStream_serializePrimitive(s, &v.bytes, 8); }) &&
            writeParameter(s, 10, [&] { return ZELCdrStream_serializeString(s, v.topic, 257); }) &&
            ZELCdrStream_serializeSentinel(s);
    ZELCdrStream_restoreAlignBase(s, base);
    return ok;
}

class StatsFixture {
public:
    StatsFixture() : buffer(2048), md5Buffer(64) {
        ZELCdrType_initializeSample(&kStats, &sample, nullptr);
        sample.key = Key16{{1, 2, 3, 4}};
        sample.period = Duration{5, 0};
        sample.domain = 7;
        sample.sent = Counts{1000, 10, 3, 9};
        sample.received = Counts{2000, 20, 4, 8};
        std::strcpy(sample.topic, "zel/dds/monitoring/dataWriterEntityStatistics");
        ZELCdrStream_init(&stream, buffer.data(), static_cast<uint32_t>(buffer.size()), ZEL_CDR_LITTLE_ENDIAN);
        ZELCdrStream_init(&md5Stream, md5Buffer.data(), static_cast<uint32_t>(md5Buffer.size()), ZEL_CDR_BIG_ENDIAN);
    }
    ~StatsFixture() { ZELCdrType_finalizeSample(&kStats, &sample, nullptr); }

    Stats sample{};
    std::vector<char> buffer;
    std::vector<char> md5Buffer;
    ZELCdrStream stream{};
    ZELCdrStream md5Stream{};
};

void BM_SerializeEngine(benchmark::State &state) {
    StatsFixture f;
    for (auto _ : state) {
        ZELCdrStream_resetPosition(&f.stream);
        benchmark::DoNotOptimize(ZELCdrType_serializeSample(&kStats, &f.sample, &f.stream, DDS_BOOLEAN_TRUE,
                                                            ZEL_CDR_ENCAPSULATION_ID_CDR_LE, DDS_BOOLEAN_TRUE));
    }
    state.SetBytesProcessed(state.iterations() * ZELCdrStream_getCurrentPositionOffset(&f.stream));
}
BENCHMARK(BM_SerializeEngine);

void BM_SerializeByHand(benchmark::State &state) {
    StatsFixture f;
    for (auto _ : state) {
        ZELCdrStream_resetPosition(&f.stream);
        benchmark::DoNotOptimize(writeStatsByHand(&f.stream, f.sample));
    }
    state.SetBytesProcessed(state.iterations() * ZELCdrStream_getCurrentPositionOffset(&f.stream));
}
BENCHMARK(BM_SerializeByHand);

void BM_DeserializeEngine(benchmark::State &state) {
    StatsFixture f;
    ZELCdrType_serializeSample(&kStats, &f.sample, &f.stream, DDS_BOOLEAN_TRUE, ZEL_CDR_ENCAPSULATION_ID_CDR_LE,
                               DDS_BOOLEAN_TRUE);
    const uint32_t length = ZELCdrStream_getCurrentPositionOffset(&f.stream);
    ZELCdrStream in;
    ZELCdrStream_init(&in, f.buffer.data(), length, ZEL_CDR_BIG_ENDIAN);
    Stats target{};
    ZELCdrType_initializeSample(&kStats, &target, nullptr);
    for (auto _ : state) {
        ZELCdrStream_resetPosition(&in);
        benchmark::DoNotOptimize(
                ZELCdrType_deserializeSample(&kStats, &target, &in, DDS_BOOLEAN_TRUE, DDS_BOOLEAN_TRUE));
    }
    ZELCdrType_finalizeSample(&kStats, &target, nullptr);
    state.SetBytesProcessed(state.iterations() * length);
}
BENCHMARK(BM_DeserializeEngine);

void BM_KeyHashEngine(benchmark::State &state) {
    StatsFixture f;
    DDS_KeyHash_t keyHash{};
    for (auto _ : state) {
        benchmark::DoNotOptimize(ZELCdrType_instanceToKeyHash(&kStats, &f.md5Stream, &keyHash, &f.sample));
    }
}
BENCHMARK(BM_KeyHashEngine);

// The floor: the key list written by hand and digested.
void BM_KeyHashByHand(benchmark::State &state) {
    StatsFixture f;
    unsigned char digest[16];
    for (auto _ : state) {
        ZELCdrStream_clear(&f.md5Stream);
        const bool ok =
                writeParameter(
                        &f.md5Stream, 0,
                        [&] { return ZELCdrStream_serializePrimitiveArray(&f.md5Stream, f.sample.key.value, 4, 4); }) &&
                writeParameter(&f.md5Stream, 1,
                               [&] {
                                   return ZELCdrStream_serializePrimitive(&f.md5Stream, &f.sample.period.sec, 4) &&
                                          ZELCdrStream_serializePrimitive(&f.md5Stream, &f.sample.period.nanosec, 4);
                               }) &&
                ZELCdrStream_serializeSentinel(&f.md5Stream);
        ZELCdrStream_computeMD5(&f.md5Stream, digest);
        benchmark::DoNotOptimize(ok);
        benchmark::DoNotOptimize(digest);
    }
}
BENCHMARK(BM_KeyHashByHand);

void BM_Memcpy(benchmark::State &state) {
    StatsFixture f;
    for (auto _ : state) {
        std::memcpy(f.buffer.data(), &f.sample, sizeof f.sample);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(sizeof f.sample));
}
BENCHMARK(BM_Memcpy);

}  // namespace

BENCHMARK_MAIN();
