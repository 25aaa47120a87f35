/* The whole DDS API of the platform. */
#ifndef VURNC_DDS_C_H
#define VURNC_DDS_C_H

#include "vurnc/dds_basic.h"
#include "vurnc/dds_types.h"
#include "vurnc/dds_property.h"
#include "vurnc/dds_qos_defaults.h"
#include "vurnc/dds_entity.h"
#include "vurnc/dds_domain.h"
#include "vurnc/dds_topic.h"
#include "vurnc/dds_publication.h"
#include "vurnc/dds_subscription.h"
#include "vurnc/dds_monitor.h"
#include "vurnc/dds_transport.h"

#endif
