#pragma once

#include <QString>

#include <functional>

namespace quillon {

// Quillon's GNOME Shell extension, as `gnome-extensions` names it.
inline constexpr auto gnomeExtensionUuid = "quillon@quillon.org";

// What Quillon says when nothing on the desktop can show it (no StatusNotifierWatcher, no tray
// for a plain icon, no shell button of its own): one line on standard error and, on GNOME,
// where the way out is Quillon's own extension, one desktop notification. Each is said once in a
// process's life, however often the desktop comes and goes.
class UnseenNotice {
public:
    // `print` writes a line to standard error, `notify` shows a notification (title, body).
    UnseenNotice(bool gnome, std::function<void(const QString&)> print,
                 std::function<void(const QString&, const QString&)> notify);

    void operator()();

    // Whether XDG_CURRENT_DESKTOP (a colon-separated list) names GNOME.
    static bool isGnome(const QString& currentDesktop);
    static QString line(bool gnome);
    static QString notificationTitle();
    static QString notificationBody();

private:
    bool gnome_;
    std::function<void(const QString&)> print_;
    std::function<void(const QString&, const QString&)> notify_;
    bool said_ = false;
};

} // namespace quillon
