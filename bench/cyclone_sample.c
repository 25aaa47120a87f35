#include "cyclone_sample.h"

#include "cyclone_monitoring.h"
#include "dds/dds.h"
#include "dds/ddsi/ddsi_cdrstream.h"
#include "dds/ddsi/q_protocol.h"

struct CycloneSample {
    const dds_topic_descriptor_t *descriptor;
    void *data;
    dds_ostreamLE_t out;
};

static uint32_t CycloneEncoding_version(CycloneEncoding encoding) {
    return encoding == CYCLONE_XCDR2 ? CDR_ENC_VERSION_2 : CDR_ENC_VERSION_1;
}

CycloneSample *CycloneSample_new(CycloneType type) {
    CycloneSample *sample = dds_alloc(sizeof *sample);
    sample->descriptor = type == CYCLONE_WRITER_STATISTICS ? &cyclone_zel_dds_monitoring_DataWriterEntityStatistics_desc
                                                           : &cyclone_zel_dds_monitoring_DataWriterDescription_desc;
    sample->data = dds_alloc(sample->descriptor->m_size);
    dds_ostreamLE_init(&sample->out, 0, CDR_ENC_VERSION_2);
    return sample;
}

void CycloneSample_delete(CycloneSample *sample) {
    dds_ostreamLE_fini(&sample->out);
    dds_sample_free(sample->data, sample->descriptor, DDS_FREE_ALL);
    dds_free(sample);
}

void *CycloneSample_data(CycloneSample *sample) { return sample->data; }

bool CycloneSample_read(CycloneSample *sample, char *octets, uint32_t size, CycloneEncoding encoding, bool check) {
    const uint32_t version = CycloneEncoding_version(encoding);
    uint32_t end = 0;
    /* Little-endian octets on a little-endian host: nothing to swap. */
    if (check && dds_stream_normalize_data(octets, &end, size, false, version, sample->descriptor->m_ops) == NULL) {
        return false;
    }
    dds_istream_t in;
    dds_istream_init(&in, size, octets, version);
    dds_stream_read(&in, sample->data, sample->descriptor->m_ops);
    dds_istream_fini(&in);
    return true;
}

const char *CycloneSample_write(CycloneSample *sample, CycloneEncoding encoding, uint32_t *size) {
    sample->out.x.m_index = 0;
    sample->out.x.m_xcdr_version = CycloneEncoding_version(encoding);
    dds_stream_writeLE(&sample->out, sample->data, sample->descriptor->m_ops);
    *size = sample->out.x.m_index;
    return (const char *)sample->out.x.m_buffer;
}
