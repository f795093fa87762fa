#pragma once

#include <limits>

namespace expected {

/// Limits to 0..255.
inline int Limit(long long value) {
    if (value < 0)
        return 0;
    if (value > 255)
        return 255;
    return static_cast<int>(value);
}

/// Toward zero to a signed 32-bit number; beyond its range the nearest one, and 0 for what is not a number.
inline int Truncate(double value) {
    if (value != value)
        return 0;
    if (value >= 2147483647.0)
        return std::numeric_limits<int>::max();
    if (value <= -2147483648.0)
        return std::numeric_limits<int>::min();
    return static_cast<int>(value);
}

} // namespace expected
