// The choice of a wire implementation by name.
#include <cstdlib>
#include <cstring>

#include "vurncore/log.h"
#include "wire.h"

// Known implementations; the first is the default.
static const ZELWireOps *const ZELWire_g_implementations[] = {
#ifdef ZEL_WIRE_HAS_CYCLONE
        &ZELCycloneWire_ops,
#endif
        &ZELLoopbackWire_ops};

const ZELWireOps *ZELWire_findOps(const char *name) {
    if (name == nullptr) {
        // The environment chooses for every factory of the process.
        name = std::getenv("ZEL_WIRE");
        if (name == nullptr || name[0] == '\0') {
            return ZELWire_g_implementations[0];
        }
    }
    for (const ZELWireOps *ops : ZELWire_g_implementations) {
        if (std::strcmp(ops->name, name) == 0) {
            return ops;
        }
    }
    ZELLog_printContextAndMsg("ZELWire_findOps", &ZEL_LOG_BAD_PARAMETER_s, "wire name");
    return nullptr;
}
