// Building and publishing one monitoring sample, the same for the
// description builders and the statistics kinds: the generated support of a
// monitoring type under common names, a sample that lives for one call and
// is finalized on every exit, and the step that writes the sample or
// disposes its instance after the line that names it.
#pragma once

#include "entity_set.h"
#include "log/monitor_log_macros.h"
#include "zel_dds_monitoring.h"

// The generated support of one monitoring type under common names.
#define ZEL_MONITOR_SAMPLE_SUPPORT(NAME, TYPE)                                          \
    struct NAME {                                                                       \
        using Sample = zel_dds_monitoring_##TYPE;                                       \
        static constexpr auto initialize = &zel_dds_monitoring_##TYPE##_initialize;     \
        static constexpr auto finalize = &zel_dds_monitoring_##TYPE##_finalize;         \
        static constexpr auto narrow = &zel_dds_monitoring_##TYPE##DataWriter_narrow;   \
        static constexpr auto write = &zel_dds_monitoring_##TYPE##DataWriter_write;     \
        static constexpr auto dispose = &zel_dds_monitoring_##TYPE##DataWriter_dispose; \
    }

// The records that name a written sample and a disposed instance.
struct ZELDefaultMonitorSampleLines {
    const ZELLogMessage *publish;
    const ZELLogMessage *dispose;
};

// Where the entity lives: every sample names its domain, host and process.
template <typename Sample>
void ZELDefaultMonitorSample_fillOriginI(Sample &sample, const ZELDefaultMonitorParticipantObject *participantObject) {
    sample.domain_id = participantObject->domainId;
    sample.host_id = participantObject->publisher->hostId;
    sample.process_id = participantObject->publisher->processId;
}

// One sample of the type for the length of `use(Sample &)`: initialized
// first (a failure logged under `context`), finalized whatever `use` returns.
template <typename Support, typename Use>
DDS_Boolean ZELDefaultMonitorSample_useI(const char *context, Use &&use) {
    typename Support::Sample sample{};
    if (!Support::initialize(&sample)) {
        ZELMonitorLog_errorWithContext(context, ZEL_LOG_INIT_FAILURE_s, "sample");
        return DDS_BOOLEAN_FALSE;
    }
    const bool ok = use(sample);
    Support::finalize(&sample);
    return ok ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

// The typed writer of the topic in `slot`; NULL, logged under `context`, when
// the slot holds no writer of the type.
template <typename Support>
auto ZELDefaultMonitorSample_writerI(const char *context, const ZELDefaultMonitorParticipantObject *participantObject,
                                     int slot) {
    auto *writer = Support::narrow(ZELDefaultMonitorEntitySet_writerI(participantObject->entities, slot));
    if (writer == nullptr) {
        ZELMonitorLog_errorWithContext(context, ZEL_LOG_ANY_FAILURE_s, "narrow");
    }
    return writer;
}

// Writes the sample or, with `dispose`, disposes its instance, after the
// line that names the entity by `word` and the words of `key`; false, logged
// under `context`, when the write or dispose fails.
template <typename Support, typename Writer>
bool ZELDefaultMonitorSample_publishI(const char *context, Writer *writer, DDS_Boolean dispose,
                                      const typename Support::Sample &sample, const ZELDefaultMonitorSampleLines &lines,
                                      const char *word, const DDSMonitoring_BuiltinTopicKey_t &key) {
    const auto part = [&key](int index) { return static_cast<unsigned int>(key.value[index]); };
    ZELMonitorLog_infoWithContext(context, dispose ? *lines.dispose : *lines.publish, word, part(0), part(1), part(2),
                                  part(3));
    const DDS_ReturnCode_t result = dispose ? Support::dispose(writer, &sample, &DDS_HANDLE_NIL)
                                            : Support::write(writer, &sample, &DDS_HANDLE_NIL);
    if (result != DDS_RETCODE_OK) {
        ZELMonitorLog_errorWithContext(context, ZEL_LOG_ANY_FAILURE_s, dispose ? "dispose" : "write");
        return false;
    }
    return true;
}
