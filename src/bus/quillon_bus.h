#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QList>
#include <QObject>
#include <QPoint>
#include <QRect>
#include <QStringList>
#include <QTimer>
#include <QVariantMap>

#include <functional>

namespace quillon {

class AppState;
class QuillonBusAdaptor;

// What the interface asks of the rest of the application; the application that owns the panel
// hands them in. Any may be left empty: the request then does nothing (and a query answers
// false or an empty list).
struct BusActions {
    // ShowPanel(): opens the panel where the application thinks its item is.
    std::function<void()> showPanel = {};
    // ShowPanelAt and TogglePanelAt: a shell that draws its own button knows its rectangle.
    std::function<void(QRect)> showPanelUnder = {};
    std::function<void(QRect)> togglePanelUnder = {};
    std::function<void()> hidePanel = {};
    // PressedAt: a press the shell saw anywhere on the screen.
    std::function<void(QPoint)> pressedAt = {};
    std::function<void()> quit = {};
    std::function<bool()> panelVisible = {};
    // The menu's lines of figures, one per provider with figures.
    std::function<QStringList()> menuRows = {};
};

// The running application on the session bus: org.quillon.Quillon1 at /org/quillon/Quillon
// under the name org.quillon.Quillon, with the figures of both providers as properties, a
// PropertiesChanged signal for each published change (one signal per change of the state,
// naming only the properties whose values differ), and the methods Refresh(),
// RefreshAndWait() (which answers once that refresh has finished, so a client can read the
// fresh figures) and ShowPanel().
// For a desktop shell that draws the item itself, it also carries the menu's lines of figures
// and whether the panel is open, and takes requests to place, toggle and hide the panel, the
// presses the shell sees, and Quit; the signal PanelWanted asks that shell to show the panel
// under its button with ShowPanelAt. Nothing of it is written to disk.
class QuillonBus : public QObject {
    Q_OBJECT

public:
    // Publishes the object and takes the name on `bus`.
    QuillonBus(AppState& state, BusActions actions,
               QDBusConnection bus = QDBusConnection::sessionBus(), QObject* parent = nullptr);
    ~QuillonBus() override;
    QuillonBus(const QuillonBus&) = delete;
    QuillonBus& operator=(const QuillonBus&) = delete;

    // Whether the object and the name could be published. Another owner of the name (only ever
    // a second copy of the application, which the single-instance lock stops first) leaves the
    // name to it.
    bool isPublished() const { return published_; }

    // The properties' current values, by name.
    QVariantMap properties() const;

    const BusActions& actions() const { return actions_; }
    void refresh();
    // Compares the properties with those last announced, once the present step has run, and
    // announces what changed: for changes that do not come from the state (the panel opening).
    void announce();
    // Emits PanelWanted: only the shell that draws Quillon's button knows where it is.
    void askShellForPanel();
    // Refreshes and answers `message` once the refresh has finished.
    void refreshAndWait(const QDBusMessage& message);

private:
    void announceChanges();
    void answerWaiting();

    AppState& state_;
    BusActions actions_;
    QDBusConnection bus_;
    QuillonBusAdaptor* adaptor_ = nullptr;
    QVariantMap announced_;
    QList<QDBusMessage> waiting_;
    QTimer announce_;
    bool objectRegistered_ = false;
    bool published_ = false;
};

} // namespace quillon
