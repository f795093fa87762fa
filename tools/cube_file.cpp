#include "tools/cube_file.h"

#include "standin/text_reader.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fmt/format.h>

namespace tools {
namespace {

constexpr int kLargest = 256;

struct LineReader {
    std::string_view text;
    std::string_view name;
    standin::TextReader line{{}};
    std::size_t number = 0; ///< of the line, from 1

    template <class... Values> void FailIf(bool isSo, fmt::format_string<Values...> why, Values &&...values) const {
        if (isSo)
            throw UserError(
                fmt::format("{}, line {}: {}", name, number, fmt::format(why, std::forward<Values>(values)...)));
    }
    bool Next() {
        if (text.empty())
            return false;
        const std::string_view whole = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(whole.size() + 1, text.size()));
        line = standin::TextReader(whole.substr(0, whole.find('#')));
        ++number;
        return true;
    }
    /// The next word of the line; empty at its end.
    std::string_view Word() {
        line.SkipSpaces();
        return line.TakeWhile([](char c) { return !standin::IsSpace(c); });
    }
    void ExpectEnd() {
        const std::string_view word = Word();
        FailIf(!word.empty(), "expected the end of the line, not \"{}\"", word);
    }
    double Number() {
        const std::string_view word = Word();
        FailIf(word.empty(), "expected a number at the end of the line");
        double value = 0;
        const std::string_view digits = word.substr(word.starts_with('+') ? 1 : 0);
        const auto parsed = std::from_chars(digits.data(), digits.data() + digits.size(), value);
        FailIf(parsed.ec != std::errc{} || parsed.ptr != digits.data() + digits.size() || !std::isfinite(value),
               "expected a number, not \"{}\"", word);
        return value;
    }
    Triple Numbers() {
        Triple numbers;
        for (double &value : numbers)
            value = Number();
        ExpectEnd();
        return numbers;
    }
};

void ReadKeyword(LineReader &reader, CubeTable &table) {
    const std::string_view keyword = reader.Word();
    if (keyword == "TITLE")
        return;
    reader.FailIf(!table.entries.empty(), "\"{}\" stands among the table's entries", keyword);
    reader.FailIf(keyword == "LUT_1D_SIZE", "this is a table of curves (LUT_1D_SIZE); a 3D table is needed");
    if (keyword == "DOMAIN_MIN" || keyword == "DOMAIN_MAX") {
        (keyword == "DOMAIN_MIN" ? table.domainMin : table.domainMax) = reader.Numbers();
        return;
    }
    reader.FailIf(keyword != "LUT_3D_SIZE", "unknown keyword \"{}\"", keyword);
    const double size = reader.Number();
    reader.ExpectEnd();
    reader.FailIf(size < 2 || size > kLargest || size != std::floor(size), "a table has 2 to {} points an axis",
                  kLargest);
    reader.FailIf(table.size != 0, "LUT_3D_SIZE stands here for the second time");
    table.size = static_cast<std::size_t>(size);
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
    LineReader reader{text, name};
    const auto wanted = [&] { return table.size * table.size * table.size; };
    while (reader.Next()) {
        if (reader.line.AtEnd())
            continue;
        if (const char first = reader.line.rest()[0]; (first >= 'A' && first <= 'Z') || first == '_') {
            ReadKeyword(reader, table);
            continue;
        }
        reader.FailIf(table.size == 0, "expected LUT_3D_SIZE before the first entry");
        reader.FailIf(table.entries.size() == wanted(), "more than the {} entries of a table of {} points an axis",
                      table.entries.size(), table.size);
        table.entries.push_back(reader.Numbers());
    }
    reader.FailIf(table.size == 0, "the file ends without LUT_3D_SIZE");
    reader.FailIf(table.entries.size() != wanted(), "the file ends after {} of {} entries", table.entries.size(),
                  wanted());
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
