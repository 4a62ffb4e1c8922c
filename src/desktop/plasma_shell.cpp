#include "desktop/plasma_shell.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>

namespace quillon::plasma {

QRect availableScreenRect(const QString& screenName) {
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.kde.plasmashell"), QStringLiteral("/StrutManager"),
        QStringLiteral("org.kde.PlasmaShell.StrutManager"), QStringLiteral("availableScreenRect"));
    // Where no shell runs, none is started for this question.
    call.setAutoStartService(false);
    call << screenName;
    const QDBusMessage reply =
        QDBusConnection::sessionBus().call(call, QDBus::Block, answerTimeoutMs);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().size() != 1 ||
        reply.signature() != QLatin1String("(iiii)")) {
        return {};
    }
    const auto argument = reply.arguments().constFirst().value<QDBusArgument>();
    QRect area;
    argument >> area;
    return area.isValid() ? area : QRect();
}

} // namespace quillon::plasma
