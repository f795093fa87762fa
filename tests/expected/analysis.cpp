#include "expected/analysis.h"

#include <cstdlib>

namespace expected {

namespace {

template <class Test> bool All(const Picture &picture, Rectangle rectangle, Test test) {
    const Area area = AreaOf(picture, rectangle);
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x)
            if (area.Contains(x, y) && !test(picture.At(x, y)))
                return false;
    return true;
}

/// Where `position` ends after a shift around `count` places.
int Wrapped(int position, int delta, int count) {
    const long long shifted = (static_cast<long long>(position) + delta) % count;
    return static_cast<int>(shifted < 0 ? shifted + count : shifted);
}

bool StandsAt(const Picture &haystack, const Picture &needle, int left, int top) {
    for (int y = 0; y < needle.height; ++y)
        for (int x = 0; x < needle.width; ++x)
            if (haystack.At(left + x, top + y) != needle.At(x, y))
                return false;
    return true;
}

} // namespace

bool IsWhite(const Picture &picture, Rectangle rectangle) {
    return All(picture, rectangle, [](Rgb p) { return p == Rgb{255, 255, 255}; });
}

bool IsBlack(const Picture &picture, Rectangle rectangle) {
    return All(picture, rectangle, [](Rgb p) { return p == Rgb{0, 0, 0}; });
}

bool IsGray(const Picture &picture, int tolerance, Rectangle rectangle) {
    const long long limit = std::llabs(tolerance);
    return All(picture, rectangle, [&](Rgb p) {
        return std::abs(p.red - p.green) <= limit && std::abs(p.red - p.blue) <= limit &&
               std::abs(p.green - p.blue) <= limit;
    });
}

double Colorness(const Picture &picture, int threshold) {
    const long long t = threshold;
    long long colored = 0;
    for (const Rgb &p : picture.pixels) {
        const bool dark = p.red <= 29 && p.green <= 29 && p.blue <= 29;
        const int fromRed = p.green - p.red;
        const int fromBlue = p.green - p.blue;
        if (!dark && (fromRed > t || fromRed < -t || fromBlue > t || fromBlue < -t))
            ++colored;
    }
    return static_cast<double>(colored) / (static_cast<double>(picture.width) * picture.height);
}

Picture WrapVertically(const Picture &picture, int delta) {
    Picture result = picture;
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x)
            result.At(x, Wrapped(y, delta, picture.height)) = picture.At(x, y);
    return result;
}

Picture WrapHorizontally(const Picture &picture, int delta) {
    Picture result = picture;
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x)
            result.At(Wrapped(x, delta, picture.width), y) = picture.At(x, y);
    return result;
}

std::optional<std::pair<int, int>> FindPicture(const Picture &haystack, const Picture &needle) {
    for (int y = 0; y + needle.height <= haystack.height; ++y)
        for (int x = 0; x + needle.width <= haystack.width; ++x)
            if (StandsAt(haystack, needle, x, y))
                return std::pair{x, y};
    return std::nullopt;
}

} // namespace expected
