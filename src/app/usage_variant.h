#pragma once

#include "model/instant.h"
#include "model/settings.h"
#include "model/usage_data.h"

#include <QDateTime>
#include <QVariant>

#include <optional>

namespace quillon {

// The records as the QML views see them: maps with the records' field names. An absent value is
// an invalid QVariant (undefined in QML).
QDateTime toDateTime(Instant instant);
QVariant toVariant(const std::optional<UsageData>& usage);
QVariantMap toVariantMap(const UsageWindow& window);
QVariantMap toVariantMap(const AppSettings& settings);
QVariantMap toVariantMap(const SmartNotificationSettings& settings);

} // namespace quillon
