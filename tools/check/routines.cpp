#include "tools/check/routines.h"

#include "standin/arguments.h"
#include "standin/elf_file.h"
#include "tools/files.h"

#include <algorithm>
#include <bit>
#include <elf.h>
#include <fmt/format.h>
#include <iterator>
#include <map>
#include <random>

namespace tools::check {
namespace {

using standin::Application;
using standin::Form;
using standin::Host;
using standin::Parameter;
using standin::Ref;
using standin::RegisteredMethod;
using standin::RegisteredProperty;
using standin::SameName;
using standin::Type;
using standin::Value;

constexpr Place kPlaces[] = {
    {.name = "bitmaps, first byte skipped", .alphaInfo = 6, .newAlphaInfo = 6, .isTypical = true},
    {.name = "bitmaps, premultiplied alpha last", .alphaInfo = 1, .newAlphaInfo = 2},
    {.name = "bitmaps, premultiplied alpha first", .alphaInfo = 2, .newAlphaInfo = 3, .padding = 4},
    {.name = "bitmaps, alpha last", .alphaInfo = 3, .newAlphaInfo = 4},
    {.name = "bitmaps, alpha first", .alphaInfo = 4, .newAlphaInfo = 5, .padding = 12},
    {.name = "bitmaps, last byte skipped", .alphaInfo = 5, .newAlphaInfo = 1},
    {.name = "bitmaps with an alpha channel, last", .alphaInfo = 1, .newAlphaInfo = 1, .alphaChannel = true},
    {.name = "bitmaps with an alpha channel, first",
     .alphaInfo = 2,
     .newAlphaInfo = 2,
     .alphaChannel = true,
     .isTypical = true},
    {.name = "a console host", .application = Application::Console, .isTypical = true},
    {.name = "a console host, alpha channel", .application = Application::Console, .alphaChannel = true},
    {.name = "graphics worlds", .form = Form::GraphicsWorld},
    {.name = "a host before 2012.0", .version = 2011.0, .isTypical = true},
    {.name = "a console host before 2012.0", .application = Application::Console, .version = 2011.0},
};

struct Size {
    int width;
    int height;
};
/// Rows of more than some vectors, of less than one, of a single pixel.
constexpr Size kSizes[kRounds] = {{67, 3}, {5, 4}, {1, 1}, {20, 2}};

/// Numbers that parameters and properties of a name can have. `perSize` counts widths and heights of the picture.
constexpr struct {
    std::string_view name;
    int least;
    int most;
    int perSize = 0; ///< the most grows by this many times the longer side
} kNumbers[] = {
    {"left", -2, 0, 1},  {"top", -2, 2},       {"width", -1, 3, 1},       {"height", -1, 3, 1},  {"delta", 1, 1, 2},
    {"deltaX", 1, 1, 2}, {"deltaY", 1, 1, 2},  {"MinX", -1, 2},           {"MinY", -1, 1},       {"MaxX", -1, 2, 1},
    {"MaxY", -1, 2, 1},  {"threshold", 0, 90}, {"tolerance", 0, 90},      {"Amount", -255, 300}, {"outlinewidth", 0, 3},
    {"Smooth", -2, 4},   {"Bits", 8, 8},       {"SampleCount", 0, 900},   {"r", 0, 15},          {"g", 0, 15},
    {"b", 0, 15},        {"x", 0, 2},          {"Brightness", -100, 100},
};

/// How many entries a class's table, if it has one, is given before a run.
constexpr int kTableEntries = 600;

/// What the operation changes although it is an input: what scripts call it for.
bool ChangesReceiver(const Routine &routine) { return routine.assigns || routine.text.starts_with("Scroll"); }
bool IsChanged(const Parameter &parameter) { return parameter.byref || SameName(parameter.name, "dest"); }

std::string BigEndian(std::size_t number) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes.push_back(static_cast<char>(number >> shift & 255));
    return bytes;
}

const std::vector<RegisteredMethod> *MethodsOf(const Host &host, const Routine &routine) {
    if (routine.of == Routine::Picture)
        return &host.PictureMethods();
    if (routine.of == Routine::Global)
        return &host.GlobalMethods();
    for (const auto &definition : host.Classes())
        if (definition->name == routine.className)
            return &definition->methods;
    return nullptr;
}

/// One call: makes what it needs, calls, and takes down what is to be seen.
class Caller {
  public:
    Caller(Host &host, const Place &place, const Routine &routine, const RegisteredMethod &method, const Case &which)
        : host_(host), place_(place), routine_(routine), method_(method), which_(which), size_(kSizes[which.round]),
          random_(static_cast<unsigned>(1 + which.round)) {}

    Called Run() {
        const standin::Declaration &declaration = method_.declaration;
        Value receiver;
        if (routine_.of == Routine::Picture)
            receiver = MakeReceiver();
        else if (routine_.of == Routine::Class)
            receiver = MakeInstance();
        std::vector<Value> arguments;
        for (const Parameter &parameter : declaration.parameters) {
            arguments.push_back(Make(parameter));
            if (IsChanged(parameter) && arguments.back().Is<Ref>())
                host_.MayChange(arguments.back().AsRef());
        }
        Value assigned;
        if (routine_.assigns)
            assigned = Make({std::string(kAssigned), declaration.result, false, {}});

        Called called;
        called.result = host_.CallRecord(method_, routine_.of == Routine::Global, receiver, arguments,
                                         routine_.assigns ? &assigned : nullptr);
        See("the result", called.result.value);
        for (const auto &[name, value] : called.result.byref)
            See(name, value);
        if (ChangesReceiver(routine_) && routine_.of == Routine::Picture)
            See(std::string(kReceiver), receiver);
        if (routine_.of == Routine::Class)
            for (const RegisteredProperty &property : receiver.AsRef().instance().definition->properties)
                if (IsUsable(property))
                    See(property.name, host_.Get(receiver.AsRef(), property.name));
        if (called.result.raised)
            seen_.push_back({"the exception", called.result.raised->className + ", " + called.result.raised->message});
        called.seen = std::move(seen_);
        return called;
    }

  private:
    int Between(int least, int most) {
        const auto range = static_cast<unsigned>(most - least + 1);
        return least + static_cast<int>(random_() / 8 % range);
    }

    /// A gray, a color that occurs more than once, or any.
    static std::uint32_t NoiseColor(std::minstd_rand &random) {
        constexpr std::uint32_t kFrequent[] = {0x000000, 0xFFFFFF, 0xFF0000, 0x0080FF};
        const auto number = static_cast<std::uint32_t>(random()) >> 3;
        if (number % 4 == 0)
            return kFrequent[number / 4 % std::size(kFrequent)];
        return number % 4 == 1 ? number / 4 % 256 * 0x010101 : number & 0xFFFFFF;
    }

    Ref MakePicture(Flaw::What flaw) {
        standin::PictureDescription wanted{.width = size_.width,
                                           .height = size_.height,
                                           .form = place_.form,
                                           .hasAlphaChannel = place_.alphaChannel,
                                           .alphaInfo = place_.alphaInfo,
                                           .rowPadding = place_.padding};
        if (flaw == Flaw::Unlockable) { // one without alpha channel would be read from a copy
            wanted.hasAlphaChannel = true;
            wanted.lockable = false;
        } else if (flaw == Flaw::Refused) {
            wanted.hasAlphaChannel = false;
            wanted.bitsPerPixel = 24;
            wanted.paletteRows = 1;
        }
        Ref made = host_.Make(wanted);
        standin::Picture &picture = made.picture();
        // In every other round all pictures of a call are alike.
        std::minstd_rand noise(which_.round % 2 == 0 ? 1u : static_cast<unsigned>(random_()));
        for (int y = 0; y < size_.height; ++y)
            for (int x = 0; x < size_.width; ++x) {
                const std::uint32_t color = NoiseColor(noise);
                const auto extra = static_cast<unsigned>(noise() >> 8 & 255);
                picture.SetWord(x, y, standin::WordOf(picture.layout, color, extra));
            }
        return made;
    }

    Value MakeReceiver() {
        const Flaw::What flaw = FlawOf(kReceiver);
        if (flaw == Flaw::Nil)
            return nullptr;
        Ref receiver = MakePicture(flaw);
        if (ChangesReceiver(routine_))
            host_.MayChange(receiver);
        if (which_.round % 2 == 1 && flaw == Flaw::None) {
            const Ref mask = MakePicture(Flaw::None);
            host_.AttachMask(receiver, mask);
            if (ChangesReceiver(routine_))
                host_.MayChange(mask);
        }
        return receiver;
    }

    static bool IsUsable(const RegisteredProperty &property) {
        const bool standard = reinterpret_cast<std::intptr_t>(property.record.getter) == -1;
        return standard ? property.type == Type::Picture || property.type == Type::Integer
                        : property.type == Type::Double;
    }

    Value MakeInstance() {
        const Ref instance = host_.New(routine_.className);
        const standin::RegisteredClass &definition = *instance.instance().definition;
        for (const RegisteredProperty &property : definition.properties)
            if (IsUsable(property))
                host_.Set(instance, property.name, Make({property.name, property.type, false, {}}));
        for (const RegisteredMethod &table : definition.methods)
            for (int entry = 0; table.record.setter && entry < kTableEntries && IsWork(method_); ++entry) {
                std::vector<Value> indices;
                for (const Parameter &parameter : table.declaration.parameters)
                    indices.push_back(Make(parameter));
                const Value value = Make({"level", table.declaration.result, false, {}});
                host_.CallRecord(table, false, instance, indices, &value);
            }
        return instance;
    }

    /// Of a class's methods those that tell whether they could be done.
    static bool IsWork(const RegisteredMethod &method) { return method.declaration.result == Type::Boolean; }

    Flaw::What FlawOf(std::string_view name) const { return which_.flaw.of == name ? which_.flaw.what : Flaw::None; }

    Value Make(const Parameter &parameter) {
        const Flaw::What flaw = FlawOf(parameter.name);
        if (flaw == Flaw::Nil)
            return nullptr;
        switch (parameter.type) {
        case Type::Picture:
            return MakePicture(flaw);
        case Type::MemoryBlock: {
            std::vector<unsigned char> bytes(1024);
            for (unsigned char &byte : bytes)
                byte = static_cast<unsigned char>(Between(0, 255));
            return host_.MakeBlock(bytes.size(), bytes);
        }
        case Type::String:
            return host_.MakeString(ByteString());
        case Type::Boolean:
            return Between(0, 1) == 1;
        case Type::Double: {
            const double part = Between(-100, 250) / 100.0;
            const bool isLevel = parameter.name.starts_with("Brightness") || parameter.name == "level";
            return isLevel ? part * 100 : part;
        }
        case Type::Color:
            return NoiseColor(random_);
        default:
            break;
        }
        if (parameter.byref)
            return Between(-9, 9);
        for (const auto &number : kNumbers)
            if (SameName(parameter.name, number.name))
                return Between(number.least, number.most + number.perSize * std::max(size_.width, size_.height));
        return Between(0, 20);
    }

    /// A picture as a byte string.
    std::string ByteString() {
        const auto width = static_cast<std::size_t>(size_.width);
        const auto height = static_cast<std::size_t>(size_.height);
        constexpr std::size_t kHeader = 40;
        constexpr std::size_t kDepth = 32;
        std::string bytes = "PPIC";
        for (const std::size_t field : {kHeader + width * height * 3, width, height, kDepth, kHeader})
            bytes += BigEndian(field);
        bytes.resize(kHeader);
        for (std::size_t i = 0; i < width * height * 3; ++i)
            bytes.push_back(static_cast<char>(Between(0, 255)));
        return bytes;
    }

    void See(const std::string &what, const Value &value) {
        Seen seen{what, "nil"};
        if (value.Is<Ref>()) {
            seen.value = value.AsRef().object()->Describe();
            SeeObject(seen, *value.AsRef().object());
        } else if (value.Is<double>()) {
            seen.value =
                fmt::format("{} (bits {:x})", value.AsDouble(), std::bit_cast<std::uint64_t>(value.AsDouble()));
        } else if (value.Is<bool>()) {
            seen.value = value.AsBoolean() ? "true" : "false";
        } else if (value.Is<std::int64_t>()) {
            seen.value = fmt::format("{}", value.AsInteger());
        }
        seen_.push_back(std::move(seen));
    }

    static void SeeObject(Seen &seen, const standin::Object &object) {
        if (object.kind == standin::Kind::Picture) {
            const auto &picture = static_cast<const standin::Picture &>(object);
            seen.value = fmt::format("{} x {}", picture.width, picture.height);
            seen.width = picture.width;
            seen.layout = picture.layout;
            for (int y = 0; y < picture.height; ++y)
                for (int x = 0; x < picture.width; ++x)
                    seen.words.push_back(picture.Word(x, y));
        } else if (object.kind == standin::Kind::String) {
            seen.value = static_cast<const standin::Text &>(object).bytes();
        } else if (object.kind == standin::Kind::MemoryBlock) {
            seen.value = AsText(AsBytes(static_cast<const standin::MemoryBlock &>(object)));
        }
    }

    Host &host_;
    const Place &place_;
    const Routine &routine_;
    const RegisteredMethod &method_;
    const Case &which_;
    Size size_;
    std::minstd_rand random_;
    std::vector<Seen> seen_;
};

/// Whether the module has nothing run when it is loaded or unloaded: then its variables are all that tells it from one
/// that was just loaded.
bool RunsNothingByItself(const std::string &module) {
    static std::map<std::string, bool> known; // a file stays as it is
    const auto [found, isNew] = known.try_emplace(module);
    if (isNew) {
        const standin::ElfFile file(ReadBytes(module));
        found->second = file.OwnFunctionsRun(DT_INIT_ARRAYSZ) == 0 && file.OwnFunctionsRun(DT_FINI_ARRAYSZ) == 0;
    }
    return found->second;
}

} // namespace

std::span<const Place> Places() { return kPlaces; }

standin::HostDescription DescribeHost(const Place &place, const std::string &module) {
    return {.application = place.application,
            .version = place.version,
            .newPictureAlphaInfo = place.newAlphaInfo,
            .newAlphaPictureAlphaInfo = place.newAlphaInfo % 2 == 1 ? 1u : 2u,
            .newPicturePadding = place.padding,
            .freshWord = 0x5A5A5A5A,
            .module = module,
            .keepsModule = RunsNothingByItself(module)};
}

std::string Routine::Describe() const {
    return fmt::format("{}{}{}", className.empty() ? "" : className + ".", text, assigns ? " (assigned)" : "");
}

std::vector<Routine> RoutinesOf(const Host &host) {
    std::vector<Routine> routines;
    const auto add = [&](Routine::Of of, const std::string &className, const std::vector<RegisteredMethod> &methods) {
        for (const RegisteredMethod &method : methods) {
            if (method.declaration.name.empty())
                continue; // a declaration that nobody can call
            routines.push_back({of, className, method.declaration.text});
            if (method.record.setter)
                routines.push_back({of, className, method.declaration.text, true});
        }
    };
    add(Routine::Picture, "", host.PictureMethods());
    add(Routine::Global, "", host.GlobalMethods());
    for (const auto &definition : host.Classes())
        add(Routine::Class, definition->name, definition->methods);
    return routines;
}

const RegisteredMethod *Find(const Host &host, const Routine &routine) {
    const std::vector<RegisteredMethod> *methods = MethodsOf(host, routine);
    if (!methods)
        return nullptr;
    const auto found = std::find_if(methods->begin(), methods->end(), [&](const RegisteredMethod &method) {
        return method.declaration.text == routine.text;
    });
    return found == methods->end() ? nullptr : &*found;
}

std::vector<Flaw> FlawsOf(const RegisteredMethod &method, const Routine &routine) {
    std::vector<Flaw> flaws;
    const auto add = [&](std::string_view name, Type type) {
        if (!standin::IsHandle(type))
            return;
        flaws.push_back({Flaw::Nil, std::string(name)});
        if (type == Type::Picture)
            for (const Flaw::What what : {Flaw::Unlockable, Flaw::Refused})
                flaws.push_back({what, std::string(name)});
    };
    if (routine.of == Routine::Picture)
        add(kReceiver, Type::Picture);
    if (routine.of == Routine::Class && method.declaration.result == Type::Boolean)
        add(kSource, Type::Picture);
    for (const Parameter &parameter : method.declaration.parameters)
        if (!parameter.byref && !parameter.defaultText) // those are welcome as nil
            add(parameter.name, parameter.type);
    if (routine.assigns)
        add(kAssigned, method.declaration.result);
    return flaws;
}

std::string Describe(const Routine &routine, const Case &which, const Place &place) {
    constexpr const char *kFlaws[] = {"", "is nil", "cannot be locked", "is no picture that can be read"};
    const Size size = kSizes[which.round];
    const std::string flaw =
        which.flaw.what == Flaw::None ? "" : fmt::format("; {} {}", which.flaw.of, kFlaws[which.flaw.what]);
    return fmt::format("{}; {} x {} pixels{}; {}", routine.Describe(), size.width, size.height, flaw, place.name);
}

std::optional<Called> Call(Host &host, const Place &place, const Routine &routine, const Case &which) {
    const RegisteredMethod *method = Find(host, routine);
    if (!method)
        return std::nullopt;
    return Caller(host, place, routine, *method, which).Run();
}

std::string Difference(const std::vector<Seen> &wanted, const std::vector<Seen> &found) {
    for (std::size_t i = 0; i < std::max(wanted.size(), found.size()); ++i) {
        if (i >= wanted.size() || i >= found.size())
            return fmt::format("{} is there but once", (i < wanted.size() ? wanted : found)[i].what);
        const Seen &a = wanted[i];
        const Seen &b = found[i];
        if (a.what != b.what || a.value != b.value) {
            const auto text = [](const Seen &seen) {
                const bool printable =
                    seen.value.size() < 60 &&
                    std::all_of(seen.value.begin(), seen.value.end(), [](char c) { return c >= ' ' && c <= '~'; });
                return printable ? seen.value : fmt::format("other bytes ({})", seen.value.size());
            };
            return fmt::format("{} is {}, not {}", b.what, text(b), text(a));
        }
        const auto shown = [&](const Seen &seen, std::size_t at) {
            return a.layout == b.layout ? seen.words[at] : standin::ColorOf(seen.layout, seen.words[at]);
        };
        for (std::size_t at = 0; at < a.words.size(); ++at)
            if (shown(a, at) != shown(b, at))
                return fmt::format("{} at ({}, {}) is 0x{:X}, not 0x{:X}", b.what,
                                   at % static_cast<std::size_t>(a.width), at / static_cast<std::size_t>(a.width),
                                   shown(b, at), shown(a, at));
    }
    return "";
}

} // namespace tools::check
