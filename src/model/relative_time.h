#pragma once

#include "model/instant.h"

#include <functional>
#include <string>

namespace quillon {

// Looks a text up in the user's language; the key itself when there is no translation.
using Translator = std::function<std::string(const std::string& key)>;

// The untranslated text.
Translator identityTranslator();

// How long ago `then` was, as of `now`: "0 sec ago" (anything fresher than five seconds, and
// every future instant), "12 sec ago", "3 min ago", "5h ago". Each text is a translation key
// whose translation is used as the format, "%d" standing for the number.
std::string relativeString(Instant then, Instant now, const Translator& translate);

} // namespace quillon
