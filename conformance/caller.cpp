#include "conformance/caller.h"

#include "standin/arguments.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <fmt/format.h>
#include <limits>

namespace conformance {
namespace {

using standin::Form;
using standin::Parameter;
using standin::PictureDescription;
using standin::Ref;
using standin::RegisteredClass;
using standin::RegisteredMethod;
using standin::RegisteredProperty;
using standin::SameName;
using standin::Type;
using standin::Value;

const Storage kAnyStorage = {"anything"};

/// Rows of more than some vectors, of less than one, of a single pixel.
constexpr struct {
    int width;
    int height;
    bool hasMasks;
} kRoundsOfCalls[kRounds] = {{67, 3, false}, {5, 4, true}, {1, 1, false}, {20, 2, true}, {133, 5, true}};

constexpr int kLargest = 40; ///< width of a script's pictures

/// Numbers that parameters and properties of a name can have. `perSize` counts widths and heights of the picture.
constexpr struct {
    std::string_view name;
    int least;
    int most;
    int perSize = 0; ///< the most grows by this many times the longer side
} kNumbers[] = {
    {"left", -2, 0, 1},  {"top", -2, 2},       {"width", -1, 3, 1},       {"height", -1, 3, 1},  {"delta", 1, 1, 2},
    {"deltaX", 1, 1, 2}, {"deltaY", 1, 1, 2},  {"MinX", -1, 2},           {"MinY", -1, 1},       {"MaxX", -1, 2, 1},
    {"MaxY", -1, 2, 1},  {"threshold", 0, 90}, {"tolerance", 0, 90},      {"Amount", -255, 300}, {"outlinewidth", 1, 3},
    {"Smooth", -2, 4},   {"Bits", 8, 8},       {"SampleCount", 0, 900},   {"r", 0, 15},          {"g", 0, 15},
    {"b", 0, 15},        {"x", 0, 2},          {"Brightness", -100, 100},
};

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kDoubleTurns[] = {0.0,          -0.0,          1.0,    -1.0,
                                   0.5,          255.0,         -255.0, 254.5,
                                   2147483647.0, -2147483649.0, 1e300,  -1e300,
                                   kInfinity,    -kInfinity,    5e-324, std::numeric_limits<double>::quiet_NaN()};

constexpr int kTableEntries = 100; ///< that a class's table, if it has one, is given before it works

/// A gray, a color that occurs more than once, or any.
std::uint32_t NoiseColor(Choices &choices) {
    constexpr std::uint32_t kFrequent[] = {0x000000, 0xFFFFFF, 0xFF0000, 0x0080FF};
    const std::uint32_t word = choices.Word();
    if (word >> 30 == 0)
        return kFrequent[word % std::size(kFrequent)];
    return word >> 30 == 1 ? word % 256 * 0x010101 : word & 0xFFFFFF;
}

/// Whether its value can be set before a call and seen after it.
bool IsUsable(const RegisteredProperty &property) {
    return property.UsesStandardAccess() ? property.type == Type::Picture || property.type == Type::Integer
                                         : property.type == Type::Double;
}

const RegisteredMethod *MethodOf(const std::vector<RegisteredMethod> &methods, const Routine &routine) {
    const auto found = std::find_if(methods.begin(), methods.end(), [&](const RegisteredMethod &method) {
        return method.declaration.text == routine.declaration.text;
    });
    return found == methods.end() ? nullptr : &*found;
}

const RegisteredClass *ClassOf(const standin::Host &host, const std::string &name) {
    for (const auto &definition : host.Classes())
        if (definition->name == name)
            return definition.get();
    return nullptr;
}

Seen See(std::string_view what, const Value &value) {
    Seen seen{std::string(what), "nil"};
    if (value.Is<double>())
        seen.value = fmt::format("{} (bits {:x})", value.AsDouble(), std::bit_cast<std::uint64_t>(value.AsDouble()));
    else if (value.Is<bool>())
        seen.value = value.AsBoolean() ? "true" : "false";
    else if (value.Is<std::int64_t>())
        seen.value = fmt::format("{}", value.AsInteger());
    if (!value.Is<Ref>())
        return seen;
    const standin::Object &object = *value.AsRef().object();
    seen.value = object.Describe();
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
        const auto &memory = static_cast<const standin::MemoryBlock &>(object).memory;
        seen.value.assign(memory.data(), memory.data() + memory.size());
    }
    return seen;
}

std::string Printable(const std::string &value) {
    const bool isShown =
        value.size() < 60 && std::all_of(value.begin(), value.end(), [](char c) { return c >= ' ' && c <= '~'; });
    return isShown ? value : fmt::format("other bytes ({})", value.size());
}

} // namespace

std::string DescribeRound(int round) {
    return fmt::format("{} x {} pixels", kRoundsOfCalls[round].width, kRoundsOfCalls[round].height);
}

std::string Difference(const Seen &wanted, const Seen &found) {
    if (wanted.value != found.value)
        return fmt::format("{} is {}, not {}", found.what, Printable(found.value), Printable(wanted.value));
    const auto shown = [&](const Seen &seen, std::size_t at) {
        return wanted.layout == found.layout ? seen.words[at] : standin::ColorOf(seen.layout, seen.words[at]);
    };
    for (std::size_t at = 0; at < wanted.words.size(); ++at)
        if (shown(wanted, at) != shown(found, at))
            return fmt::format("{} at ({}, {}) is 0x{:X}, not 0x{:X}", found.what,
                               at % static_cast<std::size_t>(wanted.width), at / static_cast<std::size_t>(wanted.width),
                               shown(found, at), shown(wanted, at));
    return "";
}

std::string Difference(const Called &wanted, const Called &found) {
    if (wanted.seen.size() != found.seen.size() || wanted.changes.size() != found.changes.size())
        return "other things can be seen";
    std::string difference;
    for (std::size_t i = 0; i < wanted.seen.size() && difference.empty(); ++i)
        difference = Difference(wanted.seen[i], found.seen[i]);
    for (std::size_t i = 0; i < wanted.changes.size() && difference.empty(); ++i)
        difference = Difference(wanted.changes[i].second, found.changes[i].second);
    return difference.empty() && wanted.raised != found.raised ? "the exception is another one" : difference;
}

Caller::Caller(standin::Host &host, Choices choices, const Storage &storage, int round)
    : host_(host), choices_(choices), storage_(storage), isWild_(false), width_(kRoundsOfCalls[round].width),
      height_(kRoundsOfCalls[round].height), hasMasks_(kRoundsOfCalls[round].hasMasks), isSteady_(round == 1) {}

Caller::Caller(standin::Host &host, Choices choices)
    : host_(host), choices_(choices), storage_(kAnyStorage), isWild_(true), width_(Width()), height_(Height()),
      hasMasks_(false), isSteady_(false) {}

// An input of the fuzzer that ends early gives the least of every range, which is to mean ordinary pictures.
int Caller::Width() { return kLargest - choices_.Between(0, kLargest); }
int Caller::Height() { return (kLargest - choices_.Between(0, kLargest)) / 2; }

Ref Caller::MakePicture(Flaw::What flaw) {
    PictureDescription wanted{.width = width_,
                              .height = height_,
                              .form = storage_.form,
                              .hasAlphaChannel = storage_.alphaChannel,
                              .alphaInfo = storage_.alphaInfo,
                              .rowPadding = storage_.padding};
    std::vector<std::uint32_t> palette; // of few words, for pictures to be found in one another, gray or of one color
    if (isWild_) {
        constexpr Form kForms[] = {Form::OfHost, Form::OfHost, Form::Bitmap, Form::Console, Form::GraphicsWorld};
        if (choices_.OneIn(3)) {
            wanted.width = Width();
            wanted.height = Height();
        }
        wanted.form = choices_.Of(kForms);
        wanted.hasAlphaChannel = choices_.OneIn(2);
        wanted.alphaInfo = static_cast<std::uint32_t>(choices_.Between(0, 7));
        wanted.rowPadding = 4 * choices_.Between(0, 3);
        wanted.lockable = !Rarely();
        for (int left = choices_.Between(1, 4); left > 0; --left)
            palette.push_back(choices_.OneIn(2) ? choices_.Word() : choices_.Word() % 256 * 0x01010101u);
        wanted.word = [palette](int x, int y) {
            return palette[static_cast<unsigned>(x * 7 + y * 3 + x * y) / 4 % palette.size()];
        };
        if (Rarely())
            Break(wanted);
    } else if (flaw == Flaw::Unlockable) { // one without alpha channel would be read from a copy
        wanted.hasAlphaChannel = true;
        wanted.lockable = false;
    } else if (flaw == Flaw::Refused) {
        wanted.hasAlphaChannel = false;
        wanted.bitsPerPixel = 24;
        wanted.paletteRows = 1;
    }
    Ref made = host_.Make(wanted);
    if (!isWild_) {
        Choices noise(hasMasks_ ? choices_.Word() : 1);
        for (int y = 0; y < height_; ++y)
            for (int x = 0; x < width_; ++x) {
                const std::uint32_t color = NoiseColor(noise);
                made.picture().SetWord(x, y, standin::WordOf(made.picture().layout, color, noise.Word() % 256));
            }
    }
    return made;
}

/// What only a broken host offers; never more memory than there is.
void Caller::Break(PictureDescription &wanted) {
    constexpr std::size_t kDepths[] = {0, 1, 8, 24, 64};
    constexpr std::uint32_t kTypes[] = {0, 3, 99, 0xFFFFFFFF};
    switch (choices_.Between(0, 6)) {
    case 0:
        wanted.bitsPerPixel = choices_.Of(kDepths);
        break;
    case 1:
        wanted.describedType = choices_.Of(kTypes);
        break;
    case 2:
        wanted.withoutData = true;
        break;
    case 3:
        wanted.withoutPixels = true;
        break;
    case 4:
        wanted.nullRow = choices_.Between(0, kLargest / 2);
        break;
    case 5:
        wanted.paletteRows = choices_.Word();
        wanted.trueColor = static_cast<std::uint32_t>(choices_.Between(0, 2));
        break;
    default:
        if (wanted.width > 0)
            wanted.bytesPerRow = static_cast<std::size_t>(choices_.Between(0, wanted.width * 4 - 1));
    }
}

Value Caller::Picture(Flaw::What flaw) {
    if (!isWild_)
        return MakePicture(flaw);
    if (!pictures_.empty() && choices_.OneIn(2))
        return choices_.Of(pictures_);
    pictures_.push_back(MakePicture(flaw));
    if (choices_.OneIn(4))
        host_.AttachMask(pictures_.back(), MakePicture(Flaw::None));
    return pictures_.back();
}

Value Caller::Receiver(const Routine &routine) {
    const Flaw::What flaw = FlawOf(kReceiver);
    if (flaw == Flaw::Nil || Rarely())
        return nullptr;
    Value receiver = Picture(flaw);
    if (hasMasks_ && flaw == Flaw::None)
        host_.AttachMask(receiver.AsRef(), MakePicture(Flaw::None));
    if (ChangesPicture(routine, kReceiver)) {
        Watch(kReceiver, receiver);
        if (standin::Picture *mask = receiver.AsPicture().mask)
            Watch(kMask, Ref(mask));
    }
    return receiver;
}

Ref Caller::Instance(const Routine &routine) {
    for (const Ref &instance : instances_)
        if (instance.instance().definition->name == routine.className && !Rarely())
            return instance;
    Ref instance = host_.New(routine.className);
    const RegisteredClass &definition = *instance.instance().definition;
    for (const RegisteredProperty &property : definition.properties)
        if (IsUsable(property) && (!isWild_ || property.type == Type::Picture))
            host_.Set(instance, property.name, Argument({property.name, property.type, false, {}}));
    const bool isWork = routine.of == Routine::Class && routine.declaration.result == Type::Boolean;
    for (const RegisteredMethod &table : definition.methods)
        for (int entry = 0; table.record.setter && entry < kTableEntries && isWork && !isWild_; ++entry) {
            std::vector<Value> indices;
            for (const Parameter &parameter : table.declaration.parameters)
                indices.push_back(Argument(parameter));
            const Value level = Argument({"level", table.declaration.result, false, {}});
            host_.CallRecord(table, false, instance, indices, &level);
        }
    if (isWild_)
        instances_.push_back(instance);
    return instance;
}

Value Caller::Block() {
    constexpr int kSizes[] = {1024, 0, 1, 2, 255, 256, 257, 1023, 1025};
    if (!blocks_.empty() && choices_.OneIn(4))
        return blocks_.back();
    const auto size = static_cast<std::size_t>(isWild_ ? choices_.Of(kSizes) : kSizes[0]);
    std::vector<unsigned char> bytes(isWild_ ? static_cast<std::size_t>(choices_.Between(0, 64)) : size);
    for (unsigned char &byte : bytes)
        byte = static_cast<unsigned char>(choices_.Between(0, 255));
    const Ref made = host_.MakeBlock(size, bytes);
    made.block().withoutAddress = Rarely();
    if (isWild_)
        blocks_.push_back(made);
    return made;
}

/// A picture as a byte string, which scripts may have cut short or overwritten.
std::string Caller::ByteString() {
    constexpr int kHeader = 40;
    constexpr int kDepth = 32;
    const int pixelBytes = width_ * height_ * 3;
    std::string bytes = "PPIC";
    for (const int field : {kHeader + pixelBytes, width_, height_, kDepth, kHeader})
        for (const int shift : {24, 16, 8, 0})
            bytes.push_back(static_cast<char>(field >> shift & 255));
    bytes.resize(kHeader);
    for (int i = 0; i < (isWild_ ? std::min(pixelBytes, 64) : pixelBytes); ++i)
        bytes.push_back(static_cast<char>(choices_.Between(0, 255)));
    if (isWild_) {
        bytes.resize(std::size_t{kHeader} + static_cast<std::size_t>(pixelBytes));
        for (int left = choices_.Between(0, 4); left > 0; --left)
            bytes[static_cast<std::size_t>(choices_.Between(0, kHeader - 1))] =
                static_cast<char>(choices_.Between(0, 255));
        if (choices_.OneIn(4))
            bytes.resize(static_cast<std::size_t>(choices_.Between(0, kHeader + pixelBytes)));
    }
    return bytes;
}

int Caller::Integer(const Parameter &parameter, bool isGlobal) {
    if (parameter.byref && !isWild_)
        return choices_.Between(-9, 9);
    int value = 0;
    const auto *known = std::find_if(std::begin(kNumbers), std::end(kNumbers),
                                     [&](const auto &number) { return SameName(parameter.name, number.name); });
    if (isWild_ && choices_.OneIn(3))
        value = choices_.Number();
    else if (known != std::end(kNumbers))
        value = choices_.Between(known->least, known->most + known->perSize * std::max(width_, height_));
    else
        value = choices_.Between(0, 20);
    // Sizes of what a global routine makes: small ones, and those that are too large to be made.
    const bool isSize = SameName(parameter.name, "width") || SameName(parameter.name, "height");
    return isWild_ && isGlobal && isSize && value <= 32767 ? std::abs(value % kLargest) : value;
}

double Caller::Number(const Parameter &parameter) {
    if (isWild_ && choices_.OneIn(3))
        return choices_.OneIn(2) ? std::bit_cast<double>(std::uint64_t{choices_.Word()} << 32 | choices_.Word())
                                 : choices_.Of(kDoubleTurns);
    const double part = choices_.Between(-100, 250) / 100.0;
    const bool isLevel = parameter.name.starts_with("Brightness") || parameter.name == "level";
    return isLevel ? part * 100 : part;
}

Value Caller::Argument(const Parameter &parameter, bool isGlobal) {
    const Flaw::What flaw = FlawOf(parameter.name);
    if (flaw == Flaw::Nil || (standin::IsHandle(parameter.type) && Rarely()))
        return nullptr;
    if (flaw == Flaw::Nowhere || (parameter.byref && Rarely()))
        return standin::NoVariable{};
    switch (parameter.type) {
    case Type::Picture:
        return Picture(flaw);
    case Type::MemoryBlock:
        return Block();
    case Type::String:
        return host_.MakeString(ByteString());
    case Type::Boolean: // only without wrapping can the platform scroll, and graphics worlds alone
        return isSteady_ ? storage_.form != Form::GraphicsWorld || parameter.name != "wrap" : choices_.OneIn(2);
    case Type::Double:
        return Number(parameter);
    case Type::Color:
        return NoiseColor(choices_);
    case Type::UInt32:
        return static_cast<unsigned>(Integer(parameter, isGlobal));
    default:
        const int value = Integer(parameter, isGlobal);
        return flaw == Flaw::Zero ? 0 : value;
    }
}

/// Lets the call change it, and keeps what it was.
void Caller::Watch(std::string_view what, const Value &object) {
    if (object.Is<Ref>())
        host_.MayChange(object.AsRef());
    if (isWild_)
        return;
    watched_.emplace_back(called_.changes.size(), object);
    called_.changes.emplace_back(See(what, object), Seen());
}

void Caller::CallMethod(const Routine &routine, const RegisteredMethod &method, const Value &receiver) {
    const standin::Declaration &declaration = method.declaration;
    const bool isGlobal = routine.of == Routine::Global;
    std::vector<Value> arguments;
    bool hasTarget = false;
    for (const Parameter &parameter : declaration.parameters) {
        if (parameter.defaultText && (flaw_.what == Flaw::Omitted || Rarely()))
            break;
        const Value value = arguments.emplace_back(Argument(parameter, isGlobal));
        const bool isBlockVariable = parameter.byref && standin::IsHandle(parameter.type);
        if ((isBlockVariable && !value.Is<standin::NoVariable>()) ||
            (value.Is<Ref>() && ChangesPicture(routine, parameter.name))) {
            Watch(parameter.name, value);
            hasTarget = true;
        }
    }
    const Value assigned =
        routine.assigns ? Argument({std::string(kAssigned), declaration.result, false, {}}) : Value();
    const standin::Result result =
        host_.CallRecord(method, isGlobal, receiver, arguments, routine.assigns ? &assigned : nullptr);
    called_.raised = result.raised;
    called_.seen.push_back(See(kResult, routine.assigns && routine.of == Routine::Class
                                            ? host_.CallRecord(method, false, receiver, arguments).value
                                            : result.value));
    for (const auto &variable : result.byref) {
        const auto watched = std::find_if(watched_.begin(), watched_.end(), [&](const auto &each) {
            return called_.changes[each.first].first.what == variable.first;
        });
        if (watched != watched_.end())
            watched->second = variable.second;
        else
            called_.seen.push_back(See(variable.first, variable.second));
    }
    if (declaration.result != Type::Picture || !result.value.Is<Ref>())
        return;
    const standin::Picture &made = result.picture();
    const auto *source = routine.of == Routine::Picture && receiver.Is<Ref>() ? &receiver.AsPicture() : nullptr;
    if (source && !hasTarget && (made.width != source->width || made.height != source->height))
        called_.problem = fmt::format("the result is {} for {}", made.Describe(), source->Describe());
    if (isWild_)
        pictures_.push_back(result.value.AsRef());
}

std::optional<Called> Caller::Call(const Routine &routine, const Flaw &flaw) {
    flaw_ = flaw;
    called_ = {};
    watched_.clear();
    if (routine.className.empty()) {
        const bool isGlobal = routine.of == Routine::Global;
        const RegisteredMethod *method = MethodOf(isGlobal ? host_.GlobalMethods() : host_.PictureMethods(), routine);
        if (!method)
            return std::nullopt;
        CallMethod(routine, *method, isGlobal ? Value() : Receiver(routine));
    } else {
        const RegisteredClass *definition = ClassOf(host_, routine.className);
        if (!definition)
            return std::nullopt;
        const Ref instance = Instance(routine);
        const auto see = [&](auto store) {
            for (std::size_t i = 0; !isWild_ && i < definition->properties.size(); ++i)
                if (const RegisteredProperty &each = definition->properties[i]; IsUsable(each))
                    store(See(each.name, host_.Get(instance, each.name)));
        };
        see([&](Seen seen) { called_.changes.emplace_back(std::move(seen), Seen()); });
        const RegisteredMethod *method = MethodOf(definition->methods, routine);
        const auto property = std::find_if(definition->properties.begin(), definition->properties.end(),
                                           [&](const RegisteredProperty &each) { return each.name == routine.name; });
        if (routine.of == Routine::Class && method)
            CallMethod(routine, *method, instance);
        else if (routine.of == Routine::Property && routine.assigns)
            host_.Set(instance, routine.name, Argument({property->name, property->type, false, {}}));
        else if (routine.of == Routine::Property)
            called_.seen.push_back(See(routine.name, host_.Get(instance, routine.name)));
        see([&, at = std::size_t{0}](Seen seen) mutable { called_.changes[at++].second = std::move(seen); });
    }
    for (const auto &[at, value] : watched_)
        called_.changes[at].second = See(called_.changes[at].first.what, value);
    watched_.clear();
    return std::move(called_);
}

} // namespace conformance
