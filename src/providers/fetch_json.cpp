#include "providers/fetch_json.h"

#include <curl/curl.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>
#include <strings.h>

namespace quillon {
namespace {

// Answers nest a few levels deep. Refusing deeper bodies before parsing keeps a hostile
// "[[[[..." from costing memory far beyond its own size.
constexpr int maxNestingDepth = 512;
// Same-origin redirects followed before giving up.
constexpr int maxRedirects = 5;

bool nestsTooDeep(std::string_view body) {
    int depth = 0;
    bool inString = false;
    bool escaped = false;
    for (const char c : body) {
        if (inString) {
            if (escaped) {
                escaped = false;
            } else if (c == '\\') {
                escaped = true;
            } else if (c == '"') {
                inString = false;
            }
        } else if (c == '"') {
            inString = true;
        } else if (c == '[' || c == '{') {
            if (++depth > maxNestingDepth) {
                return true;
            }
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return false;
}

// The parsed body, or nothing when it is not JSON. A number too large for a double is refused
// like any malformed body, so that no infinity ever reaches the arithmetic on percentages.
std::optional<nlohmann::json> parseBody(std::string_view body) {
    if (nestsTooDeep(body)) {
        return std::nullopt;
    }
    bool finite = true;
    const auto checkNumbers = [&finite](int, nlohmann::json::parse_event_t event,
                                        nlohmann::json& parsed) {
        if (event == nlohmann::json::parse_event_t::value && parsed.is_number_float() &&
            !std::isfinite(parsed.get<double>())) {
            finite = false;
        }
        return true;
    };
    nlohmann::json parsed = nlohmann::json::parse(body, checkNumbers, false);
    if (parsed.is_discarded() || !finite) {
        return std::nullopt;
    }
    return parsed;
}

void initialiseCurlOnce() {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

struct UrlDeleter {
    void operator()(CURLU* url) const { curl_url_cleanup(url); }
};
using UrlHandle = std::unique_ptr<CURLU, UrlDeleter>;

struct EasyDeleter {
    void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};
struct ListDeleter {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using HeaderList = std::unique_ptr<curl_slist, ListDeleter>;

void append(HeaderList& list, const std::string& line) {
    curl_slist* head = curl_slist_append(list.get(), line.c_str());
    if (head == nullptr) {
        throw TransportError("out of memory while building the request");
    }
    (void)list.release(); // the same list, now one longer
    list.reset(head);
}

std::optional<std::string> urlPart(CURLU* url, CURLUPart part, unsigned int flags = 0) {
    char* text = nullptr;
    if (curl_url_get(url, part, &text, flags) != CURLUE_OK || text == nullptr) {
        return std::nullopt;
    }
    std::string copy(text);
    curl_free(text);
    return copy;
}

// Where a request may go: its scheme, host and port. A redirect is only followed to the same.
struct Origin {
    std::string scheme;
    std::string host;
    std::string port;

    bool sameAs(const Origin& other) const {
        return strcasecmp(scheme.c_str(), other.scheme.c_str()) == 0 &&
               strcasecmp(host.c_str(), other.host.c_str()) == 0 && port == other.port;
    }
};

struct ParsedUrl {
    std::string text;
    Origin origin;
};

// The URL normalised by libcurl, or nothing when it is not a valid absolute URL with a host.
std::optional<ParsedUrl> parseUrl(const std::string& text) {
    // libcurl reads "http:///path" as the host "path"; that URL has no host.
    const auto authority = text.find("://");
    if (authority != std::string::npos && text.compare(authority + 3, 1, "/") == 0) {
        return std::nullopt;
    }
    const UrlHandle url(curl_url());
    if (!url || curl_url_set(url.get(), CURLUPART_URL, text.c_str(), CURLU_NON_SUPPORT_SCHEME) !=
                    CURLUE_OK) {
        return std::nullopt;
    }
    auto normalised = urlPart(url.get(), CURLUPART_URL);
    auto scheme = urlPart(url.get(), CURLUPART_SCHEME);
    auto host = urlPart(url.get(), CURLUPART_HOST);
    auto port = urlPart(url.get(), CURLUPART_PORT, CURLU_DEFAULT_PORT);
    if (!normalised || !scheme || !host || host->empty()) {
        return std::nullopt;
    }
    return ParsedUrl{std::move(*normalised),
                     Origin{std::move(*scheme), std::move(*host), port.value_or("")}};
}

// "Name: value" lines, each name once as the map guarantees. An empty value needs libcurl's
// "Name;" form, since "Name:" would remove the header instead of sending it empty.
HeaderList headerList(const HttpHeaders& headers) {
    HeaderList list;
    for (const auto& [name, value] : headers) {
        if (name.empty() || name.find_first_of(":\r\n", 0) != std::string::npos ||
            value.find_first_of(std::string_view("\r\n\0", 3)) != std::string::npos ||
            name.find('\0') != std::string::npos) {
            // Sending it would split the request; say which part was wrong, not what it held.
            throw TransportError("a request header cannot be sent as given");
        }
        std::string line = name;
        line += value.empty() ? ";" : ": ";
        line += value;
        append(list, line);
    }
    return list;
}

struct Transfer {
    CURL* easy = nullptr;
    std::string body;
    std::size_t maxBodyBytes = 0;
    bool tooLarge = false;
    const Cancellation* cancellation = nullptr;
};

// Room for the whole body at once: growing a string step by step leaves each smaller copy
// behind in the heap, which adds up to twice the body. Pages that are never written cost nothing.
std::size_t bodyReservation(const Transfer& transfer) {
    constexpr std::size_t unknownLengthReservation = std::size_t{16} << 20;
    curl_off_t announced = -1;
    curl_easy_getinfo(transfer.easy, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &announced);
    if (announced >= 0 && static_cast<std::uint64_t>(announced) < transfer.maxBodyBytes) {
        return static_cast<std::size_t>(announced);
    }
    return std::min(transfer.maxBodyBytes, unknownLengthReservation);
}

std::size_t collectBody(char* data, std::size_t size, std::size_t count, void* context) {
    auto& transfer = *static_cast<Transfer*>(context);
    const std::size_t bytes = size * count;
    if (bytes > transfer.maxBodyBytes - transfer.body.size()) {
        // Returning short makes libcurl stop the transfer at once.
        transfer.tooLarge = true;
        return 0;
    }
    if (transfer.body.empty()) {
        transfer.body.reserve(bodyReservation(transfer));
    }
    transfer.body.append(data, bytes);
    return bytes;
}

int checkCancelled(void* context, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
    const auto& transfer = *static_cast<Transfer*>(context);
    return transfer.cancellation != nullptr && transfer.cancellation->isCancelled() ? 1 : 0;
}

void configure(CURL* easy, Transfer& transfer, curl_slist* headers, curl_slist* resolve,
               const FetchOptions& options) {
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 0L);
    curl_easy_setopt(easy, CURLOPT_HTTPGET, 1L);
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, 1L);
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, 2L);
    if (!options.caFile.empty()) {
        curl_easy_setopt(easy, CURLOPT_CAINFO, options.caFile.c_str());
    }
    // Our headers go to the server only, never to a proxy in between.
    curl_easy_setopt(easy, CURLOPT_HEADEROPT, static_cast<long>(CURLHEADER_SEPARATE));
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers);
    curl_easy_setopt(easy, CURLOPT_RESOLVE, resolve);
    curl_easy_setopt(easy, CURLOPT_MAXFILESIZE_LARGE,
                     static_cast<curl_off_t>(std::min<std::size_t>(
                         options.maxBodyBytes,
                         static_cast<std::size_t>(std::numeric_limits<curl_off_t>::max()))));
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, collectBody);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &transfer);
    curl_easy_setopt(easy, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(easy, CURLOPT_XFERINFOFUNCTION, checkCancelled);
    curl_easy_setopt(easy, CURLOPT_XFERINFODATA, &transfer);
}

// The body of the answer, or nothing when it is longer than allowed.
std::optional<std::string> fetchBody(const ParsedUrl& start, const HttpHeaders& headers,
                                     const FetchOptions& options) {
    initialiseCurlOnce();
    HeaderList headerLines = headerList(headers);
    HeaderList resolve;
    for (const std::string& entry : options.resolve) {
        append(resolve, entry);
    }
    const std::unique_ptr<CURL, EasyDeleter> easy(curl_easy_init());
    if (!easy) {
        throw TransportError("the transfer could not be set up");
    }
    Transfer transfer;
    transfer.easy = easy.get();
    transfer.maxBodyBytes = options.maxBodyBytes;
    transfer.cancellation = options.cancellation;
    configure(easy.get(), transfer, headerLines.get(), resolve.get(), options);

    const auto deadline = std::chrono::steady_clock::now() + options.timeout;
    std::string url = start.text;
    for (int redirects = 0;; ++redirects) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            throw TransportError(curl_easy_strerror(CURLE_OPERATION_TIMEDOUT));
        }
        curl_easy_setopt(easy.get(), CURLOPT_TIMEOUT_MS, static_cast<long>(left.count()));
        curl_easy_setopt(easy.get(), CURLOPT_URL, url.c_str());
        transfer.body.clear();
        transfer.tooLarge = false;

        const CURLcode result = curl_easy_perform(easy.get());
        if (transfer.tooLarge || result == CURLE_FILESIZE_EXCEEDED) {
            return std::nullopt;
        }
        if (result != CURLE_OK) {
            // libcurl's fixed text for the code: it never carries request data.
            throw TransportError(curl_easy_strerror(result));
        }

        const char* location = nullptr;
        curl_easy_getinfo(easy.get(), CURLINFO_REDIRECT_URL, &location);
        if (location == nullptr) {
            return std::move(transfer.body);
        }
        const auto next = parseUrl(location);
        if (!next || !next->origin.sameAs(start.origin)) {
            // Our headers carry credentials, so they never follow a redirect to another scheme,
            // host or port. Such a redirect is not followed: its own body is the answer.
            return std::move(transfer.body);
        }
        if (redirects == maxRedirects) {
            throw TransportError(curl_easy_strerror(CURLE_TOO_MANY_REDIRECTS));
        }
        url = next->text;
    }
}

template <typename Read>
nlohmann::json fetchAndRead(const std::string& url, const HttpHeaders& headers,
                            const FetchOptions& options, Read read) {
    const auto parsed = parseUrl(url);
    if (!parsed) {
        return read(std::string_view{});
    }
    const auto body = fetchBody(*parsed, headers, options);
    return read(body ? std::string_view(*body) : std::string_view{});
}

} // namespace

nlohmann::json readJsonObject(std::string_view body) {
    auto parsed = parseBody(body);
    if (!parsed || !parsed->is_object()) {
        return nlohmann::json::object();
    }
    return std::move(*parsed);
}

nlohmann::json readJsonArray(std::string_view body) {
    auto parsed = parseBody(body);
    if (!parsed || !parsed->is_array()) {
        return nlohmann::json::array();
    }
    for (const auto& element : *parsed) {
        if (!element.is_object()) {
            return nlohmann::json::array();
        }
    }
    return std::move(*parsed);
}

nlohmann::json fetchJSON(const std::string& url, const HttpHeaders& headers,
                         const FetchOptions& options) {
    return fetchAndRead(url, headers, options, readJsonObject);
}

nlohmann::json fetchJSONArray(const std::string& url, const HttpHeaders& headers,
                              const FetchOptions& options) {
    return fetchAndRead(url, headers, options, readJsonArray);
}

} // namespace quillon
