#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QRect>
#include <QString>
#include <QTimer>

#include <functional>
#include <optional>
#include <vector>

namespace quillon {

// Finds where the desktop shell draws the item, through the accessibility bus (AT-SPI). GNOME
// Shell exposes its top bar there, on by default: each button of the bar is an accessible
// object with the role "menu", a name, and its extents on screen; the AppIndicator extension
// names the item's button after the item's title. Only the shell's own tree is searched.
//
// The lookup runs on a thread of the global pool with blocking calls that share one deadline,
// so the application never waits on the bus; whatever happens, `done` is called once on this
// object's thread within `timeoutMs`, with the button's rectangle or with nothing (no
// accessibility bus, no shell, no such button).
class AccessibleItemFinder : public QObject {
    Q_OBJECT

public:
    using Callback = std::function<void(std::optional<QRect>)>;

    static constexpr int timeoutMs = 500;
    // The shell's application on the accessibility bus.
    static constexpr auto shellApplication = "gnome-shell";
    // The accessible role of the bar's buttons (ATSPI_ROLE_MENU).
    static constexpr int menuRole = 33;

    // Looks for a button named `name`; asks for the accessibility bus's address on `bus`.
    explicit AccessibleItemFinder(QString name, QDBusConnection bus = QDBusConnection::sessionBus(),
                                  QObject* parent = nullptr);
    ~AccessibleItemFinder() override;
    AccessibleItemFinder(const AccessibleItemFinder&) = delete;
    AccessibleItemFinder& operator=(const AccessibleItemFinder&) = delete;

    // Starts a lookup, or joins the one under way.
    void find(Callback done);
    bool isBusy() const { return !waiting_.empty(); }

    // The lookup itself, blocking for at most `timeoutMs`: the rectangle of the first object
    // named `name` with the menu role in the tree of the accessibility bus's application named
    // `application`.
    static std::optional<QRect> lookUp(const QDBusConnection& bus, const QString& name,
                                       const QString& application, int timeoutMs);

private:
    void finish(quint64 lookup, std::optional<QRect> item);

    QString name_;
    QDBusConnection bus_;
    QTimer deadline_;
    quint64 lookup_ = 0;
    std::vector<Callback> waiting_;
};

} // namespace quillon
