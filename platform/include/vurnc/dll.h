/* Symbol export for the platform's DDS API library (vurnc). */
#ifndef VURNC_DLL_H
#define VURNC_DLL_H

#include "vurncore/dll.h"

#if defined(_WIN32)
#if defined(VURNC_BUILDING)
#define VURNC_API __declspec(dllexport)
#else
#define VURNC_API __declspec(dllimport)
#endif
#else
#define VURNC_API __attribute__((visibility("default")))
#endif

#endif
