#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QList>
#include <QObject>
#include <QTimer>
#include <QVariantMap>

#include <functional>

namespace quillon {

class AppState;
class QuillonBusAdaptor;

// The running application on the session bus: org.quillon.Quillon1 at /org/quillon/Quillon
// under the name org.quillon.Quillon, with the figures of both providers as properties, a
// PropertiesChanged signal for each published change (one signal per change of the state,
// naming only the properties whose values differ), and the methods Refresh(), RefreshAndWait()
// (which answers once that refresh has finished, so a client can read the fresh figures) and
// ShowPanel().
// Nothing of it is written to disk.
class QuillonBus : public QObject {
    Q_OBJECT

public:
    // Publishes the object and takes the name on `bus`. `showPanel` opens the panel; the
    // application that owns the panel hands it in.
    QuillonBus(AppState& state, std::function<void()> showPanel,
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

    void refresh();
    // Refreshes and answers `message` once the refresh has finished.
    void refreshAndWait(const QDBusMessage& message);
    void showPanel();

private:
    void announceChanges();
    void answerWaiting();

    AppState& state_;
    std::function<void()> showPanel_;
    QDBusConnection bus_;
    QuillonBusAdaptor* adaptor_ = nullptr;
    QVariantMap announced_;
    QList<QDBusMessage> waiting_;
    QTimer announce_;
    bool objectRegistered_ = false;
    bool published_ = false;
};

} // namespace quillon
