// Default values of the DDS API: the QoS an entity gets when the application
// names none, and the constant locator and handle that designate nothing.
#include "vurnc/dds_types.h"

extern "C" {

const DDS_Locator_t DDS_LOCATOR_INVALID = DDS_LOCATOR_INVALID_INITIALIZER;
const DDS_InstanceHandle_t DDS_HANDLE_NIL = DDS_HANDLE_NIL_INITIALIZER;

}  // extern "C"
