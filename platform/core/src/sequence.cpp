// The one sequence implementation behind every typed sequence.
//
// An owned sequence keeps `_maximum` elements in one contiguous heap array
// and every one of them is initialized (those past `_length` too), so a
// length change never allocates and finalize walks the whole buffer. A
// loaned sequence points at the caller's storage, contiguous or through an
// array of element pointers, and never frees it. Every operation that can
// fail leaves the sequence as it was: new storage is built aside and only
// swapped in once nothing can fail any more.
#include "vurncore/sequence.h"

#include <cstring>

#include "vurncore/heap.h"
#include "vurncore/log.h"

namespace {

const char *const kBufferTag = "SEQB";

// Rule violations, as callers see them in the log.
const char *const kMustNotBeLoaned = "buffer must not be loaned";
const char *const kMustBeLoaned = "buffer must be loaned";
const char *const kMaxMustBePositive = "max size must be positive";
const char *const kMaxMustBeZero = "max size must be 0";
const char *const kIndexOutOfBounds = "index out of bounds";
const char *const kNullBufferWithMaximum = "NULL buffer can't have non-zero maximum";
const char *const kNegativeArgument = "negative argument";
const char *const kLengthAboveMaximum = "length must not exceed maximum";
const char *const kMaximumTooSmall = "max size must not be below the source length";
const char *const kAllocationParamsNeedZeroMaximum =
        "Member allocation parameters can be configured only when the maximum size of the sequence is 0";
const char *const kPointersAllocationNeedsZeroMaximum =
        "Pointers allocation policy can be configured only when the maximum size of the sequence is 0";

const ZELSequence kEmptySequence = ZEL_SEQUENCE_INITIALIZER;

void logBadParameterI(const char *context, const char *parameter) {
    ZELLog_printContextAndMsg(context, &ZEL_LOG_BAD_PARAMETER_s, parameter);
}

void logPreconditionI(const char *context, const char *rule) {
    ZELLog_printContextAndMsg(context, &ZEL_LOG_PRECONDITION_NOT_MET_s, rule);
}

void logOutOfHeapI(const char *context, DDS_UnsignedLong count, size_t elementSize) {
    ZELLog_printContextAndMsg(context, &ZEL_OSAPI_MEMORY_LOG_OUT_OF_HEAP_ARRAY_dd, static_cast<int>(count),
                              static_cast<int>(elementSize));
}

void resetI(ZELSequence *self) { *self = kEmptySequence; }

// The sequence to work on: `self` itself, initialized first when its marker
// says it never was; NULL (logged) for a NULL `self`.
ZELSequence *writableI(ZELSequence *self, const char *context) {
    if (self == nullptr) {
        logBadParameterI(context, "self");
        return nullptr;
    }
    if (self->_sequence_init != ZEL_SEQUENCE_MAGIC_NUMBER) {
        resetI(self);
    }
    return self;
}

// The sequence to read: a never-initialized one reads as the empty sequence
// it would become, without being written.
const ZELSequence *readableI(const ZELSequence *self, const char *context) {
    if (self == nullptr) {
        logBadParameterI(context, "self");
        return nullptr;
    }
    return self->_sequence_init == ZEL_SEQUENCE_MAGIC_NUMBER ? self : &kEmptySequence;
}

bool typeIsValidI(const ZELSequenceElementType *type, const char *context) {
    if (type == nullptr) {
        logBadParameterI(context, "type");
        return false;
    }
    return true;
}

void *elementAtI(const ZELSequence *self, size_t elementSize, DDS_UnsignedLong i) {
    if (self->_discontiguous_buffer != nullptr) {
        return self->_discontiguous_buffer[i];
    }
    return static_cast<char *>(self->_contiguous_buffer) + elementSize * i;
}

void finalizeElementsI(const ZELSequenceElementType *type, char *first, DDS_UnsignedLong count,
                       const DDS_TypeDeallocationParams_t *params) {
    if (type->finalize == nullptr) {
        return;
    }
    for (DDS_UnsignedLong i = 0; i < count; ++i) {
        type->finalize(first + type->size * i, params);
    }
}

// Initializes `count` zero-filled elements. On failure finalizes those
// already done, so nothing is left to undo.
bool initializeElementsI(const ZELSequenceElementType *type, char *first, DDS_UnsignedLong count,
                         const ZELSequence *self, const char *context) {
    if (type->initialize == nullptr) {
        return true;  // zero-filled storage is an initialized element
    }
    for (DDS_UnsignedLong i = 0; i < count; ++i) {
        if (!type->initialize(first + type->size * i, &self->_elementAllocParams)) {
            ZELLog_printContextAndMsg(context, &ZEL_LOG_INIT_FAILURE_s, "element");
            finalizeElementsI(type, first, i, &self->_elementDeallocParams);
            return false;
        }
    }
    return true;
}

char *allocateStorageI(const ZELSequenceElementType *type, DDS_UnsignedLong count, const char *context) {
    auto *storage = static_cast<char *>(ZELOsapiHeap_allocateArray(count, type->size, kBufferTag));
    if (storage == nullptr) {
        logOutOfHeapI(context, count, type->size);
    }
    return storage;
}

// Copies one element into an initialized `dst`, or into zero-filled `dst`
// for a type without copy function (plain memory).
bool copyElementI(const ZELSequenceElementType *type, void *dst, const void *src, const char *context) {
    if (type->copy == nullptr) {
        std::memcpy(dst, src, type->size);
        return true;
    }
    if (!type->copy(dst, src)) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_ANY_FAILURE_s, "copy element");
        return false;
    }
    return true;
}

// A new array holding copies of the first `count` (> 0) elements of `src`,
// made with the element parameters of `self`; NULL (logged, nothing left
// allocated) on failure.
char *buildCopiesI(const ZELSequence *self, const ZELSequence *src, const ZELSequenceElementType *type,
                   DDS_UnsignedLong count, const char *context) {
    char *copies = allocateStorageI(type, count, context);
    if (copies == nullptr) {
        return nullptr;
    }
    for (DDS_UnsignedLong i = 0; i < count; ++i) {
        char *element = copies + type->size * i;
        if (type->copy != nullptr && !initializeElementsI(type, element, 1, self, context)) {
            finalizeElementsI(type, copies, i, &self->_elementDeallocParams);
            ZELOsapiHeap_freeArray(copies);
            return nullptr;
        }
        if (!copyElementI(type, element, elementAtI(src, type->size, i), context)) {
            finalizeElementsI(type, copies, i + 1, &self->_elementDeallocParams);
            ZELOsapiHeap_freeArray(copies);
            return nullptr;
        }
    }
    return copies;
}

// Replaces the buffer of an owned sequence by one of `newMax` elements. The
// first min(old, new) elements move over bit for bit (they stay the same
// objects), the others are initialized anew or finalized.
bool setOwnedMaximumI(ZELSequence *self, const ZELSequenceElementType *type, DDS_UnsignedLong newMax,
                      const char *context) {
    if (newMax == self->_maximum) {
        return true;
    }
    char *old = static_cast<char *>(self->_contiguous_buffer);
    const DDS_UnsignedLong kept = newMax < self->_maximum ? newMax : self->_maximum;
    char *fresh = nullptr;
    if (newMax > 0) {
        fresh = allocateStorageI(type, newMax, context);
        if (fresh == nullptr) {
            return false;
        }
        if (!initializeElementsI(type, fresh + type->size * kept, newMax - kept, self, context)) {
            ZELOsapiHeap_freeArray(fresh);
            return false;
        }
        if (kept > 0) {
            std::memcpy(fresh, old, type->size * kept);
        }
    }
    if (old != nullptr) {
        finalizeElementsI(type, old + type->size * kept, self->_maximum - kept, &self->_elementDeallocParams);
        ZELOsapiHeap_freeArray(old);
    }
    self->_contiguous_buffer = fresh;
    self->_maximum = newMax;
    if (self->_length > newMax) {
        self->_length = newMax;
    }
    return true;
}

ZELSequence *copyI(ZELSequence *self, const ZELSequence *src, const ZELSequenceElementType *type, bool mayGrow,
                   const char *context) {
    self = writableI(self, context);
    if (self == nullptr || !typeIsValidI(type, context)) {
        return nullptr;
    }
    if (src == nullptr) {
        logBadParameterI(context, "src");
        return nullptr;
    }
    if (src == self) {
        return self;
    }
    src = readableI(src, context);
    const DDS_UnsignedLong count = src->_length;
    if (count == 0) {
        self->_length = 0;
        return self;
    }
    if (count > self->_maximum) {
        if (!mayGrow) {
            logPreconditionI(context, kMaximumTooSmall);
            return nullptr;
        }
        if (!self->_owned) {
            logPreconditionI(context, kMustNotBeLoaned);
            return nullptr;
        }
        // The copies become the new buffer, exactly as large as needed.
        char *copies = buildCopiesI(self, src, type, count, context);
        if (copies == nullptr) {
            return nullptr;
        }
        char *old = static_cast<char *>(self->_contiguous_buffer);
        if (old != nullptr) {
            finalizeElementsI(type, old, self->_maximum, &self->_elementDeallocParams);
            ZELOsapiHeap_freeArray(old);
        }
        self->_contiguous_buffer = copies;
        self->_maximum = count;
        self->_length = count;
        return self;
    }
    if (type->copy == nullptr) {
        if (self->_discontiguous_buffer == nullptr && src->_discontiguous_buffer == nullptr) {
            std::memmove(self->_contiguous_buffer, src->_contiguous_buffer, type->size * count);
            self->_length = count;
            return self;
        }
        for (DDS_UnsignedLong i = 0; i < count; ++i) {
            std::memcpy(elementAtI(self, type->size, i), elementAtI(src, type->size, i), type->size);
        }
        self->_length = count;
        return self;
    }
    // An element copy may fail half way: copy aside, then swap the copies in.
    char *copies = buildCopiesI(self, src, type, count, context);
    if (copies == nullptr) {
        return nullptr;
    }
    for (DDS_UnsignedLong i = 0; i < count; ++i) {
        void *element = elementAtI(self, type->size, i);
        if (type->finalize != nullptr) {
            type->finalize(element, &self->_elementDeallocParams);
        }
        std::memcpy(element, copies + type->size * i, type->size);
    }
    ZELOsapiHeap_freeArray(copies);
    self->_length = count;
    return self;
}

bool loanI(ZELSequence *self, void *contiguous, void **discontiguous, DDS_Long newLength, DDS_Long newMax,
           const char *context) {
    self = writableI(self, context);
    if (self == nullptr) {
        return false;
    }
    if (!self->_owned) {
        logPreconditionI(context, kMustNotBeLoaned);
        return false;
    }
    if (self->_maximum != 0) {
        logPreconditionI(context, kMaxMustBeZero);
        return false;
    }
    if (newLength < 0 || newMax < 0) {
        logPreconditionI(context, kNegativeArgument);
        return false;
    }
    if (contiguous == nullptr && discontiguous == nullptr && newMax != 0) {
        logPreconditionI(context, kNullBufferWithMaximum);
        return false;
    }
    if (newLength > newMax) {
        logPreconditionI(context, kLengthAboveMaximum);
        return false;
    }
    self->_owned = DDS_BOOLEAN_FALSE;
    self->_contiguous_buffer = contiguous;
    self->_discontiguous_buffer = discontiguous;
    self->_maximum = static_cast<DDS_UnsignedLong>(newMax);
    self->_length = static_cast<DDS_UnsignedLong>(newLength);
    return true;
}

}  // namespace

extern "C" {

DDS_Boolean ZELSequence_initialize(ZELSequence *self, const char *context) {
    if (self == nullptr) {
        logBadParameterI(context, "self");
        return DDS_BOOLEAN_FALSE;
    }
    resetI(self);
    return DDS_BOOLEAN_TRUE;
}

DDS_Boolean ZELSequence_finalize(ZELSequence *self, const ZELSequenceElementType *type, const char *context) {
    self = writableI(self, context);
    if (self == nullptr || !typeIsValidI(type, context)) {
        return DDS_BOOLEAN_FALSE;
    }
    if (!self->_owned) {
        logPreconditionI(context, kMustNotBeLoaned);
        return DDS_BOOLEAN_FALSE;
    }
    if (self->_contiguous_buffer != nullptr) {
        finalizeElementsI(type, static_cast<char *>(self->_contiguous_buffer), self->_maximum,
                          &self->_elementDeallocParams);
        ZELOsapiHeap_freeArray(self->_contiguous_buffer);
    }
    resetI(self);
    return DDS_BOOLEAN_TRUE;
}

DDS_Long ZELSequence_get_maximum(const ZELSequence *self, const char *context) {
    self = readableI(self, context);
    return self == nullptr ? 0 : static_cast<DDS_Long>(self->_maximum);
}

DDS_Boolean ZELSequence_set_maximum(ZELSequence *self, const ZELSequenceElementType *type, DDS_Long new_max,
                                    const char *context) {
    self = writableI(self, context);
    if (self == nullptr || !typeIsValidI(type, context)) {
        return DDS_BOOLEAN_FALSE;
    }
    if (!self->_owned) {
        logPreconditionI(context, kMustNotBeLoaned);
        return DDS_BOOLEAN_FALSE;
    }
    if (new_max < 0) {
        logPreconditionI(context, kMaxMustBePositive);
        return DDS_BOOLEAN_FALSE;
    }
    return setOwnedMaximumI(self, type, static_cast<DDS_UnsignedLong>(new_max), context) ? DDS_BOOLEAN_TRUE
                                                                                         : DDS_BOOLEAN_FALSE;
}

DDS_Long ZELSequence_get_length(const ZELSequence *self, const char *context) {
    self = readableI(self, context);
    return self == nullptr ? 0 : static_cast<DDS_Long>(self->_length);
}

DDS_Boolean ZELSequence_set_length(ZELSequence *self, const ZELSequenceElementType *type, DDS_Long new_length,
                                   const char *context) {
    self = writableI(self, context);
    if (self == nullptr || !typeIsValidI(type, context)) {
        return DDS_BOOLEAN_FALSE;
    }
    if (new_length < 0) {
        logPreconditionI(context, kNegativeArgument);
        return DDS_BOOLEAN_FALSE;
    }
    if (static_cast<DDS_UnsignedLong>(new_length) > self->_maximum) {
        logPreconditionI(context, kLengthAboveMaximum);
        return DDS_BOOLEAN_FALSE;
    }
    self->_length = static_cast<DDS_UnsignedLong>(new_length);
    return DDS_BOOLEAN_TRUE;
}

DDS_Boolean ZELSequence_ensure_length(ZELSequence *self, const ZELSequenceElementType *type, DDS_Long length,
                                      DDS_Long max, const char *context) {
    self = writableI(self, context);
    if (self == nullptr || !typeIsValidI(type, context)) {
        return DDS_BOOLEAN_FALSE;
    }
    if (length < 0 || length > max) {
        logBadParameterI(context, "length");
        return DDS_BOOLEAN_FALSE;
    }
    if (static_cast<DDS_UnsignedLong>(length) > self->_maximum) {
        if (!self->_owned) {
            logPreconditionI(context, kMustNotBeLoaned);
            return DDS_BOOLEAN_FALSE;
        }
        if (!setOwnedMaximumI(self, type, static_cast<DDS_UnsignedLong>(max), context)) {
            return DDS_BOOLEAN_FALSE;
        }
    }
    self->_length = static_cast<DDS_UnsignedLong>(length);
    return DDS_BOOLEAN_TRUE;
}

void *ZELSequence_get_reference(const ZELSequence *self, const ZELSequenceElementType *type, DDS_Long i,
                                const char *context) {
    self = readableI(self, context);
    if (self == nullptr || !typeIsValidI(type, context)) {
        return nullptr;
    }
    if (i < 0 || static_cast<DDS_UnsignedLong>(i) >= self->_length) {
        logPreconditionI(context, kIndexOutOfBounds);
        return nullptr;
    }
    return elementAtI(self, type->size, static_cast<DDS_UnsignedLong>(i));
}

ZELSequence *ZELSequence_copy(ZELSequence *self, const ZELSequence *src, const ZELSequenceElementType *type,
                              const char *context) {
    return copyI(self, src, type, true, context);
}

ZELSequence *ZELSequence_copy_no_alloc(ZELSequence *self, const ZELSequence *src, const ZELSequenceElementType *type,
                                       const char *context) {
    return copyI(self, src, type, false, context);
}

DDS_Boolean ZELSequence_from_array(ZELSequence *self, const void *array, DDS_Long length,
                                   const ZELSequenceElementType *type, const char *context) {
    // The array is only read: the loan just lets copy see it as a sequence.
    ZELSequence view = kEmptySequence;
    if (!loanI(&view, const_cast<void *>(array), nullptr, length, length, context)) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_ANY_FAILURE_s, "loan contiguous array");
        return DDS_BOOLEAN_FALSE;
    }
    const bool copied = copyI(self, &view, type, true, context) != nullptr;
    if (!copied) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_ANY_FAILURE_s, "copying array sequence");
    }
    if (!ZELSequence_unloan(&view, context)) {
        ZELLog_printContextAndMsg(context, &ZEL_LOG_ANY_FAILURE_s, "unloan contiguous array");
        return DDS_BOOLEAN_FALSE;
    }
    return copied ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

DDS_Boolean ZELSequence_to_array(const ZELSequence *self, void *array, DDS_Long length,
                                 const ZELSequenceElementType *type, const char *context) {
    self = readableI(self, context);
    if (self == nullptr || !typeIsValidI(type, context)) {
        return DDS_BOOLEAN_FALSE;
    }
    if (length < 0) {
        logPreconditionI(context, kNegativeArgument);
        return DDS_BOOLEAN_FALSE;
    }
    const DDS_UnsignedLong count = static_cast<DDS_UnsignedLong>(length) < self->_length
                                           ? static_cast<DDS_UnsignedLong>(length)
                                           : self->_length;
    if (array == nullptr && count > 0) {
        logBadParameterI(context, "array");
        return DDS_BOOLEAN_FALSE;
    }
    for (DDS_UnsignedLong i = 0; i < count; ++i) {
        if (!copyElementI(type, static_cast<char *>(array) + type->size * i, elementAtI(self, type->size, i),
                          context)) {
            return DDS_BOOLEAN_FALSE;
        }
    }
    return DDS_BOOLEAN_TRUE;
}

DDS_Boolean ZELSequence_loan_contiguous(ZELSequence *self, void *buffer, DDS_Long new_length, DDS_Long new_max,
                                        const char *context) {
    return loanI(self, buffer, nullptr, new_length, new_max, context) ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

DDS_Boolean ZELSequence_loan_discontiguous(ZELSequence *self, void **buffer, DDS_Long new_length, DDS_Long new_max,
                                           const char *context) {
    return loanI(self, nullptr, buffer, new_length, new_max, context) ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

DDS_Boolean ZELSequence_unloan(ZELSequence *self, const char *context) {
    self = writableI(self, context);
    if (self == nullptr) {
        return DDS_BOOLEAN_FALSE;
    }
    if (self->_owned) {
        logPreconditionI(context, kMustBeLoaned);
        return DDS_BOOLEAN_FALSE;
    }
    self->_owned = DDS_BOOLEAN_TRUE;
    self->_contiguous_buffer = nullptr;
    self->_discontiguous_buffer = nullptr;
    self->_maximum = 0;
    self->_length = 0;
    self->_read_token1 = nullptr;
    self->_read_token2 = nullptr;
    return DDS_BOOLEAN_TRUE;
}

DDS_Boolean ZELSequence_has_ownership(const ZELSequence *self, const char *context) {
    self = readableI(self, context);
    return self == nullptr ? DDS_BOOLEAN_FALSE : self->_owned;
}

void *ZELSequence_get_contiguous_bufferI(const ZELSequence *self, const char *context) {
    self = readableI(self, context);
    return self == nullptr ? nullptr : self->_contiguous_buffer;
}

void **ZELSequence_get_discontiguous_bufferI(const ZELSequence *self, const char *context) {
    self = readableI(self, context);
    return self == nullptr ? nullptr : self->_discontiguous_buffer;
}

DDS_Boolean ZELSequence_get_read_tokenI(const ZELSequence *self, void **token1, void **token2, const char *context) {
    self = readableI(self, context);
    if (self == nullptr) {
        return DDS_BOOLEAN_FALSE;
    }
    if (token1 == nullptr || token2 == nullptr) {
        logBadParameterI(context, "token (NULL)");
        return DDS_BOOLEAN_FALSE;
    }
    *token1 = self->_read_token1;
    *token2 = self->_read_token2;
    return DDS_BOOLEAN_TRUE;
}

DDS_Boolean ZELSequence_set_read_tokenI(ZELSequence *self, void *token1, void *token2, const char *context) {
    self = writableI(self, context);
    if (self == nullptr) {
        return DDS_BOOLEAN_FALSE;
    }
    self->_read_token1 = token1;
    self->_read_token2 = token2;
    return DDS_BOOLEAN_TRUE;
}

DDS_Boolean ZELSequence_get_element_allocation_params(const ZELSequence *self, DDS_TypeAllocationParams_t *params,
                                                      const char *context) {
    self = readableI(self, context);
    if (self == nullptr) {
        return DDS_BOOLEAN_FALSE;
    }
    if (params == nullptr) {
        logBadParameterI(context, "params");
        return DDS_BOOLEAN_FALSE;
    }
    *params = self->_elementAllocParams;
    return DDS_BOOLEAN_TRUE;
}

DDS_Boolean ZELSequence_set_element_allocation_params(ZELSequence *self, const DDS_TypeAllocationParams_t *params,
                                                      const char *context) {
    self = writableI(self, context);
    if (self == nullptr) {
        return DDS_BOOLEAN_FALSE;
    }
    if (params == nullptr) {
        logBadParameterI(context, "params");
        return DDS_BOOLEAN_FALSE;
    }
    // The elements already in the buffer were made with the old parameters.
    if (self->_maximum != 0) {
        logPreconditionI(context, kAllocationParamsNeedZeroMaximum);
        return DDS_BOOLEAN_FALSE;
    }
    self->_elementAllocParams = *params;
    return DDS_BOOLEAN_TRUE;
}

DDS_Boolean ZELSequence_set_element_deallocation_params(ZELSequence *self, const DDS_TypeDeallocationParams_t *params,
                                                        const char *context) {
    self = writableI(self, context);
    if (self == nullptr) {
        return DDS_BOOLEAN_FALSE;
    }
    if (params == nullptr) {
        logBadParameterI(context, "params");
        return DDS_BOOLEAN_FALSE;
    }
    self->_elementDeallocParams = *params;
    return DDS_BOOLEAN_TRUE;
}

DDS_Boolean ZELSequence_set_element_pointers_allocation(ZELSequence *self, DDS_Boolean allocate_pointers,
                                                        const char *context) {
    self = writableI(self, context);
    if (self == nullptr) {
        return DDS_BOOLEAN_FALSE;
    }
    if (self->_maximum != 0) {
        logPreconditionI(context, kPointersAllocationNeedsZeroMaximum);
        return DDS_BOOLEAN_FALSE;
    }
    self->_elementAllocParams.allocate_pointers = allocate_pointers;
    return DDS_BOOLEAN_TRUE;
}

}  // extern "C"
