#include "tools/cube_file.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fmt/format.h>
#include <optional>

namespace tools {
namespace {

constexpr std::size_t kLargest = 256;

struct LineReader {
    std::string_view text;
    std::string_view name;
    std::string_view line;
    std::size_t number = 0; ///< of the line, from 1

    [[noreturn]] void Fail(std::string_view why) const {
        throw UserError(fmt::format("{}, line {}: {}", name, number, why));
    }
    bool Next() {
        if (text.empty())
            return false;
        const std::size_t end = std::min(text.find('\n'), text.size());
        line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        line = line.substr(0, line.find('#'));
        ++number;
        return true;
    }
    /// The next word of the line; empty at its end.
    std::string_view Word() {
        constexpr std::string_view kSpaces = " \t\r\f\v";
        line.remove_prefix(std::min(line.find_first_not_of(kSpaces), line.size()));
        const std::string_view word = line.substr(0, line.find_first_of(kSpaces));
        line.remove_prefix(word.size());
        return word;
    }
    void ExpectEnd() {
        if (const std::string_view word = Word(); !word.empty())
            Fail(fmt::format("expected the end of the line, not \"{}\"", word));
    }
    double ToNumber(std::string_view word) const {
        double value = 0;
        const std::string_view digits = word.substr(word.starts_with('+') ? 1 : 0);
        const auto parsed = std::from_chars(digits.data(), digits.data() + digits.size(), value);
        if (digits.empty() || parsed.ec != std::errc{} || parsed.ptr != digits.data() + digits.size() ||
            !std::isfinite(value))
            Fail(word.empty() ? "expected a number at the end of the line"
                              : fmt::format("expected a number, not \"{}\"", word));
        return value;
    }
    Triple Numbers(std::string_view first) {
        Triple numbers = {ToNumber(first), 0, 0};
        numbers[1] = ToNumber(Word());
        numbers[2] = ToNumber(Word());
        ExpectEnd();
        return numbers;
    }
};

/// A title stands in quotes, and may hold what elsewhere begins a comment.
std::string TitleOf(std::string_view line) {
    const std::size_t open = line.find('"');
    const std::size_t close = line.rfind('"');
    return open < close && close != line.npos ? std::string(line.substr(open + 1, close - open - 1)) : std::string();
}

bool IsKeyword(std::string_view word) { return (word[0] >= 'A' && word[0] <= 'Z') || word[0] == '_'; }

void ReadKeyword(LineReader &reader, std::string_view keyword, CubeTable &table) {
    if (keyword == "LUT_3D_SIZE") {
        const double size = reader.ToNumber(reader.Word());
        reader.ExpectEnd();
        if (size < 2 || size > static_cast<double>(kLargest) || size != std::floor(size))
            reader.Fail(fmt::format("a table has 2 to {} points an axis", kLargest));
        if (table.size != 0)
            reader.Fail("LUT_3D_SIZE stands here for the second time");
        table.size = static_cast<std::size_t>(size);
    } else if (keyword == "DOMAIN_MIN") {
        table.domainMin = reader.Numbers(reader.Word());
    } else if (keyword == "DOMAIN_MAX") {
        table.domainMax = reader.Numbers(reader.Word());
    } else if (keyword == "LUT_1D_SIZE") {
        reader.Fail("this is a table of curves (LUT_1D_SIZE); a 3D table is needed");
    } else {
        reader.Fail(fmt::format("unknown keyword \"{}\"", keyword));
    }
}

/// Where an input lies between two grid points.
struct GridPosition {
    std::size_t lower;
    double fraction;
};

GridPosition Locate(double input, double low, double high, std::size_t points) {
    const double place = std::clamp((input - low) / (high - low), 0.0, 1.0) * static_cast<double>(points - 1);
    const std::size_t lower = std::min(static_cast<std::size_t>(place), points - 2);
    return {lower, place - static_cast<double>(lower)};
}

double Between(double a, double b, double fraction) { return a + (b - a) * fraction; }

} // namespace

Triple CubeTable::At(const Triple &input) const {
    const GridPosition r = Locate(input[0], domainMin[0], domainMax[0], size);
    const GridPosition g = Locate(input[1], domainMin[1], domainMax[1], size);
    const GridPosition b = Locate(input[2], domainMin[2], domainMax[2], size);
    Triple output;
    for (std::size_t channel = 0; channel < 3; ++channel) {
        const auto entry = [&](std::size_t green, std::size_t blue) {
            const std::size_t at = ((b.lower + blue) * size + g.lower + green) * size + r.lower;
            return Between(entries[at][channel], entries[at + 1][channel], r.fraction);
        };
        output[channel] = Between(Between(entry(0, 0), entry(1, 0), g.fraction),
                                  Between(entry(0, 1), entry(1, 1), g.fraction), b.fraction);
    }
    return output;
}

CubeTable ParseCube(std::string_view text, std::string_view name) {
    CubeTable table;
    LineReader reader{text, name, {}, 0};
    for (std::string_view rest = reader.text; reader.Next(); rest = reader.text) {
        const std::string_view word = reader.Word();
        if (word.empty())
            continue;
        if (word == "TITLE") {
            table.title = TitleOf(rest.substr(0, rest.find('\n')));
        } else if (IsKeyword(word)) {
            if (!table.entries.empty())
                reader.Fail(fmt::format("\"{}\" stands among the table's entries", word));
            ReadKeyword(reader, word, table);
        } else {
            if (table.size == 0)
                reader.Fail("expected LUT_3D_SIZE before the first entry");
            if (table.entries.size() == table.size * table.size * table.size)
                reader.Fail(fmt::format("more than the {} entries of a table of {} points an axis",
                                        table.entries.size(), table.size));
            table.entries.push_back(reader.Numbers(word));
        }
    }
    if (table.size == 0)
        reader.Fail("the file ends without LUT_3D_SIZE");
    const std::size_t wanted = table.size * table.size * table.size;
    if (table.entries.size() != wanted)
        reader.Fail(fmt::format("the file ends after {} of {} entries", table.entries.size(), wanted));
    for (std::size_t channel = 0; channel < 3; ++channel)
        if (!(table.domainMin[channel] < table.domainMax[channel]))
            throw UserError(fmt::format("{}: DOMAIN_MIN must lie below DOMAIN_MAX", name));
    return table;
}

std::string CubeText(const CubeTable &table) {
    std::string text;
    if (!table.title.empty())
        text += fmt::format("TITLE \"{}\"\n", table.title);
    text +=
        fmt::format("LUT_3D_SIZE {}\nDOMAIN_MIN {} {} {}\nDOMAIN_MAX {} {} {}\n", table.size, table.domainMin[0],
                    table.domainMin[1], table.domainMin[2], table.domainMax[0], table.domainMax[1], table.domainMax[2]);
    for (const Triple &entry : table.entries)
        text += fmt::format("{:.6f} {:.6f} {:.6f}\n", entry[0], entry[1], entry[2]);
    return text;
}

Triple GridEntry(const CubeTable &table, int red, int green, int blue) {
    const auto input = [](int point) { return point / static_cast<double>(kGridPoints - 1); };
    Triple output = table.At({input(red), input(green), input(blue)});
    for (double &value : output)
        value = std::round(value * 255 * 1000) / 1000;
    return output;
}

} // namespace tools
