#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace standin {

/// The types of the interface, by what is passed for them.
enum class Type {
    Nothing,
    Integer,     ///< 32-bit signed
    UInt32,      ///< 32-bit unsigned
    Color,       ///< 32-bit unsigned, 0x00RRGGBB
    Boolean,     ///< 8-bit, passed as signed char, returned as unsigned char
    Double,      ///< 64-bit
    String,      ///< a handle, as the next two
    Picture,     ///< may be nil
    MemoryBlock, ///< may be nil
};

std::string_view NameOf(Type type);

struct Parameter {
    std::string name;
    Type type = Type::Integer;
    bool byref = false;
    std::optional<std::string> defaultText; ///< as declared: a number, &cRRGGBB, true, false, nil
};

/// A method as it is declared to scripts: "Name(a as type, byref b as type = default, ...) as type".
struct Declaration {
    std::string text; ///< as registered
    std::string name;
    std::vector<Parameter> parameters;
    Type result = Type::Nothing;

    std::size_t Required() const; ///< how many arguments a call must give at the least
};

/// Throws std::invalid_argument, with the text and the place, for anything that is no declaration.
Declaration ParseDeclaration(std::string_view text);

/// Letters compare without case, as scripts do.
bool SameName(std::string_view a, std::string_view b);

/// A number, &cRRGGBB (also &h hexadecimal) as declared defaults and scripts write it; nothing when it is none.
std::optional<double> ParseNumber(std::string_view text);
std::optional<std::uint32_t> ParseColor(std::string_view text);

} // namespace standin
