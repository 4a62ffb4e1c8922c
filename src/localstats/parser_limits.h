#pragma once

#include <simdjson.h>

namespace quillon::localstats {

// Whether `error` is the code that newer fast parsers give an integer beyond 64 bits. Older ones
// have no such code and give NUMBER_ERROR for it instead; the code is looked up on the enum so
// that the same source builds against both.
template <typename ErrorCode> constexpr bool isBigIntegerError(ErrorCode error) {
    if constexpr (requires { ErrorCode::BIGINT_ERROR; }) {
        return error == ErrorCode::BIGINT_ERROR;
    } else {
        return false;
    }
}

// Whether the fast parser turned a line down only for one of its own limits (numbers beyond 64
// bits, very deep nesting), so that the line may still be JSON and needs a reader without them.
inline bool beyondParserLimits(simdjson::error_code error) {
    return error == simdjson::NUMBER_ERROR || isBigIntegerError(error) ||
           error == simdjson::NUMBER_OUT_OF_RANGE || error == simdjson::DEPTH_ERROR ||
           error == simdjson::CAPACITY;
}

} // namespace quillon::localstats
