/* Strings of the DDS API, allocated on the platform heap. */
#ifndef VURNCORE_DDS_STRING_H
#define VURNCORE_DDS_STRING_H

#include "vurncore/dll.h"
#include "vurncore/types.h"

ZEL_EXTERN_C_BEGIN

/* A zero-filled string able to hold `length` characters and the NUL; NULL
 * when out of heap. */
VURNCORE_API char *DDS_String_alloc(size_t length);
/* A copy of `str` (NULL for a NULL `str` or when out of heap). */
VURNCORE_API char *DDS_String_dup(const char *str);
/* Frees a string made by DDS_String_alloc or DDS_String_dup; NULL is ignored. */
VURNCORE_API void DDS_String_free(char *str);

ZEL_EXTERN_C_END

#endif
