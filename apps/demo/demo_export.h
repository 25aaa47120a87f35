/* Export marking of the demo's types: they are linked into the demo program
 * itself, so nothing needs exporting. */
#ifndef DEMO_EXPORT_H
#define DEMO_EXPORT_H

#define ZELDEMO_API

#endif
