#include "tools/nearest.h"

#include "standin/declaration.h"

#include <algorithm>
#include <fmt/format.h>
#include <numeric>
#include <utility>

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

} // namespace

bool HasPart(std::string_view name, std::string_view part) {
    const auto same = [](char a, char b) { return SameName({&a, 1}, {&b, 1}); };
    return std::search(name.begin(), name.end(), part.begin(), part.end(), same) != name.end() || part.empty();
}

std::vector<std::string_view> NearNames(std::string_view written, const std::vector<std::string_view> &names) {
    std::string_view nearest;
    std::size_t least = std::max<std::size_t>(2, written.size() / 3) + 1;
    std::vector<std::string_view> holding;
    for (const std::string_view name : names) {
        if (const std::size_t distance = Distance(written, name); distance < least) {
            least = distance;
            nearest = name;
        }
        if (!written.empty() &&
            HasPart(written.size() < kTellingLength ? name.substr(0, written.size()) : name, written))
            holding.push_back(name);
    }
    std::stable_sort(holding.begin(), holding.end(), [](auto a, auto b) { return a.size() < b.size(); });
    std::vector<std::string_view> near;
    if (!nearest.empty())
        near.push_back(nearest);
    for (const std::string_view name : holding)
        if (near.size() < kMostNames && std::find(near.begin(), near.end(), name) == near.end())
            near.push_back(name);
    return near;
}

std::string Suggestion(std::string_view written, const std::vector<std::string_view> &names) {
    const std::vector<std::string_view> near = NearNames(written, names);
    std::string list;
    for (std::size_t i = 0; i < near.size(); ++i)
        list += fmt::format("{}\"{}\"", i == 0 ? "" : i + 1 == near.size() ? " or " : ", ", near[i]);
    return list.empty() ? "" : fmt::format("; did you mean {}?", list);
}

} // namespace tools
