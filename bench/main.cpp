#include "bench/measuring.h"
#include "bench/picture_export.h"
#include "bench/printing.h"
#include "bench/reference.h"
#include "bench/scaling.h"
#include "bench/small_pictures.h"
#include "bench/targets.h"

#include "standin/guarded_memory.h"

#include <CLI/CLI.hpp>

#include <cstdlib>
#include <fmt/format.h>
#include <limits>
#include <malloc.h>
#include <string>
#include <vector>

namespace {

struct Options {
    bench::Selection selection;
    std::vector<int> size; ///< width and height; empty: the tables of the large, the small and the one-pixel picture
    std::string reference;
    std::string pictures; ///< a folder to write them into
    bool writeReference = false;
    bool scaling = false;
    bool checkRows = false;
    bool json = false;
    bool markdown = false;

    bench::Format format() const {
        return json ? bench::Format::Json : markdown ? bench::Format::Markdown : bench::Format::Text;
    }
};

int CheckRows() {
    const standin::Host host;
    std::vector<std::string> mismatches = bench::Mismatches(host);
    for (std::string &stray : bench::StrayTargets())
        mismatches.push_back(std::move(stray));
    for (const std::string &mismatch : mismatches)
        fmt::print("{}\n", mismatch);
    return mismatches.empty() ? 0 : 1;
}

std::vector<bench::Figure> Measure(const Options &options, bench::Size size, std::span<const bench::LayoutPair> pairs,
                                   const bench::Reference &reference) {
    bench::Yardstick yardstick(size.Bytes());
    std::vector<bench::Figure> figures;
    {
        bench::Progress progress;
        const auto isDoubtful = [&](const bench::Figure &figure) {
            return !options.writeReference && reference.IsSlower(figure);
        };
        figures = bench::MeasureSeries(
            options.selection, size, pairs, yardstick, [&](const bench::Step &step) { progress.Show(step); },
            isDoubtful);
    }
    if (options.json) {
        for (const bench::Figure &figure : figures)
            PrintJson(figure, reference);
        return figures;
    }
    bench::PrintHead(options.format(), size, yardstick, options.selection.runs);
    bench::PrintLimits(options.format(), yardstick);
    if (options.size.empty())
        PrintTargets(options.format(), figures);
    return figures;
}

/// How many figures are worse than they may be.
std::size_t MeasureAll(const Options &options, bench::Reference &reference) {
    const bench::Format format = options.format();
    std::vector<bench::Figure> figures;
    std::size_t tooSlow = 0;
    if (!options.size.empty()) {
        figures = Measure(options, {options.size[0], options.size[1]}, bench::kPairs, reference);
        if (!options.json)
            PrintList(format, figures);
    } else {
        figures = Measure(options, bench::kLarge, bench::kHighToHigh, reference);
        const std::vector<bench::Figure> small = Measure(options, bench::kSmall, bench::kPairs, reference);
        if (!options.json)
            PrintLayouts(format, small);
        figures.insert(figures.end(), small.begin(), small.end());
        tooSlow = bench::MeasureSmallPictures(options.selection, format);
    }
    if (!options.writeReference)
        return tooSlow + PrintSlower(figures, reference);
    for (const bench::Figure &figure : figures)
        reference.Keep(figure);
    reference.Save();
    return 0;
}

int Run(int argc, char **argv) {
    Options options;
    bench::Selection &selection = options.selection;
    CLI::App app{
        "Times operations as multiples of one memcpy of the picture's bytes: all of them at 6000x4000 and\n"
        "1000x1000 beside bare loops that move as many bytes, and beside the targets; every layout pair at 1000x1000;\n"
        "and pictures of one pixel. Operations, layouts and levels are named\n"
        "in full or in part; none named means all. Fails when a figure is much worse than the reference, unless CI is\n"
        "true in the environment."};
    app.add_option("operation", selection.names, "methods to measure, such as InvertKVT");
    app.add_option("--layout", selection.layouts, "layout pairs, such as high>high or table; may be repeated")
        ->allow_extra_args(false);
    app.add_option("--level", selection.levels, "instruction-set levels: sse2, avx2, avx512, best; may be repeated")
        ->allow_extra_args(false);
    app.add_option("--size", options.size, "in pixels, as in 640x480: only a list of the figures of this size")
        ->delimiter('x')
        ->expected(2)
        ->allow_extra_args(false)
        ->check(CLI::Range(1, 32767));
    app.add_option("--runs", selection.runs, "the best of how many runs counts (default 7)")
        ->check(CLI::Range(1, 1000));
    app.add_flag("--scaling", options.scaling, "the time a pixel from 64x64 to 8000x6000, at the best level");
    app.add_flag("--json", options.json, "one JSON object a line");
    app.add_flag("--markdown", options.markdown, "tables as Markdown");
    app.add_option("--reference", options.reference, "a file of ratios that none may be much worse than");
    app.add_flag("--write-reference", options.writeReference, "write this run's ratios to that file instead")
        ->needs("--reference");
    app.add_option("--write-pictures", options.pictures,
                   "only write the photo of 6000x4000 and what goes with it into this folder");
    app.add_flag("--check-rows", options.checkRows, "only check that every registered method has its line here");
    CLI11_PARSE(app, argc, argv);
    if (options.checkRows)
        return CheckRows();
    if (!options.pictures.empty()) {
        bench::WritePictures(options.pictures, bench::kLarge);
        return 0;
    }
    if (const int best = bench::BestLevel({}); best >= 0)
        std::replace(selection.levels.begin(), selection.levels.end(), std::string("best"),
                     std::string(bench::kLevels[best]));
    bench::Reference reference(options.reference);
    const std::size_t worse = options.scaling ? bench::MeasureScaling(selection, options.format(), reference)
                                              : MeasureAll(options, reference);
    const char *ci = std::getenv("CI");
    return worse == 0 || (ci && std::string_view(ci) == "true") ? 0 : 1;
}

} // namespace

int main(int argc, char **argv) {
    // The heap and the host keep what is given back to them. Fresh memory is cleared by the system page by page as it
    // is touched, and would cost the operations that ask for much more than all that they do.
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
    standin::GuardedMemory::KeepLargePieces();
    try {
        return Run(argc, argv);
    } catch (const std::exception &error) {
        static_cast<void>(std::fprintf(stderr, "kvt-bench: %s\n", error.what()));
        return 2;
    }
}
