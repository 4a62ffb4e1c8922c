#include "cli/status_schema.h"

namespace quillon {
namespace {

using Json = nlohmann::ordered_json;

Json nullable(const char* type) {
    return Json{{"type", Json::array({type, "null"})}};
}

Json nullableObject(Json properties) {
    Json required = Json::array();
    for (const auto& [key, value] : properties.items()) {
        required.push_back(key);
    }
    return Json{{"type", Json::array({"object", "null"})},
                {"properties", std::move(properties)},
                {"required", std::move(required)}};
}

Json windowSchema() {
    return nullableObject(Json{
        {"percent", Json{{"type", "integer"}, {"description", "use of the window, as received"}}},
        {"resetsAt", nullable("string")},
        {"resetLabel", Json{{"type", "string"}}},
        {"pace", nullableObject(Json{{"elapsed", Json{{"type", "number"}}},
                                     {"projectedPercent", nullable("integer")},
                                     {"limitReached", Json{{"type", "boolean"}}},
                                     {"limitAt", nullable("string")},
                                     {"limitBeforeResetSeconds", nullable("integer")},
                                     {"phrase", Json{{"type", "string"}}}})},
    });
}

// Windows a service adds, by the reply's keys: optional, so that a document without them, and
// a client that knows nothing of them, are as before.
Json extraWindowsSchema() {
    return Json{
        {"type", "object"},
        {"description", "windows the service's reply carried beyond the named ones, by its keys"},
        {"additionalProperties",
         Json{{"type", "object"},
              {"properties", Json{{"percent", Json{{"type", "integer"}}},
                                  {"resetsAt", nullable("string")},
                                  {"resetLabel", Json{{"type", "string"}}}}},
              {"required", Json::array({"percent", "resetsAt", "resetLabel"})}}},
    };
}

Json providerSchema() {
    Json schema = nullableObject(Json{
        {"connected", Json{{"type", "boolean"}}},
        {"plan", nullable("string")},
        {"fiveHour", windowSchema()},
        {"weekly", windowSchema()},
        {"sonnet", windowSchema()},
        {"context", nullableObject(Json{{"projectName", Json{{"type", "string"}}},
                                        {"tokensUsed", Json{{"type", "integer"}}},
                                        {"effectiveWindow", Json{{"type", "integer"}}},
                                        {"tokensRemaining", Json{{"type", "integer"}}},
                                        {"percentUsed", Json{{"type", "integer"}}}})},
        {"today", nullableObject(Json{{"messages", Json{{"type", "integer"}}},
                                      {"tokens", Json{{"type", "string"}}}})},
    });
    schema["type"] = "object";
    schema["properties"]["extra"] = extraWindowsSchema();
    return schema;
}

} // namespace

Json statusDocumentSchema() {
    return Json{
        {"type", "object"},
        {"properties",
         Json{{"running", Json{{"type", "boolean"}}},
              {"title", Json{{"type", "string"}}},
              {"class", Json{{"type", "string"},
                             {"enum", Json::array({"normal", "warning", "critical", "stopped"})}}},
              {"lastUpdated", nullable("string")},
              {"alertThresholds", Json{{"type", "array"}, {"items", Json{{"type", "integer"}}}}},
              {"claude", providerSchema()},
              {"codex", providerSchema()}}},
        {"required", Json::array({"running", "title", "class", "lastUpdated", "alertThresholds",
                                  "claude", "codex"})},
    };
}

} // namespace quillon
