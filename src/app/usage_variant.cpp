#include "app/usage_variant.h"

#include <QVariantList>

namespace quillon {

QDateTime toDateTime(Instant instant) {
    const auto ms =
        std::chrono::duration_cast<std::chrono::milliseconds>(instant.time_since_epoch()).count();
    return QDateTime::fromMSecsSinceEpoch(ms);
}

QVariantMap toVariantMap(const UsageWindow& window) {
    return {
        {QStringLiteral("percent"), QVariant::fromValue<qint64>(window.percent)},
        {QStringLiteral("resetsAt"),
         window.resetsAt ? QVariant(toDateTime(*window.resetsAt)) : QVariant()},
        {QStringLiteral("resetLabel"), QString::fromStdString(window.resetLabel)},
    };
}

QVariant toVariant(const std::optional<UsageData>& usage) {
    if (!usage) {
        return {};
    }
    QVariantMap map{
        {QStringLiteral("provider"), QString::fromUtf8(rawValue(usage->provider).data())},
        {QStringLiteral("plan"),
         usage->plan ? QVariant(QString::fromStdString(*usage->plan)) : QVariant()},
        {QStringLiteral("fiveHour"), toVariantMap(usage->fiveHour)},
        {QStringLiteral("weekly"), toVariantMap(usage->weekly)},
        {QStringLiteral("sonnet"),
         usage->sonnet ? QVariant(toVariantMap(*usage->sonnet)) : QVariant()},
    };
    if (const auto& context = usage->contextUsage) {
        map.insert(
            QStringLiteral("contextUsage"),
            QVariantMap{
                {QStringLiteral("projectName"), QString::fromStdString(context->projectName)},
                {QStringLiteral("tokensUsed"), QVariant::fromValue<qint64>(context->tokensUsed)},
                {QStringLiteral("effectiveWindow"),
                 QVariant::fromValue<qint64>(context->effectiveWindow)},
                {QStringLiteral("tokensRemaining"),
                 QVariant::fromValue<qint64>(context->tokensRemaining)},
                {QStringLiteral("percentUsed"), QVariant::fromValue<qint64>(context->percentUsed)},
            });
    }
    if (const auto& today = usage->today) {
        map.insert(QStringLiteral("today"),
                   QVariantMap{
                       {QStringLiteral("messages"), QVariant::fromValue<qint64>(today->messages)},
                       {QStringLiteral("tokens"), QString::fromStdString(today->tokens)},
                   });
    }
    return map;
}

QVariantMap toVariantMap(const AppSettings& settings) {
    QVariantList thresholds;
    for (const auto threshold : settings.notifications.thresholds) {
        thresholds.append(QVariant::fromValue<qint64>(threshold));
    }
    return {
        {QStringLiteral("refreshInterval"), settings.refreshInterval},
        {QStringLiteral("showActivityLog"), settings.showActivityLog},
        {QStringLiteral("launchAtStartup"), settings.launchAtStartup},
        {QStringLiteral("notifications"),
         QVariantMap{{QStringLiteral("enabled"), settings.notifications.enabled},
                     {QStringLiteral("thresholds"), thresholds}}},
    };
}

QVariantMap toVariantMap(const SmartNotificationSettings& settings) {
    return {
        {QStringLiteral("smartThrottling"), settings.smartThrottling},
        {QStringLiteral("criticalAlertsOnly"), settings.criticalAlertsOnly},
        {QStringLiteral("quietHoursEnabled"), settings.quietHoursEnabled},
        {QStringLiteral("quietHoursStart"), QVariant::fromValue<qint64>(settings.quietHoursStart)},
        {QStringLiteral("quietHoursEnd"), QVariant::fromValue<qint64>(settings.quietHoursEnd)},
    };
}

} // namespace quillon
