#include "bench/printing.h"

#include "bench/targets.h"
#include "tools/messages.h"

#include <algorithm>
#include <cstdio>
#include <fmt/format.h>
#include <fstream>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace bench {
namespace {

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

/// What a figure is held against, and how often it took that.
struct Judged {
    double ratio;
    double bound;
};
std::optional<Judged> Judge(const Figure &figure) {
    const Target *target = figure.pair == kPairs ? TargetOf(*figure.operation) : nullptr;
    if (!target || (!target->loop && figure.size != kLarge))
        return std::nullopt;
    return Judged{target->loop ? figure.OfLimit() : figure.Ratio(),
                  target->bounds[static_cast<std::size_t>(figure.level)]};
}

/// "<= 0.80", or "> 0.80 by 12%".
std::string Verdict(const std::optional<Judged> &judged) {
    if (!judged)
        return "";
    if (judged->ratio <= judged->bound)
        return fmt::format("<= {:.2f}", judged->bound);
    return fmt::format("> {:.2f} by {:.0f}%", judged->bound, std::max(1.0, (judged->ratio / judged->bound - 1) * 100));
}

/// Empty where no limit loop ran.
std::string OfLimit(const Figure &figure) {
    return figure.limit.count() > 0 ? fmt::format("{:.2f}", figure.OfLimit()) : "";
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
    fmt::print("\n{}{} build on {}, {} x {}, memcpy {:.3f} ms ({:.1f} GB/s), best of {} runs, one thread, time in host "
               "entries left out\n",
               format == Format::Markdown ? "## " : "== ", kBuild, Processor(), size.width, size.height,
               yardstick.Best().count(), yardstick.BestGigabytesPerSecond(), runs);
}

void PrintJson(const Figure &figure, const Reference &reference) {
    using tools::Json;
    const std::optional<Judged> judged = Judge(figure);
    const std::optional<double> kept = reference.Of(figure);
    const Json object = {{"operation", figure.operation->Name()},
                         {"layouts", figure.pair->name},
                         {"level", kLevels[figure.level]},
                         {"build", kBuild},
                         {"width", figure.size.width},
                         {"height", figure.size.height},
                         {"ratio", figure.Ratio()},
                         {"milliseconds", figure.own.count()},
                         {"host_milliseconds", figure.inHost.count()},
                         {"fresh_memory_milliseconds", figure.fresh.count()},
                         {"memcpy_milliseconds", figure.copy.count()},
                         {"limit_ratio", figure.limit.count() > 0 ? Json(figure.OfLimit()) : Json()},
                         {"target", judged ? Json(judged->bound) : Json()},
                         {"reference", kept ? Json(*kept) : Json()}};
    fmt::print("{}\n", object.dump());
}

void PrintList(Format format, const std::vector<Figure> &figures) {
    Table table{{"operation", "layouts", "level", "x memcpy", "x limit", "ms", "ns/pixel", "in host ms", ""}, {}};
    for (const Figure &figure : figures)
        table.rows.push_back({figure.operation->Name(), figure.pair->name, kLevels[figure.level],
                              fmt::format("{:.2f}", figure.Ratio()), OfLimit(figure),
                              fmt::format("{:.3f}", figure.own.count()),
                              fmt::format("{:.3f}", figure.NanosecondsPerPixel()),
                              fmt::format("{:.3f}", figure.inHost.count()), FreshNote(figure)});
    table.Print(format);
}

void PrintLimits(Format format, Yardstick &yardstick) {
    Table table{{"limit loop", "sse2", "avx2", "avx512"}, {}};
    for (std::size_t loop = 0; loop < std::size(kLoopNames); ++loop) {
        std::vector<std::string> &row = table.rows.emplace_back(1, kLoopNames[loop]);
        for (int level = 0; level < kLevelCount; ++level) {
            auto best = Milliseconds::max();
            for (int run = 0; run < 7 && level <= BestLevel({}); ++run)
                best = std::min(best, yardstick.Run(static_cast<Loop>(loop), level));
            row.push_back(level <= BestLevel({}) ? fmt::format("{:.2f}", best / yardstick.Best()) : "-");
        }
    }
    table.Print(format);
}

void PrintTargets(Format format, const std::vector<Figure> &figures) {
    const std::vector<int> levels = LevelsIn(figures);
    Table table{{"operation"}, {}};
    for (const int level : levels)
        table.head.insert(table.head.end(), {kLevels[level], "x limit", "target"});
    table.head.emplace_back("in host ms");
    int asked = 0;
    int met = 0;
    std::vector<std::string> fresh;
    for (const Operation &operation : Operations()) {
        std::vector<std::string> row{operation.Name()};
        std::string inHost;
        for (const int level : levels) {
            const Figure *figure = Find(figures, operation, level, kPairs->name);
            if (!figure)
                break;
            const std::optional<Judged> judged = Judge(*figure);
            row.insert(row.end(), {fmt::format("{:.2f}", figure->Ratio()), OfLimit(*figure), Verdict(judged)});
            asked += judged ? 1 : 0;
            met += judged && judged->ratio <= judged->bound ? 1 : 0;
            if (figure->fresh.count() > 0)
                fresh.push_back(fmt::format("{} {}: {}", operation.Name(), kLevels[level], FreshNote(*figure)));
            inHost = fmt::format("{:.2f}", figure->inHost.count());
        }
        if (row.size() + 1 != table.head.size())
            continue;
        row.push_back(inHost);
        table.rows.push_back(std::move(row));
    }
    if (table.rows.empty())
        return;
    table.Print(format);
    fmt::print("\nMultiples of memcpy and of the limit loop, which a target is held against where one ran. {} of {} "
               "targets met.\n",
               met, asked);
    PrintNames("Left out of the time, measured by getting, touching and giving back as much in this run:", fresh);
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
