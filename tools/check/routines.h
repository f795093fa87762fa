#pragma once

#include "standin/host.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Calls of whatever a module registered, with arguments made from the declarations. The same call on another host, of
/// another module, gets the same arguments.
namespace tools::check {

/// A kind of host and how it stores the pictures of a call.
struct Place {
    const char *name;
    standin::Application application = standin::Application::Desktop;
    std::uint32_t alphaInfo = 0;    ///< of bitmaps; 0: as the host makes them
    std::uint32_t newAlphaInfo = 6; ///< of those that the host makes
    bool alphaChannel = false;
    int padding = 0;
    standin::Form form = standin::Form::OfHost;
    double version = 2019.03;
    bool isTypical = false; ///< one of a few that tell most, for what takes long
};

/// Every layout with every other, with and without alpha channel, new hosts and old ones. The first is the ordinary
/// one.
std::span<const Place> Places();

/// A host of that kind, with that module. What it does not say of fresh pixels is the same color in every layout.
standin::HostDescription DescribeHost(const Place &place, const std::string &module);

/// A method, or the assignment to one. A class's is called on an instance whose properties have all been set.
struct Routine {
    enum Of { Picture, Global, Class } of;
    std::string className;
    std::string text; ///< the declaration
    bool assigns = false;

    std::string Describe() const;
};

std::vector<Routine> RoutinesOf(const standin::Host &host);
/// Null when this host did not get to know the routine.
const standin::RegisteredMethod *Find(const standin::Host &host, const Routine &routine);

/// What something of a call is instead of what it should be.
struct Flaw {
    enum What { None, Nil, Unlockable, Refused } what = None; ///< the last two are pictures
    std::string of;                                           ///< a parameter's name, or one of the names below
};
inline constexpr std::string_view kReceiver = "the receiver";
inline constexpr std::string_view kAssigned = "the assigned value";
inline constexpr std::string_view kSource = "SourcePicture"; ///< the property of a class's instance

/// All flaws of calls of that routine because of which it cannot do its work.
std::vector<Flaw> FlawsOf(const standin::RegisteredMethod &method, const Routine &routine);

/// Which arguments a call gets.
struct Case {
    std::size_t round = 0; ///< below kRounds: sizes, numbers and colors
    Flaw flaw = {};
};
inline constexpr std::size_t kRounds = 4;

/// "InvertKVT as picture; 67 x 3 pixels; the receiver is nil; a console host"
std::string Describe(const Routine &routine, const Case &which, const Place &place);

/// Something that a call left for the script to see.
struct Seen {
    std::string what;       ///< "the result", a parameter, a property
    std::string value = {}; ///< as a script would print it; of a picture its size
    int width = 0;
    standin::Layout layout = {};
    std::vector<std::uint32_t> words = {}; ///< of a picture, row after row
};

/// What a call gave. Holds references: ends before its host does.
struct Called {
    standin::Result result;
    std::vector<Seen> seen;
};

/// Nothing when the host has no such routine.
std::optional<Called> Call(standin::Host &host, const Place &place, const Routine &routine, const Case &which);

/// The first thing that differs, in a sentence; empty when nothing does. Pictures of two layouts compare by color.
std::string Difference(const std::vector<Seen> &wanted, const std::vector<Seen> &found);

} // namespace tools::check
