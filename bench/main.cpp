#include "bench/operations.h"
#include "tools/samples.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <fmt/format.h>
#include <string>
#include <tuple>
#include <vector>

/// Times every operation against the C library's memcpy of the picture's bytes, in the same process and run. Time
/// inside host entries is left out. Ratios of one run compare; times of different runs do not.
namespace {

using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr const char *kBuild = sizeof(void *) == 4 ? "x86" : "x64";
constexpr const char *kLevels[] = {"sse2", "avx2", "avx512"};

/// Pictures as they come in and go out, in the layouts that a host can bring about.
struct LayoutPair {
    const char *name;
    standin::Application application;
    std::uint32_t sourceAlphaInfo;
    std::uint32_t resultAlphaInfo;
};
constexpr LayoutPair kPairs[] = {
    {"high>high", standin::Application::Desktop, 5, 5},   {"low>low", standin::Application::Desktop, 6, 6},
    {"high>low", standin::Application::Desktop, 5, 6},    {"low>high", standin::Application::Desktop, 6, 5},
    {"table>table", standin::Application::Console, 0, 0},
};

struct Options {
    int width = 4000;
    int height = 3000;
    int runs = 7;
    std::vector<std::string> names;
    std::vector<std::string> layouts;
    std::vector<std::string> levels;
    bool json = false;
    bool checkRows = false;
};

std::size_t BytesOf(const Options &options) {
    return std::size_t{4} * static_cast<std::size_t>(options.width) * static_cast<std::size_t>(options.height);
}

/// Into memory that was written before, as a host's new pictures are.
Milliseconds Memcpy(std::size_t bytes, int runs) {
    const standin::GuardedMemory from(bytes, standin::Guard::Before);
    std::memset(from.data(), 1, bytes);
    auto best = Milliseconds::max();
    for (int run = 0; run < runs; ++run) {
        const standin::GuardedMemory to(bytes, standin::Guard::Before);
        std::memset(to.data(), 2, bytes);
        const auto start = std::chrono::steady_clock::now();
        std::memcpy(to.data(), from.data(), bytes);
        best = std::min<Milliseconds>(best, std::chrono::steady_clock::now() - start);
        if (to.data()[bytes / 2] != 1)
            throw std::runtime_error("memcpy did not copy");
    }
    return best;
}

struct Timing {
    Milliseconds own = Milliseconds::max(); ///< outside host entries
    Milliseconds inHost = {};
};

Timing Measure(standin::Host &host, const bench::Operation &operation, const bench::Inputs &inputs, int runs) {
    Timing best;
    for (int run = 0; run < runs; ++run) {
        const standin::Result result = operation.run(host, inputs);
        const Milliseconds own = result.time - result.timeInHost;
        if (own < best.own)
            best = {own, result.timeInHost};
    }
    return best;
}

bool Wanted(const std::vector<std::string> &wanted, std::string_view name) {
    return wanted.empty() || std::any_of(wanted.begin(), wanted.end(), [&](const std::string &part) {
               return name.find(part) != std::string_view::npos;
           });
}

void Print(const Options &options, const bench::Operation &operation, const LayoutPair &pair, const char *level,
           const Timing &timing, Milliseconds memcpyTime) {
    const double ratio = timing.own / memcpyTime;
    const std::string name = operation.what.empty() ? std::string(operation.method)
                                                    : fmt::format("{} ({})", operation.method, operation.what);
    if (options.json)
        fmt::print("{{\"operation\": \"{}\", \"layouts\": \"{}\", \"level\": \"{}\", \"build\": \"{}\", \"width\": {}, "
                   "\"height\": {}, \"ratio\": {:.3f}, \"milliseconds\": {:.4f}, \"host_milliseconds\": {:.4f}}}\n",
                   name, pair.name, level, kBuild, options.width, options.height, ratio, timing.own.count(),
                   timing.inHost.count());
    else
        fmt::print("{:<56} {:<12} {:<7} {:>7.2f} x memcpy {:>10.3f} ms\n", name, pair.name, level, ratio,
                   timing.own.count());
    static_cast<void>(std::fflush(stdout));
}

void MeasurePair(const Options &options, const LayoutPair &pair) {
    standin::HostDescription description;
    description.application = pair.application;
    description.newPictureAlphaInfo = pair.sourceAlphaInfo ? pair.sourceAlphaInfo : description.newPictureAlphaInfo;
    description.watchesInputs = false;
    description.scattersRows = false;
    standin::Host host(description);
    const bench::Inputs inputs = bench::MakeInputs(host, options.width, options.height);
    if (pair.resultAlphaInfo)
        host.MakeNewPicturesAs(pair.resultAlphaInfo);
    const std::size_t bytes =
        std::size_t{4} * static_cast<std::size_t>(options.width) * static_cast<std::size_t>(options.height);
    for (int level = 0; level < 3; ++level) {
        if (!Wanted(options.levels, kLevels[level]) || !host.ForceLevel(level))
            continue;
        for (const bench::Operation &operation : bench::Operations()) {
            if (!Wanted(options.names, operation.method))
                continue;
            const Timing timing = Measure(host, operation, inputs, options.runs);
            Print(options, operation, pair, kLevels[level], timing, Memcpy(bytes, options.runs));
        }
    }
    for (const std::string &violation : host.TakeViolations())
        fmt::print(stderr, "{}\n", violation);
}

int CheckRows() {
    const standin::Host host;
    const std::vector<std::string> mismatches = bench::Mismatches(host);
    for (const std::string &mismatch : mismatches)
        fmt::print("{}\n", mismatch);
    return mismatches.empty() ? 0 : 1;
}

int Run(int argc, char **argv) {
    Options options;
    std::string size = "4000x3000";
    CLI::App app{
        "Times operations as multiples of one memcpy of the picture's bytes. Operations, layouts and levels are\n"
        "named in full or in part; none named means all."};
    app.add_option("operation", options.names, "methods to measure, such as InvertKVT");
    app.add_option("--layout", options.layouts, "layout pairs, such as high>high or table");
    app.add_option("--level", options.levels, "instruction-set levels: sse2, avx2, avx512");
    app.add_option("--size", size, "picture size: WxH in pixels")->capture_default_str();
    app.add_option("--runs", options.runs, "the best of how many runs counts (default 7)")->check(CLI::Range(1, 1000));
    app.add_flag("--json", options.json, "one JSON object a line");
    app.add_flag("--check-rows", options.checkRows, "only check that every registered method has its line here");
    CLI11_PARSE(app, argc, argv);
    if (options.checkRows)
        return CheckRows();
    std::tie(options.width, options.height) = tools::ParseSize(size);
    const std::size_t bytes = BytesOf(options);
    const Milliseconds copy = Memcpy(bytes, options.runs);
    if (!options.json)
        fmt::print(
            "{} build, {} x {}, memcpy {:.3f} ms ({:.1f} GB/s), best of {} runs, time in host entries left out\n",
            kBuild, options.width, options.height, copy.count(), static_cast<double>(bytes) / copy.count() / 1e6,
            options.runs);
    for (const LayoutPair &pair : kPairs)
        if (Wanted(options.layouts, pair.name))
            MeasurePair(options, pair);
    return 0;
}

} // namespace

int main(int argc, char **argv) {
    try {
        return Run(argc, argv);
    } catch (const std::exception &error) {
        static_cast<void>(std::fprintf(stderr, "kvt-bench: %s\n", error.what()));
        return 2;
    }
}
