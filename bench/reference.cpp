#include "bench/reference.h"

#include <fmt/format.h>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace bench {
namespace {

constexpr Milliseconds kTooShort{0.02};

constexpr const char *kHead =
    R"(# Ratios to memcpy that later runs are held against: none may take more than 1.5 times as long.
# Renewed by: scripts/bench --write-reference
# build size layouts sse2 avx2 avx512 operation
)";

} // namespace

Reference::Reference(std::string file) : file_(std::move(file)) {
    std::ifstream in(file_);
    for (std::string text; std::getline(in, text);) {
        if (text.empty() || text.front() == '#')
            continue;
        std::istringstream words(text);
        std::string build;
        std::string size;
        std::string layouts;
        std::string ratios[kLevelCount];
        std::string operation;
        words >> build >> size >> layouts;
        for (std::string &ratio : ratios)
            words >> ratio;
        if (!std::getline(words >> std::ws, operation))
            throw std::runtime_error(fmt::format("{}: not understood: {}", file_, text));
        auto &line = lines_[{build, size, layouts, operation}];
        for (std::size_t level = 0; level < kLevelCount; ++level)
            if (ratios[level] != "-")
                line[level] = std::stod(ratios[level]);
    }
}

Reference::Line Reference::LineOf(const Figure &figure) {
    return {kBuild, figure.size.Name(), figure.pair->name, figure.operation->Name()};
}

std::optional<double> Reference::Of(const Figure &figure) const {
    const auto found = lines_.find(LineOf(figure));
    return found == lines_.end() ? std::nullopt : found->second[static_cast<std::size_t>(figure.level)];
}

bool Reference::IsSlower(const Figure &figure) const {
    const std::optional<double> kept = Of(figure);
    return kept && figure.own > kTooShort && figure.Ratio() > kTolerance * *kept;
}

void Reference::Keep(const Figure &figure) {
    lines_[LineOf(figure)][static_cast<std::size_t>(figure.level)] = figure.Ratio();
}

void Reference::Save() const {
    std::ofstream out(file_, std::ios::trunc);
    out << kHead;
    for (const auto &[line, ratios] : lines_) {
        const auto &[build, size, layouts, operation] = line;
        out << fmt::format("{} {:<9} {:<11}", build, size, layouts);
        for (const std::optional<double> &ratio : ratios)
            out << fmt::format(" {:>6}", ratio ? fmt::format("{:.3f}", *ratio) : "-");
        out << ' ' << operation << '\n';
    }
    if (!out.flush())
        throw std::runtime_error(file_ + " cannot be written");
}

} // namespace bench
