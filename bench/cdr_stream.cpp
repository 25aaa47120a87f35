// The CDR stream's cost per operation: a parameter list written and read the
// way a mutable sample is, byte-swapped arrays, and a key hash digest.
#include <benchmark/benchmark.h>

#include <bit>
#include <vector>

#include "vurncore/cdr_stream.h"

namespace {

constexpr int kMembers = 16;

// Member i: a long, a double or a short string, behind its own header.
bool writeList(ZELCdrStream *stream) {
    ZELCdrParameterHeader header{};
    for (int i = 0; i < kMembers; ++i) {
        const int32_t number = i;
        const double real = i * 0.5;
        const auto id = static_cast<uint32_t>(i);
        if (!ZELCdrStream_serializeParameterHeader(stream, &header, id, ZEL_FALSE, ZEL_FALSE)) {
            return false;
        }
        const ZELBoolean written = i % 3 == 0   ? ZELCdrStream_serializePrimitive(stream, &number, 4)
                                   : i % 3 == 1 ? ZELCdrStream_serializePrimitive(stream, &real, 8)
                                                : ZELCdrStream_serializeString(stream, "monitoring", 33);
        if (!written || !ZELCdrStream_serializeParameterLength(stream, &header)) {
            return false;
        }
    }
    return ZELCdrStream_serializeSentinel(stream) != 0;
}

void BM_WriteParameterList(benchmark::State &state) {
    std::vector<char> buffer(1024);
    ZELCdrStream stream;
    ZELCdrStream_init(&stream, buffer.data(), static_cast<uint32_t>(buffer.size()), ZEL_CDR_LITTLE_ENDIAN);
    for (auto _ : state) {
        ZELCdrStream_resetPosition(&stream);
        benchmark::DoNotOptimize(writeList(&stream));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * ZELCdrStream_getCurrentPositionOffset(&stream));
}
BENCHMARK(BM_WriteParameterList);

void BM_ReadParameterList(benchmark::State &state) {
    std::vector<char> buffer(1024);
    ZELCdrStream stream;
    ZELCdrStream_init(&stream, buffer.data(), static_cast<uint32_t>(buffer.size()), ZEL_CDR_LITTLE_ENDIAN);
    if (!writeList(&stream)) {
        state.SkipWithError("write failed");
        return;
    }
    const uint32_t length = ZELCdrStream_getCurrentPositionOffset(&stream);
    ZELCdrStream_init(&stream, buffer.data(), length, ZEL_CDR_LITTLE_ENDIAN);
    char text[33];
    for (auto _ : state) {
        ZELCdrStream_resetPosition(&stream);
        ZELCdrParameterHeader header{};
        int32_t number = 0;
        double real = 0;
        while (ZELCdrStream_deserializeParameterHeader(&stream, &header) && header.id != ZEL_CDR_PID_LIST_END) {
            const uint32_t kind = header.id % 3;
            benchmark::DoNotOptimize(kind == 0   ? ZELCdrStream_deserializePrimitive(&stream, &number, 4)
                                     : kind == 1 ? ZELCdrStream_deserializePrimitive(&stream, &real, 8)
                                                 : ZELCdrStream_deserializeString(&stream, text, 33));
            ZELCdrStream_moveToNextParameterHeader(&stream, &header);
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * length);
}
BENCHMARK(BM_ReadParameterList);

// 1024 doubles, in the host's order (a copy) and in the other (a swap each).
void BM_PrimitiveArray(benchmark::State &state) {
    const bool swapped = state.range(0) != 0;
    const std::vector<double> values(1024, 1.5);
    std::vector<char> buffer(values.size() * sizeof(double));
    ZELCdrStream stream;
    const ZELCdrByteOrder host =
            std::endian::native == std::endian::little ? ZEL_CDR_LITTLE_ENDIAN : ZEL_CDR_BIG_ENDIAN;
    ZELCdrStream_init(&stream, buffer.data(), static_cast<uint32_t>(buffer.size()),
                      swapped ? ZEL_CDR_BIG_ENDIAN : host);
    for (auto _ : state) {
        ZELCdrStream_resetPosition(&stream);
        benchmark::DoNotOptimize(ZELCdrStream_serializePrimitiveArray(
                &stream, values.data(), static_cast<uint32_t>(values.size()), sizeof(double)));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(buffer.size()));
}
BENCHMARK(BM_PrimitiveArray)->Arg(0)->Arg(1);

// A typical key: one header, a 16-octet key and the sentinel.
void BM_KeyHashDigest(benchmark::State &state) {
    const unsigned char key[24] = {0, 0, 0, 16, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 0x7F, 2, 0, 0};
    unsigned char digest[16];
    for (auto _ : state) {
        ZELCdrStream_computeMD5OfBuffer(key, sizeof key, digest);
        benchmark::DoNotOptimize(digest);
    }
}
BENCHMARK(BM_KeyHashDigest);

}  // namespace

BENCHMARK_MAIN();
