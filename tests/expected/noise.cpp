#include "expected/noise.h"

#include <cstddef>
#include <iterator>
#include <limits>

namespace expected {

namespace {

constexpr int kEdgeLevels[] = {0, 0, 1, 29, 30, 127, 128, 254, 255, 255};
constexpr int kEdgeIntegers[] = {0, 1, -1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()};
constexpr double kEdgeDoubles[] = {0.0,
                                   -0.0,
                                   1.0,
                                   -1.0,
                                   2147483647.5,
                                   -2147483648.5,
                                   1e300,
                                   -1e300,
                                   std::numeric_limits<double>::denorm_min(),
                                   std::numeric_limits<double>::infinity(),
                                   -std::numeric_limits<double>::infinity(),
                                   std::numeric_limits<double>::quiet_NaN()};

template <class Table> auto OneOf(const Table &table, Random &random) {
    return table[random.Below(static_cast<int>(std::size(table)))];
}

/// -1 up to, not including, 1.
double Fraction(Random &random) { return random.Next() / 2147483648.0 - 1.0; }

int AnyStart(Random &random, int extent) {
    return random.Below(16) == 0 ? AnyInteger(random, extent) : random.Between(-extent / 2 - 1, extent + 1);
}

int AnyExtent(Random &random, int extent) {
    return random.Below(3) == 0 ? random.Between(-1, 0) : AnyStart(random, extent);
}

} // namespace

std::uint32_t Random::Next() {
    state_ = state_ * 6364136223846793005u + 1442695040888963407u;
    return static_cast<std::uint32_t>(state_ >> 32);
}

int Random::Below(int count) { return static_cast<int>(Next() % static_cast<std::uint32_t>(count)); }

int Random::Between(int low, int high) { return low + Below(high - low + 1); }

Picture Noise(int width, int height, std::uint32_t seed) {
    Random random(seed);
    Picture picture = Filled(width, height, {});
    Rgb pixel;
    for (Rgb &place : picture.pixels) {
        switch (random.Below(4)) {
        case 0:
            pixel.red = pixel.green = pixel.blue = random.Below(256);
            break;
        case 1:
            pixel = {OneOf(kEdgeLevels, random), OneOf(kEdgeLevels, random), OneOf(kEdgeLevels, random)};
            break;
        case 2:
            pixel = {random.Below(256), random.Below(256), random.Below(256)};
            break;
        default:
            break;
        }
        place = pixel;
    }
    return picture;
}

Picture Filled(int width, int height, Rgb color) {
    return {width, height, std::vector<Rgb>(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), color)};
}

double AnyDouble(Random &random, double useful) {
    switch (random.Below(8)) {
    case 0:
        return OneOf(kEdgeDoubles, random);
    case 1:
        return Fraction(random) * useful * 100.0;
    case 2:
        return static_cast<double>(static_cast<int>(Fraction(random) * useful));
    default:
        return Fraction(random) * useful;
    }
}

int AnyInteger(Random &random, int useful) {
    switch (random.Below(8)) {
    case 0:
        return OneOf(kEdgeIntegers, random);
    case 1:
        return static_cast<int>(random.Next());
    default:
        return random.Between(-useful, useful);
    }
}

Rectangle AnyRectangle(Random &random, int width, int height) {
    Rectangle rectangle;
    rectangle.left = AnyStart(random, width);
    rectangle.top = AnyStart(random, height);
    rectangle.width = AnyExtent(random, width);
    rectangle.height = AnyExtent(random, height);
    return rectangle;
}

Bounds AnyBounds(Random &random, int width, int height) {
    Bounds bounds;
    bounds.minX = AnyExtent(random, width);
    bounds.minY = AnyExtent(random, height);
    bounds.maxX = AnyExtent(random, width);
    bounds.maxY = AnyExtent(random, height);
    return bounds;
}

} // namespace expected
