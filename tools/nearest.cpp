#include "tools/nearest.h"

#include "standin/declaration.h"

#include <algorithm>
#include <fmt/format.h>
#include <numeric>
#include <utility>

namespace tools {
namespace {

using standin::SameName;

bool StartsWith(std::string_view text, std::string_view start) {
    return text.size() >= start.size() && SameName(text.substr(0, start.size()), start);
}

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

std::string_view NearestName(std::string_view written, const std::vector<std::string_view> &names) {
    std::string_view nearest;
    std::size_t least = std::max<std::size_t>(2, written.size() / 3) + 1;
    for (const std::string_view name : names) {
        const std::size_t distance = StartsWith(name, written) ? 1 : Distance(written, name);
        if (distance < least) {
            least = distance;
            nearest = name;
        }
    }
    return nearest;
}

std::string Suggestion(std::string_view written, const std::vector<std::string_view> &names) {
    const std::string_view nearest = NearestName(written, names);
    return nearest.empty() ? "" : fmt::format("; did you mean \"{}\"?", nearest);
}

} // namespace tools
