/* Symbol export for the platform's core library (vurncore). */
#ifndef VURNCORE_DLL_H
#define VURNCORE_DLL_H

#if defined(_WIN32)
#if defined(VURNCORE_BUILDING)
#define VURNCORE_API __declspec(dllexport)
#else
#define VURNCORE_API __declspec(dllimport)
#endif
#else
#define VURNCORE_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
#define ZEL_EXTERN_C_BEGIN extern "C" {
#define ZEL_EXTERN_C_END }
#else
#define ZEL_EXTERN_C_BEGIN
#define ZEL_EXTERN_C_END
#endif

#endif
