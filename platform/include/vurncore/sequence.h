/* Sequences. Every sequence of the platform and of generated type support
 * has one layout and one implementation (ZELSequence_*); a typed sequence
 * FooSeq declares the same fields with typed buffers and its operations are
 * thin wrappers that pass the element type and their own name. */
#ifndef VURNCORE_SEQUENCE_H
#define VURNCORE_SEQUENCE_H

#include "vurncore/dll.h"
#include "vurncore/types.h"

ZEL_EXTERN_C_BEGIN

struct DDS_TypeAllocationParams_t {
    DDS_Boolean allocate_pointers;
    DDS_Boolean allocate_optional_members;
    DDS_Boolean allocate_memory;
};
#define DDS_TYPE_ALLOCATION_PARAMS_DEFAULT \
    { DDS_BOOLEAN_TRUE, DDS_BOOLEAN_FALSE, DDS_BOOLEAN_TRUE }

struct DDS_TypeDeallocationParams_t {
    DDS_Boolean delete_pointers;
    DDS_Boolean delete_optional_members;
};
#define DDS_TYPE_DEALLOCATION_PARAMS_DEFAULT \
    { DDS_BOOLEAN_TRUE, DDS_BOOLEAN_TRUE }

/* Value of the initialization marker of an initialized sequence; any other
 * value makes the sequence initialize itself on first use, so a zero-filled
 * sequence is a valid empty one. */
#define ZEL_SEQUENCE_MAGIC_NUMBER 0x7344

#define ZEL_SEQUENCE_FIELDS(T)                             \
    DDS_Boolean _owned;                                    \
    T *_contiguous_buffer;                                 \
    T **_discontiguous_buffer;                             \
    DDS_UnsignedLong _maximum;                             \
    DDS_UnsignedLong _length;                              \
    DDS_Long _sequence_init;                               \
    void *_read_token1;                                    \
    void *_read_token2;                                    \
    struct DDS_TypeAllocationParams_t _elementAllocParams; \
    struct DDS_TypeDeallocationParams_t _elementDeallocParams

#define ZEL_SEQUENCE_INITIALIZER                                                                                       \
    {                                                                                                                  \
        DDS_BOOLEAN_TRUE, NULL, NULL, 0, 0, ZEL_SEQUENCE_MAGIC_NUMBER, NULL, NULL, DDS_TYPE_ALLOCATION_PARAMS_DEFAULT, \
                DDS_TYPE_DEALLOCATION_PARAMS_DEFAULT                                                                   \
    }

/* The untyped view of every sequence. */
struct ZELSequence {
    ZEL_SEQUENCE_FIELDS(void);
};

/* What a sequence needs to know of its elements.
 * - initialize is given zero-filled storage; it may fail (out of heap) and
 *   then leaves nothing to finalize. NULL: zero-filled storage is an
 *   initialized element.
 * - finalize releases what the element holds. NULL: nothing to release.
 * - copy copies `src` into the initialized element `dst`; when it fails
 *   `dst` is still an element to finalize. NULL: the element is plain memory
 *   and is copied with memcpy (finalize is then NULL too).
 * Elements are relocatable: the sequence may move them bit for bit. */
struct ZELSequenceElementType {
    size_t size;
    DDS_Boolean (*initialize)(void *element, const struct DDS_TypeAllocationParams_t *params);
    void (*finalize)(void *element, const struct DDS_TypeDeallocationParams_t *params);
    DDS_Boolean (*copy)(void *dst, const void *src);
};

/* The generic operations. `context` is the typed operation's name, used as
 * the context of every log line. Failures log and return DDS_BOOLEAN_FALSE,
 * NULL or 0 as the typed operation documents, and leave the sequence as it
 * was, with nothing leaked.
 *
 * Ownership. An owned sequence keeps its elements in one contiguous heap
 * array of `_maximum` elements, every one of them initialized with the
 * element allocation parameters (those past the length too: changing the
 * length within the maximum never allocates, and elements coming back into
 * the length keep their last values). A loaned sequence uses the caller's
 * storage, contiguous or through an array of element pointers, and never
 * initializes, finalizes or frees it.
 *
 * - initialize: the empty owned sequence (it frees nothing it held).
 * - finalize: finalizes and frees the buffer and leaves the empty owned
 *   sequence. A loaned sequence is refused ("buffer must not be loaned"):
 *   the loan must be returned first, so that its owner gets it back.
 * - set_maximum (owned only): a new buffer of exactly new_max elements; the
 *   first min(old, new) elements move over, the length is cut to new_max.
 * - set_length: within the maximum only; no element is touched.
 * - ensure_length: sets the length, first growing an owned buffer to `max`
 *   when the length exceeds the current maximum (0 <= length <= max).
 * - copy: makes self a copy of src; an owned self too small grows to exactly
 *   the source length, a loaned one is refused. copy_no_alloc refuses when
 *   the maximum is below the source length. Elements are copied aside first
 *   and swapped in, so a failing element copy changes nothing.
 * - from_array / to_array: copy `length` elements in / at most `length`
 *   elements out (to initialized array elements).
 * - loan_contiguous / loan_discontiguous: only on an owned sequence of
 *   maximum 0; unloan gives back the empty owned sequence (tokens cleared).
 * - Operations that only read treat a never-initialized sequence as empty. */
VURNCORE_API DDS_Boolean ZELSequence_initialize(struct ZELSequence *self, const char *context);
VURNCORE_API DDS_Boolean ZELSequence_finalize(struct ZELSequence *self, const struct ZELSequenceElementType *type,
                                              const char *context);
VURNCORE_API DDS_Long ZELSequence_get_maximum(const struct ZELSequence *self, const char *context);
VURNCORE_API DDS_Boolean ZELSequence_set_maximum(struct ZELSequence *self, const struct ZELSequenceElementType *type,
                                                 DDS_Long new_max, const char *context);
VURNCORE_API DDS_Long ZELSequence_get_length(const struct ZELSequence *self, const char *context);
VURNCORE_API DDS_Boolean ZELSequence_set_length(struct ZELSequence *self, const struct ZELSequenceElementType *type,
                                                DDS_Long new_length, const char *context);
VURNCORE_API DDS_Boolean ZELSequence_ensure_length(struct ZELSequence *self, const struct ZELSequenceElementType *type,
                                                   DDS_Long length, DDS_Long max, const char *context);
VURNCORE_API void *ZELSequence_get_reference(const struct ZELSequence *self, const struct ZELSequenceElementType *type,
                                             DDS_Long i, const char *context);
VURNCORE_API struct ZELSequence *ZELSequence_copy(struct ZELSequence *self, const struct ZELSequence *src,
                                                  const struct ZELSequenceElementType *type, const char *context);
VURNCORE_API struct ZELSequence *ZELSequence_copy_no_alloc(struct ZELSequence *self, const struct ZELSequence *src,
                                                           const struct ZELSequenceElementType *type,
                                                           const char *context);
VURNCORE_API DDS_Boolean ZELSequence_from_array(struct ZELSequence *self, const void *array, DDS_Long length,
                                                const struct ZELSequenceElementType *type, const char *context);
VURNCORE_API DDS_Boolean ZELSequence_to_array(const struct ZELSequence *self, void *array, DDS_Long length,
                                              const struct ZELSequenceElementType *type, const char *context);
VURNCORE_API DDS_Boolean ZELSequence_loan_contiguous(struct ZELSequence *self, void *buffer, DDS_Long new_length,
                                                     DDS_Long new_max, const char *context);
VURNCORE_API DDS_Boolean ZELSequence_loan_discontiguous(struct ZELSequence *self, void **buffer, DDS_Long new_length,
                                                        DDS_Long new_max, const char *context);
VURNCORE_API DDS_Boolean ZELSequence_unloan(struct ZELSequence *self, const char *context);
VURNCORE_API DDS_Boolean ZELSequence_has_ownership(const struct ZELSequence *self, const char *context);
VURNCORE_API void *ZELSequence_get_contiguous_bufferI(const struct ZELSequence *self, const char *context);
VURNCORE_API void **ZELSequence_get_discontiguous_bufferI(const struct ZELSequence *self, const char *context);
VURNCORE_API DDS_Boolean ZELSequence_get_read_tokenI(const struct ZELSequence *self, void **token1, void **token2,
                                                     const char *context);
VURNCORE_API DDS_Boolean ZELSequence_set_read_tokenI(struct ZELSequence *self, void *token1, void *token2,
                                                     const char *context);
VURNCORE_API DDS_Boolean ZELSequence_get_element_allocation_params(const struct ZELSequence *self,
                                                                   struct DDS_TypeAllocationParams_t *params,
                                                                   const char *context);
VURNCORE_API DDS_Boolean ZELSequence_set_element_allocation_params(struct ZELSequence *self,
                                                                   const struct DDS_TypeAllocationParams_t *params,
                                                                   const char *context);
VURNCORE_API DDS_Boolean ZELSequence_set_element_deallocation_params(struct ZELSequence *self,
                                                                     const struct DDS_TypeDeallocationParams_t *params,
                                                                     const char *context);
VURNCORE_API DDS_Boolean ZELSequence_set_element_pointers_allocation(struct ZELSequence *self,
                                                                     DDS_Boolean allocate_pointers,
                                                                     const char *context);

/* Declares the typed sequence `SEQ` of elements `T` and its operations,
 * exported with `API`. */
#define ZEL_SEQUENCE_DECLARE(API, SEQ, T)                                                                            \
    struct SEQ {                                                                                                     \
        ZEL_SEQUENCE_FIELDS(T);                                                                                      \
    };                                                                                                               \
    typedef struct SEQ SEQ;                                                                                          \
    API DDS_Boolean SEQ##_initialize(SEQ *self);                                                                     \
    API DDS_Boolean SEQ##_finalize(SEQ *self);                                                                       \
    API DDS_Long SEQ##_get_maximum(const SEQ *self);                                                                 \
    API DDS_Boolean SEQ##_set_maximum(SEQ *self, DDS_Long new_max);                                                  \
    API DDS_Long SEQ##_get_length(const SEQ *self);                                                                  \
    API DDS_Boolean SEQ##_set_length(SEQ *self, DDS_Long new_length);                                                \
    API DDS_Boolean SEQ##_ensure_length(SEQ *self, DDS_Long length, DDS_Long max);                                   \
    API T SEQ##_get(const SEQ *self, DDS_Long i);                                                                    \
    API T *SEQ##_get_reference(SEQ *self, DDS_Long i);                                                               \
    API SEQ *SEQ##_copy(SEQ *self, const SEQ *src);                                                                  \
    API SEQ *SEQ##_copy_no_alloc(SEQ *self, const SEQ *src);                                                         \
    API DDS_Boolean SEQ##_from_array(SEQ *self, const T array[], DDS_Long length);                                   \
    API DDS_Boolean SEQ##_to_array(SEQ *self, T array[], DDS_Long length);                                           \
    API DDS_Boolean SEQ##_loan_contiguous(SEQ *self, T *buffer, DDS_Long new_length, DDS_Long new_max);              \
    API DDS_Boolean SEQ##_loan_discontiguous(SEQ *self, T **buffer, DDS_Long new_length, DDS_Long new_max);          \
    API DDS_Boolean SEQ##_unloan(SEQ *self);                                                                         \
    API DDS_Boolean SEQ##_has_ownership(const SEQ *self);                                                            \
    API T *SEQ##_get_contiguous_bufferI(const SEQ *self);                                                            \
    API T **SEQ##_get_discontiguous_bufferI(const SEQ *self);                                                        \
    API DDS_Boolean SEQ##_get_read_tokenI(const SEQ *self, void **token1, void **token2);                            \
    API DDS_Boolean SEQ##_set_read_tokenI(SEQ *self, void *token1, void *token2);                                    \
    API DDS_Boolean SEQ##_get_element_allocation_params(const SEQ *self, struct DDS_TypeAllocationParams_t *params); \
    API DDS_Boolean SEQ##_set_element_allocation_params(SEQ *self, const struct DDS_TypeAllocationParams_t *params); \
    API DDS_Boolean SEQ##_set_element_deallocation_params(SEQ *self,                                                 \
                                                          const struct DDS_TypeDeallocationParams_t *params);        \
    API DDS_Boolean SEQ##_set_element_pointers_allocation(SEQ *self, DDS_Boolean allocate_pointers)

ZEL_EXTERN_C_END

#endif
