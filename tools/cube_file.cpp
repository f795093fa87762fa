#include "tools/cube_file.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <sstream>

namespace tools {
namespace {

constexpr std::size_t kLargest = 256;

/// The three numbers that a text is; nothing when it is anything else.
std::optional<Triple> NumbersOf(const std::string &text) {
    std::istringstream words(text);
    Triple numbers = {};
    const bool areThere = !!(words >> numbers[0] >> numbers[1] >> numbers[2]);
    return areThere && (words >> std::ws).eof() ? std::optional(numbers) : std::nullopt;
}

/// Puts into the table what a line says. Throws UserError with the reason alone.
void ReadLine(CubeTable &table, const std::string &line) {
    if (const std::optional<Triple> entry = NumbersOf(line)) {
        table.entries.push_back(*entry);
        return;
    }
    std::istringstream words(line);
    std::string keyword;
    std::string value;
    std::getline(words >> keyword >> std::ws, value);
    if (keyword.empty() || keyword == "TITLE")
        return;
    const bool isSize = keyword == "LUT_3D_SIZE";
    const bool isDomain = keyword == "DOMAIN_MIN" || keyword == "DOMAIN_MAX";
    RefuseIf(keyword == "LUT_1D_SIZE", "this is a table of curves (LUT_1D_SIZE); a 3D table is needed");
    RefuseIf(!isSize && !isDomain, "expected three numbers or a known keyword, not \"{}\"", line);
    RefuseIf(!table.entries.empty(), "{} stands behind the first entry", keyword);
    if (isSize) {
        RefuseIf(table.size != 0, "LUT_3D_SIZE stands here for the second time");
        std::istringstream number(value);
        RefuseIf(!(number >> table.size) || !number.eof() || table.size < 2 || table.size > kLargest,
                 "expected 2 to {} points an axis, not \"{}\"", kLargest, value);
    } else {
        const std::optional<Triple> numbers = NumbersOf(value);
        RefuseIf(!numbers, "expected three numbers, not \"{}\"", value);
        (keyword == "DOMAIN_MIN" ? table.domainMin : table.domainMax) = *numbers;
    }
}

} // namespace

Triple CubeTable::At(const Triple &input) const {
    Triple output = {};
    for (std::size_t corner = 0; corner < 8; ++corner) { // of the cell of the grid that the input lies in
        std::size_t at = 0;
        double weight = 1;
        for (std::size_t axis = 3; axis-- > 0;) {
            const double part = (input[axis] - domainMin[axis]) / (domainMax[axis] - domainMin[axis]);
            const double place = std::clamp(part, 0.0, 1.0) * static_cast<double>(size - 1);
            const std::size_t lower = std::min(static_cast<std::size_t>(place), size - 2);
            const double fraction = place - static_cast<double>(lower); // of the way to the next point
            const std::size_t upper = corner >> axis & 1;
            at = at * size + lower + upper;
            weight *= upper ? fraction : 1 - fraction;
        }
        for (std::size_t channel = 0; channel < 3; ++channel)
            output[channel] += weight * entries[at][channel];
    }
    return output;
}

CubeTable ParseCube(std::string_view text, std::string_view name) {
    CubeTable table;
    std::istringstream lines{std::string(text)};
    std::string line;
    for (int number = 1; std::getline(lines, line); ++number) {
        line.erase(std::min(line.find('#'), line.size()));
        line.erase(line.find_last_not_of(" \t\r") + 1);
        try {
            ReadLine(table, line);
        } catch (const UserError &error) {
            Refuse("{}, line {}: {}", name, number, error.what());
        }
    }
    const std::size_t wanted = table.size * table.size * table.size;
    RefuseIf(wanted == 0, "{}: LUT_3D_SIZE is missing", name);
    RefuseIf(table.entries.size() != wanted, "{}: expected {} entries for {} points an axis, found {}", name, wanted,
             table.size, table.entries.size());
    for (std::size_t channel = 0; channel < 3; ++channel)
        RefuseIf(!(table.domainMin[channel] < table.domainMax[channel]), "{}: DOMAIN_MIN must lie below DOMAIN_MAX",
                 name);
    return table;
}

Triple GridEntry(const CubeTable &table, int red, int green, int blue) {
    const auto input = [](int point) { return point / static_cast<double>(kGridPoints - 1); };
    Triple output = table.At({input(red), input(green), input(blue)});
    for (double &value : output)
        value = std::round(value * 255 * 1000) / 1000;
    return output;
}

} // namespace tools
