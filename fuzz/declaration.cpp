#include "standin/declaration.h"

#include <stdexcept>

/// The input is a declaration, a number or a color: only the documented exception leaves the parser.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    standin::ParseNumber(text);
    standin::ParseColor(text);
    try {
        const standin::Declaration declaration = standin::ParseDeclaration(text);
        if (declaration.text != text || declaration.name.empty() ||
            declaration.Required() > declaration.parameters.size())
            __builtin_trap();
    } catch (const std::invalid_argument &) {
    }
    return 0;
}
