// The QoS that tell endpoints apart at a glance, from a description's full
// QoS: "RELIABLE TRANSIENT_LOCAL KEEP_LAST(10)".
#pragma once

#include <string>

#include <nlohmann/json.hpp>

namespace zelmon {

std::string qosSummary(const nlohmann::json &description);

}  // namespace zelmon
