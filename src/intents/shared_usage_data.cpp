#include "intents/shared_usage_data.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <cmath>
#include <limits>

namespace quillon {
namespace {

using Json = nlohmann::ordered_json;

// 2001-01-01T00:00:00 UTC as seconds since the Unix epoch.
constexpr std::chrono::seconds referenceDate{978307200};

struct DecodeError {};

std::optional<std::int64_t> readInteger(const Json& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end() || found->is_null()) {
        return std::nullopt;
    }
    if (found->is_number_integer()) {
        if (found->is_number_unsigned() &&
            found->get<std::uint64_t>() >
                static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
            throw DecodeError{};
        }
        return found->get<std::int64_t>();
    }
    if (found->is_number_float()) {
        // A whole number written with a fraction or exponent (42.0, 4.2e1) is still that
        // number; anything with a real fraction is not an integer.
        const double value = found->get<double>();
        constexpr double limit = 9223372036854775808.0;
        if (std::trunc(value) == value && value >= -limit && value < limit) {
            return static_cast<std::int64_t>(value);
        }
    }
    throw DecodeError{};
}

std::optional<std::string> readText(const Json& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end() || found->is_null()) {
        return std::nullopt;
    }
    if (!found->is_string()) {
        throw DecodeError{};
    }
    return found->get<std::string>();
}

template <typename T> void putIfPresent(Json& object, const char* key, const std::optional<T>& v) {
    if (v) {
        object[key] = *v;
    }
}

} // namespace

double secondsSinceReferenceDate(Instant instant) {
    return std::chrono::duration<double>(instant.time_since_epoch() - referenceDate).count();
}

std::optional<Instant> instantFromReferenceDate(double seconds) {
    using Ticks = Instant::duration;
    const double sinceEpoch = seconds + std::chrono::duration<double>(referenceDate).count();
    // Ticks are nanoseconds in a signed 64-bit count, about 292 years either side of 1970. Keeping
    // to a century either side leaves room to subtract any two such instants without overflow.
    constexpr double century = 100 * 365.25 * 86400;
    if (!std::isfinite(sinceEpoch) || sinceEpoch > century || sinceEpoch < -century) {
        return std::nullopt;
    }
    const double ticks = sinceEpoch * Ticks::period::den / Ticks::period::num;
    return Instant(Ticks(static_cast<Ticks::rep>(std::llround(ticks))));
}

SharedUsageData SharedUsageData::from(const std::optional<UsageData>& claudeUsage,
                                      const std::optional<UsageData>& codexUsage,
                                      Instant lastUpdated) {
    SharedUsageData data;
    if (claudeUsage) {
        data.claudePercent = claudeUsage->fiveHour.percent;
        data.claudePlan = claudeUsage->plan;
        data.claudeResetTime = claudeUsage->fiveHour.resetLabel;
    }
    if (codexUsage) {
        data.codexPercent = codexUsage->fiveHour.percent;
        data.codexPlan = codexUsage->plan;
        data.codexResetTime = codexUsage->fiveHour.resetLabel;
    }
    data.lastUpdated = lastUpdated;
    return data;
}

std::string SharedUsageData::encode() const {
    Json object = Json::object();
    putIfPresent(object, "claudePercent", claudePercent);
    putIfPresent(object, "codexPercent", codexPercent);
    putIfPresent(object, "claudePlan", claudePlan);
    putIfPresent(object, "codexPlan", codexPlan);
    object["lastUpdated"] = secondsSinceReferenceDate(lastUpdated);
    putIfPresent(object, "claudeResetTime", claudeResetTime);
    putIfPresent(object, "codexResetTime", codexResetTime);
    // Invalid UTF-8 in a text (a plan or reset label) is replaced rather than thrown on.
    return object.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::optional<SharedUsageData> SharedUsageData::decode(std::string_view json) {
    const Json object = Json::parse(json, nullptr, false);
    if (object.is_discarded() || !object.is_object()) {
        return std::nullopt;
    }
    const auto stamp = object.find("lastUpdated");
    if (stamp == object.end() || !stamp->is_number()) {
        return std::nullopt;
    }
    const auto lastUpdated = instantFromReferenceDate(stamp->get<double>());
    if (!lastUpdated) {
        return std::nullopt;
    }
    try {
        SharedUsageData data;
        data.claudePercent = readInteger(object, "claudePercent");
        data.codexPercent = readInteger(object, "codexPercent");
        data.claudePlan = readText(object, "claudePlan");
        data.codexPlan = readText(object, "codexPlan");
        data.lastUpdated = *lastUpdated;
        data.claudeResetTime = readText(object, "claudeResetTime");
        data.codexResetTime = readText(object, "codexResetTime");
        return data;
    } catch (const DecodeError&) {
        return std::nullopt;
    }
}

void SharedUsageData::save(KeyValueStore& store) const {
    store.writeBytes(storageKey, encode());
}

std::optional<SharedUsageData> SharedUsageData::load(const KeyValueStore& store) {
    const auto bytes = store.readBytes(storageKey);
    if (!bytes) {
        return std::nullopt;
    }
    return decode(*bytes);
}

} // namespace quillon
