// Reading and taking: selecting the cache's samples by state, condition,
// instance or next instance, lending them or copying them out (or one
// sample at a time), and giving loans back.
#include <cstring>

#include "data_reader_private.h"
#include "vurncore/heap.h"

namespace {

struct DDS_ReaderSelectionI {
    DDS_ReaderInstanceI *instance;
    DDS_ReaderSampleI *sample;
};

// Which instances a read or take looks at.
enum class DDS_ReaderInstancesI {
    all,   // every instance, in order of first arrival
    one,   // the instance of `handle`
    next,  // the instance with the smallest handle above `handle` that has samples in the states
};

// What one read or take asks for.
struct DDS_ReadRequestI {
    DDS_Long maxSamples;
    DDS_SampleStateMask sampleStates;
    DDS_ViewStateMask viewStates;
    DDS_InstanceStateMask instanceStates;
    DDS_ReaderInstancesI instances;
    const DDS_InstanceHandle_t *handle;  // for `one` and `next`; NIL for `next`: from the smallest
    bool take;
    const char *context;
};

}  // namespace

// The instance's view state as the application sees it now.
static DDS_UnsignedLong DDS_ReaderInstance_viewStateI(const DDS_ReaderInstanceI *instance) {
    return instance->viewed ? DDS_NOT_NEW_VIEW_STATE : DDS_NEW_VIEW_STATE;
}

// Counts, and when `out` is given records, the samples in the request's
// states: instances in order of first arrival (only `only` when given),
// samples oldest first, at most `max` (negative: no limit).
static DDS_Long DDS_DataReaderPath_selectI(DDS_DataReaderPathI *path, const DDS_ReadRequestI *request,
                                           DDS_ReaderInstanceI *only, DDS_Long max, DDS_ReaderSelectionI *out) {
    DDS_Long count = 0;
    for (DDS_ReaderInstanceI *instance = only != nullptr ? only : path->instances; instance != nullptr;
         instance = only != nullptr ? nullptr : instance->next) {
        if ((DDS_ReaderInstance_viewStateI(instance) & request->viewStates) == 0 ||
            (instance->instanceState & request->instanceStates) == 0) {
            continue;
        }
        for (DDS_ReaderSampleI *sample = instance->oldest; sample != nullptr; sample = sample->next) {
            if (max >= 0 && count >= max) {
                return count;
            }
            DDS_UnsignedLong state = sample->read ? DDS_READ_SAMPLE_STATE : DDS_NOT_READ_SAMPLE_STATE;
            if ((state & request->sampleStates) == 0) {
                continue;
            }
            if (out != nullptr) {
                out[count] = DDS_ReaderSelectionI{instance, sample};
            }
            count++;
        }
    }
    return count;
}

// Instances ordered by handle: the instance with the smallest handle above
// the request's that has samples in its states, or NULL.
static DDS_ReaderInstanceI *DDS_DataReaderPath_nextInstanceI(DDS_DataReaderPathI *path,
                                                             const DDS_ReadRequestI *request) {
    const bool fromSmallest = DDS_Handle_isNilI(request->handle);
    DDS_ReaderInstanceI *next = nullptr;
    for (DDS_ReaderInstanceI *instance = path->instances; instance != nullptr; instance = instance->next) {
        if ((fromSmallest || std::memcmp(instance->keyHash, request->handle->value, 16) > 0) &&
            (next == nullptr || std::memcmp(instance->keyHash, next->keyHash, 16) < 0) &&
            DDS_DataReaderPath_selectI(path, request, instance, 1, nullptr) > 0) {
            next = instance;
        }
    }
    return next;
}

static void DDS_DataReaderPath_fillInfoI(const DDS_ReaderSelectionI *selected, DDS_SampleInfo *info) {
    *info = selected->sample->info;
    info->sample_state = selected->sample->read ? DDS_READ_SAMPLE_STATE : DDS_NOT_READ_SAMPLE_STATE;
    info->view_state = DDS_ReaderInstance_viewStateI(selected->instance);
    info->instance_state = selected->instance->instanceState;
}

// Removes a selected sample from its instance (which keeps its place).
static void DDS_DataReaderPath_unlinkI(DDS_DataReaderPathI *path, const DDS_ReaderSelectionI *selected) {
    DDS_ReaderInstanceI *instance = selected->instance;
    DDS_ReaderSampleI **link = &instance->oldest;
    DDS_ReaderSampleI *previous = nullptr;
    while (*link != selected->sample) {
        previous = *link;
        link = &(*link)->next;
    }
    *link = selected->sample->next;
    if (instance->newest == selected->sample) {
        instance->newest = previous;
    }
    instance->sampleCount--;
    path->sampleCount--;
}

// After a successful read or take: marks the samples read and their
// instances viewed; a take removes them (`keepData` false frees their
// plug-in data too, true hands it over to a loan).
static void DDS_DataReaderPath_commitI(DDS_DataReaderPathI *path, DDS_ReaderSelectionI *selected, DDS_Long count,
                                       bool take, bool keepData) {
    for (DDS_Long i = 0; i < count; i++) {
        selected[i].instance->viewed = true;
        if (!take) {
            selected[i].sample->read = true;
            continue;
        }
        DDS_DataReaderPath_unlinkI(path, &selected[i]);
        if (keepData) {
            selected[i].sample->data = nullptr;
        }
        DDS_ReaderCache_freeSampleI(path, selected[i].sample);
    }
}

static void DDS_ReaderLoan_deleteI(DDS_DataReaderPathI *path, DDS_ReaderLoanI *loan) {
    if (loan->buffer != nullptr) {
        for (DDS_Long i = 0; i < loan->count; i++) {
            if (loan->buffer[i] != nullptr) {
                path->plugin->deleteSampleFnc(loan->buffer[i]);
            }
        }
        ZELOsapiHeap_freeArray(loan->buffer);
    }
    ZELOsapiHeap_freeArray(loan->infos);
    ZELOsapiHeap_freeStructure(loan);
}

// Lends the selected samples: taken ones move into the loan, read ones
// are copied (the cache may drop its own meanwhile). On failure nothing
// changed.
static DDS_ReturnCode_t DDS_DataReaderPath_lendI(DDS_DataReaderPathI *path, ZELSequence *data,
                                                 DDS_SampleInfoSeq *infoSeq, DDS_ReaderSelectionI *selected,
                                                 DDS_Long count, bool take, const char *context) {
    auto *loan = static_cast<DDS_ReaderLoanI *>(ZELOsapiHeap_allocateStructure(sizeof(DDS_ReaderLoanI), "DRLO"));
    if (loan == nullptr) {
        return DDS_RETCODE_OUT_OF_RESOURCES;
    }
    *loan = DDS_ReaderLoanI{};
    loan->count = count;
    loan->buffer = static_cast<void **>(ZELOsapiHeap_allocateArray(static_cast<size_t>(count), sizeof(void *), "DRLB"));
    loan->infos = static_cast<DDS_SampleInfo *>(
            ZELOsapiHeap_allocateArray(static_cast<size_t>(count), sizeof(DDS_SampleInfo), "DRLI"));
    if (loan->buffer == nullptr || loan->infos == nullptr) {
        loan->count = 0;
        DDS_ReaderLoan_deleteI(path, loan);
        return DDS_RETCODE_OUT_OF_RESOURCES;
    }
    std::memset(loan->buffer, 0, static_cast<size_t>(count) * sizeof(void *));
    for (DDS_Long i = 0; i < count; i++) {
        DDS_ReaderSampleI *sample = selected[i].sample;
        // An invalid-data sample lends an empty sample: the key is in the info.
        bool move = take && sample->data != nullptr;
        void *element = move ? sample->data : path->plugin->createSampleFnc();
        if (element == nullptr ||
            (!move && sample->data != nullptr && !path->plugin->copySampleFnc(element, sample->data))) {
            if (element != nullptr) {
                path->plugin->deleteSampleFnc(element);
            }
            // The moved samples are still the cache's: forget them.
            for (DDS_Long j = 0; j < i; j++) {
                if (take && selected[j].sample->data == loan->buffer[j]) {
                    loan->buffer[j] = nullptr;
                }
            }
            DDS_ReaderLoan_deleteI(path, loan);
            return DDS_RETCODE_OUT_OF_RESOURCES;
        }
        loan->buffer[i] = element;
        DDS_DataReaderPath_fillInfoI(&selected[i], &loan->infos[i]);
    }
    if (!ZELSequence_loan_discontiguous(data, loan->buffer, count, count, context) ||
        !DDS_SampleInfoSeq_loan_contiguous(infoSeq, loan->infos, count, count)) {
        if (ZELSequence_get_discontiguous_bufferI(data, context) == loan->buffer) {
            ZELSequence_unloan(data, context);
        }
        for (DDS_Long j = 0; j < count; j++) {
            if (take && selected[j].sample->data == loan->buffer[j]) {
                loan->buffer[j] = nullptr;
            }
        }
        DDS_ReaderLoan_deleteI(path, loan);
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    ZELSequence_set_read_tokenI(data, path, loan, context);
    loan->next = path->loans;
    path->loans = loan;
    DDS_DataReaderPath_commitI(path, selected, count, take, true);
    return DDS_RETCODE_OK;
}

// Copies the selected samples into the caller's elements; the info
// sequence takes the same length. On failure nothing changed in the cache.
static DDS_ReturnCode_t DDS_DataReaderPath_copyOutI(DDS_DataReaderPathI *path, ZELSequence *data,
                                                    DDS_SampleInfoSeq *infoSeq, DDS_ReaderSelectionI *selected,
                                                    DDS_Long count, bool take, const char *context) {
    const ZELCdrTypeDesc *typeDesc = path->plugin->typeDesc;
    if (typeDesc == nullptr || typeDesc->sequenceElementType == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_PRECONDITION_NOT_MET_s, "type without sample descriptor: loan");
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    const ZELSequenceElementType *elementType = typeDesc->sequenceElementType;
    if (DDS_SampleInfoSeq_get_maximum(infoSeq) < count && !DDS_SampleInfoSeq_set_maximum(infoSeq, count)) {
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    if (!ZELSequence_set_length(data, elementType, count, context) || !DDS_SampleInfoSeq_set_length(infoSeq, count)) {
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    for (DDS_Long i = 0; i < count; i++) {
        void *element = ZELSequence_get_reference(data, elementType, i, context);
        if (selected[i].sample->data != nullptr && !path->plugin->copySampleFnc(element, selected[i].sample->data)) {
            return DDS_RETCODE_OUT_OF_RESOURCES;
        }
        DDS_DataReaderPath_fillInfoI(&selected[i], DDS_SampleInfoSeq_get_reference(infoSeq, i));
    }
    DDS_DataReaderPath_commitI(path, selected, count, take, false);
    return DDS_RETCODE_OK;
}

// The samples the request selects, in a new heap array; NO_DATA when there
// are none. Under the path's mutex.
static DDS_ReturnCode_t DDS_DataReaderPath_collectI(DDS_DataReaderPathI *path, const DDS_ReadRequestI *request,
                                                    DDS_Long max, DDS_ReaderSelectionI **selected, DDS_Long *count) {
    DDS_ReaderInstanceI *only = nullptr;
    if (request->instances == DDS_ReaderInstancesI::one) {
        only = DDS_ReaderCache_findInstanceI(path, request->handle->value);
        if (only == nullptr) {
            ZELLog_printContextAndMsg(request->context, &ZEL_LOG_BAD_PARAMETER_s, "unknown instance");
            return DDS_RETCODE_BAD_PARAMETER;
        }
    } else if (request->instances == DDS_ReaderInstancesI::next) {
        only = DDS_DataReaderPath_nextInstanceI(path, request);
        if (only == nullptr) {
            return DDS_RETCODE_NO_DATA;
        }
    }
    *count = DDS_DataReaderPath_selectI(path, request, only, max, nullptr);
    if (*count == 0) {
        return DDS_RETCODE_NO_DATA;
    }
    *selected = static_cast<DDS_ReaderSelectionI *>(
            ZELOsapiHeap_allocateArray(static_cast<size_t>(*count), sizeof(DDS_ReaderSelectionI), "DRSE"));
    if (*selected == nullptr) {
        ZELLog_printContextAndMsg(request->context, &ZEL_LOG_ANY_FAILURE_s, "out of heap");
        return DDS_RETCODE_OUT_OF_RESOURCES;
    }
    DDS_DataReaderPath_selectI(path, request, only, max, *selected);
    return DDS_RETCODE_OK;
}

// Every read and take into a sequence: lends the selected samples or
// copies them into the caller's elements.
static DDS_ReturnCode_t DDS_DataReader_readOrTakeI(DDS_DataReader *self, ZELSequence *data, DDS_SampleInfoSeq *info_seq,
                                                   const DDS_ReadRequestI *request) {
    const char *const context = request->context;
    if (self == nullptr || data == nullptr || info_seq == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s,
                                  self == nullptr ? "self" : (data == nullptr ? "data" : "info_seq"));
        return DDS_RETCODE_BAD_PARAMETER;
    }
    if (request->instances == DDS_ReaderInstancesI::one && DDS_Handle_isNilI(request->handle)) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, "handle");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    DDS_DataReaderPathI *path = self->path;
    if (path == nullptr) {
        return DDS_RETCODE_NOT_ENABLED;
    }
    bool lend = ZELSequence_get_maximum(data, context) == 0 && data->_contiguous_buffer == nullptr &&
                data->_discontiguous_buffer == nullptr;
    bool infoEmpty = DDS_SampleInfoSeq_get_maximum(info_seq) == 0;
    if (lend != infoEmpty || (!lend && !DDS_SampleInfoSeq_has_ownership(info_seq))) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_PRECONDITION_NOT_MET_s, "data and info_seq disagree");
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    DDS_Long max = request->maxSamples;
    if (!lend) {
        DDS_Long room = ZELSequence_get_maximum(data, context);
        max = max < 0 || max > room ? room : max;
    }
    std::lock_guard<std::mutex> guard(path->mutex);
    DDS_DataReaderPath_catchUpI(path);
    DDS_ReaderSelectionI *selected = nullptr;
    DDS_Long count = 0;
    DDS_ReturnCode_t result = DDS_DataReaderPath_collectI(path, request, max, &selected, &count);
    if (result != DDS_RETCODE_OK) {
        return result;
    }
    result = lend ? DDS_DataReaderPath_lendI(path, data, info_seq, selected, count, request->take, context)
                  : DDS_DataReaderPath_copyOutI(path, data, info_seq, selected, count, request->take, context);
    ZELOsapiHeap_freeArray(selected);
    if (result != DDS_RETCODE_OK) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_ANY_FAILURE_s, lend ? "lend samples" : "copy samples");
    }
    return result;
}

// The request of a condition's states; a NULL reader or condition or one of another
// reader refused (logged).
static DDS_ReturnCode_t DDS_ReadRequest_fromConditionI(DDS_ReadRequestI *request, const DDS_DataReader *reader,
                                                       const DDS_ReadCondition *condition) {
    if (reader == nullptr || condition == nullptr) {
        ZELLog_printContextAndMsg(request->context, &ZEL_LOG_BAD_PARAMETER_s, reader == nullptr ? "self" : "condition");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    if (condition->reader != reader) {
        ZELLog_printContextAndMsg(request->context, &ZEL_LOG_PRECONDITION_NOT_MET_s, "condition of another reader");
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    request->sampleStates = condition->sampleStates;
    request->viewStates = condition->viewStates;
    request->instanceStates = condition->instanceStates;
    return DDS_RETCODE_OK;
}

bool DDS_DataReader_hasSamplesInStatesI(DDS_DataReader *reader, DDS_SampleStateMask sampleStates,
                                        DDS_ViewStateMask viewStates, DDS_InstanceStateMask instanceStates) {
    DDS_DataReaderPathI *path = reader->path;
    if (path == nullptr) {
        return false;
    }
    const DDS_ReadRequestI request{1,       sampleStates, viewStates, instanceStates, DDS_ReaderInstancesI::all,
                                   nullptr, false,        nullptr};
    std::lock_guard<std::mutex> guard(path->mutex);
    DDS_DataReaderPath_catchUpI(path);
    return DDS_DataReaderPath_selectI(path, &request, nullptr, 1, nullptr) > 0;
}

extern "C" {

VURNC_API DDS_ReturnCode_t DDS_DataReader_read_or_take_untypedI(DDS_DataReader *self, struct ZELSequence *data,
                                                                struct DDS_SampleInfoSeq *info_seq,
                                                                DDS_Long max_samples, DDS_SampleStateMask sample_states,
                                                                DDS_ViewStateMask view_states,
                                                                DDS_InstanceStateMask instance_states,
                                                                DDS_Boolean take) {
    const DDS_ReadRequestI request{max_samples,
                                   sample_states,
                                   view_states,
                                   instance_states,
                                   DDS_ReaderInstancesI::all,
                                   nullptr,
                                   take != DDS_BOOLEAN_FALSE,
                                   take ? "DDS_DataReader_take" : "DDS_DataReader_read"};
    return DDS_DataReader_readOrTakeI(self, data, info_seq, &request);
}

VURNC_API DDS_ReturnCode_t DDS_DataReader_read_or_take_w_condition_untypedI(
        DDS_DataReader *self, struct ZELSequence *data, struct DDS_SampleInfoSeq *info_seq, DDS_Long max_samples,
        DDS_ReadCondition *condition, DDS_Boolean take) {
    DDS_ReadRequestI request{max_samples,
                             0,
                             0,
                             0,
                             DDS_ReaderInstancesI::all,
                             nullptr,
                             take != DDS_BOOLEAN_FALSE,
                             take ? "DDS_DataReader_take_w_condition" : "DDS_DataReader_read_w_condition"};
    DDS_ReturnCode_t result = DDS_ReadRequest_fromConditionI(&request, self, condition);
    return result != DDS_RETCODE_OK ? result : DDS_DataReader_readOrTakeI(self, data, info_seq, &request);
}

VURNC_API DDS_ReturnCode_t DDS_DataReader_read_or_take_instance_untypedI(
        DDS_DataReader *self, struct ZELSequence *data, struct DDS_SampleInfoSeq *info_seq, DDS_Long max_samples,
        const DDS_InstanceHandle_t *a_handle, DDS_SampleStateMask sample_states, DDS_ViewStateMask view_states,
        DDS_InstanceStateMask instance_states, DDS_Boolean take) {
    const DDS_ReadRequestI request{max_samples,
                                   sample_states,
                                   view_states,
                                   instance_states,
                                   DDS_ReaderInstancesI::one,
                                   a_handle,
                                   take != DDS_BOOLEAN_FALSE,
                                   take ? "DDS_DataReader_take_instance" : "DDS_DataReader_read_instance"};
    return DDS_DataReader_readOrTakeI(self, data, info_seq, &request);
}

VURNC_API DDS_ReturnCode_t DDS_DataReader_read_or_take_next_instance_untypedI(
        DDS_DataReader *self, struct ZELSequence *data, struct DDS_SampleInfoSeq *info_seq, DDS_Long max_samples,
        const DDS_InstanceHandle_t *previous_handle, DDS_SampleStateMask sample_states, DDS_ViewStateMask view_states,
        DDS_InstanceStateMask instance_states, DDS_Boolean take) {
    const DDS_ReadRequestI request{max_samples,
                                   sample_states,
                                   view_states,
                                   instance_states,
                                   DDS_ReaderInstancesI::next,
                                   previous_handle,
                                   take != DDS_BOOLEAN_FALSE,
                                   take ? "DDS_DataReader_take_next_instance" : "DDS_DataReader_read_next_instance"};
    return DDS_DataReader_readOrTakeI(self, data, info_seq, &request);
}

VURNC_API DDS_ReturnCode_t DDS_DataReader_read_or_take_next_instance_w_condition_untypedI(
        DDS_DataReader *self, struct ZELSequence *data, struct DDS_SampleInfoSeq *info_seq, DDS_Long max_samples,
        const DDS_InstanceHandle_t *previous_handle, DDS_ReadCondition *condition, DDS_Boolean take) {
    DDS_ReadRequestI request{
            max_samples,
            0,
            0,
            0,
            DDS_ReaderInstancesI::next,
            previous_handle,
            take != DDS_BOOLEAN_FALSE,
            take ? "DDS_DataReader_take_next_instance_w_condition" : "DDS_DataReader_read_next_instance_w_condition"};
    DDS_ReturnCode_t result = DDS_ReadRequest_fromConditionI(&request, self, condition);
    return result != DDS_RETCODE_OK ? result : DDS_DataReader_readOrTakeI(self, data, info_seq, &request);
}

VURNC_API DDS_ReturnCode_t DDS_DataReader_read_or_take_next_sample_untypedI(DDS_DataReader *self, void *received_data,
                                                                            struct DDS_SampleInfo *sample_info,
                                                                            DDS_Boolean take) {
    const DDS_ReadRequestI request{1,
                                   DDS_NOT_READ_SAMPLE_STATE,
                                   DDS_ANY_VIEW_STATE,
                                   DDS_ANY_INSTANCE_STATE,
                                   DDS_ReaderInstancesI::all,
                                   nullptr,
                                   take != DDS_BOOLEAN_FALSE,
                                   take ? "DDS_DataReader_take_next_sample" : "DDS_DataReader_read_next_sample"};
    if (self == nullptr || received_data == nullptr || sample_info == nullptr) {
        ZELLog_printContextAndMsg(
                request.context, &ZEL_LOG_BAD_PARAMETER_s,
                self == nullptr ? "self" : (received_data == nullptr ? "received_data" : "sample_info"));
        return DDS_RETCODE_BAD_PARAMETER;
    }
    DDS_DataReaderPathI *path = self->path;
    if (path == nullptr) {
        return DDS_RETCODE_NOT_ENABLED;
    }
    std::lock_guard<std::mutex> guard(path->mutex);
    DDS_DataReaderPath_catchUpI(path);
    DDS_ReaderSelectionI selected{};
    if (DDS_DataReaderPath_selectI(path, &request, nullptr, 1, &selected) == 0) {
        return DDS_RETCODE_NO_DATA;
    }
    // An invalid-data sample leaves the caller's sample as it was.
    if (selected.sample->data != nullptr && !path->plugin->copySampleFnc(received_data, selected.sample->data)) {
        ZELLog_printContextAndMsg(request.context, &ZEL_LOG_ANY_FAILURE_s, "copy samples");
        return DDS_RETCODE_OUT_OF_RESOURCES;
    }
    DDS_DataReaderPath_fillInfoI(&selected, sample_info);
    DDS_DataReaderPath_commitI(path, &selected, 1, request.take, false);
    return DDS_RETCODE_OK;
}

VURNC_API DDS_ReturnCode_t DDS_DataReader_return_loan_untypedI(DDS_DataReader *self, struct ZELSequence *data,
                                                               struct DDS_SampleInfoSeq *info_seq) {
    const char *const context = "DDS_DataReader_return_loan";
    if (self == nullptr || data == nullptr || info_seq == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s,
                                  self == nullptr ? "self" : (data == nullptr ? "data" : "info_seq"));
        return DDS_RETCODE_BAD_PARAMETER;
    }
    DDS_DataReaderPathI *path = self->path;
    if (path == nullptr) {
        return DDS_RETCODE_NOT_ENABLED;
    }
    void *owner = nullptr;
    void *token = nullptr;
    ZELSequence_get_read_tokenI(data, &owner, &token, context);
    std::lock_guard<std::mutex> guard(path->mutex);
    DDS_ReaderLoanI **link = &path->loans;
    while (*link != nullptr && *link != token) {
        link = &(*link)->next;
    }
    if (owner != path || *link == nullptr || DDS_SampleInfoSeq_get_contiguous_bufferI(info_seq) != (*link)->infos) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_PRECONDITION_NOT_MET_s, "samples not lent by this reader");
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    DDS_ReaderLoanI *loan = *link;
    *link = loan->next;
    ZELSequence_set_read_tokenI(data, nullptr, nullptr, context);
    ZELSequence_unloan(data, context);
    DDS_SampleInfoSeq_unloan(info_seq);
    DDS_ReaderLoan_deleteI(path, loan);
    return DDS_RETCODE_OK;
}

}  // extern "C"
