#include "tools/call_parser.h"

#include <cstdint>

namespace {

void ExpectInside(const tools::Place &place, std::string_view text) {
    if (place.at > text.size() || place.length > text.size() - place.at)
        __builtin_trap();
}

} // namespace

/// The input is a line of calls: only the documented exception leaves the parser, and what it read lies inside the
/// text.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    try {
        for (const tools::Call &call : tools::ParseCalls(text, [](std::string_view name) { return name.size() > 2; })) {
            if (call.name.empty())
                __builtin_trap();
            ExpectInside(call.namePlace, call.text);
            ExpectInside(call.memberPlace, call.text);
            for (const tools::Argument &argument : call.arguments) {
                ExpectInside(argument.place, call.text);
                ExpectInside(argument.namePlace, call.text);
            }
            if (call.assigned)
                ExpectInside(call.assigned->place, call.text);
        }
    } catch (const tools::CallError &) {
    }
    return 0;
}
