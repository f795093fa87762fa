#include "standin/declaration.h"

#include "standin/text_reader.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdlib>
#include <fmt/format.h>
#include <iterator>
#include <stdexcept>

namespace standin {
namespace {

/// In the order of the types; the first is none that a declaration names.
constexpr std::string_view kTypeNames[] = {"nothing", "Integer", "UInt32",  "Color",      "Boolean",
                                           "Double",  "String",  "Picture", "MemoryBlock"};

/// Reads a declaration.
class Reader : public TextReader {
  public:
    using TextReader::TextReader;

    [[noreturn]] void Fail(std::string_view expected) const {
        throw std::invalid_argument(
            fmt::format("not a declaration: expected {} at character {} of \"{}\"", expected, at() + 1, text()));
    }
    std::string Name(std::string_view expected) {
        const std::string_view name = Word();
        if (name.empty())
            Fail(expected);
        return std::string(name);
    }
    bool TakeWord(std::string_view wanted) {
        SkipSpaces();
        const std::size_t start = at();
        if (SameName(Word(), wanted))
            return true;
        MoveTo(start);
        return false;
    }
    Type AsType() {
        if (!TakeWord("as"))
            Fail("\"as\"");
        const std::string name = Name("a type");
        for (std::size_t i = 1; i < std::size(kTypeNames); ++i)
            if (SameName(kTypeNames[i], name))
                return static_cast<Type>(i);
        MoveTo(at() - name.size());
        Fail("a known type");
    }
    std::string Default() {
        SkipSpaces();
        const std::size_t start = at();
        std::string value(TakeWhile([](char c) { return c != ',' && c != ')'; }));
        while (!value.empty() && IsSpace(value.back()))
            value.pop_back();
        if (value.empty()) {
            MoveTo(start);
            Fail("a default value");
        }
        return value;
    }
};

Parameter ReadParameter(Reader &reader) {
    Parameter parameter;
    parameter.byref = reader.TakeWord("byref");
    parameter.name = reader.Name("a parameter's name");
    parameter.type = reader.AsType();
    if (reader.Take('='))
        parameter.defaultText = reader.Default();
    return parameter;
}

} // namespace

std::string_view NameOf(Type type) { return kTypeNames[static_cast<std::size_t>(type)]; }

std::size_t Declaration::Required() const {
    return static_cast<std::size_t>(std::count_if(parameters.begin(), parameters.end(),
                                                  [](const Parameter &parameter) { return !parameter.defaultText; }));
}

Declaration ParseDeclaration(std::string_view text) {
    Declaration declaration;
    declaration.text = text;
    Reader reader(text);
    declaration.name = reader.Name("a name");
    if (reader.Take('(') && !reader.Take(')')) {
        do {
            declaration.parameters.push_back(ReadParameter(reader));
        } while (reader.Take(','));
        if (!reader.Take(')'))
            reader.Fail("\",\" or \")\"");
    }
    if (!reader.AtEnd())
        declaration.result = reader.AsType();
    if (!reader.AtEnd())
        reader.Fail("the end");
    return declaration;
}

bool SameName(std::string_view a, std::string_view b) {
    const auto lower = [](char c) { return std::tolower(static_cast<unsigned char>(c)); };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [&](char x, char y) { return lower(x) == lower(y); });
}

std::optional<double> ParseNumber(std::string_view text) {
    if (const std::optional<std::uint32_t> hexadecimal = ParseColor(text))
        return *hexadecimal;
    const std::string copy(text);
    char *end = nullptr;
    const double value = std::strtod(copy.c_str(), &end);
    if (copy.empty() || std::isspace(static_cast<unsigned char>(copy.front())) || *end != '\0')
        return std::nullopt;
    return value;
}

std::optional<std::uint32_t> ParseColor(std::string_view text) {
    if (text.size() < 3 || text.size() > 10 ||
        !(SameName(text.substr(0, 2), "&c") || SameName(text.substr(0, 2), "&h")))
        return std::nullopt;
    std::uint32_t value = 0;
    const char *end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data() + 2, end, value, 16);
    if (parsed.ec != std::errc{} || parsed.ptr != end)
        return std::nullopt;
    return value;
}

} // namespace standin
