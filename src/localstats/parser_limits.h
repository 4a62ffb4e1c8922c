#pragma once

#include <simdjson.h>

namespace quillon::localstats {

// Whether the fast parser turned a line down only for one of its own limits (numbers beyond 64
// bits, very deep nesting), so that the line may still be JSON and needs a reader without them.
inline bool beyondParserLimits(simdjson::error_code error) {
    return error == simdjson::NUMBER_ERROR || error == simdjson::NUMBER_OUT_OF_RANGE ||
           error == simdjson::DEPTH_ERROR || error == simdjson::CAPACITY;
}

} // namespace quillon::localstats
