#include "tools/json.h"

#include <cmath>
#include <fmt/format.h>

namespace tools::json {
namespace {

/// Bytes of the UTF-8 character that the text begins with; 0 when it begins with none.
std::size_t CharacterLength(std::string_view text) {
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(text[at]); };
    const unsigned first = byte(0);
    if (first < 0x80)
        return 1;
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < length)
        return 0;
    for (std::size_t at = 1; at < length; ++at)
        if (byte(at) >> 6 != 2)
            return 0;
    const unsigned second = byte(1);
    const bool overlong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
    const bool outside = (first == 0xED && second > 0x9F) || (first == 0xF4 && second > 0x8F);
    return overlong || outside ? 0 : length;
}

} // namespace

std::string Text(std::string_view text) {
    std::string quoted = "\"";
    while (!text.empty()) {
        const std::size_t length = CharacterLength(text);
        const char first = text.front();
        if (length == 0)
            quoted += "\\ufffd";
        else if (first == '"' || first == '\\')
            quoted += {'\\', first};
        else if (first == '\n')
            quoted += "\\n";
        else if (length == 1 && static_cast<unsigned char>(first) < 0x20)
            quoted += fmt::format("\\u{:04x}", static_cast<unsigned>(first));
        else
            quoted += text.substr(0, length);
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return quoted + '"';
}

std::string Number(double number) { return std::isfinite(number) ? fmt::format("{}", number) : "null"; }

std::string Boolean(bool value) { return value ? "true" : "false"; }

std::string Object(std::initializer_list<std::pair<std::string_view, std::string>> members) {
    std::string object;
    for (const auto &[name, value] : members)
        object += fmt::format("{}{}: {}", object.empty() ? "" : ", ", Text(name), value);
    return "{" + object + "}";
}

std::string Array(const std::vector<std::string> &values) { return fmt::format("[{}]", fmt::join(values, ", ")); }

} // namespace tools::json
