/* Export marking of the data path test types: they are linked into the test
 * program itself, so nothing needs exporting. */
#ifndef DATAPATH_TEST_EXPORT_H
#define DATAPATH_TEST_EXPORT_H

#define ZELTEST_DATAPATH_API

#endif
