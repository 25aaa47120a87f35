// For implementers of typed sequences (C++ only): defines the operations
// that ZEL_SEQUENCE_DECLARE declares as thin extern "C" wrappers over
// ZELSequence_*, and gives the element types of plain values, strings and
// structures with initialize/finalize/copy functions.
//
//   ZEL_SEQUENCE_DECLARE(VURNC_API, DDS_LongSeq, DDS_Long);      // header
//   ZEL_SEQUENCE_DEFINE(VURNC_API, DDS_LongSeq, DDS_Long,          // one .cpp
//                       &zel::plainSequenceElementType<DDS_Long>);
#ifndef VURNCORE_SEQUENCE_DEFINE_HPP
#define VURNCORE_SEQUENCE_DEFINE_HPP

#include <cstddef>
#include <type_traits>

#include "vurncore/dds_string.h"
#include "vurncore/sequence.h"

namespace zel {

// Elements that are plain memory: zero-filled when made, nothing to
// release, copied with memcpy; the sequence then works on whole buffers and
// makes no call per element.
template <typename T>
requires std::is_trivially_copyable_v<T>
inline constexpr ZELSequenceElementType plainSequenceElementType{sizeof(T), nullptr, nullptr, nullptr};

namespace sequence_detail {

inline DDS_Boolean initializeString(void *element, const DDS_TypeAllocationParams_t *params) {
    char *value = nullptr;
    if (params->allocate_memory) {
        value = DDS_String_dup("");
        if (value == nullptr) {
            return DDS_BOOLEAN_FALSE;
        }
    }
    *static_cast<char **>(element) = value;
    return DDS_BOOLEAN_TRUE;
}

inline void finalizeString(void *element, const DDS_TypeDeallocationParams_t *) {
    char **value = static_cast<char **>(element);
    DDS_String_free(*value);
    *value = nullptr;
}

// Replaces the destination's text; on failure the destination keeps it.
inline DDS_Boolean copyString(void *dst, const void *src) {
    const char *text = *static_cast<const char *const *>(src);
    char *copy = nullptr;
    if (text != nullptr) {
        copy = DDS_String_dup(text);
        if (copy == nullptr) {
            return DDS_BOOLEAN_FALSE;
        }
    }
    char **value = static_cast<char **>(dst);
    DDS_String_free(*value);
    *value = copy;
    return DDS_BOOLEAN_TRUE;
}

template <typename T, DDS_Boolean (*Initialize)(T *, const DDS_TypeAllocationParams_t *)>
DDS_Boolean initializeAs(void *element, const DDS_TypeAllocationParams_t *params) {
    return Initialize(static_cast<T *>(element), params);
}

template <typename T, void (*Finalize)(T *, const DDS_TypeDeallocationParams_t *)>
void finalizeAs(void *element, const DDS_TypeDeallocationParams_t *params) {
    Finalize(static_cast<T *>(element), params);
}

template <typename T, DDS_Boolean (*Copy)(T *, const T *)>
DDS_Boolean copyAs(void *dst, const void *src) {
    return Copy(static_cast<T *>(dst), static_cast<const T *>(src));
}

template <typename Seq>
ZELSequence *untyped(Seq *self) {
    return reinterpret_cast<ZELSequence *>(self);
}

template <typename Seq>
const ZELSequence *untyped(const Seq *self) {
    return reinterpret_cast<const ZELSequence *>(self);
}

}  // namespace sequence_detail

// Strings (char *): made "" when the allocation parameters ask for memory
// (else NULL), freed when finalized, copied by content.
inline constexpr ZELSequenceElementType stringSequenceElementType{sizeof(char *), &sequence_detail::initializeString,
                                                                  &sequence_detail::finalizeString,
                                                                  &sequence_detail::copyString};

// Structures with their own initialize/finalize/copy functions.
template <typename T, DDS_Boolean (*Initialize)(T *, const DDS_TypeAllocationParams_t *),
          void (*Finalize)(T *, const DDS_TypeDeallocationParams_t *), DDS_Boolean (*Copy)(T *, const T *)>
inline constexpr ZELSequenceElementType structSequenceElementType{
        sizeof(T), &sequence_detail::initializeAs<T, Initialize>, &sequence_detail::finalizeAs<T, Finalize>,
        &sequence_detail::copyAs<T, Copy>};

}  // namespace zel

// Defines every operation of the typed sequence SEQ of T declared by
// ZEL_SEQUENCE_DECLARE(API, SEQ, T). ELEMENT_TYPE is a pointer to the
// element type. Each operation logs with its own name ("SEQ_get") as context.
#define ZEL_SEQUENCE_DEFINE(API, SEQ, T, ELEMENT_TYPE)                                                                \
    static_assert(sizeof(SEQ) == sizeof(ZELSequence) &&                                                               \
                          offsetof(SEQ, _elementDeallocParams) == offsetof(ZELSequence, _elementDeallocParams),       \
                  #SEQ " must have the layout of every sequence");                                                    \
    extern "C" {                                                                                                      \
    API DDS_Boolean SEQ##_initialize(SEQ *self) {                                                                     \
        return ZELSequence_initialize(::zel::sequence_detail::untyped(self), #SEQ "_initialize");                     \
    }                                                                                                                 \
    API DDS_Boolean SEQ##_finalize(SEQ *self) {                                                                       \
        return ZELSequence_finalize(::zel::sequence_detail::untyped(self), ELEMENT_TYPE, #SEQ "_finalize");           \
    }                                                                                                                 \
    API DDS_Long SEQ##_get_maximum(const SEQ *self) {                                                                 \
        return ZELSequence_get_maximum(::zel::sequence_detail::untyped(self), #SEQ "_get_maximum");                   \
    }                                                                                                                 \
    API DDS_Boolean SEQ##_set_maximum(SEQ *self, DDS_Long new_max) {                                                  \
        return ZELSequence_set_maximum(::zel::sequence_detail::untyped(self), ELEMENT_TYPE, new_max,                  \
                                       #SEQ "_set_maximum");                                                          \
    }                                                                                                                 \
    API DDS_Long SEQ##_get_length(const SEQ *self) {                                                                  \
        return ZELSequence_get_length(::zel::sequence_detail::untyped(self), #SEQ "_get_length");                     \
    }                                                                                                                 \
    API DDS_Boolean SEQ##_set_length(SEQ *self, DDS_Long new_length) {                                                \
        return ZELSequence_set_length(::zel::sequence_detail::untyped(self), ELEMENT_TYPE, new_length,                \
                                      #SEQ "_set_length");                                                            \
    }                                                                                                                 \
    API DDS_Boolean SEQ##_ensure_length(SEQ *self, DDS_Long length, DDS_Long max) {                                   \
        return ZELSequence_ensure_length(::zel::sequence_detail::untyped(self), ELEMENT_TYPE, length, max,            \
                                         #SEQ "_ensure_length");                                                      \
    }                                                                                                                 \
    API T SEQ##_get(const SEQ *self, DDS_Long i) {                                                                    \
        using Element = T;                                                                                            \
        const void *element =                                                                                         \
                ZELSequence_get_reference(::zel::sequence_detail::untyped(self), ELEMENT_TYPE, i, #SEQ "_get");       \
        if (element == nullptr) {                                                                                     \
            return Element{};                                                                                         \
        }                                                                                                             \
        return *static_cast<const Element *>(element);                                                                \
    }                                                                                                                 \
    API T *SEQ##_get_reference(SEQ *self, DDS_Long i) {                                                               \
        return static_cast<T *>(ZELSequence_get_reference(::zel::sequence_detail::untyped(self), ELEMENT_TYPE, i,     \
                                                          #SEQ "_get_reference"));                                    \
    }                                                                                                                 \
    API SEQ *SEQ##_copy(SEQ *self, const SEQ *src) {                                                                  \
        return ZELSequence_copy(::zel::sequence_detail::untyped(self), ::zel::sequence_detail::untyped(src),          \
                                ELEMENT_TYPE, #SEQ "_copy") != nullptr                                                \
                       ? self                                                                                         \
                       : nullptr;                                                                                     \
    }                                                                                                                 \
    API SEQ *SEQ##_copy_no_alloc(SEQ *self, const SEQ *src) {                                                         \
        return ZELSequence_copy_no_alloc(::zel::sequence_detail::untyped(self), ::zel::sequence_detail::untyped(src), \
                                         ELEMENT_TYPE, #SEQ "_copy_no_alloc") != nullptr                              \
                       ? self                                                                                         \
                       : nullptr;                                                                                     \
    }                                                                                                                 \
    API DDS_Boolean SEQ##_from_array(SEQ *self, const T array[], DDS_Long length) {                                   \
        return ZELSequence_from_array(::zel::sequence_detail::untyped(self), array, length, ELEMENT_TYPE,             \
                                      #SEQ "_from_array");                                                            \
    }                                                                                                                 \
    API DDS_Boolean SEQ##_to_array(SEQ *self, T array[], DDS_Long length) {                                           \
        return ZELSequence_to_array(::zel::sequence_detail::untyped(self), array, length, ELEMENT_TYPE,               \
                                    #SEQ "_to_array");                                                                \
    }                                                                                                                 \
    API DDS_Boolean SEQ##_loan_contiguous(SEQ *self, T *buffer, DDS_Long new_length, DDS_Long new_max) {              \
        return ZELSequence_loan_contiguous(::zel::sequence_detail::untyped(self), buffer, new_length, new_max,        \
                                           #SEQ "_loan_contiguous");                                                  \
    }                                                                                                                 \
    API DDS_Boolean SEQ##_loan_discontiguous(SEQ *self, T **buffer, DDS_Long new_length, DDS_Long new_max) {          \
        return ZELSequence_loan_discontiguous(::zel::sequence_detail::untyped(self),                                  \
                                              reinterpret_cast<void **>(buffer), new_length, new_max,                 \
                                              #SEQ "_loan_discontiguous");                                            \
    }                                                                                                                 \
    API DDS_Boolean SEQ##_unloan(SEQ *self) {                                                                         \
        return ZELSequence_unloan(::zel::sequence_detail::untyped(self), #SEQ "_unloan");                             \
    }                                                                                                                 \
    API DDS_Boolean SEQ##_has_ownership(const SEQ *self) {                                                            \
        return ZELSequence_has_ownership(::zel::sequence_detail::untyped(self), #SEQ "_has_ownership");               \
    }                                                                                                                 \
    API T *SEQ##_get_contiguous_bufferI(const SEQ *self) {                                                            \
        return static_cast<T *>(ZELSequence_get_contiguous_bufferI(::zel::sequence_detail::untyped(self),             \
                                                                   #SEQ "_get_contiguous_bufferI"));                  \
    }                                                                                                                 \
    API T **SEQ##_get_discontiguous_bufferI(const SEQ *self) {                                                        \
        return reinterpret_cast<T **>(ZELSequence_get_discontiguous_bufferI(::zel::sequence_detail::untyped(self),    \
                                                                            #SEQ "_get_discontiguous_bufferI"));      \
    }                                                                                                                 \
    API DDS_Boolean SEQ##_get_read_tokenI(const SEQ *self, void **token1, void **token2) {                            \
        return ZELSequence_get_read_tokenI(::zel::sequence_detail::untyped(self), token1, token2,                     \
                                           #SEQ "_get_read_tokenI");                                                  \
    }                                                                                                                 \
    API DDS_Boolean SEQ##_set_read_tokenI(SEQ *self, void *token1, void *token2) {                                    \
        return ZELSequence_set_read_tokenI(::zel::sequence_detail::untyped(self), token1, token2,                     \
                                           #SEQ "_set_read_tokenI");                                                  \
    }                                                                                                                 \
    API DDS_Boolean SEQ##_get_element_allocation_params(const SEQ *self, struct DDS_TypeAllocationParams_t *params) { \
        return ZELSequence_get_element_allocation_params(::zel::sequence_detail::untyped(self), params,               \
                                                         #SEQ "_get_element_allocation_params");                      \
    }                                                                                                                 \
    API DDS_Boolean SEQ##_set_element_allocation_params(SEQ *self, const struct DDS_TypeAllocationParams_t *params) { \
        return ZELSequence_set_element_allocation_params(::zel::sequence_detail::untyped(self), params,               \
                                                         #SEQ "_set_element_allocation_params");                      \
    }                                                                                                                 \
    API DDS_Boolean SEQ##_set_element_deallocation_params(SEQ *self,                                                  \
                                                          const struct DDS_TypeDeallocationParams_t *params) {        \
        return ZELSequence_set_element_deallocation_params(::zel::sequence_detail::untyped(self), params,             \
                                                           #SEQ "_set_element_deallocation_params");                  \
    }                                                                                                                 \
    API DDS_Boolean SEQ##_set_element_pointers_allocation(SEQ *self, DDS_Boolean allocate_pointers) {                 \
        return ZELSequence_set_element_pointers_allocation(::zel::sequence_detail::untyped(self), allocate_pointers,  \
                                                           #SEQ "_set_element_pointers_allocation");                  \
    }                                                                                                                 \
    }                                                                                                                 \
    static_assert(true, "a semicolon may follow")

#endif
