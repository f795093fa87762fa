#include "bench/small_pictures.h"

#include "bench/targets.h"

#include <fmt/format.h>

namespace bench {
namespace {

constexpr Size kOnePixel = {1, 1};
constexpr int kRuns = 300;
constexpr std::string_view kChecked = "InvertKVT";

double Microseconds(Milliseconds time) { return time.count() * 1e3; }

/// Outside host entries, without what the clock takes: every call and every entry is between two readings, one of which
/// in sum lies outside.
double OwnMicroseconds(const Figure &figure, Milliseconds reading) {
    return Microseconds(figure.own - (figure.entered + 1) * reading);
}

} // namespace

std::size_t MeasureSmallPictures(const Selection &selection, Format format) {
    Yardstick yardstick(kOnePixel.Bytes());
    const Milliseconds reading = ClockReading();
    Table table{{"operation"}, {}};
    for (int level = 0; level < kLevelCount; ++level)
        table.head.push_back(fmt::format("{} us", kLevels[level]));
    table.head.insert(table.head.end(), {"in host us", "host calls"});
    std::vector<std::string> tooSlow;
    for (const Operation *operation : selection.Operations()) {
        Workplace workplace(*kPairs, kOnePixel); // a fresh one, since hosts get slower with all the objects they made
        std::vector<std::string> row{operation->Name()};
        Figure figure;
        for (int level = 0; level < kLevelCount; ++level) {
            if (!selection.WantsLevel(level) || !workplace.ForceLevel(level)) {
                row.emplace_back("-");
                continue;
            }
            figure = workplace.Measure(*operation, level, kRuns, yardstick);
            const double own = OwnMicroseconds(figure, reading);
            row.push_back(fmt::format("{:.2f}", own));
            if (operation->method == kChecked && own > kSmallInversion)
                tooSlow.push_back(fmt::format("{} {} {} takes {:.2f} microseconds for one pixel; {:.2f} are allowed",
                                              kBuild, operation->Name(), kLevels[level], own, kSmallInversion));
        }
        row.push_back(fmt::format("{:.2f}", Microseconds(figure.inHost)));
        row.push_back(fmt::format("{}", figure.entered));
        table.rows.push_back(std::move(row));
    }
    if (format != Format::Json) {
        table.Print(format);
        fmt::print(
            "\nMicroseconds outside host entries for a picture of one pixel, best of {} runs, without the clock's "
            "own {:.0f} ns a call and a host call.\n",
            kRuns, Microseconds(reading) * 1e3);
    }
    for (const std::string &line : tooSlow)
        fmt::print(stderr, "{}\n", line);
    return tooSlow.size();
}

} // namespace bench
