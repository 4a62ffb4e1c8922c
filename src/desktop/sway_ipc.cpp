#include "desktop/sway_ipc.h"

#include "localstats/descriptor.h"

#include <QSocketNotifier>

#include <nlohmann/json.hpp>

#include <fcntl.h>

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>

namespace quillon::sway {
namespace {

constexpr std::string_view magic = "i3-ipc";
constexpr std::uint32_t getWorkspaces = 1;
constexpr std::uint32_t subscribe = 2;
constexpr std::uint32_t getVersion = 7;
constexpr std::uint32_t getSeats = 101;
// Events carry this bit in their type; the window events are event 3.
constexpr std::uint32_t windowEvent = 0x80000003U;
// Far more than any real answer to the two questions asked here.
constexpr std::uint32_t maximumReply = 4U << 20U;

// A socket is a file descriptor like any other: closed when it goes out of scope.
using Socket = localstats::Descriptor;

bool writeAll(int fd, const char* data, std::size_t size) {
    while (size > 0) {
        const ssize_t written = ::send(fd, data, size, MSG_NOSIGNAL);
        if (written <= 0) {
            return false;
        }
        data += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}

bool readAll(int fd, char* data, std::size_t size) {
    while (size > 0) {
        const ssize_t got = ::recv(fd, data, size, 0);
        if (got <= 0) {
            return false;
        }
        data += got;
        size -= static_cast<std::size_t>(got);
    }
    return true;
}

// A connected socket to `path` whose calls give up after timeoutMs; -1 on failure.
int connectTo(const QString& path) {
    const QByteArray name = path.toLocal8Bit();
    sockaddr_un address{};
    if (name.isEmpty() || static_cast<std::size_t>(name.size()) >= sizeof(address.sun_path)) {
        return -1;
    }
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        return -1;
    }
    timeval limit{.tv_sec = 0, .tv_usec = static_cast<suseconds_t>(timeoutMs) * 1000};
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
    ::setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit));
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, name.constData(), static_cast<std::size_t>(name.size()));
    if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

// The header: the magic, then the payload's length and the message type in host order.
constexpr std::size_t headerSize = magic.size() + 8;

bool sendMessage(int fd, std::uint32_t type, std::string_view payload) {
    std::string frame(magic);
    const auto length = static_cast<std::uint32_t>(payload.size());
    frame.append(reinterpret_cast<const char*>(&length), 4);
    frame.append(reinterpret_cast<const char*>(&type), 4);
    frame.append(payload);
    return writeAll(fd, frame.data(), frame.size());
}

// The type and the payload length of a message whose header is `header`; nothing for a header
// that is not sway's or announces more than any answer here needs.
std::optional<std::pair<std::uint32_t, std::uint32_t>> parseHeader(std::string_view header) {
    if (header.size() < headerSize || header.substr(0, magic.size()) != magic) {
        return std::nullopt;
    }
    std::uint32_t length = 0;
    std::uint32_t type = 0;
    std::memcpy(&length, header.data() + magic.size(), 4);
    std::memcpy(&type, header.data() + magic.size() + 4, 4);
    if (length > maximumReply) {
        return std::nullopt;
    }
    return std::pair{type, length};
}

// The reply to a message of `type`, parsed; nothing on any failure.
std::optional<nlohmann::json> readReply(int fd, std::uint32_t type) {
    std::array<char, headerSize> header{};
    if (!readAll(fd, header.data(), header.size())) {
        return std::nullopt;
    }
    const auto parsed = parseHeader(std::string_view(header.data(), header.size()));
    if (!parsed || parsed->first != type) {
        return std::nullopt;
    }
    std::string body(parsed->second, '\0');
    if (!readAll(fd, body.data(), body.size())) {
        return std::nullopt;
    }
    nlohmann::json reply = nlohmann::json::parse(body, nullptr, false);
    if (reply.is_discarded()) {
        return std::nullopt;
    }
    return reply;
}

// One request without a payload, and its answer parsed; nothing on any failure.
std::optional<nlohmann::json> ask(const QString& path, std::uint32_t type) {
    const Socket socket(connectTo(path));
    if (socket.get() < 0 || !sendMessage(socket.get(), type, {})) {
        return std::nullopt;
    }
    return readReply(socket.get(), type);
}

std::optional<int> integer(const nlohmann::json& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end() || !found->is_number_integer()) {
        return std::nullopt;
    }
    const auto value = found->get<std::int64_t>();
    if (value < -(1 << 20) || value > (1 << 20)) {
        return std::nullopt;
    }
    return static_cast<int>(value);
}

} // namespace

QString socketPath() {
    return qEnvironmentVariable("SWAYSOCK");
}

std::optional<int> version(const QString& socket) {
    const auto reply = ask(socket, getVersion);
    if (!reply || !reply->is_object()) {
        return std::nullopt;
    }
    const auto major = integer(*reply, "major");
    const auto minor = integer(*reply, "minor");
    if (!major || !minor || *major < 0 || *minor < 0 || *minor > 99) {
        return std::nullopt;
    }
    return *major * 100 + *minor;
}

QList<QRect> workAreas(const QString& socket) {
    const auto reply = ask(socket, getWorkspaces);
    QList<QRect> areas;
    if (!reply || !reply->is_array()) {
        return areas;
    }
    for (const auto& workspace : *reply) {
        if (!workspace.is_object()) {
            continue;
        }
        const auto visible = workspace.find("visible");
        if (visible == workspace.end() || !visible->is_boolean() || !visible->get<bool>()) {
            continue;
        }
        const auto rect = workspace.find("rect");
        if (rect == workspace.end() || !rect->is_object()) {
            continue;
        }
        const auto x = integer(*rect, "x");
        const auto y = integer(*rect, "y");
        const auto width = integer(*rect, "width");
        const auto height = integer(*rect, "height");
        if (x && y && width && height && *width > 0 && *height > 0) {
            areas.append(QRect(*x, *y, *width, *height));
        }
    }
    return areas;
}

std::optional<std::vector<std::int64_t>> seatFocus(const QString& socket) {
    const auto reply = ask(socket, getSeats);
    if (!reply || !reply->is_array()) {
        return std::nullopt;
    }
    std::vector<std::int64_t> focus;
    for (const auto& seat : *reply) {
        const auto node = seat.is_object() ? seat.find("focus") : seat.end();
        if (!seat.is_object() || node == seat.end() || !node->is_number_integer()) {
            return std::nullopt;
        }
        focus.push_back(node->get<std::int64_t>());
    }
    return focus;
}

struct FocusWatch::Connection {
    explicit Connection(int fd) : socket(fd), notifier(fd, QSocketNotifier::Read) {}
    Socket socket;
    QSocketNotifier notifier;
};

FocusWatch::FocusWatch(QObject* parent) : QObject(parent), poll_(new QTimer(this)) {
    poll_->setInterval(focusPollMs);
    connect(poll_, &QTimer::timeout, this, &FocusWatch::pollFocus);
}

FocusWatch::~FocusWatch() = default;

bool FocusWatch::start(const QString& socket) {
    stop();
    const int fd = connectTo(socket);
    if (fd < 0) {
        return false;
    }
    auto connection = std::make_unique<Connection>(fd);
    connection->notifier.setEnabled(false);
    const auto reply =
        sendMessage(fd, subscribe, R"(["window"])") ? readReply(fd, subscribe) : std::nullopt;
    if (!reply || !reply->is_object()) {
        return false;
    }
    const auto success = reply->find("success");
    if (success == reply->end() || *success != true) {
        return false;
    }
    // From here on the events are read as they come, never waiting for more.
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
    connect(&connection->notifier, &QSocketNotifier::activated, this, &FocusWatch::readEvents);
    connection->notifier.setEnabled(true);
    connection_ = std::move(connection);
    pending_.clear();
    socket_ = socket;
    focusAtStart_ = seatFocus(socket);
    if (focusAtStart_) {
        poll_->start();
    }
    return true;
}

void FocusWatch::stop() {
    connection_.reset();
    pending_.clear();
    poll_->stop();
    focusAtStart_.reset();
}

void FocusWatch::pollFocus() {
    const auto focus = seatFocus(socket_);
    // No answer is no news: sway may be busy, or gone, which the event socket tells.
    if (!focus || !focusAtStart_ || *focus == *focusAtStart_) {
        return;
    }
    focusAtStart_ = focus;
    emit focusMoved();
}

bool FocusWatch::isListening() const {
    return connection_ != nullptr;
}

void FocusWatch::giveUp() {
    // The notifier that called is not deleted under its own signal.
    connection_->notifier.setEnabled(false);
    QMetaObject::invokeMethod(this, &FocusWatch::stop, Qt::QueuedConnection);
}

void FocusWatch::readEvents() {
    if (!connection_) {
        return;
    }
    std::array<char, 4096> chunk{};
    for (;;) {
        const ssize_t got = ::recv(connection_->socket.get(), chunk.data(), chunk.size(), 0);
        if (got > 0) {
            pending_.append(chunk.data(), static_cast<std::size_t>(got));
            continue;
        }
        if (got == 0 || (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR)) {
            // sway went away, or the stream broke: nothing more will come.
            giveUp();
            return;
        }
        if (errno != EINTR) {
            break;
        }
    }
    bool moved = false;
    while (pending_.size() >= headerSize) {
        const auto parsed = parseHeader(pending_);
        if (!parsed) {
            giveUp();
            return;
        }
        if (pending_.size() < headerSize + parsed->second) {
            break;
        }
        if (parsed->first == windowEvent) {
            const auto event = nlohmann::json::parse(
                pending_.begin() + static_cast<std::ptrdiff_t>(headerSize),
                pending_.begin() + static_cast<std::ptrdiff_t>(headerSize + parsed->second),
                nullptr, false);
            if (event.is_object()) {
                const auto change = event.find("change");
                moved = moved || (change != event.end() && *change == "focus");
            }
        }
        pending_.erase(0, headerSize + parsed->second);
    }
    if (moved) {
        emit focusMoved();
    }
}

} // namespace quillon::sway
