#pragma once

#include "bench/measuring.h"

#include <array>
#include <map>
#include <optional>
#include <string>
#include <tuple>

namespace bench {

/// The ratios of an earlier run, of both builds, kept as a text file with a line for each operation, size and layout
/// pair, and in it one ratio a level.
class Reference {
  public:
    /// A ratio may be this many times the kept one before it counts as slower.
    static constexpr double kTolerance = 1.5;

    /// A file that is not there yet is an empty one. Throws for one that cannot be understood.
    explicit Reference(std::string file);

    std::optional<double> Of(const Figure &figure) const;
    /// Whether it takes more than kTolerance times what it took. Times too short to tell never do.
    bool IsSlower(const Figure &figure) const;

    void Keep(const Figure &figure);
    void Save() const;

  private:
    using Line = std::tuple<std::string, std::string, std::string, std::string>; ///< build, size, layouts, operation
    static Line LineOf(const Figure &figure);

    std::string file_;
    std::map<Line, std::array<std::optional<double>, kLevelCount>> lines_;
};

} // namespace bench
