#include "model/pace.h"

#include "model/local_date_format.h"

namespace quillon {
namespace {

// The phrases write moments in the user's locale, which needs ICU; they live apart from the
// arithmetic, so that a program that only computes the pace does not load it.
std::string limitMoment(Instant instant, WindowKind kind) {
    static const LocalDateFormat clock(u"h:mm a");
    static const LocalDateFormat weekdayAndClock(u"EEE h:mm a");
    return kind == WindowKind::fiveHour ? clock.format(instant) : weekdayAndClock.format(instant);
}

} // namespace

std::string pacePhrase(const std::optional<Pace>& pace, WindowKind kind) {
    if (!pace) {
        return "";
    }
    if (pace->limitReached) {
        return "the limit is reached";
    }
    if (pace->limitAt && pace->limitBeforeReset) {
        const std::string when =
            "at this pace the limit is reached at " + limitMoment(*pace->limitAt, kind);
        if (pace->limitBeforeReset->count() < 60) {
            return when + ", just at the reset";
        }
        return when + ", " + shortDuration(*pace->limitBeforeReset) + " before the reset";
    }
    if (pace->projectedPercent) {
        return "at this pace " + std::to_string(*pace->projectedPercent) + "% by the reset";
    }
    return "";
}

std::string pacePhrase(const UsageWindow& window, WindowKind kind, Instant now) {
    return pacePhrase(pace(window, kind, now), kind);
}

} // namespace quillon
