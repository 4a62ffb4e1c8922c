#pragma once

#include "model/cancellation.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <cstddef>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace quillon {

// Request headers, each name once.
using HttpHeaders = std::map<std::string, std::string>;

// The request could not be completed: no connection, time-out, TLS failure, unknown host, reset,
// cancelled, too many redirects. The message never contains a header value.
class TransportError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct FetchOptions {
    std::chrono::milliseconds timeout{std::chrono::seconds(60)};
    // A CA bundle to verify servers with, for tests against local servers. Note that it takes
    // the place of the system's bundle for that call rather than joining it. Empty: the system's.
    std::string caFile;
    // Fixed name resolutions, "host:port:address", for tests that need a second host name.
    std::vector<std::string> resolve;
    // A longer body reads as empty; the transfer stops as soon as the limit is passed.
    std::size_t maxBodyBytes = std::size_t{8} << 20;
    // Polled during the transfer; a cancelled transfer throws TransportError.
    const Cancellation* cancellation = nullptr;
};

// GETs `url` with `headers` and returns the JSON object of the body. The status code is not
// looked at. An invalid URL gives an empty object without any request; a body that is not a
// JSON object gives an empty object. Throws TransportError when the transfer fails.
nlohmann::json fetchJSON(const std::string& url, const HttpHeaders& headers,
                         const FetchOptions& options = {});

// The same for a body that must be a JSON array of objects; an empty array otherwise.
nlohmann::json fetchJSONArray(const std::string& url, const HttpHeaders& headers,
                              const FetchOptions& options = {});

// The body as a JSON object, or an empty object when it is not one.
nlohmann::json readJsonObject(std::string_view body);

// The body as a JSON array whose every element is an object, or an empty array.
nlohmann::json readJsonArray(std::string_view body);

} // namespace quillon
