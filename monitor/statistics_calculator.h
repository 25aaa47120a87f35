// A windowed statistics calculator: turns a growing counter, sampled once
// per publishing period, into rate statistics (time-weighted mean rate, its
// minimum, maximum and variance) over sliding windows, since creation, and
// since each of four independent readers last looked. Time is in any unit
// the caller likes; only differences and ratios are used. The caller
// serialises all operations on one calculator.
#pragma once

#include "vurnc/dds_basic.h"
#include "vurncore/types.h"

#define ZEL_DEFAULT_MONITOR_STATISTICS_READ_SLOT_COUNT 4
#define ZEL_DEFAULT_MONITOR_STATISTICS_WINDOW_COUNT 5
#define ZEL_DEFAULT_MONITOR_STATISTICS_FIRST_WINDOW ZEL_DEFAULT_MONITOR_STATISTICS_READ_SLOT_COUNT
#define ZEL_DEFAULT_MONITOR_STATISTICS_SINCE_START \
    (ZEL_DEFAULT_MONITOR_STATISTICS_FIRST_WINDOW + ZEL_DEFAULT_MONITOR_STATISTICS_WINDOW_COUNT)
#define ZEL_DEFAULT_MONITOR_STATISTICS_BLOCK_COUNT (ZEL_DEFAULT_MONITOR_STATISTICS_SINCE_START + 1)

// window_seconds of a window not in use, and of the since-start block.
#define ZEL_DEFAULT_MONITOR_STATISTICS_NO_WINDOW 0xFFFFFFFFu

// The minimum's starting value: single-precision 1e30 (1.0000000150474662e30
// as a double), so that any rate lowers it.
#define ZEL_DEFAULT_MONITOR_STATISTICS_MIN_START ((double)1e30f)

// The history holds this many seconds of periods, whatever the windows.
#define ZEL_DEFAULT_MONITOR_STATISTICS_HISTORY_SECONDS 3600.0

// Update values: increments added to a running total, or counter readings.
#define ZEL_DEFAULT_MONITOR_STATISTICS_MODE_INCREMENT 0u
#define ZEL_DEFAULT_MONITOR_STATISTICS_MODE_ABSOLUTE 1u

ZEL_EXTERN_C_BEGIN

// One block of results. Every field takes an 8-octet slot.
struct ZELDefaultMonitorStatisticsMetric {
    uint32_t valid;           // 1 for windowed and since-start blocks
    uint32_t reserved1;       // keeps valid in its own slot
    uint32_t window_seconds;  // window length; NO_WINDOW for an unused window and since-start
    uint32_t reserved2;       // keeps window_seconds in its own slot
    uint64_t sum;             // counter increments covered
    double sum_sq;            // sum over periods of increment^2 / period length
    uint64_t span;            // time covered
    double mean;              // sum / span
    double min;               // smallest per-period rate
    double max;               // largest per-period rate
    double variance;          // sum_sq / span - mean^2
};

// What a read hands out: the read-slot blocks 0-3, the windowed blocks 4-8
// and the since-start block 9.
struct ZELDefaultMonitorStatisticsMetricSet {
    struct ZELDefaultMonitorStatisticsMetric block[ZEL_DEFAULT_MONITOR_STATISTICS_BLOCK_COUNT];
};

struct ZELDefaultMonitorStatisticsHistoryEntry {
    uint64_t increment;
    uint64_t time;
    double rate;
};

struct ZELDefaultMonitorStatisticsReadMark {
    uint64_t value;  // last value at the slot's previous read
    uint64_t time;   // last time at the slot's previous read
};

struct ZELDefaultMonitorStatisticsCalculator {
    uint32_t mode;        // MODE_INCREMENT or any other value for readings
    uint64_t totalValue;  // running totals, increment mode only
    uint64_t totalTime;
    float period;  // publishing period in seconds
    uint64_t lastValue;
    uint64_t lastTime;
    struct ZELDefaultMonitorStatisticsReadMark readMark[ZEL_DEFAULT_MONITOR_STATISTICS_READ_SLOT_COUNT];
    uint64_t startTime;
    // Ring of the last hour of periods, one entry per update.
    struct ZELDefaultMonitorStatisticsHistoryEntry *history;
    int32_t historyLength;
    int32_t newestIndex;
    struct ZELDefaultMonitorStatisticsMetricSet metrics;
};

// A calculator with the windows 5, 60, 300 and 3600 seconds, or NULL when
// out of heap (logged). The period must be positive.
struct ZELDefaultMonitorStatisticsCalculator *ZELDefaultMonitorStatisticsCalculator_new(struct DDS_Duration_t period,
                                                                                        uint64_t startTime,
                                                                                        uint32_t mode);

// As _new with the caller's window lengths in seconds (at most five used).
struct ZELDefaultMonitorStatisticsCalculator *ZELDefaultMonitorStatisticsCalculator_newWithWindows(
        struct DDS_Duration_t period, uint64_t startTime, uint32_t mode, const uint32_t *windowSeconds,
        int32_t windowCount);

// Initialises a calculator in place (its previous history, if any, must have
// been finalized). False when the history cannot be allocated (logged).
DDS_Boolean ZELDefaultMonitorStatisticsCalculator_initialize(struct ZELDefaultMonitorStatisticsCalculator *self,
                                                             struct DDS_Duration_t period, uint64_t startTime,
                                                             uint32_t mode, const uint32_t *windowSeconds,
                                                             int32_t windowCount);

// Frees the history, leaving the object for a new initialisation.
DDS_Boolean ZELDefaultMonitorStatisticsCalculator_finalize(struct ZELDefaultMonitorStatisticsCalculator *self);

// Frees the history and the object; NULL is ignored.
void ZELDefaultMonitorStatisticsCalculator_delete(struct ZELDefaultMonitorStatisticsCalculator *self);

// Adds one reading (or, in increment mode, one increment of value and time).
// A reading at the time of the previous one is ignored. Values and times are
// unsigned and wrap: a counter that goes down reads as a huge increment.
void ZELDefaultMonitorStatisticsCalculator_update(struct ZELDefaultMonitorStatisticsCalculator *self, uint64_t value,
                                                  uint64_t time);

// Computes the results, copies them to `out`, then restarts read slot
// `slot` (0-3) so its next read covers only what comes after this one.
// False, with nothing changed, for a slot out of range (logged).
DDS_Boolean ZELDefaultMonitorStatisticsCalculator_read(struct ZELDefaultMonitorStatisticsCalculator *self,
                                                       struct ZELDefaultMonitorStatisticsMetricSet *out, int32_t slot);

// Re-initialises a metric set with the default windows, e.g. as the zero of
// an aggregate.
void ZELDefaultMonitorStatisticsCalculator_resetWindows(struct ZELDefaultMonitorStatisticsMetricSet *set);

// Adds one calculator's results into a total over several calculators:
// sums and means add up, the variance field collects a sum of standard
// deviations, min and max follow the extremes; but the since-start block's
// max, like its min, takes the smaller value. Slot as for read.
DDS_Boolean ZELDefaultMonitorStatisticsCalculator_aggregate(struct ZELDefaultMonitorStatisticsMetricSet *total,
                                                            const struct ZELDefaultMonitorStatisticsMetricSet *source,
                                                            int32_t slot);

ZEL_EXTERN_C_END
