// The windowed statistics calculator, checked against statistics recomputed
// from their definitions over the whole recorded input.
#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "heap_check.h"
#include "log_capture.h"
#include "record_text.h"
#include "statistics_calculator.h"

namespace {

using Metric = ZELDefaultMonitorStatisticsMetric;
using MetricSet = ZELDefaultMonitorStatisticsMetricSet;
using Calculator =
        std::unique_ptr<ZELDefaultMonitorStatisticsCalculator, decltype(&ZELDefaultMonitorStatisticsCalculator_delete)>;

constexpr double kMinStart = static_cast<double>(1e30f);
constexpr uint32_t kAbsolute = ZEL_DEFAULT_MONITOR_STATISTICS_MODE_ABSOLUTE;

Calculator makeCalculator(int32_t sec, uint32_t nanosec = 0u, uint32_t mode = kAbsolute,
                          std::vector<uint32_t> windows = {}) {
    const DDS_Duration_t period{sec, nanosec};
    return Calculator(windows.empty() ? ZELDefaultMonitorStatisticsCalculator_new(period, 0u, mode)
                                      : ZELDefaultMonitorStatisticsCalculator_newWithWindows(
                                                period, 0u, mode, windows.data(), static_cast<int32_t>(windows.size())),
                      &ZELDefaultMonitorStatisticsCalculator_delete);
}

MetricSet readSlot(const Calculator &calculator, int32_t slot) {
    MetricSet set{};
    EXPECT_TRUE(ZELDefaultMonitorStatisticsCalculator_read(calculator.get(), &set, slot));
    return set;
}

// Readings one time unit apart from (0, 0), so each rate is its increment.
void feedRates(const Calculator &calculator, std::initializer_list<uint64_t> rates) {
    for (const uint64_t rate : rates) {
        ZELDefaultMonitorStatisticsCalculator_update(calculator.get(), calculator->lastValue + rate,
                                                     calculator->lastTime + 1u);
    }
}

// Every reading given to a calculator in absolute mode, from (0, 0).
struct Recorded {
    std::vector<uint64_t> times{0u};
    std::vector<uint64_t> values{0u};

    // The block must cover the readings after number `from` up to the last.
    // A window's extremes after its old extreme left come from a narrower
    // range, so for windows they are only checked to lie within the window.
    void expectCovers(const Metric &block, size_t from, bool exactExtremes) const {
        const size_t last = times.size() - 1;
        double sumSq = 0.0;
        std::vector<double> rates;
        for (size_t i = from + 1; i <= last; ++i) {
            const uint64_t dv = values[i] - values[i - 1];
            sumSq += static_cast<double>(dv * dv) / static_cast<double>(times[i] - times[i - 1]);
            rates.push_back(static_cast<double>(dv) / static_cast<double>(times[i] - times[i - 1]));
        }
        const double span = static_cast<double>(times[last] - times[from]);
        const double mean = static_cast<double>(values[last] - values[from]) / span;
        EXPECT_EQ(block.sum, values[last] - values[from]);
        EXPECT_EQ(block.span, times[last] - times[from]);
        EXPECT_NEAR(block.sum_sq, sumSq, 1e-9 * sumSq);
        EXPECT_DOUBLE_EQ(block.mean, mean);
        EXPECT_NEAR(block.variance, std::max(0.0, sumSq / span - mean * mean), 1e-9 * sumSq / span);
        const auto [low, high] = std::minmax_element(rates.begin(), rates.end());
        if (exactExtremes) {
            EXPECT_EQ(block.min, *low);
            EXPECT_EQ(block.max, *high);
        } else {
            EXPECT_TRUE(block.min == kMinStart ||
                        (block.min >= *low && std::count(rates.begin(), rates.end(), block.min)));
            EXPECT_TRUE(block.max == 0.0 || (block.max <= *high && std::count(rates.begin(), rates.end(), block.max)));
        }
    }
};

using StatisticsCalculatorTest = zeltest::HeapCheckedTest;

TEST_F(StatisticsCalculatorTest, HistoryHoldsAnHourOfSinglePrecisionPeriods) {
    // 0.3 s is 0.30000001 s in single precision, which fits 11999 times.
    const std::tuple<int32_t, uint32_t, int32_t> cases[] = {{5, 0u, 721},  {7, 0u, 515},  {1, 0u, 3601},
                                                            {3600, 0u, 2}, {7200, 0u, 1}, {0, 300000000u, 12000}};
    for (const auto &[sec, nanosec, length] : cases) {
        const Calculator calculator = makeCalculator(sec, nanosec);
        ASSERT_NE(calculator, nullptr);
        EXPECT_EQ(calculator->historyLength, length) << sec << "." << nanosec;
    }
}

TEST_F(StatisticsCalculatorTest, EveryBlockMatchesItsDefinitionOverTheRecordedReadings) {
    // With a 1 s period these windows hold 1, 2, 5, 60 and 3600 entries, and
    // 8000 updates go round the 3601-entry history twice.
    const std::vector<uint32_t> windows = {1u, 2u, 5u, 60u, 3600u};
    const Calculator calculator = makeCalculator(1, 0u, kAbsolute, windows);
    std::mt19937_64 random(20240611u);
    Recorded recorded;
    size_t lastRead = 0;
    for (size_t last = 1; last <= 8000; ++last) {
        recorded.times.push_back(recorded.times.back() + 1u + random() % 3u);
        recorded.values.push_back(recorded.values.back() + 1u + random() % 1000u);
        ZELDefaultMonitorStatisticsCalculator_update(calculator.get(), recorded.values.back(), recorded.times.back());
        if (last % 13 != 0) {
            continue;
        }
        const MetricSet set = readSlot(calculator, 0);
        recorded.expectCovers(set.block[0], lastRead, true);
        recorded.expectCovers(set.block[9], 0, true);
        EXPECT_EQ(set.block[9].window_seconds, ZEL_DEFAULT_MONITOR_STATISTICS_NO_WINDOW);
        for (size_t w = 0; w < windows.size(); ++w) {
            // Until a window fills, the fresh history's entries at the start
            // time make up the rest of it.
            recorded.expectCovers(set.block[4 + w], last > windows[w] ? last - windows[w] : 0u, false);
        }
        lastRead = last;
    }
    // A slot never read before covers everything since the start.
    recorded.expectCovers(readSlot(calculator, 1).block[1], 0, true);
}

TEST_F(StatisticsCalculatorTest, IncrementModeAddsUpValuesAndTimesAndAnUpdateAtTheLastTimeChangesNothing) {
    const Calculator increments = makeCalculator(1, 0u, ZEL_DEFAULT_MONITOR_STATISTICS_MODE_INCREMENT);
    const Calculator readings = makeCalculator(1);
    const uint64_t steps[][2] = {{10, 1}, {0, 2}, {7, 0}, {5, 1}, {400, 3}};
    uint64_t value = 0;
    uint64_t time = 0;
    for (const auto &step : steps) {
        ZELDefaultMonitorStatisticsCalculator_update(increments.get(), step[0], step[1]);
        value += step[0];
        time += step[1];
        ZELDefaultMonitorStatisticsCalculator before;
        std::memcpy(&before, readings.get(), sizeof before);  // padding included
        ZELDefaultMonitorStatisticsCalculator_update(readings.get(), value, time);
        if (step[1] == 0u) {  // the value then rides on the next update
            EXPECT_EQ(std::memcmp(&before, readings.get(), sizeof before), 0);
        }
    }
    const MetricSet fromIncrements = readSlot(increments, 2);
    const MetricSet fromReadings = readSlot(readings, 2);
    EXPECT_EQ(std::memcmp(&fromIncrements, &fromReadings, sizeof(MetricSet)), 0);
    EXPECT_EQ(fromIncrements.block[9].sum, 422u);
}

TEST_F(StatisticsCalculatorTest, CounterGoingDownWrapsWithoutClamping) {
    const Calculator calculator = makeCalculator(1);
    feedRates(calculator, {100u, ~uint64_t{49}});  // the counter goes from 100 down to 50
    const MetricSet set = readSlot(calculator, 0);
    for (const Metric &block : {set.block[0], set.block[4], set.block[9]}) {
        EXPECT_EQ(block.sum, 50u);
        EXPECT_EQ(block.max, 18446744073709551566.0);
        EXPECT_EQ(block.min, 100.0);
        EXPECT_EQ(block.sum_sq, 10000.0 + 2500.0);  // (2^64 - 50)^2 wraps to 2500
        EXPECT_EQ(block.mean, 25.0);
        EXPECT_EQ(block.variance, 12500.0 / 2.0 - 625.0);
    }
    // A rate whose square wraps to 1 gives a negative variance, raised to 0.
    const Calculator huge = makeCalculator(1);
    feedRates(huge, {(uint64_t{1} << 63) + 1u});
    EXPECT_EQ(readSlot(huge, 0).block[9].mean, 9223372036854775808.0);
    EXPECT_EQ(readSlot(huge, 1).block[9].variance, 0.0);
}

TEST_F(StatisticsCalculatorTest, LeavingExtremeIsReplacedFromTheEntriesBetweenLeavingAndNewest) {
    const Calculator calculator = makeCalculator(1);  // the 5 s window holds 5 entries
    feedRates(calculator, {1, 9, 3, 4, 2, 5});        // 1 leaves: the least of 9, 3, 4 is taken, not 2
    MetricSet set = readSlot(calculator, 0);
    EXPECT_EQ(set.block[4].min, 3.0);
    EXPECT_EQ(set.block[4].max, 9.0);
    EXPECT_EQ(set.block[5].min, 1.0);  // the 60 s window still holds the 1
    feedRates(calculator, {6});        // 9 leaves: the greatest of 3, 4, 2 is taken, not 6
    set = readSlot(calculator, 0);
    EXPECT_EQ(set.block[4].max, 4.0);
    EXPECT_EQ(set.block[4].min, 3.0);
    EXPECT_EQ(set.block[9].max, 9.0);

    // A window shorter than the period holds 1 entry (10 s) or 2 (3 s): once
    // the first rate leaves, the extremes are back at their starting values.
    const Calculator tenSeconds = makeCalculator(10);
    const Calculator threeSeconds = makeCalculator(3);
    feedRates(tenSeconds, {7, 7});
    feedRates(threeSeconds, {7, 7, 7});
    for (const MetricSet &longPeriod : {readSlot(tenSeconds, 0), readSlot(threeSeconds, 0)}) {
        EXPECT_EQ(longPeriod.block[4].min, kMinStart);
        EXPECT_EQ(longPeriod.block[4].max, 0.0);
        EXPECT_EQ(longPeriod.block[4].mean, 7.0);
    }
}

TEST_F(StatisticsCalculatorTest, ReadRestartsOnlyItsOwnSlot) {
    const Calculator calculator = makeCalculator(1);
    feedRates(calculator, {4, 8});
    const MetricSet first = readSlot(calculator, 0);
    const MetricSet second = readSlot(calculator, 0);
    EXPECT_EQ(first.block[0].mean, 6.0);
    const Metric zero{};
    EXPECT_EQ(std::memcmp(&second.block[0], &zero, sizeof zero), 0);
    EXPECT_EQ(std::memcmp(&second.block[4], &first.block[4], sizeof(Metric) * 6), 0);
    EXPECT_EQ(readSlot(calculator, 3).block[3].max, 8.0);

    zeltest::LogCapture capture;  // a slot out of range is refused
    MetricSet untouched{};
    EXPECT_FALSE(ZELDefaultMonitorStatisticsCalculator_read(calculator.get(), &untouched, 4));
    EXPECT_FALSE(ZELDefaultMonitorStatisticsCalculator_aggregate(&untouched, &first, -1));
    EXPECT_EQ(std::memcmp(&untouched, &zero, sizeof zero), 0);
    EXPECT_EQ(capture.lines().size(), 2u);
}

TEST_F(StatisticsCalculatorTest, AggregateAddsUpButKeepsTheSmallerSinceStartMaximum) {
    MetricSet total{};
    ZELDefaultMonitorStatisticsCalculator_resetWindows(&total);
    MetricSet source = total;
    for (Metric &block : source.block) {
        block = Metric{1u, 0u, block.window_seconds, 0u, 10u, 50.0, 4u, 2.5, 1.0, 6.0, 9.0};
    }
    EXPECT_EQ(source.block[8].window_seconds, ZEL_DEFAULT_MONITOR_STATISTICS_NO_WINDOW);  // four default windows
    const MetricSet before = total;
    ASSERT_TRUE(ZELDefaultMonitorStatisticsCalculator_aggregate(&total, &source, 1));
    source.block[1].max = source.block[5].max = source.block[9].max = 2.0;
    source.block[1].min = source.block[5].min = source.block[9].min = 0.5;
    ASSERT_TRUE(ZELDefaultMonitorStatisticsCalculator_aggregate(&total, &source, 1));
    for (const int b : {1, 5, 9}) {
        EXPECT_EQ(total.block[b].sum, 20u) << b;
        EXPECT_EQ(total.block[b].mean, 5.0) << b;
        EXPECT_EQ(total.block[b].variance, 6.0) << b;  // two standard deviations of 3
        EXPECT_EQ(total.block[b].min, 0.5) << b;
        EXPECT_EQ(total.block[b].sum_sq + static_cast<double>(total.block[b].span), 0.0) << b;
    }
    EXPECT_EQ(total.block[1].max, 6.0);
    EXPECT_EQ(total.block[5].max, 6.0);
    EXPECT_EQ(total.block[9].max, 0.0);  // the smaller one, from the reset total
    for (const int b : {0, 2, 3, 8}) {
        EXPECT_EQ(std::memcmp(&total.block[b], &before.block[b], sizeof(Metric)), 0) << b;
    }
}

TEST_F(StatisticsCalculatorTest, OutOfHeapIsLoggedUnderTheCreatingFunction) {
    zeltest::LogCapture capture;
    const auto line = [](const char *context, const ZELLogMessage &message, auto... args) {
        return zeltest::expectedLine(context, message, zeltest::recordText(message, args...));
    };
    const std::vector<zeltest::CapturedLine> expected[] = {
            {line("ZELDefaultMonitorStatisticsCalculator_new", ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_STRUCT_d,
                  static_cast<int>(sizeof(ZELDefaultMonitorStatisticsCalculator)))},
            {line("ZELDefaultMonitorStatisticsCalculator_initialize", ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_ARRAY_dd, 721,
                  24),
             line("ZELDefaultMonitorStatisticsCalculator_new", ZEL_LOG_INIT_FAILURE_s,
                  "ZELDefaultMonitorStatisticsCalculator object")},
            {}};
    const long allocations = zeltest::forEachAllocationFailure([&](long n) {
        capture.clear();
        EXPECT_EQ(makeCalculator(5) == nullptr, n <= 2);
        EXPECT_EQ(capture.lines(), expected[std::min(n, 3L) - 1]) << "allocation " << n << " failing";
    });
    EXPECT_EQ(allocations, 3);

    capture.clear();
    ZELOsapiHeap_failAllocation(1, ZEL_TRUE);
    EXPECT_EQ(makeCalculator(5, 0u, kAbsolute, {5u}), nullptr);
    ZELOsapiHeap_failAllocation(0, ZEL_FALSE);
    ASSERT_EQ(capture.lines().size(), 1u);
    EXPECT_EQ(capture.lines()[0].context, "ZELDefaultMonitorStatisticsCalculator_newWithWindows");
}

}  // namespace
