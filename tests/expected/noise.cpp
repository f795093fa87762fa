#include "expected/noise.h"

#include <cstddef>
#include <iterator>
#include <limits>

namespace expected {

namespace {

constexpr int kEdgeLevels[] = {0, 0, 1, 29, 30, 127, 128, 254, 255, 255};
constexpr int kEdgeIntegers[] = {0, 1, -1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()};
using Doubles = std::numeric_limits<double>;
constexpr double kEdgeDoubles[] = {0.0,
                                   -0.0,
                                   1.0,
                                   -1.0,
                                   2147483647.5,
                                   -2147483648.5,
                                   1e300,
                                   -1e300,
                                   Doubles::denorm_min(),
                                   Doubles::infinity(),
                                   -Doubles::infinity(),
                                   Doubles::quiet_NaN()};

template <class Table> auto OneOf(const Table &table, Random &random) {
    return table[random.Below(static_cast<int>(std::size(table)))];
}

/// -1 up to, not including, 1.
double Fraction(Random &random) { return random.Next() / 2147483648.0 - 1.0; }

int AnyStart(Random &random, int extent) {
    return random.Below(16) == 0 ? AnyInteger(random, extent) : random.Between(-extent / 2 - 1, extent + 1);
}

int AnyExtent(Random &random, int extent) {
    const int kind = random.Below(12);
    return kind < 4 ? random.Between(-1, 0) : kind == 4 ? std::numeric_limits<int>::max() : AnyStart(random, extent);
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
        const int kind = random.Below(4); // the last repeats the pixel before
        if (kind == 0)
            pixel.red = pixel.green = pixel.blue = random.Below(256);
        else if (kind == 1)
            pixel = {OneOf(kEdgeLevels, random), OneOf(kEdgeLevels, random), OneOf(kEdgeLevels, random)};
        else if (kind == 2)
            pixel = {random.Below(256), random.Below(256), random.Below(256)};
        place = pixel;
    }
    return picture;
}

double AnyDouble(Random &random, double useful) {
    const int kind = random.Below(8);
    if (kind == 0)
        return OneOf(kEdgeDoubles, random);
    const double value = Fraction(random) * useful;
    return kind == 1 ? value * 100.0 : kind == 2 ? static_cast<double>(static_cast<int>(value)) : value;
}

int AnyInteger(Random &random, int useful) {
    const int kind = random.Below(8);
    return kind == 0   ? OneOf(kEdgeIntegers, random)
           : kind == 1 ? static_cast<int>(random.Next())
                       : random.Between(-useful, useful);
}

Rectangle AnyRectangle(Random &random, int width, int height) {
    return {AnyStart(random, width), AnyStart(random, height), AnyExtent(random, width), AnyExtent(random, height)};
}

Bounds AnyBounds(Random &random, int width, int height) {
    return {AnyExtent(random, width), AnyExtent(random, height), AnyExtent(random, width), AnyExtent(random, height)};
}

} // namespace expected
