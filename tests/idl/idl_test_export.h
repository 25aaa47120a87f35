/* Export marking of the test types: they are linked into the test program
 * itself, so nothing needs exporting. */
#ifndef IDL_TEST_EXPORT_H
#define IDL_TEST_EXPORT_H

#define ZELTEST_IDL_API

#endif
