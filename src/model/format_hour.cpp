#include "model/format_hour.h"

#include "model/fatal.h"

#include <unicode/calendar.h>
#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>
#include <unicode/unistr.h>

#include <memory>

namespace quillon {

std::string formatHour(std::int64_t hour) {
    if (hour < 0 || hour > 23) {
        fatal("an hour of the day must lie within 0 to 23");
    }
    UErrorCode status = U_ZERO_ERROR;
    const icu::Locale locale = icu::Locale::getDefault();
    std::unique_ptr<icu::Calendar> calendar(icu::Calendar::createInstance(locale, status));
    if (U_FAILURE(status)) {
        fatal("no calendar for the current locale");
    }
    calendar->setSkippedWallTimeOption(UCAL_WALLTIME_NEXT_VALID);
    calendar->setRepeatedWallTimeOption(UCAL_WALLTIME_FIRST);
    calendar->set(UCAL_HOUR_OF_DAY, static_cast<std::int32_t>(hour));
    calendar->set(UCAL_MINUTE, 0);
    calendar->set(UCAL_SECOND, 0);
    calendar->set(UCAL_MILLISECOND, 0);
    const UDate moment = calendar->getTime(status);

    icu::SimpleDateFormat format(icu::UnicodeString(u"h a"), locale, status);
    if (U_FAILURE(status)) {
        fatal("the hour pattern is not usable in the current locale");
    }
    icu::UnicodeString text;
    format.format(moment, text);
    std::string result;
    text.toUTF8String(result);
    return result;
}

} // namespace quillon
