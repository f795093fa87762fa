#include "conformance/routines.h"

#include "standin/arguments.h"

#include <algorithm>
#include <fmt/format.h>
#include <iterator>

namespace conformance {
namespace {

using standin::Type;

/// All that the judge knows of single routines. A new one that is like others needs no row.
constexpr struct {
    std::string_view routine; ///< the method, or the class
    Special special;
    std::string_view of;
    const char *text = "";
} kSpecials[] = {
    {"ScrollVerticalKVT", Special::ChangesApart, kReceiver},
    {"ScrollHorizontalKVT", Special::ChangesApart, kReceiver},
    {"ScrollKVT", Special::ChangesApart, kReceiver},
    {"ScrollKVT", Special::Steps, "deltaX"},
    {"ScrollKVT", Special::Steps, "deltaY"},
    {"TransformColorsKVT", Special::MayChange, "dest"},
    {"ScrollHorizontalKVT", Special::Answers, kResult, "true"},
    {"CountColorsKVT", Special::Answers, "count", "-1"},
    {"FindPicture", Special::Answers, "x", "0"},
    {"FindPicture", Special::Answers, "y", "0"},
    {"PictureLut3DKVT", Special::Answers, "DestinationPicture", "nil"},
    {"TransformColorsKVT", Special::Raises, kReceiver, "picture is nil"},
    {"TransformColorsKVT", Special::Raises, "red", "red memoryblock is nil"},
    {"TransformColorsKVT", Special::Raises, "green", "green memoryblock is nil"},
    {"TransformColorsKVT", Special::Raises, "blue", "blue memoryblock is nil"},
    {"ReplaceRedChannelKVT", Special::Raises, "RedChannel", "The channel picture is nil."},
    {"ReplaceGreenChannelKVT", Special::Raises, "GreenChannel", "The channel picture is nil."},
    {"ReplaceBlueChannelKVT", Special::Raises, "BlueChannel", "The channel picture is nil."},
    {"RenderSamplesKVT", Special::Raises, "Samples", "memoryblock is nil"},
    {"EmbeddedMaskKVT", Special::YieldsAlpha, kResult},
};

void AddHandleFlaws(std::vector<Flaw> &flaws, std::string_view name, Type type, bool forbids) {
    if (!standin::IsHandle(type))
        return;
    flaws.push_back({Flaw::Nil, std::string(name), forbids});
    if (type == Type::Picture)
        for (const Flaw::What what : {Flaw::Unlockable, Flaw::Refused})
            flaws.push_back({what, std::string(name), forbids});
}

std::vector<Flaw> FlawsOf(const Routine &routine) {
    std::vector<Flaw> flaws;
    if (routine.of == Routine::Picture)
        AddHandleFlaws(flaws, kReceiver, Type::Picture, true);
    if (routine.of == Routine::Class && routine.declaration.result == Type::Boolean)
        AddHandleFlaws(flaws, kSource, Type::Picture, true);
    for (const standin::Parameter &parameter : routine.declaration.parameters) {
        AddHandleFlaws(flaws, parameter.name, parameter.type, !parameter.byref && !parameter.defaultText);
        if (parameter.byref)
            flaws.push_back({Flaw::Nowhere, parameter.name});
    }
    if (routine.declaration.Required() < routine.declaration.parameters.size())
        flaws.push_back({Flaw::Omitted});
    if (routine.assigns)
        AddHandleFlaws(flaws, kAssigned, routine.declaration.result, true);
    return flaws;
}

} // namespace

std::string Routine::Describe() const {
    const std::string &text = of == Life ? "beginning and end" : of == Property ? name : declaration.text;
    return fmt::format("{}{}{}", className.empty() ? "" : className + ".", text, assigns ? " (assigned)" : "");
}

std::vector<Routine> RoutinesOf(const standin::Host &host) {
    std::vector<Routine> routines;
    const auto add = [&](Routine routine) {
        routine.flaws = FlawsOf(routine);
        routines.push_back(std::move(routine));
    };
    const auto addMethods = [&](Routine::Of of, const std::string &className, const auto &methods) {
        for (const standin::RegisteredMethod &method : methods)
            for (const bool assigns : {false, true}) // a declaration that does not parse is none that can be called
                if (!method.declaration.name.empty() && (!assigns || method.record.setter))
                    add({of, className, method.declaration.name, method.declaration, assigns});
    };
    addMethods(Routine::Picture, "", host.PictureMethods());
    addMethods(Routine::Global, "", host.GlobalMethods());
    for (const auto &definition : host.Classes()) {
        add({Routine::Life, definition->name});
        addMethods(Routine::Class, definition->name, definition->methods);
        for (const standin::RegisteredProperty &property : definition->properties)
            for (const bool assigns : {false, true})
                add({Routine::Property, definition->name, property.name, {}, assigns});
    }
    return routines;
}

const char *Documented(const Routine &routine, Special special, std::string_view of) {
    const std::string &name = routine.className.empty() ? routine.name : routine.className;
    const auto *found = std::find_if(std::begin(kSpecials), std::end(kSpecials), [&](const auto &row) {
        return row.routine == name && row.special == special && row.of == of;
    });
    return found == std::end(kSpecials) ? nullptr : found->text;
}

bool ChangesPicture(const Routine &routine, std::string_view of) {
    return (routine.assigns && of == kReceiver) || Documented(routine, Special::ChangesApart, of) ||
           Documented(routine, Special::MayChange, of);
}

const char *AnswerOfFailure(const Routine &routine, std::string_view of) {
    if (const char *documented = Documented(routine, Special::Answers, of))
        return documented;
    if (of != kResult || routine.of == Routine::Property || routine.of == Routine::Life)
        return nullptr;
    switch (routine.declaration.result) {
    case Type::Nothing:
        return nullptr;
    case Type::Boolean:
        return "false";
    case Type::Double:
        return "0 (bits 0)";
    case Type::Integer:
    case Type::UInt32:
    case Type::Color:
        return "0";
    default:
        return "nil";
    }
}

} // namespace conformance
