#include "expected/find_picture.h"

namespace expected {

namespace {

bool StandsAt(const Picture &haystack, const Picture &needle, int left, int top) {
    for (int y = 0; y < needle.height; ++y)
        for (int x = 0; x < needle.width; ++x)
            if (haystack.At(left + x, top + y) != needle.At(x, y))
                return false;
    return true;
}

} // namespace

std::optional<std::pair<int, int>> FindPicture(const Picture &haystack, const Picture &needle) {
    for (int y = 0; y + needle.height <= haystack.height; ++y)
        for (int x = 0; x + needle.width <= haystack.width; ++x)
            if (StandsAt(haystack, needle, x, y))
                return std::pair{x, y};
    return std::nullopt;
}

} // namespace expected
