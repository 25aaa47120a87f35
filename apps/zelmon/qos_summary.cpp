#include "qos_summary.h"

namespace zelmon {
namespace {

// "DDS_RELIABLE_RELIABILITY_QOS" -> "RELIABLE"
std::string shortKind(const nlohmann::json &kind, const char *suffix) {
    std::string text = kind.is_string() ? kind.get<std::string>() : kind.dump();
    if (text.rfind("DDS_", 0) == 0) {
        text.erase(0, 4);
    }
    if (const size_t at = text.find(suffix); at != std::string::npos) {
        text.erase(at);
    }
    return text;
}

}  // namespace

std::string qosSummary(const nlohmann::json &description) {
    if (!description.is_object() || !description.contains("qos")) {
        return "";
    }
    const nlohmann::json &qos = description["qos"];
    std::string summary;
    if (qos.contains("reliability")) {
        summary += shortKind(qos["reliability"]["kind"], "_RELIABILITY");
    }
    if (qos.contains("durability")) {
        summary += " " + shortKind(qos["durability"]["kind"], "_DURABILITY");
    }
    if (qos.contains("history")) {
        summary += " " + shortKind(qos["history"]["kind"], "_HISTORY");
        if (summary.ends_with("KEEP_LAST")) {
            summary += "(" + std::to_string(qos["history"].value("depth", 0)) + ")";
        }
    }
    if (qos.contains("deadline")) {
        const nlohmann::json &period = qos["deadline"]["period"];
        if (period.value("sec", 0) != 0x7fffffff) {
            summary += " deadline " + std::to_string(period.value("sec", 0)) + "." +
                       std::to_string(period.value("nanosec", 0u) / 1000000) + "s";
        }
    }
    if (qos.contains("partition") && !qos["partition"]["name"].empty()) {
        summary += " partition " + qos["partition"]["name"].dump();
    }
    return summary;
}

}  // namespace zelmon
