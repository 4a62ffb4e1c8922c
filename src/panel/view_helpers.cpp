#include "panel/view_helpers.h"

#include "model/format_hour.h"
#include "model/format_tokens.h"
#include "model/relative_time.h"

#include <QCoreApplication>

#include <chrono>

namespace quillon {

ViewHelpers::ViewHelpers(Clock clock, QObject* parent)
    : QObject(parent), clock_(std::move(clock)) {}

QString ViewHelpers::formatTokens(qint64 tokens) const {
    return QString::fromStdString(quillon::formatTokens(tokens));
}

QString ViewHelpers::formatHour(int hour) const {
    // The pickers offer 0 to 23 only; anything else is a slip in a view and stops the program,
    // as it does everywhere else.
    return QString::fromStdString(quillon::formatHour(hour));
}

QString ViewHelpers::lastUpdatedText(const QDateTime& when) const {
    if (!when.isValid()) {
        return QCoreApplication::translate("FooterView", "Never");
    }
    const Instant then{std::chrono::milliseconds(when.toMSecsSinceEpoch())};
    const Translator translate = [](const std::string& key) {
        return QCoreApplication::translate("RelativeTime", key.c_str()).toStdString();
    };
    return QString::fromStdString(relativeString(then, clock_(), translate));
}

QString ViewHelpers::symbol(const QString& name, const QColor& color) const {
    return QStringLiteral("image://symbol/%1/%2")
        .arg(color.rgba(), 8, 16, QLatin1Char('0'))
        .arg(name);
}

void ViewHelpers::quit() const {
    QCoreApplication::quit();
}

} // namespace quillon
