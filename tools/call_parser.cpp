#include "tools/call_parser.h"

#include "standin/text_reader.h"

#include <algorithm>
#include <fmt/format.h>

namespace tools {
namespace {

using standin::IsSpace;

bool IsDelimiter(char c) { return c == ',' || c == '(' || c == ')' || c == '='; }

class Reader : public standin::TextReader {
  public:
    Reader(std::string_view line, const Declarations &declarations) : TextReader(line), declarations_(declarations) {}

    /// Says what was expected and quotes the word that stands there instead.
    [[noreturn]] void Fail(std::string_view expected) {
        SkipSpaces();
        std::string_view found = TakeWhile([](char c) { return !IsSpace(c) && !IsDelimiter(c); });
        if (found.empty())
            found = rest().substr(0, 1);
        FailAt(found, found.empty() ? fmt::format("expected {} at the end", expected)
                                    : fmt::format("expected {}, not \"{}\"", expected, found));
    }
    /// Moves past names that are none of the interface, each before a dot or a sign of equality.
    void SkipVariables() {
        std::size_t start = at();
        for (auto name = Word(); !name.empty() && !IsDeclared(name) && (Take('.') || Take('=')); name = Word())
            start = at();
        MoveTo(start);
    }
    /// A call whose text begins at `origin`. What is declared behind a dot is the next call.
    Call OneCall(std::size_t origin) {
        Call call;
        call.name = name_ = Demand(Word(), "the name of a method or class");
        if (Take('(') && !Take(')')) {
            do {
                call.arguments.push_back(Value());
            } while (Take(','));
            if (!Take(')'))
                Fail("\",\" or \")\"");
        }
        const std::size_t end = at();
        if (Take('.') && IsDeclared(Word()))
            MoveTo(end);
        else if (MoveTo(end); Take('.'))
            call.member = Demand(Word(), "the name of a member");
        if (Take('='))
            call.assigned = Value();
        call.text = text().substr(origin, at() - origin);
        return call;
    }

  private:
    [[noreturn]] void FailAt(std::string_view part, std::string_view message) const {
        throw CallError(message, text(), part, declarations_(name_));
    }
    bool IsDeclared(std::string_view name) const { return !declarations_(name).empty(); }
    std::string_view Demand(std::string_view taken, std::string_view expected) {
        if (taken.empty())
            Fail(expected);
        return taken;
    }
    /// A value, and the name before it when there is one.
    Argument Value() {
        Argument argument;
        SkipSpaces();
        std::size_t start = at();
        if (const std::string_view name = Word(); !name.empty() && Take('=')) {
            argument.name = name;
            SkipSpaces();
            start = at();
        }
        MoveTo(start);
        if (Take('@'))
            argument.form = Argument::Form::FileBytes;
        else if (rest().starts_with('"'))
            argument.form = Argument::Form::Quoted;
        if (rest().starts_with('"'))
            argument.text = Quoted();
        else
            argument.text =
                Demand(TakeWhile([](char c) { return !IsSpace(c) && !IsDelimiter(c) && c != '"'; }), "a value");
        argument.written = text().substr(start, at() - start);
        return argument;
    }
    std::string Quoted() {
        const std::string_view whole = rest();
        std::string value;
        do {
            MoveTo(at() + 1); // the opening quote, or the second of two
            value += TakeWhile([](char c) { return c != '"'; });
            if (rest().empty())
                FailAt(whole, "a string has no closing double quote");
            MoveTo(at() + 1);
            if (rest().starts_with('"'))
                value += '"';
        } while (rest().starts_with('"'));
        return value;
    }
    const Declarations &declarations_;
    std::string_view name_; ///< of the call that is read, once that is known
};

} // namespace

CallError::CallError(std::string_view message, std::string_view call, std::string_view part, std::string_view note)
    : UserError(fmt::format("{}\n  {}\n  {:>{}}{:^<{}}{}{}", message, call, "", part.data() - call.data(), "",
                            std::max<std::size_t>(part.size(), 1), note.empty() ? "" : "\n", note)) {}

std::vector<Call> ParseCalls(std::string_view line, const Declarations &declarations) {
    std::vector<Call> calls;
    Reader reader(line, declarations);
    reader.SkipVariables();
    do {
        calls.push_back(reader.OneCall(calls.empty() ? 0 : reader.at()));
    } while (reader.Take('.'));
    if (!reader.AtEnd())
        reader.Fail("the end");
    return calls;
}

} // namespace tools
