#pragma once

#include <cctype>
#include <cstddef>
#include <string_view>

namespace standin {

inline bool IsSpace(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }
inline bool IsNameCharacter(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }

/// Reads a text from left to right. The text must outlive it.
class TextReader {
  public:
    explicit TextReader(std::string_view text) : text_(text) {}

    std::string_view text() const { return text_; }
    std::string_view rest() const { return text_.substr(at_); }
    std::size_t at() const { return at_; }
    void MoveTo(std::size_t at) { at_ = at; }

    /// The characters from here on as long as they are wanted.
    template <class Wanted> std::string_view TakeWhile(Wanted wanted) {
        const std::size_t start = at_;
        while (at_ < text_.size() && wanted(text_[at_]))
            ++at_;
        return text_.substr(start, at_ - start);
    }
    void SkipSpaces() { TakeWhile(IsSpace); }

    // These skip spaces first.
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
    /// Letters, digits and underscores; empty when none stands here.
    std::string_view Word() {
        SkipSpaces();
        return TakeWhile(IsNameCharacter);
    }

  private:
    std::string_view text_;
    std::size_t at_ = 0;
};

} // namespace standin
