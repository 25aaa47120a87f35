// The rate of a growing counter that arrives once per statistics period:
// over the last period, and over sliding windows through the plug-in's
// windowed statistics calculator.
#pragma once

#include <cstdint>
#include <memory>

#include "statistics_calculator.h"

namespace zelmon {

class RateSeries {
public:
    // The sliding windows shown, in seconds.
    static constexpr uint32_t kWindowSeconds[] = {5, 60};

    // A reading of the counter at `timeNs` (the publisher's clock), taken
    // every `periodNs`. A counter that goes down (its entity was re-created)
    // starts the series again.
    void update(int64_t value, int64_t timeNs, int64_t periodNs);

    // Per second, over the last period (0 before two readings).
    double lastRate() const { return lastRate_; }
    // Per second, over the window kWindowSeconds[window] (the readings so
    // far while the window is not yet full).
    double windowRate(int window) const;

private:
    struct CalculatorDelete {
        void operator()(ZELDefaultMonitorStatisticsCalculator *calculator) const {
            ZELDefaultMonitorStatisticsCalculator_delete(calculator);
        }
    };
    std::unique_ptr<ZELDefaultMonitorStatisticsCalculator, CalculatorDelete> calculator_;
    ZELDefaultMonitorStatisticsMetricSet metrics_{};
    int64_t base_ = 0;
    int64_t lastValue_ = -1;
    int64_t lastTimeNs_ = 0;
    double lastRate_ = 0;
};

}  // namespace zelmon
