#include "tools/messages.h"

#include "standin/declaration.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <nlohmann/json.hpp>
#include <numeric>
#include <set>
#include <unistd.h>

namespace tools {
namespace {

using standin::SameName;

constexpr std::size_t kMostNames = 3;
constexpr std::size_t kTellingLength = 3; ///< shorter parts occur in anything, and count at a name's start alone

/// How many letters must be inserted, left out or replaced to make one name the other.
std::size_t Distance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i);
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t replaced = diagonal + (SameName(a.substr(i - 1, 1), b.substr(j - 1, 1)) ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, replaced});
        }
    }
    return row.back();
}

constexpr std::size_t kBarWidth = 40;
bool showsProgress = false;

} // namespace

std::string TextOf(const Json &json, int indent) {
    return json.dump(indent, ' ', false, Json::error_handler_t::replace);
}

std::string Styled(int stream, const fmt::text_style &style, std::string_view text) {
    const auto variable = [](const char *name) {
        const char *value = std::getenv(name);
        return std::string_view(value ? value : "");
    };
    const bool isPlain = isatty(stream) != 1 || variable("TERM").empty() || variable("TERM") == "dumb";
    return isPlain || !variable("NO_COLOR").empty() ? std::string(text) : fmt::format(style, "{}", text);
}

void PrintProblem(std::string_view text) {
    HideProgress();
    const auto red = fmt::emphasis::bold | fg(fmt::terminal_color::red);
    static_cast<void>(std::fputs(fmt::format("{} {}\n", Styled(STDERR_FILENO, red, "kvt:"), text).c_str(), stderr));
}

void ShowProgress(std::size_t through, std::size_t total, std::string_view what) {
    if (isatty(STDERR_FILENO) != 1)
        return;
    const std::size_t filled = kBarWidth * through / total;
    fmt::print(stderr, "\r\x1b[K[{:#<{}}{:.<{}}] {}/{} {}", "", filled, "", kBarWidth - filled, through, total, what);
    showsProgress = true;
}

void HideProgress() {
    if (std::exchange(showsProgress, false))
        fmt::print(stderr, "\r\x1b[K");
}

bool HasPart(std::string_view name, std::string_view part) {
    const auto same = [](char a, char b) { return SameName({&a, 1}, {&b, 1}); };
    return std::search(name.begin(), name.end(), part.begin(), part.end(), same) != name.end() || part.empty();
}

std::string Suggestion(std::string_view written, const std::vector<std::string_view> &names,
                       std::string_view otherwise) {
    const std::size_t most = std::max<std::size_t>(2, written.size() / 3);
    std::set<std::pair<std::size_t, std::string>> near; // those that hold it differ in what they have beyond it
    for (const std::string_view name : names) {
        const std::size_t distance = Distance(written, name);
        const bool isTelling = written.size() >= kTellingLength;
        if (distance <= most ||
            (!written.empty() && HasPart(isTelling ? name : name.substr(0, written.size()), written)))
            near.emplace(distance, fmt::format("\"{}\"", name));
    }
    std::vector<std::string> shown;
    for (const auto &[distance, name] : near)
        if (shown.size() < kMostNames)
            shown.push_back(name);
    return shown.empty() ? std::string(otherwise) : fmt::format("; did you mean {}?", fmt::join(shown, " or "));
}

std::pair<Outcome, std::string> EndBy(const std::exception &thrown) {
    if (dynamic_cast<const std::bad_alloc *>(&thrown))
        return {Wrong, "there is not enough memory"};
    return {dynamic_cast<const WriteFailed *>(&thrown) ? Failed : Wrong, thrown.what()};
}

} // namespace tools
