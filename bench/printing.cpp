#include "bench/printing.h"

#include "bench/targets.h"

#include <algorithm>
#include <cstdio>
#include <fmt/format.h>
#include <fstream>
#include <unistd.h>

namespace bench {
namespace {

/// Per pixel, a picture in cache may not take longer than one out of it; what is less apart than this is noise.
constexpr double kNoise = 1.1;

std::string Processor() {
    std::ifstream info("/proc/cpuinfo");
    constexpr std::string_view kName = "model name";
    for (std::string line; std::getline(info, line);)
        if (line.starts_with(kName) && line.find(": ") != std::string::npos)
            return line.substr(line.find(": ") + 2);
    return "an unknown processor";
}

const Figure *Find(const std::vector<Figure> &figures, const Operation &operation, int level, std::string_view pair) {
    const auto found = std::find_if(figures.begin(), figures.end(), [&](const Figure &figure) {
        return figure.operation == &operation && figure.level == level && figure.pair->name == pair;
    });
    return found == figures.end() ? nullptr : &*found;
}

std::vector<int> LevelsIn(const std::vector<Figure> &figures) {
    std::vector<int> levels;
    for (int level = 0; level < kLevelCount; ++level)
        if (std::any_of(figures.begin(), figures.end(), [&](const Figure &figure) { return figure.level == level; }))
            levels.push_back(level);
    return levels;
}

/// "<= 0.80", or "> 0.80 by 12%".
std::string Verdict(double ratio, std::optional<double> target) {
    if (!target)
        return "";
    if (ratio <= *target)
        return fmt::format("<= {:.2f}", *target);
    return fmt::format("> {:.2f} by {:.0f}%", *target, std::max(1.0, (ratio / *target - 1) * 100));
}

std::string FreshNote(const Figure &figure) {
    return figure.fresh.count() > 0 ? fmt::format("and {:.2f} ms of clearing fresh memory", figure.fresh.count()) : "";
}

void PrintNames(const char *heading, const std::vector<std::string> &names) {
    if (names.empty())
        return;
    fmt::print("\n{}\n", heading);
    for (const std::string &name : names)
        fmt::print("- {}\n", name);
}

} // namespace

void Table::Print(Format format) const {
    std::vector<std::size_t> widths;
    for (std::size_t column = 0; column < head.size(); ++column) {
        std::size_t width = head[column].size();
        for (const auto &row : rows)
            width = std::max(width, row[column].size());
        widths.push_back(width);
    }
    const bool markdown = format == Format::Markdown;
    const auto print = [&](const std::vector<std::string> &row) {
        std::string line = markdown ? "|" : "";
        for (std::size_t column = 0; column < row.size(); ++column) {
            if (markdown)
                line += ' ';
            else if (column > 0)
                line += "  ";
            line += column == 0 ? fmt::format("{:<{}}", row[column], widths[column])
                                : fmt::format("{:>{}}", row[column], widths[column]);
            if (markdown)
                line += " |";
        }
        line.erase(line.find_last_not_of(' ') + 1);
        fmt::print("{}\n", line);
    };
    fmt::print("\n");
    print(head);
    if (markdown) {
        fmt::print("|");
        for (std::size_t column = 0; column < head.size(); ++column)
            fmt::print("{}|", column == 0 ? "---" : "--:");
        fmt::print("\n");
    }
    for (const auto &row : rows)
        print(row);
}

Progress::Progress() : terminal_(isatty(STDERR_FILENO) == 1), start_(std::chrono::steady_clock::now()) {}

Progress::~Progress() {
    if (terminal_)
        static_cast<void>(std::fputs("\r\033[K", stderr));
}

void Progress::Show(const Step &step) {
    if (!terminal_)
        return;
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start_;
    const double share = static_cast<double>(step.number - 1) / static_cast<double>(step.count);
    const int left = share > 0.02 ? static_cast<int>(passed.count() * (1 / share - 1)) : 0;
    const std::string time = left ? fmt::format(", about {}:{:02} left", left / 60, left % 60) : "";
    const std::string line = fmt::format("{} {}/{}{}: {}", kBuild, step.number, step.count, time, step.what);
    static_cast<void>(std::fprintf(stderr, "\r\033[K%.110s", line.c_str()));
}

void PrintHead(Format format, Size size, const Yardstick &yardstick, int runs) {
    if (format == Format::Json)
        return;
    fmt::print("\n{}{} build on {}, {} x {}, memcpy {:.3f} ms ({:.1f} GB/s), best of {} runs, one thread, time in host "
               "entries left out\n",
               format == Format::Markdown ? "## " : "== ", kBuild, Processor(), size.width, size.height,
               yardstick.Best().count(), yardstick.BestGigabytesPerSecond(), runs);
}

void PrintJson(const Figure &figure, const Reference &reference) {
    const auto number = [](std::optional<double> value) { return value ? fmt::format("{:.3f}", *value) : "null"; };
    const bool hasTarget = figure.size == kLarge && figure.pair == kPairs;
    fmt::print("{{\"operation\": \"{}\", \"layouts\": \"{}\", \"level\": \"{}\", \"build\": \"{}\", \"width\": {}, "
               "\"height\": {}, \"ratio\": {:.4f}, \"milliseconds\": {:.6f}, \"host_milliseconds\": {:.6f}, "
               "\"fresh_memory_milliseconds\": {:.6f}, \"memcpy_milliseconds\": {:.6f}, \"target\": {}, "
               "\"reference\": {}}}\n",
               figure.operation->Name(), figure.pair->name, kLevels[figure.level], kBuild, figure.size.width,
               figure.size.height, figure.Ratio(), figure.own.count(), figure.inHost.count(), figure.fresh.count(),
               figure.copy.count(), number(hasTarget ? TargetOf(*figure.operation, figure.level) : std::nullopt),
               number(reference.Of(figure)));
}

void PrintList(Format format, const std::vector<Figure> &figures) {
    Table table{{"operation", "layouts", "level", "x memcpy", "ms", "ns/pixel", "in host ms", ""}, {}};
    for (const Figure &figure : figures)
        table.rows.push_back({figure.operation->Name(), figure.pair->name, kLevels[figure.level],
                              fmt::format("{:.2f}", figure.Ratio()), fmt::format("{:.3f}", figure.own.count()),
                              fmt::format("{:.3f}", figure.NanosecondsPerPixel()),
                              fmt::format("{:.3f}", figure.inHost.count()), FreshNote(figure)});
    table.Print(format);
}

void PrintTargets(Format format, const std::vector<Figure> &large, const std::vector<Figure> &small) {
    const std::vector<int> levels = LevelsIn(large);
    Table table{{"operation"}, {}};
    for (const int level : levels)
        for (const std::string &column : {std::string(kLevels[level]), std::string("target"), kSmall.Name()})
            table.head.push_back(column);
    table.head.emplace_back("in host ms");
    int asked = 0;
    int met = 0;
    std::vector<std::string> slowerInCache;
    std::vector<std::string> fresh;
    for (const Operation &operation : Operations()) {
        std::vector<std::string> row{operation.Name()};
        std::string inHost;
        for (const int level : levels) {
            const Figure *figure = Find(large, operation, level, kPairs->name);
            const Figure *inCache = Find(small, operation, level, kPairs->name);
            if (!figure || !inCache)
                break;
            const std::optional<double> target = TargetOf(operation, level);
            const bool slower = operation.cost == Cost::PerPixel &&
                                inCache->NanosecondsPerPixel() > kNoise * figure->NanosecondsPerPixel();
            row.push_back(fmt::format("{:.2f}", figure->Ratio()));
            row.push_back(Verdict(figure->Ratio(), target));
            row.push_back(fmt::format("{:.2f}{}", inCache->Ratio(), slower ? "*" : " "));
            asked += target ? 1 : 0;
            met += target && figure->Ratio() <= *target ? 1 : 0;
            if (slower)
                slowerInCache.push_back(fmt::format("{} {}: {:.3f} ns a pixel, {:.3f} at {}", operation.Name(),
                                                    kLevels[level], inCache->NanosecondsPerPixel(),
                                                    figure->NanosecondsPerPixel(), figure->size.Name()));
            if (figure->fresh.count() > 0)
                fresh.push_back(fmt::format("{} {}: {}, {:.2f} ms at {}", operation.Name(), kLevels[level],
                                            FreshNote(*figure), inCache->fresh.count(), kSmall.Name()));
            inHost = fmt::format("{:.1f}", figure->inHost.count());
        }
        if (row.size() + 1 != table.head.size())
            continue;
        row.push_back(inHost);
        table.rows.push_back(std::move(row));
    }
    table.Print(format);
    fmt::print("\nMultiples of memcpy at {} with the targets, and beside them at {}. {} of {} targets met.\n",
               kLarge.Name(), kSmall.Name(), met, asked);
    PrintNames("Left out of the time, measured by getting, touching and giving back as much in this run:", fresh);
    PrintNames("* Slower per pixel at the small size by more than a tenth:", slowerInCache);
}

void PrintLayouts(Format format, const std::vector<Figure> &figures) {
    Table table{{"operation", "level"}, {}};
    for (const LayoutPair &pair : kPairs)
        table.head.emplace_back(pair.name);
    table.head.emplace_back("in host ms");
    std::vector<std::string> farOff;
    for (const Operation &operation : Operations())
        for (const int level : LevelsIn(figures)) {
            std::vector<std::string> row{operation.Name(), kLevels[level]};
            const Figure *plain = Find(figures, operation, level, kPairs->name);
            std::string inHost;
            for (const LayoutPair &pair : kPairs) {
                const Figure *figure = Find(figures, operation, level, pair.name);
                if (figure)
                    inHost = fmt::format("{:.2f}", figure->inHost.count());
                row.push_back(figure ? fmt::format("{:.2f}", figure->Ratio()) : "-");
                if (plain && figure && operation.cost == Cost::PerPixel &&
                    figure->Ratio() > kOtherLayouts * plain->Ratio())
                    farOff.push_back(fmt::format("{} {} {}: {:.2f} times", operation.Name(), kLevels[level], pair.name,
                                                 figure->Ratio() / plain->Ratio()));
            }
            if (inHost.empty())
                continue;
            row.push_back(inHost);
            table.rows.push_back(std::move(row));
        }
    table.Print(format);
    PrintNames(fmt::format("More than {:.1f} times what {} takes:", kOtherLayouts, kPairs->name).c_str(), farOff);
}

std::size_t PrintSlower(const std::vector<Figure> &figures, const Reference &reference) {
    std::vector<std::string> slower;
    for (const Figure &figure : figures)
        if (reference.IsSlower(figure))
            slower.push_back(fmt::format("{} {} {} {} {}: {:.2f}, the reference is {:.2f}", kBuild, figure.size.Name(),
                                         figure.pair->name, kLevels[figure.level], figure.operation->Name(),
                                         figure.Ratio(), *reference.Of(figure)));
    for (const std::string &line : slower)
        fmt::print(stderr, "slower than {} times the reference: {}\n", Reference::kTolerance, line);
    return slower.size();
}

} // namespace bench
