// Cost of the windowed statistics calculator's update and read, with the
// default windows and a 1 s period (a 3601-entry history), after an hour of
// updates has filled the history.
#include <benchmark/benchmark.h>

#include <cstdint>

#include "statistics_calculator.h"

namespace {

constexpr int kHourOfUpdates = 3601;

ZELDefaultMonitorStatisticsCalculator *ZELBench_newCalculatorI() {
    return ZELDefaultMonitorStatisticsCalculator_new(DDS_Duration_t{1, 0u}, 0u,
                                                     ZEL_DEFAULT_MONITOR_STATISTICS_MODE_ABSOLUTE);
}

// Rates that alternate below and above a base with a growing amplitude:
// every update is a new minimum or a new maximum of every window, so a
// leaving entry is never the extreme and no window is ever rescanned.
uint64_t ZELBench_sawtoothRateI(uint64_t update) {
    const uint64_t base = 1000000000u;
    return (update % 2u == 0u) ? base + update : base - update;
}

void BM_UpdateWithoutRescan(benchmark::State &state) {
    ZELDefaultMonitorStatisticsCalculator *calculator = ZELBench_newCalculatorI();
    uint64_t update = 0;
    uint64_t value = 0;
    for (; update < kHourOfUpdates; ++update) {
        value += ZELBench_sawtoothRateI(update);
        ZELDefaultMonitorStatisticsCalculator_update(calculator, value, update + 1u);
    }
    for (auto _ : state) {
        value += ZELBench_sawtoothRateI(update);
        ++update;
        ZELDefaultMonitorStatisticsCalculator_update(calculator, value, update);
    }
    benchmark::DoNotOptimize(calculator->metrics);
    ZELDefaultMonitorStatisticsCalculator_delete(calculator);
}
BENCHMARK(BM_UpdateWithoutRescan);

// A constant rate: the leaving entry always equals both extremes, so every
// update rescans every window for both (3 + 58 + 298 + 3598 entries each).
void BM_UpdateWithRescan(benchmark::State &state) {
    ZELDefaultMonitorStatisticsCalculator *calculator = ZELBench_newCalculatorI();
    uint64_t update = 0;
    for (; update < kHourOfUpdates; ++update) {
        ZELDefaultMonitorStatisticsCalculator_update(calculator, 100u * (update + 1u), update + 1u);
    }
    for (auto _ : state) {
        ++update;
        ZELDefaultMonitorStatisticsCalculator_update(calculator, 100u * update, update);
    }
    benchmark::DoNotOptimize(calculator->metrics);
    ZELDefaultMonitorStatisticsCalculator_delete(calculator);
}
BENCHMARK(BM_UpdateWithRescan);

void BM_Read(benchmark::State &state) {
    ZELDefaultMonitorStatisticsCalculator *calculator = ZELBench_newCalculatorI();
    for (uint64_t update = 1; update <= kHourOfUpdates; ++update) {
        ZELDefaultMonitorStatisticsCalculator_update(calculator, 100u * update + update % 7u, update);
    }
    ZELDefaultMonitorStatisticsMetricSet set{};
    for (auto _ : state) {
        ZELDefaultMonitorStatisticsCalculator_read(calculator, &set, 0);
        benchmark::DoNotOptimize(set);
    }
    ZELDefaultMonitorStatisticsCalculator_delete(calculator);
}
BENCHMARK(BM_Read);

}  // namespace

BENCHMARK_MAIN();
