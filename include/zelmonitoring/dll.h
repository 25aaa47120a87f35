/* Symbol export for the monitoring plug-in (zelmonitoring). Everything the
 * middleware or an application reaches in the plug-in is marked
 * ZELMONITOR_API; the rest stays hidden. */
#ifndef ZELMONITORING_DLL_H
#define ZELMONITORING_DLL_H

#if defined(_WIN32)
#if defined(ZELMONITOR_BUILDING)
#define ZELMONITOR_API __declspec(dllexport)
#else
#define ZELMONITOR_API __declspec(dllimport)
#endif
#else
#define ZELMONITOR_API __attribute__((visibility("default")))
#endif

#endif
