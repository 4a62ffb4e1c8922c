#include "support/local_server.h"

#include "support/test_ca.h"

#include <httplib.h>

#include <algorithm>
#include <set>
#include <stdexcept>
#include <strings.h>

namespace quillon::test {
namespace {

// httplib adds the peer's and its own address to the request headers; they were never sent.
bool isPseudoHeader(const std::string& name) {
    static const std::set<std::string> pseudo{"REMOTE_ADDR", "REMOTE_PORT", "LOCAL_ADDR",
                                              "LOCAL_PORT"};
    return pseudo.count(name) != 0;
}

// Byte `index` of a JSON object `size` bytes long: {"pad":"xxx...x"}.
char paddedObjectByte(std::size_t index, std::size_t size) {
    static constexpr std::string_view head = R"({"pad":")";
    static constexpr std::string_view tail = R"("})";
    if (index < head.size()) {
        return head[index];
    }
    if (index >= size - tail.size()) {
        return tail[index - (size - tail.size())];
    }
    return 'x';
}

constexpr std::size_t chunkBytes = 64 * 1024;

} // namespace

std::vector<std::string> RecordedRequest::headerValues(const std::string& name) const {
    std::vector<std::string> values;
    for (const auto& [key, value] : headers) {
        if (strcasecmp(key.c_str(), name.c_str()) == 0) {
            values.push_back(value);
        }
    }
    return values;
}

std::optional<std::string> RecordedRequest::header(const std::string& name) const {
    auto values = headerValues(name);
    if (values.size() != 1) {
        return std::nullopt;
    }
    return values.front();
}

LocalServer::LocalServer(Scheme scheme) : scheme_(scheme) {
    if (scheme == Scheme::https) {
        const TestCertificates& files = testCertificates();
        server_ = std::make_unique<httplib::SSLServer>(files.certificateFile.c_str(),
                                                       files.keyFile.c_str());
    } else {
        server_ = std::make_unique<httplib::Server>();
    }
    if (!server_->is_valid()) {
        throw std::runtime_error("the local server could not be set up");
    }
    // Idle keep-alive connections must not hold up the destructor for long.
    server_->set_keep_alive_timeout(1);
    const auto handler = [this](const httplib::Request& request, httplib::Response& response) {
        dispatch(request, response);
    };
    server_->Get(".*", handler);
    server_->Post(".*", handler);
    server_->Put(".*", handler);
    server_->Patch(".*", handler);
    server_->Delete(".*", handler);
    server_->Options(".*", handler);
    port_ = server_->bind_to_any_port("127.0.0.1");
    if (port_ <= 0) {
        throw std::runtime_error("the local server found no free port");
    }
    // The socket already listens, so requests made before this thread runs simply wait.
    thread_ = std::thread([this] { server_->listen_after_bind(); });
    // httplib's stop() does nothing until the accept loop runs, so a server destroyed at once
    // would leave that loop waiting forever.
    while (!server_->is_running()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

LocalServer::~LocalServer() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    stopped_.notify_all();
    // stop() does nothing until the listening loop has begun, and that loop would then never end:
    // a server destroyed right after construction must first see its thread start.
    for (int i = 0; i < 5000 && !server_->is_running(); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    server_->stop();
    thread_.join();
}

std::string LocalServer::baseUrl() const {
    return scheme_ == Scheme::https ? baseUrlFor("localhost") : baseUrlFor("127.0.0.1");
}

std::string LocalServer::baseUrlFor(const std::string& host) const {
    return std::string(scheme_ == Scheme::https ? "https" : "http") + "://" + host + ":" +
           std::to_string(port_);
}

std::string LocalServer::resolveEntry(const std::string& host) const {
    return host + ":" + std::to_string(port_) + ":127.0.0.1";
}

void LocalServer::on(const std::string& path, int status, std::string body,
                     std::string contentType) {
    on(path, [status, body = std::move(body), contentType = std::move(contentType)](
                 const httplib::Request&, httplib::Response& response) {
        response.status = status;
        response.set_content(body, contentType.c_str());
    });
}

void LocalServer::on(const std::string& path, Handler handler) {
    const std::lock_guard lock(mutex_);
    routes_[path] = std::move(handler);
}

void LocalServer::redirect(const std::string& path, const std::string& location, int status) {
    on(path, [location, status](const httplib::Request&, httplib::Response& response) {
        response.set_redirect(location, status);
    });
}

void LocalServer::neverAnswer(const std::string& path) {
    on(path, [this](const httplib::Request&, httplib::Response& response) {
        waitForStop(std::chrono::hours(1));
        response.status = 503;
    });
}

void LocalServer::closeMidBody(const std::string& path, std::size_t declaredBytes,
                               std::size_t sentBytes) {
    on(path,
       [this, declaredBytes, sentBytes](const httplib::Request&, httplib::Response& response) {
           response.set_content_provider(
               declaredBytes, "application/json",
               [this, declaredBytes, sentBytes](std::size_t, std::size_t, httplib::DataSink& sink) {
                   std::string part;
                   for (std::size_t i = 0; i < sentBytes; ++i) {
                       part.push_back(paddedObjectByte(i, declaredBytes));
                   }
                   if (sink.write(part.data(), part.size())) {
                       bodyBytesSent_ += part.size();
                   }
                   return false; // httplib drops the connection short of the promised length
               });
       });
}

void LocalServer::hugeBody(const std::string& path, std::size_t bytes, bool declareLength) {
    on(path, [this, bytes, declareLength](const httplib::Request&, httplib::Response& response) {
        const auto writeFrom = [this, bytes](std::size_t offset, httplib::DataSink& sink) {
            std::string chunk;
            for (std::size_t i = offset; i < std::min(bytes, offset + chunkBytes); ++i) {
                chunk.push_back(paddedObjectByte(i, bytes));
            }
            if (!sink.write(chunk.data(), chunk.size())) {
                return false;
            }
            bodyBytesSent_ += chunk.size();
            if (offset + chunk.size() == bytes) {
                sink.done();
            }
            return true;
        };
        if (declareLength) {
            response.set_content_provider(
                bytes, "application/json",
                [writeFrom](std::size_t offset, std::size_t, httplib::DataSink& sink) {
                    return writeFrom(offset, sink);
                });
        } else {
            response.set_chunked_content_provider("application/json", writeFrom);
        }
    });
}

void LocalServer::slowBody(const std::string& path, std::string body,
                           std::chrono::milliseconds interval) {
    on(path, [this, body = std::move(body), interval](const httplib::Request&,
                                                      httplib::Response& response) {
        response.set_chunked_content_provider(
            "application/json",
            [this, body, interval](std::size_t offset, httplib::DataSink& sink) {
                if (offset >= body.size()) {
                    sink.done();
                    return true;
                }
                if (waitForStop(interval) || !sink.write(body.data() + offset, 1)) {
                    return false;
                }
                ++bodyBytesSent_;
                return true;
            });
    });
}

std::vector<RecordedRequest> LocalServer::requests() const {
    const std::lock_guard lock(mutex_);
    return requests_;
}

std::size_t LocalServer::requestCount() const {
    const std::lock_guard lock(mutex_);
    return requests_.size();
}

void LocalServer::dispatch(const httplib::Request& request, httplib::Response& response) {
    RecordedRequest recorded;
    recorded.method = request.method;
    recorded.path = request.path;
    const auto question = request.target.find('?');
    if (question != std::string::npos) {
        recorded.query = request.target.substr(question + 1);
    }
    for (const auto& [name, value] : request.headers) {
        if (!isPseudoHeader(name)) {
            recorded.headers.emplace_back(name, value);
        }
    }
    Handler handler;
    {
        const std::lock_guard lock(mutex_);
        requests_.push_back(std::move(recorded));
        const auto found = routes_.find(request.path);
        if (found != routes_.end()) {
            handler = found->second;
        }
    }
    if (handler) {
        handler(request, response);
    } else {
        response.status = 404;
    }
}

bool LocalServer::waitForStop(std::chrono::milliseconds duration) {
    std::unique_lock lock(mutex_);
    return stopped_.wait_for(lock, duration, [this] { return stopping_; });
}

} // namespace quillon::test
