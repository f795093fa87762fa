#pragma once

#include <cstddef>
#include <string>

namespace bench {

/// Of a picture, in pixels.
struct Size {
    int width = 0;
    int height = 0;

    std::size_t Pixels() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height); }
    std::size_t Bytes() const { return 4 * Pixels(); }
    std::string Name() const { return std::to_string(width) + "x" + std::to_string(height); }
    bool operator==(const Size &) const = default;
};

inline constexpr Size kLarge = {6000, 4000}; ///< out of any cache
inline constexpr Size kSmall = {1000, 1000}; ///< in cache

} // namespace bench
