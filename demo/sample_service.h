#pragma once

#include <atomic>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace httplib {
class Server;
}

namespace quillon::demo {

// The figures the sample service reports.
struct SampleFigures {
    double claudeFiveHour = 42;
    double claudeWeekly = 63;
    double claudeSonnet = 18;
    std::string claudePlan = "max";
    double codexFiveHour = 17;
    double codexWeekly = 71;
    std::string codexPlan = "plus";
};

// The certificate and key (PEM files) the service answers HTTPS with.
struct SampleTls {
    std::filesystem::path certificateFile;
    std::filesystem::path keyFile;
};

// One request as the service received it: the path (without query), the request target as
// sent (query included) and every header line.
struct SampleRequest {
    std::string path;
    std::string target;
    std::vector<std::pair<std::string, std::string>> headers;

    // Every header value, with its name, as one text per line: "Name: value".
    std::string headerText() const;
};

// A local stand-in for the three usage services, on 127.0.0.1: it answers the Claude OAuth usage
// endpoint, the Claude web organization endpoints and the ChatGPT session and usage endpoints
// the way the real ones do, with sample figures. Used by the demo and by whole-application tests.
class SampleService {
public:
    // Plain HTTP without `tls`; HTTPS with it (clients then need the CA that signed it).
    explicit SampleService(SampleFigures figures = {}, std::optional<SampleTls> tls = {});
    ~SampleService();
    SampleService(const SampleService&) = delete;
    SampleService& operator=(const SampleService&) = delete;

    // "http://127.0.0.1:PORT" or "https://127.0.0.1:PORT": the base of all three services.
    std::string baseUrl() const;

    void setFigures(const SampleFigures& figures);
    // While set, every Claude endpoint answers 503 with an HTML page, as an outage does.
    void setClaudeDown(bool down) { claudeDown_ = down; }
    int claudeRequests() const { return claudeRequests_; }
    int codexRequests() const { return codexRequests_; }
    // Every request received so far, in order of arrival, whatever its path (while recording).
    std::vector<SampleRequest> requests() const;
    // Whether requests are kept for requests(): on by default, for tests. A service that runs
    // for long (the demo's) turns it off, or its log would grow with every refresh.
    void setRecording(bool recording) { recording_ = recording; }

private:
    void route();
    // The figures as they are now; the server thread reads them while the caller may replace them.
    std::shared_ptr<const SampleFigures> currentFigures() const;

    std::unique_ptr<httplib::Server> server_;
    std::thread thread_;
    int port_ = 0;
    bool https_ = false;
    mutable std::mutex figuresMutex_;
    std::shared_ptr<const SampleFigures> figures_;
    std::atomic<bool> claudeDown_{false};
    std::atomic<bool> recording_{true};
    std::atomic<int> claudeRequests_{0};
    std::atomic<int> codexRequests_{0};
    mutable std::mutex requestsMutex_;
    std::vector<SampleRequest> requests_;
};

} // namespace quillon::demo
