#pragma once

#include "standin/host.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// What a module registered for scripts to call, and what is documented of it beyond its declarations.
namespace conformance {

// Names for what is no parameter or property.
inline constexpr std::string_view kResult = "the result";
inline constexpr std::string_view kReceiver = "the receiver";
inline constexpr std::string_view kMask = "the receiver's mask";
inline constexpr std::string_view kAssigned = "the assigned value";
inline constexpr std::string_view kSource = "SourcePicture"; ///< the property that a class works on

/// What something of a call is instead of what it should be.
struct Flaw {
    enum What {
        None,
        Nil,
        Unlockable, ///< a picture, as the next
        Refused,    ///< in a form that nobody can read
        Nowhere,    ///< a variable's address that is null
        Omitted,    ///< all arguments with defaults
        Zero,       ///< a number, all else as ever
    };
    What what = None;
    std::string of = {};  ///< a parameter's name, or one of those above
    bool forbids = false; ///< the routine cannot do its work
};

/// Something of a module that scripts can use.
struct Routine {
    enum Of { Picture, Global, Class, Life, Property };
    Of of = Picture;
    std::string className = {};            ///< of the last three
    std::string name = {};                 ///< of the method or property
    standin::Declaration declaration = {}; ///< of a method
    bool assigns = false;                  ///< the setter, not the function or getter
    std::vector<Flaw> flaws = {};          ///< all that a call can have

    std::string Describe() const; ///< "InvertKVT as picture", "PictureSepiaKVT.MinX (assigned)"
};

/// Methods, assignments to them, instances' beginning and end, properties, assigned and read.
std::vector<Routine> RoutinesOf(const standin::Host &host);

/// Where a routine differs from what holds for all others.
enum class Special {
    ChangesApart, ///< changes a picture and its mask, of which either can fail alone, whatever the result says
    Steps,        ///< likewise, in steps, of which this is left out when that parameter is 0
    MayChange,    ///< changes a picture; or yields a new one, when the result does not fit
    Answers,      ///< with this when it cannot be done; others with nil, false or 0
    Raises,       ///< a nil object exception of this message when it is nil; others answer nil quietly
    YieldsAlpha,  ///< which layouts hold in their own ways; others yield the same colors in all layouts
};

/// The text that is documented, or an empty one; null when the routine is like others.
const char *Documented(const Routine &routine, Special special, std::string_view of);

bool ChangesPicture(const Routine &routine, std::string_view of);

/// As Seen shows it; null when anything may be there.
const char *AnswerOfFailure(const Routine &routine, std::string_view of);

} // namespace conformance
