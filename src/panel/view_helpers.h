#pragma once

#include "model/instant.h"

#include <QColor>
#include <QDateTime>
#include <QObject>
#include <QString>

namespace quillon {

// The few operations the QML views need from the program: its text formats, the tinted symbol
// images, and quitting.
class ViewHelpers : public QObject {
    Q_OBJECT

public:
    explicit ViewHelpers(Clock clock = systemClock(), QObject* parent = nullptr);

    // "1.2M", "200.0K", "999".
    Q_INVOKABLE QString formatTokens(qint64 tokens) const;
    // "10 PM" for 22 in English; the user's locale decides.
    Q_INVOKABLE QString formatHour(int hour) const;
    // How long ago `when` was ("12 sec ago", "3 min ago"), or "Never" for no time at all.
    Q_INVOKABLE QString lastUpdatedText(const QDateTime& when) const;
    // The image source of a symbol drawn in `color`, e.g. "image://symbol/ff3478f6/gearshape".
    Q_INVOKABLE QString symbol(const QString& name, const QColor& color) const;
    // Ends the program.
    Q_INVOKABLE void quit() const;

private:
    Clock clock_;
};

} // namespace quillon
