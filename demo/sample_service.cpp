#include "sample_service.h"

#include "providers/formatters.h"

#include <httplib.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <stdexcept>

namespace quillon::demo {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;

std::string isoIn(std::chrono::seconds fromNow) {
    return Formatters::formatIso8601(std::chrono::system_clock::now() + fromNow);
}

double unixIn(std::chrono::seconds fromNow) {
    return std::chrono::duration<double>(
               (std::chrono::system_clock::now() + fromNow).time_since_epoch())
        .count();
}

json claudeWindow(double utilization, std::chrono::seconds resetsIn) {
    return {{"utilization", utilization}, {"resets_at", isoIn(resetsIn)}};
}

json codexWindow(double usedPercent, std::chrono::seconds resetsIn) {
    return {{"used_percent", usedPercent}, {"reset_at", unixIn(resetsIn)}};
}

} // namespace

std::string SampleRequest::headerText() const {
    std::string text;
    for (const auto& [name, value] : headers) {
        text += name + ": " + value + "\n";
    }
    return text;
}

SampleService::SampleService(SampleFigures figures, std::optional<SampleTls> tls)
    : figures_(std::make_shared<const SampleFigures>(std::move(figures))) {
    if (tls) {
        server_ = std::make_unique<httplib::SSLServer>(tls->certificateFile.c_str(),
                                                       tls->keyFile.c_str());
        https_ = true;
    } else {
        server_ = std::make_unique<httplib::Server>();
    }
    if (!server_->is_valid()) {
        throw std::runtime_error("the sample service could not load its certificate");
    }
    // An idle kept-alive connection must not hold up the destructor for long.
    server_->set_keep_alive_timeout(1);
    route();
    port_ = server_->bind_to_any_port("127.0.0.1");
    // The socket already listens once bound: connections made before the thread accepts them
    // wait in the backlog.
    thread_ = std::thread([this] { server_->listen_after_bind(); });
}

SampleService::~SampleService() {
    server_->stop();
    thread_.join();
}

std::string SampleService::baseUrl() const {
    return std::string(https_ ? "https" : "http") + "://127.0.0.1:" + std::to_string(port_);
}

std::vector<SampleRequest> SampleService::requests() const {
    const std::lock_guard lock(requestsMutex_);
    return requests_;
}

void SampleService::setFigures(const SampleFigures& figures) {
    auto replacement = std::make_shared<const SampleFigures>(figures);
    const std::lock_guard lock(figuresMutex_);
    figures_ = std::move(replacement);
}

std::shared_ptr<const SampleFigures> SampleService::currentFigures() const {
    const std::lock_guard lock(figuresMutex_);
    return figures_;
}

void SampleService::route() {
    // Recorded before any route answers, so a client that has its answer finds its request here.
    server_->set_pre_routing_handler([this](const httplib::Request& request, httplib::Response&) {
        if (!recording_) {
            return httplib::Server::HandlerResponse::Unhandled;
        }
        SampleRequest recorded{request.path, request.target, {}};
        for (const auto& [name, value] : request.headers) {
            // httplib's own bookkeeping entries, not sent by the client.
            if (name != "LOCAL_ADDR" && name != "LOCAL_PORT" && name != "REMOTE_ADDR" &&
                name != "REMOTE_PORT") {
                recorded.headers.emplace_back(name, value);
            }
        }
        const std::lock_guard lock(requestsMutex_);
        requests_.push_back(std::move(recorded));
        return httplib::Server::HandlerResponse::Unhandled;
    });
    const auto claudeOutage = [this](httplib::Response& response) {
        ++claudeRequests_;
        if (!claudeDown_) {
            return false;
        }
        response.status = 503;
        response.set_content("<html><body>Service unavailable</body></html>", "text/html");
        return true;
    };
    const auto claudeUsage = [this] {
        const auto figures = currentFigures();
        return json{{"five_hour", claudeWindow(figures->claudeFiveHour, 2h + 5min + 30s)},
                    {"seven_day", claudeWindow(figures->claudeWeekly, 3 * 24h + 5h)},
                    {"seven_day_sonnet", claudeWindow(figures->claudeSonnet, 3 * 24h + 5h)}};
    };

    server_->Get("/api/oauth/usage", [this, claudeOutage, claudeUsage](
                                         const httplib::Request&, httplib::Response& response) {
        if (claudeOutage(response)) {
            return;
        }
        json body = claudeUsage();
        body["plan_type"] = currentFigures()->claudePlan;
        response.set_content(body.dump(), "application/json");
    });
    server_->Get("/api/organizations", [this, claudeOutage, claudeUsage](
                                           const httplib::Request&, httplib::Response& response) {
        if (claudeOutage(response)) {
            return;
        }
        const json organizations =
            json::array({{{"uuid", "5f0c6e2a-demo"}, {"plan", currentFigures()->claudePlan}}});
        response.set_content(organizations.dump(), "application/json");
    });
    server_->Get(R"(/api/organizations/[^/]+/usage)",
                 [claudeOutage, claudeUsage](const httplib::Request&, httplib::Response& response) {
                     if (claudeOutage(response)) {
                         return;
                     }
                     response.set_content(claudeUsage().dump(), "application/json");
                 });
    server_->Get("/api/auth/session", [this](const httplib::Request&, httplib::Response& response) {
        ++codexRequests_;
        response.set_content(json{{"accessToken", "sample-session-token"}}.dump(),
                             "application/json");
    });
    server_->Get(
        "/backend-api/wham/usage", [this](const httplib::Request&, httplib::Response& response) {
            ++codexRequests_;
            const auto figures = currentFigures();
            const json body{{"plan_type", figures->codexPlan},
                            {"rate_limit",
                             {{"primary_window", codexWindow(figures->codexFiveHour, 3h + 12min)},
                              {"secondary_window", codexWindow(figures->codexWeekly, 4 * 24h)}}}};
            response.set_content(body.dump(), "application/json");
        });
}

} // namespace quillon::demo
