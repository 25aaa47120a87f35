// Monitoring samples as JSON: a walk over a type's descriptor turns any
// sample into an object with every member, so the console needs no
// hand-written list of fields.
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "vurncore/cdr_type.h"

namespace zelmon {

// Structs become objects, sequences and arrays arrays, enumerations the
// enumerator's name (its number when it has none), strings strings.
nlohmann::json sampleToJson(const ZELCdrTypeDesc *type, const void *sample);

// The JSON pointer of every leaf that sampleToJson writes for `type`; a
// sequence contributes its own path (its elements vary in number).
void typeLeafPaths(const ZELCdrTypeDesc *type, const std::string &prefix, std::vector<std::string> *paths);

}  // namespace zelmon
