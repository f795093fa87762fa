#pragma once

#include "bench/limits/loops.h"
#include "bench/operations.h"
#include "bench/size.h"
#include "standin/guarded_memory.h"

#include <chrono>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Times of operations beside the C library's memcpy of the picture's bytes, taken in turn in the same process. Time
/// inside host entries is left out. Ratios of one run compare; times of different runs do not.
namespace bench {

using Milliseconds = std::chrono::duration<double, std::milli>;

inline constexpr const char *kBuild = sizeof(void *) == 4 ? "x86" : "x64";
inline constexpr const char *kLevels[] = {"sse2", "avx2", "avx512"}; ///< by their numbers
inline constexpr int kLevelCount = 3;

/// Pictures as they come in and go out, in the layouts that a host can bring about.
struct LayoutPair {
    const char *name;
    standin::Application application;
    std::uint32_t sourceAlphaInfo;
    std::uint32_t resultAlphaInfo;
};
inline constexpr LayoutPair kPairs[] = {
    {"high>high", standin::Application::Desktop, 5, 5},   {"low>low", standin::Application::Desktop, 6, 6},
    {"high>low", standin::Application::Desktop, 5, 6},    {"low>high", standin::Application::Desktop, 6, 5},
    {"table>table", standin::Application::Console, 0, 0},
};
inline constexpr std::span<const LayoutPair> kHighToHigh{kPairs, 1};

/// What the user wants measured; names are given in full or in part, none means all.
struct Selection {
    std::vector<std::string> names;
    std::vector<std::string> layouts;
    std::vector<std::string> levels;
    int runs = 7; ///< the best of them counts

    std::vector<const Operation *> Operations() const;
    std::vector<const LayoutPair *> Pairs(std::span<const LayoutPair> pairs) const;
    bool WantsLevel(int level) const;
};

/// One result; the best of its runs.
struct Figure {
    const Operation *operation = nullptr;
    const LayoutPair *pair = nullptr;
    int level = 0;
    Size size;
    Milliseconds own = Milliseconds::max(); ///< outside host entries, without `fresh`
    Milliseconds inHost = {};
    Milliseconds fresh = {}; ///< to get and clear as much fresh memory as the module fills
    Milliseconds copy = {};  ///< memcpy of the picture's bytes
    Milliseconds limit = {}; ///< the loop that the operation's target names; 0 where it names none
    int entered = 0;         ///< calls of host entries

    double Ratio() const { return own / copy; }
    double OfLimit() const { return own / limit; }
    double NanosecondsPerPixel() const { return own.count() * 1e6 / static_cast<double>(size.Pixels()); }
};

/// The C library's memcpy, and the limit loops, between pieces of memory like those that a host's pictures lie in,
/// written before.
class Yardstick {
  public:
    explicit Yardstick(std::size_t bytes);
    Milliseconds Copy();
    Milliseconds Run(Loop loop, int level);
    Milliseconds Best() const { return best_; } ///< of all copies so far
    double BestGigabytesPerSecond() const;

  private:
    std::size_t bytes_;
    standin::GuardedMemory from_[3];
    standin::GuardedMemory to_;
    Milliseconds best_ = Milliseconds::max();
};

/// A host with pictures of one size, for the measuring of one layout pair. It tells on standard error of what the
/// module did wrong.
class Workplace {
  public:
    Workplace(const LayoutPair &pair, Size size);

    bool ForceLevel(int level) { return host_.ForceLevel(level); }
    /// The best of `runs` calls, each beside a copy.
    Figure Measure(const Operation &operation, int level, int runs, Yardstick &yardstick);

  private:
    const LayoutPair &pair_;
    standin::Host host_;
    Inputs inputs_;
};

/// What is to come, so that a progress line can tell.
struct Step {
    std::size_t number = 0; ///< from 1
    std::size_t count = 0;
    std::string what;
};

/// All wanted operations over the pairs and their levels, at one size. A doubtful figure is taken up to three times.
std::vector<Figure> MeasureSeries(const Selection &selection, Size size, std::span<const LayoutPair> pairs,
                                  Yardstick &yardstick, const std::function<void(const Step &)> &onStep,
                                  const std::function<bool(const Figure &)> &isDoubtful);

/// The best level that the processor offers of those that are wanted by name, of all when none is; -1: none.
int BestLevel(const Selection &selection);

/// What one reading of the clock takes.
Milliseconds ClockReading();

} // namespace bench
