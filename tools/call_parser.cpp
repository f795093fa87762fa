#include "tools/call_parser.h"

#include <algorithm>
#include <cctype>
#include <fmt/format.h>

namespace tools {
namespace {

bool IsSpace(char c) { return std::isspace(static_cast<unsigned char>(c)); }
bool IsNameCharacter(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }

/// Reads a call from left to right.
class Reader {
  public:
    explicit Reader(std::string_view text) : text_(text) {}

    /// Says what was expected and quotes the word that stands there instead.
    [[noreturn]] void Fail(std::string_view expected) {
        SkipSpaces();
        std::size_t end = at_;
        while (end < text_.size() && !IsSpace(text_[end]) && !IsDelimiter(text_[end]))
            ++end;
        if (end == at_ && end < text_.size())
            ++end;
        const std::string_view found = text_.substr(at_, end - at_);
        throw CallError(found.empty() ? fmt::format("expected {} at the end", expected)
                                      : fmt::format("expected {}, not \"{}\"", expected, found),
                        text_, {at_, found.size()});
    }
    void SkipSpaces() {
        while (at_ < text_.size() && IsSpace(text_[at_]))
            ++at_;
    }
    bool AtEnd() {
        SkipSpaces();
        return at_ == text_.size();
    }
    bool Take(char wanted) {
        if (AtEnd() || text_[at_] != wanted)
            return false;
        ++at_;
        return true;
    }
    std::string Name(std::string_view expected, Place &place) {
        SkipSpaces();
        const std::size_t start = at_;
        while (at_ < text_.size() && IsNameCharacter(text_[at_]))
            ++at_;
        if (at_ == start)
            Fail(expected);
        place = {start, at_ - start};
        return std::string(text_.substr(start, at_ - start));
    }
    /// A value, and the name before it when there is one.
    Argument Value() {
        Argument argument;
        argument.name = PropertyName(argument.namePlace);
        SkipSpaces();
        const std::size_t start = at_;
        if (Take('@'))
            argument.form = Argument::Form::FileBytes;
        if (at_ < text_.size() && text_[at_] == '"') {
            if (argument.form == Argument::Form::Bare)
                argument.form = Argument::Form::Quoted;
            argument.text = Quoted();
        } else {
            argument.text = Bare();
        }
        argument.place = {start, at_ - start};
        return argument;
    }

  private:
    static bool IsDelimiter(char c) { return c == ',' || c == '(' || c == ')' || c == '='; }

    /// The name before a sign of equality; empty, and nothing read, when none stands here.
    std::string PropertyName(Place &place) {
        SkipSpaces();
        std::size_t end = at_;
        while (end < text_.size() && IsNameCharacter(text_[end]))
            ++end;
        std::size_t sign = end;
        while (sign < text_.size() && IsSpace(text_[sign]))
            ++sign;
        if (end == at_ || sign == text_.size() || text_[sign] != '=')
            return {};
        place = {at_, end - at_};
        at_ = sign + 1;
        return std::string(text_.substr(place.at, place.length));
    }
    std::string Quoted() {
        const std::size_t start = at_++;
        std::string value;
        for (; at_ < text_.size(); ++at_) {
            if (text_[at_] == '"' && (++at_ == text_.size() || text_[at_] != '"'))
                return value;
            value += text_[at_];
        }
        throw CallError("a string has no closing double quote", text_, {start, text_.size() - start});
    }
    std::string Bare() {
        const std::size_t start = at_;
        while (at_ < text_.size() && !IsSpace(text_[at_]) && !IsDelimiter(text_[at_]) && text_[at_] != '"')
            ++at_;
        if (at_ == start)
            Fail("a value");
        return std::string(text_.substr(start, at_ - start));
    }

    std::string_view text_;
    std::size_t at_ = 0;
};

} // namespace

CallError::CallError(std::string_view message, std::string_view call, Place place, std::string_view note)
    : UserError(fmt::format("{}\n  {}\n  {:>{}}{:^<{}}{}{}", message, call, "", place.at, "",
                            std::max<std::size_t>(place.length, 1), note.empty() ? "" : "\n", note)) {}

std::string_view NameAtStart(std::string_view text) {
    const auto start = std::find_if_not(text.begin(), text.end(), IsSpace);
    return {start, std::find_if_not(start, text.end(), IsNameCharacter)};
}

Call ParseCall(std::string_view text) {
    Call call;
    call.text = text;
    Reader reader(text);
    call.name = reader.Name("the name of a method or class", call.namePlace);
    if (reader.Take('(') && !reader.Take(')')) {
        do {
            call.arguments.push_back(reader.Value());
        } while (reader.Take(','));
        if (!reader.Take(')'))
            reader.Fail("\",\" or \")\"");
    }
    if (reader.Take('.'))
        call.member = reader.Name("the name of a member", call.memberPlace);
    if (reader.Take('='))
        call.assigned = reader.Value();
    if (!reader.AtEnd())
        reader.Fail("the end");
    return call;
}

} // namespace tools
