// Helpers shared by the style records and the shape writer (not installed).
#pragma once

#include <cstdint>

class flaDump;

namespace flio_shapes {

// A line width in model units as the stream writes it, in twips: a hairline (0) is
// one twip; otherwise width x 20 x frame size, truncated, or rounded to the nearest
// twip (and at least one) with the stream's exactTwips option.
std::int64_t LineWidthTwips(float width, const flaDump& dump);

}  // namespace flio_shapes
