#include "app/bus_figures.h"

#include "model/menu_bar_title.h"

#include <QList>

#include <chrono>

namespace quillon {
namespace {

QVariant int64Value(std::int64_t value) {
    return QVariant::fromValue<qint64>(value);
}

QVariant text(const std::string& value) {
    return QString::fromStdString(value);
}

QVariantMap windowToBus(const UsageWindow& window) {
    QVariantMap map{{QStringLiteral("Percent"), int64Value(window.percent)},
                    {QStringLiteral("ResetLabel"), text(window.resetLabel)}};
    if (window.resetsAt) {
        map.insert(QStringLiteral("ResetsAt"), int64Value(instantToBus(window.resetsAt)));
    }
    return map;
}

// The value under `key` when it has the type `T`; a different type reads as absent.
template <typename T> std::optional<T> field(const QVariantMap& map, const QString& key) {
    const auto found = map.find(key);
    if (found == map.end() || found->metaType() != QMetaType::fromType<T>()) {
        return std::nullopt;
    }
    return found->value<T>();
}

std::optional<std::string> textField(const QVariantMap& map, const QString& key) {
    const auto value = field<QString>(map, key);
    return value ? std::optional(value->toStdString()) : std::nullopt;
}

std::optional<UsageWindow> windowFromBus(const QVariantMap& map, const QString& key) {
    const auto inner = field<QVariantMap>(map, key);
    if (!inner) {
        return std::nullopt;
    }
    UsageWindow window;
    window.percent = field<qint64>(*inner, QStringLiteral("Percent")).value_or(0);
    if (const auto resetsAt = field<qint64>(*inner, QStringLiteral("ResetsAt"))) {
        window.resetsAt = instantFromBus(*resetsAt);
    }
    window.resetLabel = textField(*inner, QStringLiteral("ResetLabel")).value_or("");
    return window;
}

} // namespace

qint64 instantToBus(const std::optional<Instant>& instant) {
    if (!instant) {
        return 0;
    }
    return std::chrono::floor<std::chrono::seconds>(*instant).time_since_epoch().count();
}

std::optional<Instant> instantFromBus(qint64 seconds) {
    // Only instants within half of what an Instant holds are taken (1824 to 2116): any two of
    // them, and the clock, are then a difference apart that an Instant's duration holds too.
    constexpr qint64 limit =
        std::chrono::duration_cast<std::chrono::seconds>(Instant::duration::max()).count() / 2;
    if (seconds == 0 || seconds > limit || seconds < -limit) {
        return std::nullopt;
    }
    return Instant(std::chrono::seconds(seconds));
}

QVariantMap usageToBus(const std::optional<UsageData>& usage, const ExtraWindows& extra) {
    if (!usage) {
        return {{QStringLiteral("Connected"), false}};
    }
    QVariantMap map{{QStringLiteral("Connected"), true},
                    {QStringLiteral("FiveHour"), windowToBus(usage->fiveHour)},
                    {QStringLiteral("Weekly"), windowToBus(usage->weekly)}};
    if (usage->plan) {
        map.insert(QStringLiteral("Plan"), text(*usage->plan));
    }
    if (usage->sonnet) {
        map.insert(QStringLiteral("Sonnet"), windowToBus(*usage->sonnet));
    }
    if (const auto& context = usage->contextUsage) {
        map.insert(
            QStringLiteral("Context"),
            QVariantMap{{QStringLiteral("ProjectName"), text(context->projectName)},
                        {QStringLiteral("TokensUsed"), int64Value(context->tokensUsed)},
                        {QStringLiteral("EffectiveWindow"), int64Value(context->effectiveWindow)},
                        {QStringLiteral("TokensRemaining"), int64Value(context->tokensRemaining)},
                        {QStringLiteral("PercentUsed"), int64Value(context->percentUsed)}});
    }
    if (const auto& today = usage->today) {
        map.insert(QStringLiteral("Today"),
                   QVariantMap{{QStringLiteral("Messages"), int64Value(today->messages)},
                               {QStringLiteral("Tokens"), text(today->tokens)}});
    }
    if (!extra.empty()) {
        QVariantMap windows;
        for (const auto& [key, window] : extra) {
            windows.insert(QString::fromStdString(key), windowToBus(window));
        }
        map.insert(QStringLiteral("Extra"), windows);
    }
    return map;
}

std::optional<UsageData> usageFromBus(Provider provider, const QVariantMap& map) {
    if (!field<bool>(map, QStringLiteral("Connected")).value_or(false)) {
        return std::nullopt;
    }
    UsageData usage;
    usage.provider = provider;
    usage.plan = textField(map, QStringLiteral("Plan"));
    usage.fiveHour = windowFromBus(map, QStringLiteral("FiveHour")).value_or(UsageWindow{});
    usage.weekly = windowFromBus(map, QStringLiteral("Weekly")).value_or(UsageWindow{});
    usage.sonnet = windowFromBus(map, QStringLiteral("Sonnet"));
    if (const auto context = field<QVariantMap>(map, QStringLiteral("Context"))) {
        ContextUsage value;
        value.projectName = textField(*context, QStringLiteral("ProjectName")).value_or("");
        value.tokensUsed = field<qint64>(*context, QStringLiteral("TokensUsed")).value_or(0);
        value.effectiveWindow =
            field<qint64>(*context, QStringLiteral("EffectiveWindow")).value_or(0);
        value.tokensRemaining =
            field<qint64>(*context, QStringLiteral("TokensRemaining")).value_or(0);
        value.percentUsed = field<qint64>(*context, QStringLiteral("PercentUsed")).value_or(0);
        usage.contextUsage = value;
    }
    if (const auto today = field<QVariantMap>(map, QStringLiteral("Today"))) {
        usage.today = TodayUsage{field<qint64>(*today, QStringLiteral("Messages")).value_or(0),
                                 textField(*today, QStringLiteral("Tokens")).value_or("")};
    }
    return usage;
}

ExtraWindows extraWindowsFromBus(const QVariantMap& map) {
    ExtraWindows extra;
    const auto windows = field<QVariantMap>(map, QStringLiteral("Extra"));
    if (!windows) {
        return extra;
    }
    for (auto it = windows->begin(); it != windows->end() && extra.size() < maxExtraWindows; ++it) {
        if (const auto window = windowFromBus(*windows, it.key())) {
            addExtraWindow(extra, it.key().toStdString(), *window);
        }
    }
    return extra;
}

QVariantMap busProperties(const std::optional<UsageData>& claude,
                          const std::optional<UsageData>& codex,
                          const std::optional<Instant>& lastUpdated,
                          const NotificationSettings& notifications,
                          const ExtraWindows& claudeExtra, const ExtraWindows& codexExtra) {
    QList<qlonglong> thresholds;
    for (const auto threshold : notifications.thresholds) {
        thresholds.append(threshold);
    }
    return {
        {QStringLiteral("Title"), text(menuBarTitle(claude, codex))},
        {QStringLiteral("LastUpdated"), int64Value(instantToBus(lastUpdated))},
        {QStringLiteral("Claude"), usageToBus(claude, claudeExtra)},
        {QStringLiteral("Codex"), usageToBus(codex, codexExtra)},
        {QStringLiteral("AlertThresholds"), QVariant::fromValue(thresholds)},
    };
}

} // namespace quillon
