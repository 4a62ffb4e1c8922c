#pragma once

#include "model/instant.h"

#include <memory>
#include <mutex>
#include <string>
#include <string_view>

namespace quillon {

// Dates written with one pattern of ICU's pattern language ("EEE h:mm a", "h:mm a") in the
// default locale and time zone as they are when the first date is formatted. ICU formatters are
// not safe for concurrent use, so the one formatter behind an object is used under a mutex; an
// object may therefore be shared between threads.
class LocalDateFormat {
public:
    explicit LocalDateFormat(std::u16string_view pattern);
    ~LocalDateFormat();
    LocalDateFormat(const LocalDateFormat&) = delete;
    LocalDateFormat& operator=(const LocalDateFormat&) = delete;

    // The instant in the pattern; "" when the pattern cannot be used in the default locale.
    std::string format(Instant instant) const;

private:
    struct Formatter;

    std::u16string pattern_;
    mutable std::mutex mutex_;
    mutable std::unique_ptr<Formatter> formatter_;
};

} // namespace quillon
