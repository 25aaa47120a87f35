#include "rate_series.h"

namespace zelmon {

void RateSeries::update(int64_t value, int64_t timeNs, int64_t periodNs) {
    if (calculator_ == nullptr || value < lastValue_ || timeNs <= lastTimeNs_) {
        const DDS_Duration_t period = {static_cast<DDS_Long>(periodNs / 1000000000),
                                       static_cast<DDS_UnsignedLong>(periodNs % 1000000000)};
        calculator_.reset(ZELDefaultMonitorStatisticsCalculator_newWithWindows(
                period, static_cast<uint64_t>(timeNs), ZEL_DEFAULT_MONITOR_STATISTICS_MODE_ABSOLUTE, kWindowSeconds,
                static_cast<int32_t>(std::size(kWindowSeconds))));
        // The calculator counts from zero at its start time.
        base_ = value;
        lastRate_ = 0;
    } else {
        lastRate_ = static_cast<double>(value - lastValue_) * 1e9 / static_cast<double>(timeNs - lastTimeNs_);
    }
    lastValue_ = value;
    lastTimeNs_ = timeNs;
    if (calculator_ != nullptr) {
        ZELDefaultMonitorStatisticsCalculator_update(calculator_.get(), static_cast<uint64_t>(value - base_),
                                                     static_cast<uint64_t>(timeNs));
        ZELDefaultMonitorStatisticsCalculator_read(calculator_.get(), &metrics_, 0);
    }
}

double RateSeries::windowRate(int window) const {
    const ZELDefaultMonitorStatisticsMetric &metric =
            metrics_.block[ZEL_DEFAULT_MONITOR_STATISTICS_FIRST_WINDOW + window];
    // Times are in nanoseconds, so the mean is per nanosecond.
    return metric.span > 0 ? metric.mean * 1e9 : 0.0;
}

}  // namespace zelmon
