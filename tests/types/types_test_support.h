// Helpers of the monitoring-type tests: streams over buffers of their own,
// octet strings written out by hand, every monitoring type seen untyped, and
// the plug-in of a topic type attached to one writer endpoint.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cdr_buffer.h"
#include "vurncore/cdr_stream.h"
#include "vurncore/cdr_type.h"
#include "vurncore/type_plugin.h"
#include "vurncore/typecode.h"

namespace typestest {

using zeltest::Buffer;
using zeltest::Octets;

// Concatenates hand-written pieces of a wire image.
inline Octets cat(std::initializer_list<Octets> pieces) {
    Octets all;
    for (const Octets &piece : pieces) {
        all.insert(all.end(), piece.begin(), piece.end());
    }
    return all;
}

inline Octets zeros(size_t count) { return Octets(count, 0); }

// One type's family seen untyped; each field is filled from the typed
// generated function, so building the table proves that the function exists.
struct AnyType {
    const char *flatName;
    const ZELCdrTypeDesc *desc;
    void *(*create)();
    void (*destroy)(void *sample);
    DDS_Boolean (*copy)(void *dst, const void *src);
    DDS_Boolean (*initializeEx)(void *sample);
    void (*finalizeEx)(void *sample);
    void (*print)(const void *sample);
    DDS_Boolean (*serialize)(const void *sample, ZELCdrStream *stream, DDS_UnsignedShort id);
    DDS_Boolean (*deserialize)(void *sample, ZELCdrStream *stream);
    unsigned int (*size)(const void *sample, DDS_UnsignedShort id);
    unsigned int (*maxSize)(DDS_UnsignedShort id);
    unsigned int (*minSize)(DDS_UnsignedShort id);
    DDS_TypeCode *(*typeCode)();
    // Puts `element` at index 1 of a sequence, copies the sequence and the
    // copy's element 1 into `out`.
    DDS_Boolean (*throughSequence)(const void *element, void *out);
};

// Every monitoring type, and the topic types among them with their plug-in.
const std::vector<AnyType> &allTypes();
struct TopicType {
    const AnyType *type;
    PRESTypePlugin *(*newPlugin)();
    void (*deletePlugin)(PRESTypePlugin *plugin);
};
const std::vector<TopicType> &topicTypes();
const AnyType &typeNamed(const std::string &flatName);

// A sample of `type` serialized, of the size the type computes for it.
Octets serialized(const AnyType &type, const void *sample, DDS_UnsignedShort id);

// A topic type's plug-in with participant and writer endpoint data, so the
// key-hash operations have their scratch stream.
class AttachedPlugin {
public:
    AttachedPlugin(PRESTypePlugin *(*create)(), void (*destroy)(PRESTypePlugin *)) : destroy_(destroy) {
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
    ~AttachedPlugin() {
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
