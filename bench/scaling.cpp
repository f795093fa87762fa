#include "bench/scaling.h"

#include <algorithm>
#include <fmt/format.h>

namespace bench {
namespace {

constexpr Size kSizes[] = {{64, 64},     {128, 128},   {256, 256},   {512, 512},
                           {1024, 1024}, {2048, 2048}, {4000, 3000}, {8000, 6000}};
constexpr std::size_t kFlatFrom = 3; ///< 512 x 512
constexpr double kFlat = 1.5;

int RunsFor(Size size, int runs) {
    if (size.Pixels() > kLarge.Pixels())
        return std::max(3, runs / 2);
    return size.Pixels() < kSmall.Pixels() ? runs * 5 : runs;
}

double PerPixel(Milliseconds time, Size size) { return time.count() / static_cast<double>(size.Pixels()); }

/// By how much the time a pixel changes between two sizes beyond what memcpy's changes in the same direction: the step
/// where the cache ends is memory's, not the operation's.
double Change(const Figure &a, const Figure &b) {
    const double time = PerPixel(b.own, b.size) / PerPixel(a.own, a.size);
    const double copy = PerPixel(b.copy, b.size) / PerPixel(a.copy, a.size);
    return time >= 1 ? time / std::max(1.0, copy) : 1 / time / std::max(1.0, 1 / copy);
}

double LargestChange(const std::vector<Figure> &figures) {
    double largest = 1;
    for (std::size_t a = kFlatFrom; a < figures.size(); ++a)
        for (std::size_t b = a + 1; b < figures.size(); ++b)
            largest = std::max(largest, Change(figures[a], figures[b]));
    return largest;
}

/// Of one level: each operation's figures, size after size.
std::vector<std::vector<Figure>> MeasureLevel(const Selection &selection, int level, Table &table) {
    const std::vector<const Operation *> operations = selection.Operations();
    std::vector<std::vector<Figure>> all(operations.size());
    std::vector<std::string> copies{"memcpy"};
    Progress progress;
    Step step{0, operations.size() * std::size(kSizes), {}};
    for (const Size size : kSizes) {
        Yardstick yardstick(size.Bytes());
        Workplace workplace(*kPairs, size);
        workplace.ForceLevel(level);
        for (std::size_t i = 0; i < operations.size(); ++i) {
            ++step.number;
            step.what = fmt::format("{} {} {}", size.Name(), kLevels[level], operations[i]->Name());
            progress.Show(step);
            all[i].push_back(workplace.Measure(*operations[i], level, RunsFor(size, selection.runs), yardstick));
        }
        copies.push_back(fmt::format("{:.3f}", PerPixel(yardstick.Best(), size) * 1e6));
    }
    copies.resize(table.head.size());
    table.rows.push_back(std::move(copies));
    return all;
}

} // namespace

std::size_t MeasureScaling(const Selection &selection, Format format, const Reference &reference) {
    std::size_t uneven = 0;
    const int best = BestLevel(selection);
    for (int level = 0; level <= best; ++level) {
        if (selection.levels.empty() ? level != best : !selection.WantsLevel(level))
            continue;
        Table table{{fmt::format("{} {}, ns/pixel", kBuild, kLevels[level])}, {}};
        for (const Size size : kSizes)
            table.head.push_back(size.Name());
        table.head.insert(table.head.end(), {"change", ""});
        for (const std::vector<Figure> &figures : MeasureLevel(selection, level, table)) {
            const Operation &operation = *figures.front().operation;
            std::vector<std::string> row{operation.Name()};
            for (const Figure &figure : figures)
                row.push_back(fmt::format("{:.3f}", figure.NanosecondsPerPixel()));
            const bool flat = operation.cost == Cost::Constant || LargestChange(figures) <= kFlat;
            uneven += flat ? 0 : 1;
            row.push_back(operation.cost == Cost::Constant ? "" : fmt::format("{:.2f}", LargestChange(figures)));
            row.emplace_back(flat ? "" : "NOT FLAT");
            table.rows.push_back(std::move(row));
            if (format == Format::Json)
                for (const Figure &figure : figures)
                    PrintJson(figure, reference);
        }
        if (format == Format::Json)
            continue;
        table.Print(format);
        fmt::print("\nThe largest change between any two sizes from {} on, beyond memcpy's in the same direction; flat "
                   "up to {}.\n",
                   kSizes[kFlatFrom].Name(), kFlat);
    }
    return uneven;
}

} // namespace bench
