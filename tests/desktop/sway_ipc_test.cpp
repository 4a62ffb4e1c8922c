#include "desktop/sway_ipc.h"

#include "support/temp_dir.h"

#include <gtest/gtest.h>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "support/qt_wait.h"

#include <QSignalSpy>

namespace quillon {
namespace {

// A Unix socket listening at `path`, as sway's is.
int listenAt(const std::string& path, int backlog) {
    const int listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size());
    EXPECT_EQ(::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    EXPECT_EQ(::listen(listener, backlog), 0);
    return listener;
}

// A sway IPC socket in a folder of its own that answers one request with `reply`, framed as
// sway frames it (with `replyType`, else the request's own type), or, with `silent`, reads the
// request and says nothing until the client gives up.
class FakeSway {
public:
    struct Answer {
        std::string reply{};
        std::int64_t replyType = -1;
        std::int64_t claimedLength = -1;
        bool silent = false;
        // Sent after the reply, as events of this type (sway's window events by default).
        std::vector<std::string> events{};
        std::uint32_t eventType = 0x80000003U;
        // Bytes sent after those, as they stand.
        std::string trailing{};
        // Keeps the connection open until the client closes it.
        bool linger = false;
    };

    explicit FakeSway(Answer answer) : answer_(std::move(answer)) {
        path_ = (folder_.path() / "sway-ipc.sock").string();
        listener_ = listenAt(path_, 1);
        thread_ = std::thread([this] { serve(); });
    }
    ~FakeSway() {
        thread_.join();
        ::close(listener_);
    }
    FakeSway(const FakeSway&) = delete;
    FakeSway& operator=(const FakeSway&) = delete;

    QString path() const { return QString::fromStdString(path_); }
    std::uint32_t requestedType() const { return requestedType_; }

private:
    void serve() {
        const int client = ::accept(listener_, nullptr, nullptr);
        if (client < 0) {
            return;
        }
        std::array<char, 14> header{};
        std::size_t got = 0;
        while (got < header.size()) {
            const ssize_t n = ::recv(client, header.data() + got, header.size() - got, 0);
            if (n <= 0) {
                break;
            }
            got += static_cast<std::size_t>(n);
        }
        std::memcpy(&requestedType_, header.data() + 10, 4);
        if (answer_.silent) {
            // Waits for the client to give up and close its end.
            char byte = 0;
            while (::recv(client, &byte, 1, 0) > 0) {
            }
        } else {
            const auto type = static_cast<std::uint32_t>(answer_.replyType >= 0 ? answer_.replyType
                                                                                : requestedType_);
            const auto length = static_cast<std::uint32_t>(
                answer_.claimedLength >= 0 ? answer_.claimedLength : answer_.reply.size());
            std::string frame = "i3-ipc";
            frame.append(reinterpret_cast<const char*>(&length), 4);
            frame.append(reinterpret_cast<const char*>(&type), 4);
            frame += answer_.reply;
            for (const std::string& event : answer_.events) {
                const auto eventLength = static_cast<std::uint32_t>(event.size());
                frame += "i3-ipc";
                frame.append(reinterpret_cast<const char*>(&eventLength), 4);
                frame.append(reinterpret_cast<const char*>(&answer_.eventType), 4);
                frame += event;
            }
            frame += answer_.trailing;
            (void)::send(client, frame.data(), frame.size(), MSG_NOSIGNAL);
            if (answer_.linger) {
                char byte = 0;
                while (::recv(client, &byte, 1, 0) > 0) {
                }
            }
        }
        ::close(client);
    }

    test::TempDir folder_;
    std::string path_;
    Answer answer_;
    int listener_ = -1;
    std::uint32_t requestedType_ = 0;
    std::thread thread_;
};

// A sway IPC socket that takes any number of connections, as sway does: a subscription is
// granted and its connection kept open; GET_SEATS is answered with `focus` as it stands then.
class SeatSway {
public:
    SeatSway() {
        path_ = (folder_.path() / "sway-ipc.sock").string();
        listener_ = listenAt(path_, 8);
        thread_ = std::thread([this] { serve(); });
    }
    ~SeatSway() {
        stopping_ = true;
        thread_.join();
        for (const int fd : kept_) {
            ::close(fd);
        }
        ::close(listener_);
    }
    SeatSway(const SeatSway&) = delete;
    SeatSway& operator=(const SeatSway&) = delete;

    QString path() const { return QString::fromStdString(path_); }
    void setFocus(int id) { focus_ = id; }
    int seatQuestions() const { return seatQuestions_; }

private:
    void serve() {
        while (!stopping_) {
            pollfd waiting{.fd = listener_, .events = POLLIN, .revents = 0};
            if (::poll(&waiting, 1, 20) <= 0) {
                continue;
            }
            const int client = ::accept(listener_, nullptr, nullptr);
            if (client < 0) {
                continue;
            }
            std::array<char, 14> header{};
            if (::recv(client, header.data(), header.size(), MSG_WAITALL) != 14) {
                ::close(client);
                continue;
            }
            std::uint32_t length = 0;
            std::uint32_t type = 0;
            std::memcpy(&length, header.data() + 6, 4);
            std::memcpy(&type, header.data() + 10, 4);
            std::string payload(length, '\0');
            if (length > 0) {
                (void)::recv(client, payload.data(), length, MSG_WAITALL);
            }
            std::string reply;
            if (type == 101U) {
                ++seatQuestions_;
                reply = R"([{"name": "seat0", "focus": )" + std::to_string(focus_.load()) + "}]";
            } else {
                reply = R"({"success": true})";
            }
            const auto replyLength = static_cast<std::uint32_t>(reply.size());
            std::string frame = "i3-ipc";
            frame.append(reinterpret_cast<const char*>(&replyLength), 4);
            frame.append(reinterpret_cast<const char*>(&type), 4);
            frame += reply;
            (void)::send(client, frame.data(), frame.size(), MSG_NOSIGNAL);
            if (type == 101U) {
                ::close(client);
            } else {
                kept_.push_back(client);
            }
        }
    }

    test::TempDir folder_;
    std::string path_;
    int listener_ = -1;
    std::atomic<int> focus_{5};
    std::atomic<int> seatQuestions_{0};
    std::atomic<bool> stopping_{false};
    std::vector<int> kept_;
    std::thread thread_;
};

constexpr auto workspaces = R"([
  {"num": 1, "visible": true, "rect": {"x": 0, "y": 30, "width": 1280, "height": 770}},
  {"num": 2, "visible": false, "rect": {"x": 0, "y": 0, "width": 1280, "height": 800}},
  {"num": 3, "visible": true, "rect": {"x": 1280, "y": 0, "width": 1920, "height": 1046}}
])";

TEST(SwayIpcTest, TheVersionIsMajorTimesHundredPlusMinor) {
    FakeSway sway({.reply = R"({"major": 1, "minor": 10, "patch": 0, "human_readable": "1.10"})"});
    EXPECT_EQ(sway::version(sway.path()), 110);
    EXPECT_EQ(sway.requestedType(), 7U);
}

TEST(SwayIpcTest, TheWorkAreasAreThoseOfTheVisibleWorkspaces) {
    FakeSway sway({.reply = workspaces});
    EXPECT_EQ(sway::workAreas(sway.path()),
              (QList<QRect>{QRect(0, 30, 1280, 770), QRect(1280, 0, 1920, 1046)}));
    EXPECT_EQ(sway.requestedType(), 1U);
}

TEST(SwayIpcTest, NoSocketNoAnswer) {
    const test::TempDir folder;
    EXPECT_FALSE(sway::version(QString()));
    EXPECT_FALSE(sway::version(QString::fromStdString((folder.path() / "absent").string())));
    EXPECT_TRUE(sway::workAreas(QString()).isEmpty());
    // A path too long for a socket address.
    EXPECT_FALSE(sway::version(QString(200, QLatin1Char('x'))));
}

TEST(SwayIpcTest, MalformedRepliesGiveNothing) {
    {
        FakeSway sway({.reply = "{\"major\": 1, \"minor\""});
        EXPECT_FALSE(sway::version(sway.path()));
    }
    {
        FakeSway sway({.reply = R"({"major": "1", "minor": 10})"});
        EXPECT_FALSE(sway::version(sway.path()));
    }
    {
        FakeSway sway({.reply = R"({"major": 1, "minor": 10})", .replyType = 3});
        EXPECT_FALSE(sway::version(sway.path()));
    }
    {
        FakeSway sway({.reply = R"([{"visible": "yes", "rect": {"x": 0, "y": 0, "width": 9,
                                   "height": 9}}, {"visible": true, "rect": [1, 2, 3, 4]},
                                   {"visible": true, "rect": {"x": 0, "y": 0, "width": -5,
                                   "height": 9}}, {"visible": true, "rect": {"x": 1e99, "y": 0,
                                   "width": 5, "height": 9}}, 7])"});
        EXPECT_TRUE(sway::workAreas(sway.path()).isEmpty());
    }
}

TEST(SwayIpcTest, AReplyThatClaimsMoreThanItSendsGivesNothing) {
    FakeSway sway({.reply = R"({"major": 1, "minor": 10})", .claimedLength = 1000});
    EXPECT_FALSE(sway::version(sway.path()));
}

TEST(SwayIpcTest, AnOversizedReplyIsNotRead) {
    FakeSway sway({.reply = "{}", .claimedLength = 0x7fffffff});
    EXPECT_FALSE(sway::version(sway.path()));
}

TEST(SwayIpcTest, ASocketThatNeverAnswersGivesNothing) {
    FakeSway sway({.silent = true});
    EXPECT_FALSE(sway::version(sway.path()));
}

TEST(SwayIpcTest, SeatFocusNamesEachSeatsFocusedNode) {
    FakeSway sway({.reply = R"([{"name": "seat0", "focus": 12}, {"name": "seat1", "focus": 4}])"});
    EXPECT_EQ(sway::seatFocus(sway.path()), (std::vector<std::int64_t>{12, 4}));
    EXPECT_EQ(sway.requestedType(), 101U);
}

TEST(SwayIpcTest, SeatFocusOfAMalformedAnswerIsNothing) {
    for (const char* reply :
         {R"({"focus": 1})", R"([{"name": "seat0"}])", R"([{"focus": "12"}])", R"([7])", "[{"}) {
        FakeSway sway({.reply = reply});
        EXPECT_FALSE(sway::seatFocus(sway.path())) << reply;
    }
    EXPECT_FALSE(sway::seatFocus(QString()));
}

TEST(SwayFocusWatchTest, AFocusEventTellsAndOtherWindowEventsDoNot) {
    FakeSway sway({.reply = R"({"success": true})",
                   .events = {R"({"change": "new"})", R"({"change": "focus", "container": {}})",
                              R"({"change": "title"})"},
                   .linger = true});
    sway::FocusWatch watch;
    QSignalSpy moved(&watch, &sway::FocusWatch::focusMoved);
    ASSERT_TRUE(watch.start(sway.path()));
    EXPECT_EQ(sway.requestedType(), 2U);
    ASSERT_TRUE(test::waitUntil([&] { return moved.count() >= 1; }));
    test::spin(100);
    EXPECT_EQ(moved.count(), 1);
    watch.stop();
    EXPECT_FALSE(watch.isListening());
}

TEST(SwayFocusWatchTest, AMoveOfASeatsFocusWithoutAnyEventTells) {
    SeatSway sway;
    sway::FocusWatch watch;
    QSignalSpy moved(&watch, &sway::FocusWatch::focusMoved);
    ASSERT_TRUE(watch.start(sway.path()));
    // The same focus, asked again and again, is no move.
    ASSERT_TRUE(test::waitUntil([&] { return sway.seatQuestions() >= 4; }));
    EXPECT_EQ(moved.count(), 0);
    // A click on the desktop: the workspace has the focus now.
    sway.setFocus(9);
    ASSERT_TRUE(test::waitUntil([&] { return moved.count() >= 1; }));
    const int asked = sway.seatQuestions();
    ASSERT_TRUE(test::waitUntil([&] { return sway.seatQuestions() >= asked + 3; }));
    EXPECT_EQ(moved.count(), 1);
    // Stopped, it asks no more.
    watch.stop();
    test::spin(50);
    const int atStop = sway.seatQuestions();
    test::spin(300);
    EXPECT_EQ(sway.seatQuestions(), atStop);
}

TEST(SwayFocusWatchTest, ARefusedSubscriptionOrNoSwayIsNoWatch) {
    {
        FakeSway sway({.reply = R"({"success": false})"});
        sway::FocusWatch watch;
        EXPECT_FALSE(watch.start(sway.path()));
        EXPECT_FALSE(watch.isListening());
    }
    {
        FakeSway sway({.reply = R"({"success": "yes"})"});
        sway::FocusWatch watch;
        EXPECT_FALSE(watch.start(sway.path()));
    }
    sway::FocusWatch watch;
    EXPECT_FALSE(watch.start(QString()));
}

TEST(SwayFocusWatchTest, WhenSwayGoesAwayTheWatchStops) {
    FakeSway sway({.reply = R"({"success": true})"});
    sway::FocusWatch watch;
    ASSERT_TRUE(watch.start(sway.path()));
    EXPECT_TRUE(test::waitUntil([&] { return !watch.isListening(); }));
}

TEST(SwayFocusWatchTest, AStreamThatIsNotSwaysStopsTheWatchWithoutASignal) {
    FakeSway sway({.reply = R"({"success": true})",
                   .trailing = "not an event at all, and long enough for a header",
                   .linger = true});
    sway::FocusWatch watch;
    QSignalSpy moved(&watch, &sway::FocusWatch::focusMoved);
    ASSERT_TRUE(watch.start(sway.path()));
    EXPECT_TRUE(test::waitUntil([&] { return !watch.isListening(); }));
    EXPECT_EQ(moved.count(), 0);
}

TEST(SwayFocusWatchTest, MalformedEventsAreSkipped) {
    FakeSway sway({.reply = R"({"success": true})",
                   .events = {"{broken", "[1, 2]", R"({"change": 7})", R"({"change": "focus"})"},
                   .linger = true});
    sway::FocusWatch watch;
    QSignalSpy moved(&watch, &sway::FocusWatch::focusMoved);
    ASSERT_TRUE(watch.start(sway.path()));
    ASSERT_TRUE(test::waitUntil([&] { return moved.count() >= 1; }));
    EXPECT_TRUE(watch.isListening());
}

} // namespace
} // namespace quillon
