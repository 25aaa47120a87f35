/* Export marking of the statistics test types: they are linked into the
 * test program itself, so nothing needs exporting. */
#ifndef STATISTICS_TEST_EXPORT_H
#define STATISTICS_TEST_EXPORT_H

#define ZELTEST_STATISTICS_API

#endif
