// Conversions from real numbers to integers used by every writer. They truncate
// toward zero like a C cast, but saturate instead of overflowing for values out of
// range (and give 0 for NaN), so that no input can make a conversion undefined.
#pragma once

#include <cmath>
#include <cstdint>

namespace flio_detail {

inline std::int64_t TruncToInt64(double v) {
    if (std::isnan(v)) return 0;
    if (v >= 9.2e18) return INT64_MAX;
    if (v <= -9.2e18) return INT64_MIN;
    return static_cast<std::int64_t>(v);
}

inline std::int32_t TruncToInt32(double v) {
    if (std::isnan(v)) return 0;
    if (v >= 2147483647.0) return INT32_MAX;
    if (v <= -2147483648.0) return INT32_MIN;
    return static_cast<std::int32_t>(v);
}

// Rounds half away from zero, the direction chosen by the sign of `sign`.
inline std::int32_t RoundBySign(double v, double sign) {
    return TruncToInt32(sign >= 0 ? v + 0.5 : v - 0.5);
}

}  // namespace flio_detail
