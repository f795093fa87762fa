#include "tools/call_parser.h"

#include "standin/declaration.h"
#include "standin/text_reader.h"

#include <algorithm>
#include <fmt/format.h>

namespace tools {
namespace {

using standin::IsSpace;

bool IsDelimiter(char c) { return c == ',' || c == '(' || c == ')' || c == '='; }

/// Reads a call.
class Reader : public standin::TextReader {
  public:
    using TextReader::TextReader;

    /// Says what was expected and quotes the word that stands there instead.
    [[noreturn]] void Fail(std::string_view expected) {
        SkipSpaces();
        const std::size_t start = at();
        std::string_view found = TakeWhile([](char c) { return !IsSpace(c) && !IsDelimiter(c); });
        if (found.empty())
            found = rest().substr(0, 1);
        throw CallError(found.empty() ? fmt::format("expected {} at the end", expected)
                                      : fmt::format("expected {}, not \"{}\"", expected, found),
                        text(), {start, found.size()});
    }
    /// Moves past names that are none of the interface, each before a dot or a sign of equality, and past "Dim x As
    /// Picture =" and "Var x =".
    void SkipVariables(const IsDeclared &isDeclared) {
        for (std::size_t start = at();; start = at()) {
            const std::string_view name = Word();
            if (standin::SameName(name, "dim") || standin::SameName(name, "var")) {
                Word();
                if (const std::size_t end = at(); standin::SameName(Word(), "as"))
                    Word();
                else
                    MoveTo(end);
            }
            if (name.empty() || isDeclared(name) || !(Take('.') || Take('='))) {
                MoveTo(start);
                return;
            }
        }
    }
    /// A call whose text begins at `origin`. What is declared behind a dot is the next call.
    Call OneCall(std::size_t origin, const IsDeclared &isDeclared) {
        origin_ = origin;
        Call call;
        call.name = Name("the name of a method or class", call.namePlace);
        if (Take('(') && !Take(')')) {
            do {
                call.arguments.push_back(Value());
            } while (Take(','));
            if (!Take(')'))
                Fail("\",\" or \")\"");
        }
        const std::size_t end = at();
        if (Take('.') && isDeclared && isDeclared(Word())) {
            MoveTo(end);
        } else if (MoveTo(end); Take('.')) {
            call.member = Name("the name of a member", call.memberPlace);
        }
        if (Take('='))
            call.assigned = Value();
        call.text = text().substr(origin, at() - origin);
        return call;
    }
    void ExpectEnd() {
        if (!AtEnd())
            Fail("the end");
    }

  private:
    Place From(std::size_t start) const { return {start - origin_, at() - start}; }
    std::string Name(std::string_view expected, Place &place) {
        const std::string_view name = Word();
        if (name.empty())
            Fail(expected);
        place = From(at() - name.size());
        return std::string(name);
    }
    /// A value, and the name before it when there is one.
    Argument Value() {
        Argument argument;
        argument.name = PropertyName(argument.namePlace);
        SkipSpaces();
        const std::size_t start = at();
        if (Take('@'))
            argument.form = Argument::Form::FileBytes;
        if (rest().starts_with('"')) {
            if (argument.form == Argument::Form::Bare)
                argument.form = Argument::Form::Quoted;
            argument.text = Quoted();
        } else {
            argument.text = Bare();
        }
        argument.place = From(start);
        return argument;
    }
    /// The name before a sign of equality; empty, and nothing read, when none stands here.
    std::string PropertyName(Place &place) {
        const std::size_t start = at();
        const std::string_view name = Word();
        const std::size_t end = at();
        if (name.empty() || !Take('=')) {
            MoveTo(start);
            return {};
        }
        place = {end - name.size() - origin_, name.size()};
        return std::string(name);
    }
    std::string Quoted() {
        const std::size_t start = at();
        std::string value;
        do {
            MoveTo(at() + 1); // the opening quote, or the second of two
            value += TakeWhile([](char c) { return c != '"'; });
            if (rest().empty())
                throw CallError("a string has no closing double quote", text(), {start, text().size() - start});
            MoveTo(at() + 1);
            if (rest().starts_with('"'))
                value += '"';
        } while (rest().starts_with('"'));
        return value;
    }
    std::string Bare() {
        const std::string_view word = TakeWhile([](char c) { return !IsSpace(c) && !IsDelimiter(c) && c != '"'; });
        if (word.empty())
            Fail("a value");
        return std::string(word);
    }

    std::size_t origin_ = 0; ///< of the call that is read
};

} // namespace

CallError::CallError(std::string_view message, std::string_view call, Place place, std::string_view note)
    : UserError(fmt::format("{}\n  {}\n  {:>{}}{:^<{}}{}{}", message, call, "", place.at, "",
                            std::max<std::size_t>(place.length, 1), note.empty() ? "" : "\n", note)) {}

std::string_view NameAtStart(std::string_view text, const IsDeclared &isDeclared) {
    Reader reader(text);
    reader.SkipVariables(isDeclared);
    return reader.Word();
}

std::vector<Call> ParseCalls(std::string_view text, const IsDeclared &isDeclared) {
    std::vector<Call> calls;
    Reader reader(text);
    reader.SkipVariables(isDeclared);
    do {
        calls.push_back(reader.OneCall(calls.empty() ? 0 : reader.at(), isDeclared));
    } while (reader.Take('.'));
    reader.ExpectEnd();
    return calls;
}

Call ParseCall(std::string_view text) {
    Reader reader(text);
    Call call = reader.OneCall(0, {});
    reader.ExpectEnd();
    return call;
}

} // namespace tools
