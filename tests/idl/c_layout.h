/* The layout of the generated test structs as a C compiler sees it. */
#ifndef IDL_TEST_C_LAYOUT_H
#define IDL_TEST_C_LAYOUT_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

struct CLayoutEntry {
    const char *type;   /* flat type name */
    const char *member; /* NULL for the entry giving the whole struct's size */
    size_t value;       /* offset of the member, or size of the struct */
};

/* Entries for every member of the test structs, ended by an entry whose
 * type is NULL. */
extern const struct CLayoutEntry idlTest_cLayout[];

#ifdef __cplusplus
}
#endif

#endif
