#pragma once

#include "model/usage_data.h"

#include <cstdint>

namespace quillon::test {

// A snapshot that differs from others only in what the title, alerts and cards compare.
inline UsageData usage(Provider provider, std::int64_t fiveHour, std::int64_t weekly = 0) {
    UsageData data;
    data.provider = provider;
    data.fiveHour.percent = fiveHour;
    data.weekly.percent = weekly;
    return data;
}

} // namespace quillon::test
