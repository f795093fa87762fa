#include "tools/call_parser.h"

#include <cstdint>

namespace {

void ExpectInside(std::string_view part, std::string_view text) {
    if (part.data() && (part.data() < text.data() || part.data() + part.size() > text.data() + text.size()))
        __builtin_trap();
}

} // namespace

/// The input is a line of calls: only the documented exception leaves the parser, and what it read lies inside the
/// text.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    try {
        for (const tools::Call &call : tools::ParseCalls(
                 text, [](std::string_view name) { return std::string(name.size() > 2 ? "declared" : ""); })) {
            if (call.name.empty())
                __builtin_trap();
            ExpectInside(call.name, call.text);
            ExpectInside(call.member, call.text);
            for (const tools::Argument &argument : call.arguments) {
                ExpectInside(argument.written, call.text);
                ExpectInside(argument.name, call.text);
            }
            if (call.assigned)
                ExpectInside(call.assigned->written, call.text);
        }
    } catch (const tools::CallError &) {
    }
    return 0;
}
