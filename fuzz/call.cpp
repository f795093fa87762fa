#include "tools/call_parser.h"

#include <cstdint>

namespace {

void ExpectInside(const tools::Place &place, std::string_view text) {
    if (place.at > text.size() || place.length > text.size() - place.at)
        __builtin_trap();
}

} // namespace

/// The input is a call: only the documented exception leaves the parser, and what it read lies inside the text.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    try {
        const tools::Call call = tools::ParseCall(text);
        if (call.name.empty())
            __builtin_trap();
        ExpectInside(call.namePlace, text);
        ExpectInside(call.memberPlace, text);
        for (const tools::Argument &argument : call.arguments) {
            ExpectInside(argument.place, text);
            ExpectInside(argument.namePlace, text);
        }
        if (call.assigned)
            ExpectInside(call.assigned->place, text);
    } catch (const tools::CallError &) {
    }
    return 0;
}
