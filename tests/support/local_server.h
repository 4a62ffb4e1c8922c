#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace httplib {
class Server;
struct Request;
struct Response;
} // namespace httplib

namespace quillon::test {

// One request as the server received it.
struct RecordedRequest {
    std::string method;
    std::string path;
    std::string query; // the raw query, without "?"
    // Every header line received, ordered by name (httplib's own pseudo-headers left out).
    std::vector<std::pair<std::string, std::string>> headers;

    // All values sent under `name` (compared without regard to case).
    std::vector<std::string> headerValues(const std::string& name) const;
    // The value when the header came exactly once.
    std::optional<std::string> header(const std::string& name) const;
};

// A real HTTP or HTTPS server on 127.0.0.1, on a free port, answering on its own threads from
// construction to destruction. Tests register what each path answers and read back every
// request it received. Unregistered paths answer 404 with an empty body.
class LocalServer {
public:
    enum class Scheme { http, https };
    using Handler = std::function<void(const httplib::Request&, httplib::Response&)>;

    // HTTPS uses the certificate of testCertificates(), valid for localhost, 127.0.0.1 and
    // otherTestHost.
    explicit LocalServer(Scheme scheme = Scheme::http);
    ~LocalServer();
    LocalServer(const LocalServer&) = delete;
    LocalServer& operator=(const LocalServer&) = delete;

    int port() const { return port_; }
    // "http://127.0.0.1:PORT" or "https://localhost:PORT".
    std::string baseUrl() const;
    // The same server under another host name, e.g. "https://other.test:PORT"; pair it with
    // resolveEntry(host) in FetchOptions::resolve.
    std::string baseUrlFor(const std::string& host) const;
    // "host:PORT:127.0.0.1", a libcurl resolve entry that sends `host` here.
    std::string resolveEntry(const std::string& host) const;

    // Answers requests for `path` (exact, without query) with this status and body.
    void on(const std::string& path, int status, std::string body,
            std::string contentType = "application/json");
    // Answers requests for `path` through `handler` (on a server thread).
    void on(const std::string& path, Handler handler);
    // Answers with a redirect to `location`.
    void redirect(const std::string& path, const std::string& location, int status = 302);
    // Takes the request and never answers; the handler gives up only when the server stops.
    void neverAnswer(const std::string& path);
    // Promises `declaredBytes`, sends `sentBytes` of them, then drops the connection.
    void closeMidBody(const std::string& path, std::size_t declaredBytes, std::size_t sentBytes);
    // Streams `bytes` of a JSON array body in chunks, with a Content-Length when
    // `declareLength`, else chunked. bodyBytesSent() counts what actually left.
    void hugeBody(const std::string& path, std::size_t bytes, bool declareLength);
    // Sends `body` slowly, one byte per `interval`.
    void slowBody(const std::string& path, std::string body, std::chrono::milliseconds interval);

    std::vector<RecordedRequest> requests() const;
    std::size_t requestCount() const;
    std::size_t bodyBytesSent() const { return bodyBytesSent_.load(); }

private:
    void dispatch(const httplib::Request& request, httplib::Response& response);
    // Waits until the server stops or `duration` passes; true when stopping.
    bool waitForStop(std::chrono::milliseconds duration);

    Scheme scheme_;
    std::unique_ptr<httplib::Server> server_;
    int port_ = 0;
    std::thread thread_;

    mutable std::mutex mutex_;
    std::condition_variable stopped_;
    bool stopping_ = false;
    std::map<std::string, Handler> routes_;
    std::vector<RecordedRequest> requests_;
    std::atomic<std::size_t> bodyBytesSent_{0};
};

} // namespace quillon::test
