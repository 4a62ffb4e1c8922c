#include "app/application.h"

#include <QQuickWindow>

#include <gtest/gtest.h>

#include <optional>

namespace quillon {
namespace {

// Runs a test with these two variables set (or unset) and puts them back afterwards.
class PrepareGuiPlatformTest : public ::testing::Test {
protected:
    PrepareGuiPlatformTest()
        : session_(saved("XDG_SESSION_TYPE")), platform_(saved("QT_QPA_PLATFORM")) {}
    ~PrepareGuiPlatformTest() override {
        restore("XDG_SESSION_TYPE", session_);
        restore("QT_QPA_PLATFORM", platform_);
    }

    static void set(const char* name, const std::optional<QByteArray>& value) {
        restore(name, value);
    }

private:
    static std::optional<QByteArray> saved(const char* name) {
        if (!qEnvironmentVariableIsSet(name)) {
            return std::nullopt;
        }
        return qgetenv(name);
    }
    static void restore(const char* name, const std::optional<QByteArray>& value) {
        if (value) {
            qputenv(name, *value);
        } else {
            qunsetenv(name);
        }
    }

    std::optional<QByteArray> session_;
    std::optional<QByteArray> platform_;
};

TEST_F(PrepareGuiPlatformTest, AWaylandSessionRunsOnX11ThroughXWayland) {
    set("XDG_SESSION_TYPE", "wayland");
    set("QT_QPA_PLATFORM", std::nullopt);
    prepareGuiPlatform();
    EXPECT_EQ(qgetenv("QT_QPA_PLATFORM"), "xcb");
}

TEST_F(PrepareGuiPlatformTest, APlatformTheUserChoseIsKept) {
    set("XDG_SESSION_TYPE", "wayland");
    set("QT_QPA_PLATFORM", "wayland");
    prepareGuiPlatform();
    EXPECT_EQ(qgetenv("QT_QPA_PLATFORM"), "wayland");
}

TEST_F(PrepareGuiPlatformTest, AnX11SessionIsLeftAlone) {
    set("XDG_SESSION_TYPE", "x11");
    set("QT_QPA_PLATFORM", std::nullopt);
    prepareGuiPlatform();
    EXPECT_FALSE(qEnvironmentVariableIsSet("QT_QPA_PLATFORM"));
}

TEST_F(PrepareGuiPlatformTest, QtQuickDrawsWithItsSoftwareRenderer) {
    prepareGuiPlatform();
    EXPECT_EQ(QQuickWindow::sceneGraphBackend(), "software");
}

} // namespace
} // namespace quillon
