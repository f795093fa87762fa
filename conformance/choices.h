#pragma once

#include <climits>
#include <cstdint>
#include <iterator>
#include <span>

namespace conformance {

/// Where the sizes, numbers, colors and forms of calls come from: a seed, which yields the same ones each time, or a
/// fuzzer's bytes, which yield the least of every range once they are used up.
class Choices {
  public:
    explicit Choices(std::uint64_t seed) : state_(seed) {}
    explicit Choices(std::span<const unsigned char> bytes) : bytes_(bytes), areBytes_(true) {}

    int Between(int least, int most) {
        return static_cast<int>(
            least + static_cast<std::int64_t>(Below(static_cast<std::uint64_t>(std::int64_t{most} - least + 1))));
    }
    template <class List> const auto &Of(const List &list) { return std::data(list)[Below(std::size(list))]; }
    /// Any number, as often as not one of those where sizes, counts and levels turn.
    int Number() {
        constexpr int kTurns[] = {0,       1,          -1,         2,           3,       15,     16,     255,
                                  256,     -255,       -256,       32766,       32767,   32768,  -32768, -32769,
                                  0x10000, 0x55555556, 0x7FFFFF00, -0x7FFFFFFF, INT_MAX, INT_MIN};
        return OneIn(2) ? static_cast<int>(Word()) : Of(kTurns);
    }
    bool OneIn(int times) { return Between(1, times) == times; }
    std::uint32_t Word() { return static_cast<std::uint32_t>(Below(std::uint64_t{1} << 32)); }

  private:
    std::uint64_t Below(std::uint64_t range) {
        std::uint64_t value = 0;
        if (areBytes_) {
            for (std::uint64_t left = range - 1; left > 0; left >>= 8) {
                value = value << 8 | (bytes_.empty() ? 0u : bytes_.front());
                bytes_ = bytes_.subspan(bytes_.empty() ? 0 : 1);
            }
        } else {
            value = (state_ += 0x9E3779B97F4A7C15u);
            value = (value ^ value >> 30) * 0xBF58476D1CE4E5B9u;
            value = (value ^ value >> 27) * 0x94D049BB133111EBu;
            value ^= value >> 31;
        }
        return value % range;
    }

    std::uint64_t state_ = 0;
    std::span<const unsigned char> bytes_;
    bool areBytes_ = false;
};

} // namespace conformance
