#include "cli/mcp_tools.h"

#include "app/bus_names.h"
#include "cli/status_client.h"
#include "cli/status_fetch.h"
#include "cli/status_formats.h"
#include "cli/status_schema.h"

#include <QDBusConnection>
#include <QDBusMessage>

#include <chrono>

namespace quillon {
namespace {

using Json = mcp::Json;

// Both providers are asked in turn, each within its own time limits; a refresh that has not
// finished after this is not waited for.
constexpr int refreshTimeoutMs = 120000;

constexpr auto notRunningText =
    "Quillon is not running, so there are no current figures. Start Quillon, or call "
    "refresh_usage to fetch the figures once.";

Json noArguments() {
    return Json{
        {"type", "object"}, {"properties", Json::object()}, {"additionalProperties", false}};
}

Json outputSchema() {
    Json schema = statusDocumentSchema();
    schema["properties"]["source"] =
        Json{{"type", "string"},
             {"enum", Json::array({"quillon", "fetched"})},
             {"description", "quillon: the running Quillon's figures; fetched: fetched once by "
                             "this server because Quillon is not running"}};
    schema["required"].push_back("source");
    return schema;
}

void requireNoArguments(const Json& arguments) {
    for (const auto& [key, value] : arguments.items()) {
        throw mcp::InvalidArguments("Unknown argument: " + key + " (this tool takes none)");
    }
}

mcp::ToolResult figuresResult(const StatusFigures& figures, const char* source) {
    const Instant now = std::chrono::system_clock::now();
    Json document = statusDocument(figures, now);
    document["source"] = source;
    return {statusText(figures, now), std::move(document), false};
}

StatusFigures readRunning() {
    return StatusClient(QDBusConnection::sessionBus()).read();
}

mcp::ToolResult getUsage(const Json& arguments) {
    requireNoArguments(arguments);
    const StatusFigures figures = readRunning();
    if (!figures.running) {
        return {notRunningText, std::nullopt, true};
    }
    return figuresResult(figures, "quillon");
}

// Asks the running Quillon to refresh and waits for the refresh to finish; false when there is
// no Quillon to ask.
bool refreshRunning() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        return false;
    }
    const auto call = QDBusMessage::createMethodCall(
        QString::fromLatin1(busNames::service), QString::fromLatin1(busNames::objectPath),
        QString::fromLatin1(busNames::interface), QStringLiteral("RefreshAndWait"));
    return bus.call(call, QDBus::Block, refreshTimeoutMs).type() == QDBusMessage::ReplyMessage;
}

mcp::ToolResult refreshUsage(const Json& arguments) {
    requireNoArguments(arguments);
    if (refreshRunning()) {
        const StatusFigures figures = readRunning();
        if (figures.running) {
            return figuresResult(figures, "quillon");
        }
    }
    return figuresResult(fetchFigures(), "fetched");
}

} // namespace

std::vector<mcp::Tool> usageTools() {
    return {
        mcp::Tool{
            "get_usage",
            "Claude and Codex usage",
            "How much of their rate-limit windows the user has used, as the running Quillon "
            "shows it: for Claude and Codex each window's percent, its reset time (ISO 8601 and "
            "as a label), the plan, the pace (the percent projected at the reset and when the "
            "limit would be reached), today's activity and the context use, and under "
            "\"extra\" any further window a service reports, by its own key. Reads no network.",
            noArguments(),
            outputSchema(),
            getUsage,
        },
        mcp::Tool{
            "refresh_usage",
            "Refresh Claude and Codex usage",
            "Asks the running Quillon to fetch fresh figures from the services and returns them "
            "as get_usage does. When Quillon is not running, fetches them once itself.",
            noArguments(),
            outputSchema(),
            refreshUsage,
        },
    };
}

} // namespace quillon
