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

// A length in twips read from a file, as a model coordinate: the twips times the
// import factor 1 / (w x 20) of a frame w pixels wide, both held as floats. That
// product can come out a unit in the last place short of the exact quotient, and
// the writers, which truncate value x 20 x w toward zero, would then write one twip
// less: every import and write of a movie would move translations and thin lines
// by a twip. So when the factor is that of a whole frame width, the product is
// stepped away from zero, one unit in the last place at a time, until the writers'
// own computation gives the twips back. Values that already do are returned as the
// plain product.
inline float TwipsToModel(std::int64_t twips, float scaling) {
    const float product = static_cast<float>(twips) * scaling;
    if (twips == 0 || !(scaling > 0.0f)) return product;
    const double exactWidth = 1.0 / (static_cast<double>(scaling) * 20.0);
    const double width = std::nearbyint(exactWidth);
    if (width < 1.0 || std::fabs(exactWidth - width) > width * 1e-6) return product;
    const float away = twips > 0 ? HUGE_VALF : -HUGE_VALF;
    float v = product;
    for (int step = 0; step < 8; ++step) {
        if (TruncToInt64(static_cast<double>(v) * 20.0 * width) == twips) return v;
        v = std::nextafter(v, away);
    }
    return product;  // beyond the float precision of a twip: nothing to recover
}

// Rounds half away from zero, the direction chosen by the sign of `sign`.
inline std::int32_t RoundBySign(double v, double sign) {
    return TruncToInt32(sign >= 0 ? v + 0.5 : v - 0.5);
}

}  // namespace flio_detail
