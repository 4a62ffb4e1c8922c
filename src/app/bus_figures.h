#pragma once

#include "model/extra_windows.h"
#include "model/instant.h"
#include "model/provider.h"
#include "model/settings.h"
#include "model/usage_data.h"

#include <QVariantMap>

#include <optional>
#include <set>
#include <string>

namespace quillon {

// The figures as the session-bus interface carries them, and back. Each provider is one
// dictionary (a{sv}) whose keys are absent where the figure is: "Connected" (b), "Plan" (s),
// "FiveHour", "Weekly" and "Sonnet" (a{sv} each: "Percent" x, "ResetsAt" x, "ResetLabel" s),
// "Context" (a{sv}: "ProjectName" s, "TokensUsed" x, "EffectiveWindow" x, "TokensRemaining" x,
// "PercentUsed" x), "Today" (a{sv}: "Messages" x, "Tokens" s) and "Extra" (a{sv}: the windows
// the service's reply carried beyond the named ones, each under the reply's key as a window
// dictionary; only when there are any). Instants are whole seconds since 1970-01-01 UTC (x), 0
// for none.
QVariantMap usageToBus(const std::optional<UsageData>& usage, const ExtraWindows& extra = {});
// Nothing for a provider that is not connected or a dictionary that is not one of ours; a
// figure of the wrong type reads as absent.
std::optional<UsageData> usageFromBus(Provider provider, const QVariantMap& map);
// The "Extra" windows of a provider's dictionary; an entry that is not a window dictionary under
// a window key is left out, and at most maxExtraWindows are read.
ExtraWindows extraWindowsFromBus(const QVariantMap& map);

qint64 instantToBus(const std::optional<Instant>& instant);
std::optional<Instant> instantFromBus(qint64 seconds);

// Every property of the interface, by name: "Title" (s, the title text), "LastUpdated" (x),
// "Claude" and "Codex" (a{sv}, above) and "AlertThresholds" (ax, ascending).
QVariantMap
busProperties(const std::optional<UsageData>& claude, const std::optional<UsageData>& codex,
              const std::optional<Instant>& lastUpdated, const NotificationSettings& notifications,
              const ExtraWindows& claudeExtra = {}, const ExtraWindows& codexExtra = {});

} // namespace quillon
