#include "tools/report.h"

#include "tools/json.h"

#include <fmt/format.h>
#include <iterator>

namespace tools {
namespace {

using standin::Type;

std::string Seconds(std::chrono::nanoseconds time) { return json::Number(std::chrono::duration<double>(time).count()); }

std::string TextOrNull(const std::string &text) { return text.empty() ? "null" : json::Text(text); }

std::string JsonOf(const Answer &answer) {
    return json::Object({{"name", json::Text(answer.name)},
                         {"type", json::Text(standin::NameOf(answer.type))},
                         {"value", answer.json}});
}

std::string JsonOf(const CallReport &call) {
    std::vector<std::string> byref;
    for (const Answer &answer : call.byref)
        byref.push_back(JsonOf(answer));
    return json::Object({{"call", json::Text(call.call)},
                         {"result", call.value ? JsonOf(*call.value) : "null"},
                         {"byref", json::Array(byref)},
                         {"seconds", Seconds(call.time)}});
}

} // namespace

std::string AnswersOf(const ApplyReport &report, const std::string &prefix) {
    std::string lines;
    const auto add = [&](const Answer &answer) {
        if (answer.type != Type::Picture)
            fmt::format_to(std::back_inserter(lines), "{}{} = {}\n", prefix, answer.name, answer.text);
    };
    for (const CallReport &call : report.calls) {
        if (call.value)
            add(*call.value);
        for (const Answer &answer : call.byref)
            add(answer);
    }
    return lines;
}

std::string MessagesOf(const ApplyReport &report, const std::string &prefix) {
    std::string lines;
    const auto add = [&](std::string_view kind, const std::string &text) { // which may name the input itself
        fmt::format_to(std::back_inserter(lines), "kvt: {}{}{}\n", text.starts_with(prefix) ? "" : prefix, kind, text);
    };
    for (const std::string &note : report.notes)
        add("", note);
    for (const std::string &violation : report.violations)
        add("violation: ", violation);
    if (!report.error.empty())
        add("", report.error);
    return lines;
}

std::string JsonOf(const ApplyRequest &request, const ApplyReport &report) {
    std::vector<std::string> blocks;
    for (const std::string &option : request.savedBlocks) {
        const SavedBlock block = ParseSavedBlock(option);
        blocks.push_back(json::Object({{"name", json::Text(block.name)}, {"output", json::Text(block.path)}}));
    }
    std::vector<std::string> calls;
    for (const CallReport &call : report.calls)
        calls.push_back(JsonOf(call));
    const auto texts = [](const std::vector<std::string> &sentences) {
        std::vector<std::string> quoted;
        for (const std::string &sentence : sentences)
            quoted.push_back(json::Text(sentence));
        return json::Array(quoted);
    };
    return json::Object({{"input", TextOrNull(request.input.value_or(""))},
                         {"output", TextOrNull(request.output)},
                         {"blocks", json::Array(blocks)},
                         {"calls", json::Array(calls)},
                         {"seconds", Seconds(report.time)},
                         {"raised", report.raised ? json::Object({{"class", json::Text(report.raised->className)},
                                                                  {"message", json::Text(report.raised->message)}})
                                                  : "null"},
                         {"notes", texts(report.notes)},
                         {"violations", texts(report.violations)},
                         {"error", TextOrNull(report.error)},
                         {"status", fmt::format("{}", static_cast<int>(report.outcome))}});
}

} // namespace tools
