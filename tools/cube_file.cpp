#include "tools/cube_file.h"

#include "standin/text_reader.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fmt/format.h>

namespace tools {
namespace {

constexpr std::size_t kLargest = 256;

struct LineReader {
    std::string_view text;
    std::string_view name;
    standin::TextReader line{{}};
    std::size_t number = 0; ///< of the line, from 1

    [[noreturn]] void Fail(std::string_view why) const {
        throw UserError(fmt::format("{}, line {}: {}", name, number, why));
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

} // namespace

Triple CubeTable::At(const Triple &input) const {
    std::size_t lower[3]; // grid point on each axis
    double fraction[3];   // of the way to the next one
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double part = (input[axis] - domainMin[axis]) / (domainMax[axis] - domainMin[axis]);
        const double place = std::clamp(part, 0.0, 1.0) * static_cast<double>(size - 1);
        lower[axis] = std::min(static_cast<std::size_t>(place), size - 2);
        fraction[axis] = place - static_cast<double>(lower[axis]);
    }
    Triple output = {};
    for (std::size_t corner = 0; corner < 8; ++corner) {
        std::size_t at = 0;
        double weight = 1;
        for (std::size_t axis = 3; axis-- > 0;) {
            const std::size_t upper = corner >> axis & 1;
            at = at * size + lower[axis] + upper;
            weight *= upper ? fraction[axis] : 1 - fraction[axis];
        }
        for (std::size_t channel = 0; channel < 3; ++channel)
            output[channel] += weight * entries[at][channel];
    }
    return output;
}

CubeTable ParseCube(std::string_view text, std::string_view name) {
    CubeTable table;
    LineReader reader{text, name};
    while (reader.Next()) {
        const std::string_view word = reader.Word();
        if (word.empty() || word == "TITLE")
            continue;
        if (IsKeyword(word)) {
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

Triple GridEntry(const CubeTable &table, int red, int green, int blue) {
    const auto input = [](int point) { return point / static_cast<double>(kGridPoints - 1); };
    Triple output = table.At({input(red), input(green), input(blue)});
    for (double &value : output)
        value = std::round(value * 255 * 1000) / 1000;
    return output;
}

} // namespace tools
