// Helpers of the monitoring-type wire tests: streams over buffers of their
// own, octet strings written out by hand, and the plug-in of a topic type
// attached to one writer endpoint.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <vector>

#include <gtest/gtest.h>

#include "cdr_buffer.h"
#include "vurncore/cdr_stream.h"
#include "vurncore/type_plugin.h"

namespace typestest {

using zeltest::Buffer;
using zeltest::Octets;

// Concatenates hand-written pieces of a wire image.
inline Octets cat(std::initializer_list<Octets> pieces)
{
    Octets all;
    for (const Octets &piece : pieces) {
        all.insert(all.end(), piece.begin(), piece.end());
    }
    return all;
}

inline Octets zeros(size_t count)
{
    return Octets(count, 0);
}

// A topic type's plug-in with participant and writer endpoint data, so the
// key-hash operations have their scratch stream.
class AttachedPlugin {
public:
    AttachedPlugin(PRESTypePlugin *(*create)(), void (*destroy)(PRESTypePlugin *)) : destroy_(destroy)
    {
        plugin = create();
        if (plugin == nullptr) {
            ADD_FAILURE() << "no plug-in";
            return;
        }
        participant_ = plugin->onParticipantAttachedFnc(plugin);
        const PRESTypePluginEndpointInfo info{PRES_TYPEPLUGIN_ENDPOINT_WRITER};
        endpoint = participant_ == nullptr ? nullptr : plugin->onEndpointAttachedFnc(participant_, &info);
        if (endpoint == nullptr) {
            ADD_FAILURE() << "no endpoint data";
        }
    }
    ~AttachedPlugin()
    {
        if (endpoint != nullptr) {
            plugin->onEndpointDetachedFnc(endpoint);
        }
        if (participant_ != nullptr) {
            plugin->onParticipantDetachedFnc(participant_);
        }
        if (plugin != nullptr) {
            destroy_(plugin);
        }
    }
    AttachedPlugin(const AttachedPlugin &) = delete;
    AttachedPlugin &operator=(const AttachedPlugin &) = delete;

    PRESTypePlugin *plugin = nullptr;
    PRESTypePluginEndpointData endpoint = nullptr;

private:
    void (*destroy_)(PRESTypePlugin *);
    PRESTypePluginParticipantData participant_ = nullptr;
};

}  // namespace typestest
