#pragma once

#include "expected/picture.h"

#include <cstdint>

/// Inputs for tests. The same seed gives the same inputs on every machine.
namespace expected {

class Random {
  public:
    explicit Random(std::uint32_t seed) : state_(seed) { Next(); }
    std::uint32_t Next();
    /// 0 up to, not including, `count`, which is at least 1.
    int Below(int count);
    /// `low` up to and including `high`.
    int Between(int low, int high);

  private:
    std::uint64_t state_;
};

/// Grays, channels at the edges of their range, runs of one color and random colors.
Picture Noise(int width, int height, std::uint32_t seed);

/// Mostly within -useful..useful, whole or not; now and then far beyond, an edge of a number range, infinite or not a
/// number.
double AnyDouble(Random &random, double useful);

/// Mostly within -useful..useful; now and then anything.
int AnyInteger(Random &random, int useful);

/// Inside, across and outside a picture of that size, whole, empty, and now and then of any numbers.
Rectangle AnyRectangle(Random &random, int width, int height);
Bounds AnyBounds(Random &random, int width, int height);

} // namespace expected
