// The topic an entity is reported under, and the user-topic filter that
// decides by that topic's name whether the entity is watched at all.
#pragma once

#include "vurnc/dds_c.h"
#include "zelmonitoring/monitor.h"

ZEL_EXTERN_C_BEGIN

// The reader's own topic, or the related topic of its content-filtered
// topic (then *isContentFiltered, if given, is 1, else 0). NULL, logged,
// when the reader has no topic description or one of another kind.
DDS_Topic *ZELDefaultMonitorParticipantObject_getActualReaderTopicI(DDS_DataReader *reader,
                                                                    DDS_Octet *isContentFiltered);

// True when the topic's name matches no element of the comma-separated
// filter list, i.e. the entity is to be ignored. A missing topic is logged
// and not filtered.
DDS_Boolean ZELDefaultMonitorParticipantObject_isTopicFilteredI(DDS_Topic *topic, const char *filterList);

ZEL_EXTERN_C_END
