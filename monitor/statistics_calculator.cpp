// The windowed statistics calculator.
#include "statistics_calculator.h"

#include <cmath>
#include <cstdint>

#include "log/monitor_log_macros.h"
#include "vurncore/heap.h"

namespace {

constexpr uint32_t kDefaultWindowSeconds[] = {5u, 60u, 300u, 3600u};
constexpr int32_t kDefaultWindowCount = 4;

bool ZELDefaultMonitorStatisticsMetric_isWindowI(const ZELDefaultMonitorStatisticsMetric &block) {
    return block.window_seconds != ZEL_DEFAULT_MONITOR_STATISTICS_NO_WINDOW;
}

// Every block empty; the windowed blocks take the given lengths (at most
// five), the others are marked unused. All windowed blocks and the
// since-start block are valid, used or not.
void ZELDefaultMonitorStatisticsMetricSet_initializeI(ZELDefaultMonitorStatisticsMetricSet *set,
                                                      const uint32_t *windowSeconds, int32_t windowCount) {
    *set = ZELDefaultMonitorStatisticsMetricSet{};
    for (ZELDefaultMonitorStatisticsMetric &block : set->block) {
        block.min = ZEL_DEFAULT_MONITOR_STATISTICS_MIN_START;
    }
    for (int32_t i = 0; i < ZEL_DEFAULT_MONITOR_STATISTICS_WINDOW_COUNT; ++i) {
        ZELDefaultMonitorStatisticsMetric &block = set->block[ZEL_DEFAULT_MONITOR_STATISTICS_FIRST_WINDOW + i];
        block.window_seconds = (windowSeconds != nullptr && i < windowCount) ? windowSeconds[i]
                                                                             : ZEL_DEFAULT_MONITOR_STATISTICS_NO_WINDOW;
        block.valid = 1u;
    }
    set->block[ZEL_DEFAULT_MONITOR_STATISTICS_SINCE_START].valid = 1u;
}

// History length: one more than the whole number of periods in an hour.
// Held to 32 bits, so a period too short for any history to be allocated
// makes the allocation fail rather than the arithmetic overflow.
int32_t ZELDefaultMonitorStatisticsCalculator_historyLengthI(float period) {
    const double periods = std::trunc(-ZEL_DEFAULT_MONITOR_STATISTICS_HISTORY_SECONDS / static_cast<double>(period));
    if (!(periods >= 1.0 - static_cast<double>(INT32_MAX))) {
        return INT32_MAX;
    }
    return 1 - static_cast<int32_t>(periods);
}

int64_t ZELDefaultMonitorStatisticsCalculator_ringIndexI(const ZELDefaultMonitorStatisticsCalculator *self,
                                                         int64_t index) {
    const int64_t length = self->historyLength;
    return ((index % length) + length) % length;
}

// Rate of the block's new extreme after its old extreme left the window.
// Deliberately narrow: only the entries strictly between the leaving entry
// and the newest one are looked at, not the newest nor the rate just
// computed; with fewer than three entries in the window none is, and the
// extreme keeps its starting value.
double ZELDefaultMonitorStatisticsCalculator_rescanI(const ZELDefaultMonitorStatisticsCalculator *self, int64_t leaving,
                                                     int64_t entries, bool minimum) {
    double extreme = minimum ? ZEL_DEFAULT_MONITOR_STATISTICS_MIN_START : 0.0;
    int64_t index = ZELDefaultMonitorStatisticsCalculator_ringIndexI(self, leaving + 1);
    for (int64_t i = 1; i <= entries - 2; ++i) {
        const double rate = self->history[index].rate;
        if (minimum ? rate < extreme : rate > extreme) {
            extreme = rate;
        }
        if (++index == self->historyLength) {
            index = 0;
        }
    }
    return extreme;
}

void ZELDefaultMonitorStatisticsCalculator_updateWindowI(ZELDefaultMonitorStatisticsCalculator *self,
                                                         ZELDefaultMonitorStatisticsMetric &block, uint64_t dv,
                                                         uint64_t time, double rate, double sq) {
    // The window's length in entries, in single precision like the period.
    // A window longer than the history is held to the history.
    const float windowEntries = std::ceil(static_cast<float>(block.window_seconds) / self->period);
    const int64_t entries = windowEntries < static_cast<float>(self->historyLength)
                                    ? static_cast<int64_t>(windowEntries)
                                    : static_cast<int64_t>(self->historyLength);
    const int64_t leaving = ZELDefaultMonitorStatisticsCalculator_ringIndexI(
            self, static_cast<int64_t>(self->newestIndex) - entries + 1);
    const ZELDefaultMonitorStatisticsHistoryEntry &left = self->history[leaving];

    block.sum += dv - left.increment;
    block.sum_sq = block.sum_sq - static_cast<double>(left.increment) * left.rate + sq;
    block.span = time - left.time;
    if (block.min > rate) {
        block.min = rate;
    } else if (left.rate == block.min) {
        block.min = ZELDefaultMonitorStatisticsCalculator_rescanI(self, leaving, entries, true);
    }
    if (block.max < rate) {
        block.max = rate;
    } else if (left.rate == block.max) {
        block.max = ZELDefaultMonitorStatisticsCalculator_rescanI(self, leaving, entries, false);
    }
}

void ZELDefaultMonitorStatisticsMetric_addRateI(ZELDefaultMonitorStatisticsMetric &block, double rate, double sq) {
    block.sum_sq += sq;
    if (rate < block.min) {
        block.min = rate;
    }
    if (rate > block.max) {
        block.max = rate;
    }
}

double ZELDefaultMonitorStatistics_raiseToZeroI(double value) { return value < 0.0 ? 0.0 : value; }

// Mean and variance from sum, sum_sq and span; a block that covers no time
// has all-zero results.
void ZELDefaultMonitorStatisticsMetric_computeI(ZELDefaultMonitorStatisticsMetric &block) {
    if (block.span == 0u) {
        block.mean = 0.0;
        block.min = 0.0;
        block.max = 0.0;
        block.variance = 0.0;
        return;
    }
    const double span = static_cast<double>(block.span);
    block.mean = ZELDefaultMonitorStatistics_raiseToZeroI(static_cast<double>(block.sum) / span);
    block.variance = ZELDefaultMonitorStatistics_raiseToZeroI(block.sum_sq / span - block.mean * block.mean);
}

void ZELDefaultMonitorStatisticsMetric_aggregateI(ZELDefaultMonitorStatisticsMetric &total,
                                                  const ZELDefaultMonitorStatisticsMetric &source) {
    total.sum += source.sum;
    total.mean += source.mean;
    total.variance += std::sqrt(source.variance);
}

bool ZELDefaultMonitorStatistics_isSlotI(int32_t slot) {
    return slot >= 0 && slot < ZEL_DEFAULT_MONITOR_STATISTICS_READ_SLOT_COUNT;
}

// Creation shared by both forms; failures are reported under the name of
// the form that was called.
ZELDefaultMonitorStatisticsCalculator *ZELDefaultMonitorStatisticsCalculator_createI(const char *context,
                                                                                     DDS_Duration_t period,
                                                                                     uint64_t startTime, uint32_t mode,
                                                                                     const uint32_t *windowSeconds,
                                                                                     int32_t windowCount) {
    auto *self = static_cast<ZELDefaultMonitorStatisticsCalculator *>(
            ZELOsapiHeap_allocateStructure(sizeof(ZELDefaultMonitorStatisticsCalculator), "MSTC"));
    if (self == nullptr) {
        ZELMonitorLog_errorWithContext(context, ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_STRUCT_d,
                                       static_cast<int>(sizeof(ZELDefaultMonitorStatisticsCalculator)));
        return nullptr;
    }
    if (!ZELDefaultMonitorStatisticsCalculator_initialize(self, period, startTime, mode, windowSeconds, windowCount)) {
        ZELMonitorLog_errorWithContext(context, ZEL_LOG_INIT_FAILURE_s, "ZELDefaultMonitorStatisticsCalculator object");
        ZELOsapiHeap_freeStructure(self);
        return nullptr;
    }
    return self;
}

}  // namespace

extern "C" {

ZELDefaultMonitorStatisticsCalculator *ZELDefaultMonitorStatisticsCalculator_new(DDS_Duration_t period,
                                                                                 uint64_t startTime, uint32_t mode) {
    return ZELDefaultMonitorStatisticsCalculator_createI(__func__, period, startTime, mode, kDefaultWindowSeconds,
                                                         kDefaultWindowCount);
}

ZELDefaultMonitorStatisticsCalculator *ZELDefaultMonitorStatisticsCalculator_newWithWindows(
        DDS_Duration_t period, uint64_t startTime, uint32_t mode, const uint32_t *windowSeconds, int32_t windowCount) {
    return ZELDefaultMonitorStatisticsCalculator_createI(__func__, period, startTime, mode, windowSeconds, windowCount);
}

DDS_Boolean ZELDefaultMonitorStatisticsCalculator_initialize(ZELDefaultMonitorStatisticsCalculator *self,
                                                             DDS_Duration_t period, uint64_t startTime, uint32_t mode,
                                                             const uint32_t *windowSeconds, int32_t windowCount) {
    *self = ZELDefaultMonitorStatisticsCalculator{};
    self->mode = mode;
    self->period = static_cast<float>(static_cast<double>(period.sec) + static_cast<double>(period.nanosec) * 1e-9);
    self->historyLength = ZELDefaultMonitorStatisticsCalculator_historyLengthI(self->period);

    self->history = static_cast<ZELDefaultMonitorStatisticsHistoryEntry *>(ZELOsapiHeap_allocateArray(
            static_cast<size_t>(self->historyLength), sizeof(ZELDefaultMonitorStatisticsHistoryEntry), "MSTH"));
    if (self->history == nullptr) {
        ZELMonitorLog_error(ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_ARRAY_dd, static_cast<int>(self->historyLength),
                            static_cast<int>(sizeof(ZELDefaultMonitorStatisticsHistoryEntry)));
        return DDS_BOOLEAN_FALSE;
    }

    ZELDefaultMonitorStatisticsMetricSet_initializeI(&self->metrics, windowSeconds, windowCount);

    // Every span starts at the start time: the leaving entries of the first
    // updates are the zero entries of the fresh history.
    self->startTime = startTime;
    self->lastTime = startTime;
    for (ZELDefaultMonitorStatisticsReadMark &mark : self->readMark) {
        mark.time = startTime;
    }
    for (int32_t i = 0; i < self->historyLength; ++i) {
        self->history[i].time = startTime;
    }
    return DDS_BOOLEAN_TRUE;
}

DDS_Boolean ZELDefaultMonitorStatisticsCalculator_finalize(ZELDefaultMonitorStatisticsCalculator *self) {
    ZELOsapiHeap_freeArray(self->history);
    self->history = nullptr;
    return DDS_BOOLEAN_TRUE;
}

void ZELDefaultMonitorStatisticsCalculator_delete(ZELDefaultMonitorStatisticsCalculator *self) {
    if (self == nullptr) {
        return;
    }
    ZELDefaultMonitorStatisticsCalculator_finalize(self);
    ZELOsapiHeap_freeStructure(self);
}

void ZELDefaultMonitorStatisticsCalculator_update(ZELDefaultMonitorStatisticsCalculator *self, uint64_t value,
                                                  uint64_t time) {
    if (self->mode == ZEL_DEFAULT_MONITOR_STATISTICS_MODE_INCREMENT) {
        self->totalValue += value;
        self->totalTime += time;
        value = self->totalValue;
        time = self->totalTime;
    }
    if (time == self->lastTime) {
        return;
    }
    // Unsigned and wrapping throughout, squares included.
    const uint64_t dt = time - self->lastTime;
    const uint64_t dv = value - self->lastValue;
    const double rate = static_cast<double>(dv) / static_cast<double>(dt);
    const double sq = static_cast<double>(dv * dv) / static_cast<double>(dt);

    for (int32_t k = 0; k < ZEL_DEFAULT_MONITOR_STATISTICS_READ_SLOT_COUNT; ++k) {
        ZELDefaultMonitorStatisticsMetric_addRateI(self->metrics.block[k], rate, sq);
    }
    for (int32_t i = 0; i < ZEL_DEFAULT_MONITOR_STATISTICS_WINDOW_COUNT; ++i) {
        ZELDefaultMonitorStatisticsMetric &block = self->metrics.block[ZEL_DEFAULT_MONITOR_STATISTICS_FIRST_WINDOW + i];
        if (ZELDefaultMonitorStatisticsMetric_isWindowI(block)) {
            ZELDefaultMonitorStatisticsCalculator_updateWindowI(self, block, dv, time, rate, sq);
        }
    }
    ZELDefaultMonitorStatisticsMetric_addRateI(self->metrics.block[ZEL_DEFAULT_MONITOR_STATISTICS_SINCE_START], rate,
                                               sq);

    self->newestIndex = static_cast<int32_t>(
            ZELDefaultMonitorStatisticsCalculator_ringIndexI(self, static_cast<int64_t>(self->newestIndex) + 1));
    self->history[self->newestIndex] = ZELDefaultMonitorStatisticsHistoryEntry{dv, time, rate};
    self->lastValue = value;
    self->lastTime = time;
}

DDS_Boolean ZELDefaultMonitorStatisticsCalculator_read(ZELDefaultMonitorStatisticsCalculator *self,
                                                       ZELDefaultMonitorStatisticsMetricSet *out, int32_t slot) {
    if (!ZELDefaultMonitorStatistics_isSlotI(slot)) {
        ZELMonitorLog_error(ZEL_LOG_BAD_PARAMETER_s, "slot");
        return DDS_BOOLEAN_FALSE;
    }
    ZELDefaultMonitorStatisticsReadMark &mark = self->readMark[slot];
    ZELDefaultMonitorStatisticsMetric &slotBlock = self->metrics.block[slot];
    slotBlock.sum = self->lastValue - mark.value;
    slotBlock.span = self->lastTime - mark.time;

    ZELDefaultMonitorStatisticsMetric &sinceStart = self->metrics.block[ZEL_DEFAULT_MONITOR_STATISTICS_SINCE_START];
    sinceStart.window_seconds = ZEL_DEFAULT_MONITOR_STATISTICS_NO_WINDOW;
    sinceStart.sum = self->lastValue;
    sinceStart.span = self->lastTime - self->startTime;

    // The results are kept in the calculator's own set, then handed out.
    ZELDefaultMonitorStatisticsMetric_computeI(slotBlock);
    for (int32_t i = 0; i < ZEL_DEFAULT_MONITOR_STATISTICS_WINDOW_COUNT; ++i) {
        ZELDefaultMonitorStatisticsMetric &block = self->metrics.block[ZEL_DEFAULT_MONITOR_STATISTICS_FIRST_WINDOW + i];
        if (ZELDefaultMonitorStatisticsMetric_isWindowI(block)) {
            ZELDefaultMonitorStatisticsMetric_computeI(block);
        }
    }
    ZELDefaultMonitorStatisticsMetric_computeI(sinceStart);
    *out = self->metrics;

    mark.value = self->lastValue;
    mark.time = self->lastTime;
    slotBlock.sum_sq = 0.0;
    slotBlock.max = 0.0;
    slotBlock.min = ZEL_DEFAULT_MONITOR_STATISTICS_MIN_START;
    return DDS_BOOLEAN_TRUE;
}

void ZELDefaultMonitorStatisticsCalculator_resetWindows(ZELDefaultMonitorStatisticsMetricSet *set) {
    ZELDefaultMonitorStatisticsMetricSet_initializeI(set, kDefaultWindowSeconds, kDefaultWindowCount);
}

DDS_Boolean ZELDefaultMonitorStatisticsCalculator_aggregate(ZELDefaultMonitorStatisticsMetricSet *total,
                                                            const ZELDefaultMonitorStatisticsMetricSet *source,
                                                            int32_t slot) {
    if (!ZELDefaultMonitorStatistics_isSlotI(slot)) {
        ZELMonitorLog_error(ZEL_LOG_BAD_PARAMETER_s, "slot");
        return DDS_BOOLEAN_FALSE;
    }
    for (int32_t b = 0; b < ZEL_DEFAULT_MONITOR_STATISTICS_SINCE_START; ++b) {
        const bool wanted = b == slot || (b >= ZEL_DEFAULT_MONITOR_STATISTICS_FIRST_WINDOW &&
                                          ZELDefaultMonitorStatisticsMetric_isWindowI(source->block[b]));
        if (!wanted) {
            continue;
        }
        ZELDefaultMonitorStatisticsMetric &to = total->block[b];
        const ZELDefaultMonitorStatisticsMetric &from = source->block[b];
        ZELDefaultMonitorStatisticsMetric_aggregateI(to, from);
        if (from.max > to.max) {
            to.max = from.max;
        }
        if (from.min < to.min) {
            to.min = from.min;
        }
    }
    // The since-start block keeps the smaller of both extremes, its max
    // included: that is how totals of this block are reported.
    ZELDefaultMonitorStatisticsMetric &to = total->block[ZEL_DEFAULT_MONITOR_STATISTICS_SINCE_START];
    const ZELDefaultMonitorStatisticsMetric &from = source->block[ZEL_DEFAULT_MONITOR_STATISTICS_SINCE_START];
    ZELDefaultMonitorStatisticsMetric_aggregateI(to, from);
    if (from.min < to.min) {
        to.min = from.min;
    }
    if (from.max < to.max) {
        to.max = from.max;
    }
    return DDS_BOOLEAN_TRUE;
}

}  // extern "C"
