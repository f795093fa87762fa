#include "bench/measuring.h"

#include "bench/targets.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fmt/format.h>
#include <memory>
#include <stdexcept>
#include <unistd.h>

namespace bench {
namespace {

using Clock = std::chrono::steady_clock;

/// As much as a 32-bit process has room for beside results and the yardstick.
constexpr std::size_t kKeptInputs = std::size_t{1000} << 20;

/// From here on results are stored past the caches.
constexpr std::size_t kStreamedBytes = std::size_t{4} << 21;

bool Wanted(const std::vector<std::string> &wanted, std::string_view name) {
    return wanted.empty() || std::any_of(wanted.begin(), wanted.end(), [&](const std::string &part) {
               return name.find(part) != std::string_view::npos;
           });
}

standin::HostDescription DescribeHost(const LayoutPair &pair) {
    standin::HostDescription description;
    description.application = pair.application;
    if (pair.resultAlphaInfo)
        description.newPictureAlphaInfo = pair.resultAlphaInfo;
    description.watchesInputs = false;
    description.scattersRows = false;
    return description;
}

/// What it takes to get that much cleared memory, to touch each of its pages, and to give it back.
Milliseconds FreshMemory(std::size_t bytes) {
    static const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const auto start = Clock::now();
    const std::unique_ptr<void, decltype(&std::free)> memory(std::calloc(bytes, 1), std::free);
    if (!memory)
        throw std::bad_alloc();
    for (std::size_t i = 0; i < bytes; i += page)
        static_cast<volatile unsigned char *>(memory.get())[i] = 1;
    return Clock::now() - start;
}

} // namespace

std::vector<const Operation *> Selection::Operations() const {
    std::vector<const Operation *> wanted;
    for (const Operation &operation : bench::Operations())
        if (Wanted(names, operation.Name()))
            wanted.push_back(&operation);
    return wanted;
}

std::vector<const LayoutPair *> Selection::Pairs(std::span<const LayoutPair> pairs) const {
    std::vector<const LayoutPair *> wanted;
    for (const LayoutPair &pair : pairs)
        if (Wanted(layouts, pair.name))
            wanted.push_back(&pair);
    return wanted;
}

bool Selection::WantsLevel(int level) const { return Wanted(levels, kLevels[level]); }

Yardstick::Yardstick(std::size_t bytes) : bytes_(bytes) {
    const std::size_t whole = (bytes + kLoopBlock - 1) / kLoopBlock * kLoopBlock;
    to_ = standin::GuardedMemory(whole, standin::Guard::After);
    for (standin::GuardedMemory &from : from_) {
        from = standin::GuardedMemory(whole, standin::Guard::After);
        std::memset(from.data(), 1, whole);
    }
}

Milliseconds Yardstick::Copy() {
    // What an operation did before must not decide what the cache holds: both sides were touched a moment ago, as a
    // source in its last run and a result by the host.
    std::memcpy(to_.data(), from_[0].data(), bytes_);
    std::memset(to_.data(), 2, bytes_);
    const auto start = Clock::now();
    std::memcpy(to_.data(), from_[0].data(), bytes_);
    const Milliseconds time = Clock::now() - start;
    if (to_.data()[bytes_ / 2] != 1)
        throw std::runtime_error("memcpy did not copy");
    best_ = std::min(best_, time);
    return time;
}

Milliseconds Yardstick::Run(Loop loop, int level) {
    constexpr decltype(&LoopsSse2) kLoops[] = {LoopsSse2, LoopsAvx2, LoopsAvx512};
    // What changes a picture in place stores through the caches, as all do where these hold the picture.
    LoopFunction *const run = kLoops[level](loop, bytes_ >= kStreamedBytes);
    const unsigned char *const second = loop == Loop::Update ? to_.data() : from_[1].data();
    const unsigned char *const sources[] = {from_[0].data(), second, from_[2].data()};
    run(sources, to_.size(), to_.data());
    std::memset(to_.data(), 2, to_.size());
    const auto start = Clock::now();
    run(sources, to_.size(), to_.data());
    const Milliseconds time = Clock::now() - start;
    if (loop != Loop::Read && to_.data()[to_.size() / 2] != 1)
        throw std::runtime_error("a limit loop did not write");
    return time;
}

double Yardstick::BestGigabytesPerSecond() const { return static_cast<double>(bytes_) / best_.count() / 1e6; }

Workplace::Workplace(const LayoutPair &pair, Size size)
    : pair_(pair), host_(DescribeHost(pair)), inputs_(host_, size, pair.sourceAlphaInfo) {}

Figure Workplace::Measure(const Operation &operation, int level, int runs, Yardstick &yardstick) {
    inputs_.Trim(kKeptInputs);
    Figure best{&operation, &pair_, level, inputs_.size()};
    const std::size_t freshBytes = operation.freshBytesPerPixel * inputs_.size().Pixels();
    best.fresh = best.copy = Milliseconds::max();
    for (int run = 0; run < runs; ++run) {
        const standin::Result result = operation.Run(host_, inputs_);
        const Milliseconds own = result.time - result.timeInHost;
        if (own < best.own) {
            best.own = own;
            best.inHost = result.timeInHost;
            best.entered = result.entered;
        }
        best.fresh = freshBytes ? std::min(best.fresh, FreshMemory(freshBytes)) : Milliseconds{};
        best.copy = std::min(best.copy, yardstick.Copy());
    }
    // Afterwards: in between, its pictures would drive the operation's out of the cache.
    if (const Target *target = &pair_ == kPairs ? TargetOf(operation) : nullptr; target && target->loop) {
        best.limit = Milliseconds::max();
        for (int run = 0; run < runs; ++run)
            best.limit = std::min(best.limit, yardstick.Run(*target->loop, LimitLevel(level)));
    }
    best.own = std::max(best.own - best.fresh, Milliseconds{});
    return best;
}

std::vector<Figure> MeasureSeries(const Selection &selection, Size size, std::span<const LayoutPair> pairs,
                                  Yardstick &yardstick, const std::function<void(const Step &)> &onStep,
                                  const std::function<bool(const Figure &)> &isDoubtful) {
    constexpr int kAttempts = 3;
    const std::vector<const Operation *> operations = selection.Operations();
    const std::vector<const LayoutPair *> wantedPairs = selection.Pairs(pairs);
    std::vector<Figure> figures;
    Step step{0, operations.size() * wantedPairs.size() * kLevelCount, {}};
    for (const LayoutPair *pair : wantedPairs) {
        Workplace workplace(*pair, size);
        for (int level = 0; level < kLevelCount; ++level) {
            if (!selection.WantsLevel(level) || !workplace.ForceLevel(level)) {
                step.number += operations.size();
                continue;
            }
            for (const Operation *operation : operations) {
                ++step.number;
                step.what = fmt::format("{} {} {} {}", size.Name(), pair->name, kLevels[level], operation->Name());
                onStep(step);
                Figure figure = workplace.Measure(*operation, level, selection.runs, yardstick);
                for (int attempt = 1; attempt < kAttempts && isDoubtful(figure); ++attempt) {
                    const Figure again = workplace.Measure(*operation, level, selection.runs, yardstick);
                    if (again.Ratio() < figure.Ratio())
                        figure = again;
                }
                figures.push_back(figure);
            }
        }
    }
    return figures;
}

int BestLevel(const Selection &selection) {
    standin::Host host(DescribeHost(kPairs[0]));
    for (int level = kLevelCount - 1; level >= 0; --level)
        if (selection.WantsLevel(level) && host.ForceLevel(level))
            return level;
    return -1;
}

Milliseconds ClockReading() {
    constexpr int kReadings = 1000;
    auto best = Milliseconds::max();
    for (int round = 0; round < 20; ++round) {
        const auto start = Clock::now();
        for (int i = 0; i < kReadings - 1; ++i)
            static_cast<void>(Clock::now());
        best = std::min<Milliseconds>(best, Clock::now() - start);
    }
    return best / kReadings;
}

} // namespace bench
