/* Export marking of the filter test types: they are linked into the test
 * program itself, so nothing needs exporting. */
#ifndef FILTER_TEST_EXPORT_H
#define FILTER_TEST_EXPORT_H

#define ZELTEST_FILTER_API

#endif
