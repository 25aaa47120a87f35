// What tells a writer's data path from a reader's where the two follow one
// protocol: their attachment to the wire (data_endpoint_attach.cpp) and the
// statuses they read alike (data_endpoint_status.h). C++ only (private to
// vurnc).
#ifndef VURNC_DATA_ENDPOINT_PRIVATE_H
#define VURNC_DATA_ENDPOINT_PRIVATE_H

#include <mutex>

#include "data_reader_private.h"
#include "data_writer_private.h"

// The types, names and hooks of an endpoint kind, one specialization a kind.
template <typename Endpoint>
struct DDS_EndpointKindI;

template <>
struct DDS_EndpointKindI<DDS_DataWriter> {
    using Path = DDS_DataWriterPathI;
    using Listener = ZELWireWriterListener;
    static constexpr PRESTypePluginEndpointKind pluginKind = PRES_TYPEPLUGIN_ENDPOINT_WRITER;
    static constexpr const char *enableContext = "DDS_DataWriter_enable";
    static constexpr const char *pathTag = "DWPA";
    static constexpr const char *pathName = "writer data path";
    static constexpr const char *wireName = "wire writer";
    static constexpr const char *remoteHandleName = "subscription_handle";
    static constexpr const char *unknownRemote = "unknown subscription";
    static constexpr auto pathWire = &DDS_DataWriterPathI::wireWriter;
    static constexpr auto entityWire = &DDS_DataWriterImpl::wireWriter;
    static constexpr auto createWire = &ZELWireOps::createWriter;
    static constexpr auto deleteWire = &ZELWireOps::deleteWriter;
    static constexpr auto getCounters = &ZELWireOps::getWriterCounters;
    static constexpr auto getMatchCounters = &ZELWireOps::getWriterMatchCounters;
    static constexpr auto getTopic = [](DDS_DataWriter *writer) { return writer->topic; };
    static constexpr auto initialize = &DDS_DataWriterPath_initializeI;
    // Deadlines and leases count from the enabling.
    static constexpr auto start = [](DDS_DataWriterPathI *path, const char *context) {
        return DDS_DomainParticipantFactory_getNowI(path->writer->entity.participant->factory, &path->lastAssertion,
                                                    context);
    };
    static constexpr auto fillListener = &DDS_DataWriterPath_fillListenerI;
    static constexpr auto clear = &DDS_DataWriterPath_clearI;
    static constexpr auto lockUpToDate = &DDS_DataWriterPath_lockUpToDateI;
};

template <>
struct DDS_EndpointKindI<DDS_DataReader> {
    using Path = DDS_DataReaderPathI;
    using Listener = ZELWireReaderListener;
    static constexpr PRESTypePluginEndpointKind pluginKind = PRES_TYPEPLUGIN_ENDPOINT_READER;
    static constexpr const char *enableContext = "DDS_DataReader_enable";
    static constexpr const char *pathTag = "DRPA";
    static constexpr const char *pathName = "reader data path";
    static constexpr const char *wireName = "wire reader";
    static constexpr const char *remoteHandleName = "publication_handle";
    static constexpr const char *unknownRemote = "unknown publication";
    static constexpr auto pathWire = &DDS_DataReaderPathI::wireReader;
    static constexpr auto entityWire = &DDS_DataReaderImpl::wireReader;
    static constexpr auto createWire = &ZELWireOps::createReader;
    static constexpr auto deleteWire = &ZELWireOps::deleteReader;
    static constexpr auto getCounters = &ZELWireOps::getReaderCounters;
    static constexpr auto getMatchCounters = &ZELWireOps::getReaderMatchCounters;
    // A content-filtered reader subscribes to its related topic.
    static constexpr auto getTopic = [](DDS_DataReader *reader) {
        return DDS_TopicDescription_get_topicI(reader->topicDescription);
    };
    static constexpr auto initialize = &DDS_DataReaderPath_initializeI;
    // A reader's deadlines and leases count from its samples and matches.
    static constexpr auto start = [](DDS_DataReaderPathI *, const char *) { return true; };
    static constexpr auto fillListener = &DDS_DataReaderPath_fillListenerI;
    static constexpr auto clear = &DDS_ReaderCache_clearI;
    static constexpr auto lockUpToDate = [](DDS_DataReaderPathI *path, const char *) {
        std::unique_lock<std::mutex> guard(path->mutex);
        DDS_DataReaderPath_catchUpI(path);
        return guard;
    };
};

#endif
