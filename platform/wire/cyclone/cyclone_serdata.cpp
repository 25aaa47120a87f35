// The sertype and serdata that carry a type plug-in's serialized octets
// through Cyclone unchanged, with the plug-in's MD5 key hash as instance
// identity. Cyclone owns them once handed over and frees them through
// these operations, from its own threads: they use the C heap, not the
// platform's, so that what Cyclone keeps (durable histories, reader
// caches) is not counted against the application.
#include <dds/ddsi/ddsi_keyhash.h>
#include <dds/ddsi/ddsi_serdata.h>
#include <dds/ddsi/ddsi_sertype.h>
#include <dds/ddsi/q_radmin.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "cyclone_private.h"
#include "vurncore/clock.h"

namespace {

// Status info bits of a DATA submessage.
constexpr uint32_t statusInfoDispose = 1u;
constexpr uint32_t statusInfoUnregister = 2u;

struct Serdata {
    ddsi_serdata c;
    uint8_t keyHash[16];
    uint32_t size;  // octets in `data`, a multiple of 4
    uint8_t *data;  // right after the record
};

// Cyclone sends the size rounded up to 4 octets; the number of padding
// octets travels in the two low bits of the encapsulation options, so
// that the receiver gives back exactly what was written.
uint32_t paddedSize(uint32_t size) { return (size + 3u) & ~3u; }

Serdata *serdataNew(const ddsi_sertype *type, ddsi_serdata_kind kind, uint32_t size) {
    auto *d = static_cast<Serdata *>(std::calloc(1, sizeof(Serdata) + size));
    if (d == nullptr) {
        return nullptr;
    }
    ddsi_serdata_init(&d->c, type, kind);
    d->size = size;
    d->data = reinterpret_cast<uint8_t *>(d + 1);
    return d;
}

void serdataHash(Serdata *d, const ddsi_sertype *type) {
    uint32_t hash = 2166136261u;
    for (uint8_t octet : d->keyHash) {
        hash = (hash ^ octet) * 16777619u;
    }
    d->c.hash = hash ^ (type != nullptr ? type->serdata_basehash : 0u);
}

bool serdataEqkey(const ddsi_serdata *a, const ddsi_serdata *b) {
    return std::memcmp(reinterpret_cast<const Serdata *>(a)->keyHash, reinterpret_cast<const Serdata *>(b)->keyHash,
                       16) == 0;
}

uint32_t serdataGetSize(const ddsi_serdata *d) { return reinterpret_cast<const Serdata *>(d)->size; }

ddsi_serdata *serdataFromSer(const ddsi_sertype *type, ddsi_serdata_kind kind, const nn_rdata *fragchain, size_t size) {
    Serdata *d = serdataNew(type, kind, static_cast<uint32_t>(size));
    if (d == nullptr) {
        return nullptr;
    }
    // The key hash comes with the first fragment, before the payload.
    if (fragchain->keyhash_zoff != 0) {
        std::memcpy(d->keyHash, NN_RMSG_PAYLOADOFF(fragchain->rmsg, NN_RDATA_KEYHASH_OFF(fragchain)), 16);
    }
    uint32_t off = 0;
    for (const nn_rdata *frag = fragchain; frag != nullptr && off < size; frag = frag->nextfrag) {
        if (frag->maxp1 > off) {
            const uint32_t end = frag->maxp1 < size ? frag->maxp1 : static_cast<uint32_t>(size);
            std::memcpy(d->data + off, NN_RMSG_PAYLOADOFF(frag->rmsg, NN_RDATA_PAYLOAD_OFF(frag)) + (off - frag->min),
                        end - off);
            off = end;
        }
    }
    serdataHash(d, type);
    return &d->c;
}

ddsi_serdata *serdataFromSerIov(const ddsi_sertype *type, ddsi_serdata_kind kind, ddsrt_msg_iovlen_t niov,
                                const ddsrt_iovec_t *iov, size_t size) {
    Serdata *d = serdataNew(type, kind, static_cast<uint32_t>(size));
    if (d == nullptr) {
        return nullptr;
    }
    size_t off = 0;
    for (ddsrt_msg_iovlen_t i = 0; i < niov && off < size; ++i) {
        const size_t n = iov[i].iov_len < size - off ? iov[i].iov_len : size - off;
        std::memcpy(d->data + off, iov[i].iov_base, n);
        off += n;
    }
    serdataHash(d, type);
    return &d->c;
}

ddsi_serdata *serdataFromKeyhash(const ddsi_sertype *type, const ddsi_keyhash *keyhash) {
    Serdata *d = serdataNew(type, SDK_KEY, 0);
    if (d == nullptr) {
        return nullptr;
    }
    std::memcpy(d->keyHash, keyhash->value, 16);
    serdataHash(d, type);
    return &d->c;
}

ddsi_serdata *serdataFromSample(const ddsi_sertype *, ddsi_serdata_kind, const void *) { return nullptr; }

void serdataToSer(const ddsi_serdata *d, size_t off, size_t sz, void *buf) {
    std::memcpy(buf, reinterpret_cast<const Serdata *>(d)->data + off, sz);
}

ddsi_serdata *serdataToSerRef(const ddsi_serdata *d, size_t off, size_t sz, ddsrt_iovec_t *ref) {
    ref->iov_base = reinterpret_cast<const Serdata *>(d)->data + off;
    ref->iov_len = static_cast<ddsrt_iov_len_t>(sz);
    return ddsi_serdata_ref(d);
}

void serdataToSerUnref(ddsi_serdata *d, const ddsrt_iovec_t *) { ddsi_serdata_unref(d); }

bool serdataToSample(const ddsi_serdata *, void *, void **, void *) { return false; }

// The untyped form names the instance: the key hash, and the serialized
// key when the serdata is one (a dispose or unregister), which a reader
// that never saw the instance needs.
ddsi_serdata *serdataToUntyped(const ddsi_serdata *d) {
    const auto *s = reinterpret_cast<const Serdata *>(d);
    Serdata *u = serdataNew(d->type, SDK_KEY, d->kind == SDK_KEY ? s->size : 0);
    if (u == nullptr) {
        return nullptr;
    }
    std::memcpy(u->data, s->data, u->size);
    std::memcpy(u->keyHash, s->keyHash, 16);
    u->c.type = nullptr;
    u->c.hash = d->hash;
    return &u->c;
}

bool serdataUntypedToSample(const ddsi_sertype *, const ddsi_serdata *, void *, void **, void *) { return false; }

void serdataFree(ddsi_serdata *d) { std::free(d); }

size_t serdataPrint(const ddsi_sertype *, const ddsi_serdata *d, char *buf, size_t size) {
    const auto *s = reinterpret_cast<const Serdata *>(d);
    return static_cast<size_t>(std::snprintf(buf, size, "%u octets", s->size));
}

void serdataGetKeyhash(const ddsi_serdata *d, ddsi_keyhash *buf, bool) {
    std::memcpy(buf->value, reinterpret_cast<const Serdata *>(d)->keyHash, 16);
}

const ddsi_serdata_ops serdataOps = {
        .eqkey = serdataEqkey,
        .get_size = serdataGetSize,
        .from_ser = serdataFromSer,
        .from_ser_iov = serdataFromSerIov,
        .from_keyhash = serdataFromKeyhash,
        .from_sample = serdataFromSample,
        .to_ser = serdataToSer,
        .to_ser_ref = serdataToSerRef,
        .to_ser_unref = serdataToSerUnref,
        .to_sample = serdataToSample,
        .to_untyped = serdataToUntyped,
        .untyped_to_sample = serdataUntypedToSample,
        .free = serdataFree,
        .print = serdataPrint,
        .get_keyhash = serdataGetKeyhash,
#ifdef DDS_HAS_SHM
        .get_sample_size = nullptr,
        .from_iox_buffer = nullptr,
#endif
};

void sertypeFree(ddsi_sertype *type) {
    ddsi_sertype_fini(type);
    std::free(type);
}

// Samples of this sertype are never materialized: Cyclone only moves octets.
void sertypeZeroSamples(const ddsi_sertype *, void *, size_t) {}
void sertypeReallocSamples(void **ptrs, const ddsi_sertype *, void *, size_t, size_t) {
    if (ptrs != nullptr) {
        ptrs[0] = nullptr;
    }
}
void sertypeFreeSamples(const ddsi_sertype *, void **, size_t, dds_free_op_t) {}
// Name, flags and operations, which Cyclone compares itself, say it all.
bool sertypeEqual(const ddsi_sertype *, const ddsi_sertype *) { return true; }
uint32_t sertypeHash(const ddsi_sertype *) { return 0; }

const ddsi_sertype_ops sertypeOps = {
        .version = ddsi_sertype_v0,
        .arg = nullptr,
        .free = sertypeFree,
        .zero_samples = sertypeZeroSamples,
        .realloc_samples = sertypeReallocSamples,
        .free_samples = sertypeFreeSamples,
        .equal = sertypeEqual,
        .hash = sertypeHash,
        .type_id = nullptr,
        .type_map = nullptr,
        .type_info = nullptr,
        .derive_sertype = nullptr,
        .get_serialized_size = nullptr,
        .serialize_into = nullptr,
};

}  // namespace

ddsi_sertype *ZELCycloneSertype_newI(const char *typeName, bool keyed) {
    auto *type = static_cast<ddsi_sertype *>(std::calloc(1, sizeof(ddsi_sertype)));
    if (type == nullptr) {
        return nullptr;
    }
    ddsi_sertype_init_flags(type, typeName, &sertypeOps, &serdataOps,
                            DDSI_SERTYPE_FLAG_REQUEST_KEYHASH | (keyed ? 0u : DDSI_SERTYPE_FLAG_TOPICKIND_NO_KEY));
    type->allowed_data_representation = DDS_DATA_REPRESENTATION_FLAG_XCDR1;
    return type;
}

ddsi_serdata *ZELCycloneSerdata_fromSampleI(const ddsi_sertype *type, const ZELWireSample *sample) {
    const bool data = sample->kind == ZEL_WIRE_SAMPLE_DATA;
    const uint32_t size = paddedSize(sample->size);
    Serdata *d = serdataNew(type, data ? SDK_DATA : SDK_KEY, size);
    if (d == nullptr) {
        return nullptr;
    }
    std::memcpy(d->data, sample->data, sample->size);
    if (sample->size >= 4) {
        d->data[3] = static_cast<uint8_t>((d->data[3] & ~3u) | (size - sample->size));
    }
    std::memcpy(d->keyHash, sample->keyHash, 16);
    serdataHash(d, type);
    d->c.statusinfo = sample->kind == ZEL_WIRE_SAMPLE_DISPOSE      ? statusInfoDispose
                      : sample->kind == ZEL_WIRE_SAMPLE_UNREGISTER ? statusInfoUnregister
                                                                   : 0u;
    d->c.timestamp.v = static_cast<int64_t>(ZELNtpTime_toNanoseconds(&sample->sourceTimestamp));
    return &d->c;
}

bool ZELCycloneSerdata_toSampleI(const ddsi_serdata *serdata, ZELWireSample *sample, std::vector<uint8_t> *scratch) {
    const auto *d = reinterpret_cast<const Serdata *>(serdata);
    std::memcpy(sample->keyHash, d->keyHash, 16);
    sample->data = d->data;
    sample->size = d->size;
    const uint32_t padding = d->size >= 4 ? d->data[3] & 3u : 0u;
    if (padding != 0 && padding <= d->size - 4) {
        // Other readers of this process share the serdata: the options go
        // back to what the writer's plug-in wrote in a copy.
        sample->size = d->size - padding;
        try {
            scratch->assign(d->data, d->data + sample->size);
        } catch (...) {
            return false;
        }
        (*scratch)[3] = static_cast<uint8_t>((*scratch)[3] & ~3u);
        sample->data = scratch->data();
    }
    sample->kind = (serdata->statusinfo & statusInfoDispose) != 0      ? ZEL_WIRE_SAMPLE_DISPOSE
                   : (serdata->statusinfo & statusInfoUnregister) != 0 ? ZEL_WIRE_SAMPLE_UNREGISTER
                   : serdata->kind == SDK_DATA                         ? ZEL_WIRE_SAMPLE_DATA
                                                                       : ZEL_WIRE_SAMPLE_DISPOSE;
    return true;
}
