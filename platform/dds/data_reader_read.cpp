// Reading and taking: selecting the cache's samples by state, lending them
// or copying them out, and giving loans back.
#include <cstring>

#include "data_reader_private.h"
#include "vurncore/heap.h"

namespace {

struct DDS_ReaderSelectionI {
    DDS_ReaderInstanceI *instance;
    DDS_ReaderSampleI *sample;
};

} // namespace

// The instance's view state as the application sees it now.
static DDS_UnsignedLong DDS_ReaderInstance_viewStateI(const DDS_ReaderInstanceI *instance) {
    return instance->viewed ? DDS_NOT_NEW_VIEW_STATE : DDS_NEW_VIEW_STATE;
}

// Counts, and when `out` is given records, the samples in the states,
// instances in order of first arrival, samples oldest first, at most `max`.
static DDS_Long DDS_DataReaderPath_selectI(DDS_DataReaderPathI *path, DDS_Long max, DDS_SampleStateMask sampleStates,
                                           DDS_ViewStateMask viewStates, DDS_InstanceStateMask instanceStates,
                                           DDS_ReaderSelectionI *out) {
    DDS_Long count = 0;
    for (DDS_ReaderInstanceI *instance = path->instances; instance != nullptr; instance = instance->next) {
        if ((DDS_ReaderInstance_viewStateI(instance) & viewStates) == 0 ||
            (instance->instanceState & instanceStates) == 0) {
            continue;
        }
        for (DDS_ReaderSampleI *sample = instance->oldest; sample != nullptr; sample = sample->next) {
            if (max >= 0 && count >= max) {
                return count;
            }
            DDS_UnsignedLong state = sample->read ? DDS_READ_SAMPLE_STATE : DDS_NOT_READ_SAMPLE_STATE;
            if ((state & sampleStates) == 0) {
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
    if (!ZELSequence_set_length(data, elementType, count, context) ||
        !DDS_SampleInfoSeq_set_length(infoSeq, count)) {
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

extern "C" {

VURNC_API DDS_ReturnCode_t DDS_DataReader_read_or_take_untypedI(DDS_DataReader *self, struct ZELSequence *data,
                                                                struct DDS_SampleInfoSeq *info_seq,
                                                                DDS_Long max_samples,
                                                                DDS_SampleStateMask sample_states,
                                                                DDS_ViewStateMask view_states,
                                                                DDS_InstanceStateMask instance_states,
                                                                DDS_Boolean take) {
    const char *const context = take ? "DDS_DataReader_take" : "DDS_DataReader_read";
    if (self == nullptr || data == nullptr || info_seq == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s,
                                  self == nullptr ? "self" : (data == nullptr ? "data" : "info_seq"));
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
    DDS_Long max = max_samples;
    if (!lend) {
        DDS_Long room = ZELSequence_get_maximum(data, context);
        max = max < 0 || max > room ? room : max;
    }
    std::lock_guard<std::mutex> guard(path->mutex);
    DDS_Long count = DDS_DataReaderPath_selectI(path, max, sample_states, view_states, instance_states, nullptr);
    if (count == 0) {
        return DDS_RETCODE_NO_DATA;
    }
    auto *selected = static_cast<DDS_ReaderSelectionI *>(
            ZELOsapiHeap_allocateArray(static_cast<size_t>(count), sizeof(DDS_ReaderSelectionI), "DRSE"));
    if (selected == nullptr) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_ANY_FAILURE_s, "out of heap");
        return DDS_RETCODE_OUT_OF_RESOURCES;
    }
    DDS_DataReaderPath_selectI(path, max, sample_states, view_states, instance_states, selected);
    DDS_ReturnCode_t result = lend ? DDS_DataReaderPath_lendI(path, data, info_seq, selected, count, take, context)
                                   : DDS_DataReaderPath_copyOutI(path, data, info_seq, selected, count, take, context);
    ZELOsapiHeap_freeArray(selected);
    if (result != DDS_RETCODE_OK) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_ANY_FAILURE_s, lend ? "lend samples" : "copy samples");
    }
    return result;
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
    if (owner != path || *link == nullptr ||
        DDS_SampleInfoSeq_get_contiguous_bufferI(info_seq) != (*link)->infos) {
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

} // extern "C"
