#pragma once

#include "conformance/choices.h"
#include "conformance/routines.h"
#include "standin/host.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace conformance {

/// How a host stores the pictures that a call is given.
struct Storage {
    const char *name;
    standin::Form form = standin::Form::OfHost;
    bool alphaChannel = false;
    std::uint32_t alphaInfo = 0;    ///< of bitmaps; 0: as the host makes them
    std::uint32_t newAlphaInfo = 6; ///< of bitmaps that the host makes
    int padding = 0;
    std::vector<const char *> missing = {}; ///< entries without which the module comes to these pictures
    const char *needs = "";                 ///< what declarations have for which this makes a difference
    bool isBitmaps = false;                 ///< nothing that consoles have
    bool isSwept = false;                   ///< tried with all faults
};

/// Something that a call left for the script to see.
struct Seen {
    std::string what;       ///< kResult, a parameter, a property
    std::string value = {}; ///< as a script would print it; of a picture its size, of bytes themselves
    int width = 0;
    standin::Layout layout = {};
    std::vector<std::uint32_t> words = {}; ///< of a picture, row after row
};

/// What a call gave.
struct Called {
    std::vector<Seen> seen;                          ///< the result and variables
    std::vector<std::pair<Seen, Seen>> changes = {}; ///< what the routine may change, before and after
    std::optional<standin::RaisedException> raised = {};
    std::string problem = {}; ///< that shows in the result alone
};

/// The first thing that differs, in a sentence; empty when nothing does. Pictures of two layouts compare by color.
std::string Difference(const Seen &wanted, const Seen &found);
std::string Difference(const Called &wanted, const Called &found);

/// Sizes of pictures, and more, in which rounds of calls differ. Round 1 is the one of calls with a flaw or fault.
inline constexpr int kRounds = 5;
std::string DescribeRound(int round); ///< "67 x 3 pixels"

/// Calls routines of one host with arguments that are made from the declarations. It holds references, so it ends
/// before its host does.
class Caller {
  public:
    /// For calls as people make them: the same choices yield the same arguments on any host.
    Caller(standin::Host &host, Choices choices, const Storage &storage, int round);
    /// For scripts that do anything: pictures of all forms and broken ones, any numbers, nil, and objects that meet
    /// again in later calls.
    Caller(standin::Host &host, Choices choices);

    /// Nothing when the host did not get to know the routine.
    std::optional<Called> Call(const Routine &routine, const Flaw &flaw = {});

    Choices &choices() { return choices_; }

  private:
    bool Rarely() { return isWild_ && choices_.OneIn(16); }
    Flaw::What FlawOf(std::string_view name) const { return flaw_.of == name ? flaw_.what : Flaw::None; }

    int Width();
    int Height();
    standin::Ref MakePicture(Flaw::What flaw);
    void Break(standin::PictureDescription &wanted);
    standin::Value Picture(Flaw::What flaw);
    standin::Value Receiver(const Routine &routine);
    standin::Ref Instance(const Routine &routine);
    standin::Value Block();
    std::string ByteString();
    int Integer(const standin::Parameter &parameter, bool isGlobal);
    double Number(const standin::Parameter &parameter);
    standin::Value Argument(const standin::Parameter &parameter, bool isGlobal = false);
    void CallMethod(const Routine &routine, const standin::RegisteredMethod &method, const standin::Value &receiver);
    void Watch(std::string_view what, const standin::Value &object);

    standin::Host &host_;
    Choices choices_;
    const Storage &storage_;
    bool isWild_;
    int width_;
    int height_;
    bool hasMasks_; ///< and each picture of a call is another one
    bool isSteady_; ///< booleans are what leads a routine furthest
    Flaw flaw_ = {};
    Called called_ = {};
    std::vector<std::pair<std::size_t, standin::Value>> watched_ = {}; ///< by their place among the changes
    std::vector<standin::Ref> pictures_ = {};                          ///< that scripts hold, as the next
    std::vector<standin::Ref> blocks_ = {};
    std::vector<standin::Ref> instances_ = {};
};

} // namespace conformance
