#include "plain_cyclone.h"

#include <dds/dds.h>

#include <cstring>
#include <thread>

namespace rtpstest {

bool plainCycloneDiscoversParticipant(int32_t domain, const uint8_t guid[16], std::chrono::milliseconds limit) {
    const dds_entity_t participant = dds_create_participant(static_cast<dds_domainid_t>(domain), nullptr, nullptr);
    if (participant <= 0) {
        return false;
    }
    const dds_entity_t reader = dds_create_reader(participant, DDS_BUILTIN_TOPIC_DCPSPARTICIPANT, nullptr, nullptr);
    const auto end = std::chrono::steady_clock::now() + limit;
    bool found = false;
    while (reader > 0 && !found && std::chrono::steady_clock::now() < end) {
        void *samples[16] = {};
        dds_sample_info_t infos[16];
        const dds_return_t n = dds_read(reader, samples, infos, 16, 16);
        for (dds_return_t i = 0; i < n; ++i) {
            const auto *data = static_cast<const dds_builtintopic_participant_t *>(samples[i]);
            found = found || std::memcmp(data->key.v, guid, sizeof data->key.v) == 0;
        }
        if (n > 0) {
            dds_return_loan(reader, samples, n);
        }
        if (!found) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    }
    dds_delete(participant);
    return found;
}

}  // namespace rtpstest
