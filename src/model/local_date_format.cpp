#include "model/local_date_format.h"

#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>
#include <unicode/unistr.h>

#include <chrono>

namespace quillon {

struct LocalDateFormat::Formatter {
    std::unique_ptr<icu::SimpleDateFormat> format;
};

LocalDateFormat::LocalDateFormat(std::u16string_view pattern) : pattern_(pattern) {}

LocalDateFormat::~LocalDateFormat() = default;

std::string LocalDateFormat::format(Instant instant) const {
    const auto milliseconds =
        std::chrono::floor<std::chrono::milliseconds>(instant).time_since_epoch().count();
    icu::UnicodeString formatted;
    {
        const std::lock_guard lock(mutex_);
        if (!formatter_) {
            // Built on first use, from the default locale and zone of that moment.
            formatter_ = std::make_unique<Formatter>();
            UErrorCode status = U_ZERO_ERROR;
            formatter_->format = std::make_unique<icu::SimpleDateFormat>(
                icu::UnicodeString(pattern_.data(), static_cast<std::int32_t>(pattern_.size())),
                icu::Locale::getDefault(), status);
            if (U_FAILURE(status)) {
                formatter_->format.reset();
            }
        }
        if (!formatter_->format) {
            return {};
        }
        formatter_->format->format(static_cast<UDate>(milliseconds), formatted);
    }
    std::string text;
    formatted.toUTF8String(text);
    return text;
}

} // namespace quillon
