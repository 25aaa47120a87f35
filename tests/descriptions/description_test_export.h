/* Export marking of the description test types: they are linked into the
 * test program itself, so nothing needs exporting. */
#ifndef DESCRIPTION_TEST_EXPORT_H
#define DESCRIPTION_TEST_EXPORT_H

#define ZELTEST_DESCRIPTION_API

#endif
