/* A monitoring sample in Eclipse Cyclone DDS's C representation, written and
 * read by Cyclone's serializer. Its own file because Cyclone's DDS
 * declarations share their names with our platform's. */
#pragma once

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum { CYCLONE_WRITER_STATISTICS, CYCLONE_WRITER_DESCRIPTION } CycloneType;
typedef enum { CYCLONE_XCDR1, CYCLONE_XCDR2 } CycloneEncoding;

typedef struct CycloneSample CycloneSample;

/* A zeroed sample of the type (Cyclone's allocator aborts without heap). */
CycloneSample *CycloneSample_new(CycloneType type);
void CycloneSample_delete(CycloneSample *sample);

/* The cyclone_zel_dds_monitoring_ struct of the type. */
void *CycloneSample_data(CycloneSample *sample);

/* Reads little-endian octets, without their encapsulation header, into the
 * sample. With check, first checks them as Cyclone checks what it receives,
 * and returns false if they are invalid. */
bool CycloneSample_read(CycloneSample *sample, char *octets, uint32_t size, CycloneEncoding encoding, bool check);

/* Writes the sample in little-endian octets without encapsulation header,
 * into a buffer the sample owns until its next write. */
const char *CycloneSample_write(CycloneSample *sample, CycloneEncoding encoding, uint32_t *size);

#ifdef __cplusplus
}
#endif
