#include "sweep/trial.h"

#include "platform/controls.h"

#include <algorithm>
#include <fmt/format.h>

namespace sweep {
namespace {

using namespace standin;

#ifdef KVT_COVERAGE // the counts are variables of the module
constexpr bool kKeepsModule = false;
#else
constexpr bool kKeepsModule = true;
#endif

const RegisteredMethod *Find(const std::vector<RegisteredMethod> &methods, const std::string &text) {
    const auto found = std::find_if(methods.begin(), methods.end(),
                                    [&](const RegisteredMethod &method) { return method.declaration.text == text; });
    return found == methods.end() ? nullptr : &*found;
}

template <class Number> std::uint64_t Mixed(std::uint64_t sum, Number number) {
    return (sum ^ static_cast<std::uint64_t>(number)) * 0x9E3779B97F4A7C15u;
}

std::uint64_t Sum(const unsigned char *bytes, std::size_t size) {
    std::uint64_t sum = size;
    for (std::size_t i = 0; i < size; ++i)
        sum = Mixed(sum, bytes[i]);
    return sum;
}

std::string Text(const standin::Picture &picture) {
    std::uint64_t sum = 0;
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x)
            sum = Mixed(sum, picture.Word(x, y));
    return fmt::format("{} x {} pixels {:x}", picture.width, picture.height, sum);
}

std::string Text(const MemoryBlock &block) {
    return fmt::format("{} bytes {:x}", block.memory.size(), Sum(block.memory.data(), block.memory.size()));
}

std::string Text(const Value &value) {
    if (value.Is<std::int64_t>())
        return fmt::format("{}", value.AsInteger());
    if (value.Is<double>())
        return fmt::format("{}", value.AsDouble());
    if (value.Is<bool>())
        return value.AsBoolean() ? "true" : "false";
    if (!value.Is<Ref>())
        return "nil";
    const Object &object = *value.AsRef().object();
    if (object.kind == Kind::Picture)
        return Text(static_cast<const standin::Picture &>(object));
    if (object.kind == Kind::MemoryBlock)
        return Text(static_cast<const MemoryBlock &>(object));
    const std::string_view bytes = value.AsRef().text().bytes();
    return fmt::format("text {:x}", Sum(reinterpret_cast<const unsigned char *>(bytes.data()), bytes.size()));
}

/// What a method gives back when it fails, in its variables too if it has any.
std::string FailureOf(const Declaration &declaration, bool hasVariables) {
    std::string text;
    switch (declaration.result) {
    case Type::Nothing:
        break;
    case Type::Boolean:
        text = declaration.name == "ScrollHorizontalKVT" ? "true" : "false";
        break;
    case Type::Integer:
    case Type::Double:
        text = "0";
        break;
    default:
        text = "nil";
    }
    for (const Parameter &parameter : declaration.parameters)
        if (hasVariables && parameter.byref && parameter.type == Type::Integer)
            text += fmt::format(", {} {}", parameter.name, parameter.name == "count" ? -1 : 0);
    return text;
}

class Trial {
  public:
    Trial(const Routine &routine, const Situation &situation, HostDescription description)
        : routine_(routine), situation_(situation), host_(std::move(description)) {}

    Outcome Out(int level) {
        if (level >= 0 && !host_.ForceLevel(level))
            outcome_.problems.push_back(fmt::format("level {} cannot be had", level));
        try {
            Call();
        } catch (const std::exception &problem) {
            outcome_.problems.emplace_back(problem.what());
        }
        changing_.clear();
        host_.Finish();
        for (std::string &violation : host_.TakeViolations())
            outcome_.problems.push_back(std::move(violation));
        for (const Source &source : Sources()) {
            const bool isEntry = source.of == Source::Entry;
            outcome_.requests.push_back(isEntry ? host_.RequestsFor(source.name) : 0);
            outcome_.calls.push_back(isEntry                         ? host_.CallsOf(source.name)
                                     : source.of == Source::Platform ? kvt::platform::Calls(source.name.c_str())
                                                                     : host_.HeapRequests());
        }
        return outcome_;
    }

  private:
    int Width() const { return std::max(situation_.pictures.width, 5); }
    int Height() const { return std::max(situation_.pictures.height, 3); }

    Ref MakePicture() {
        PictureDescription wanted = situation_.pictures;
        wanted.width = Width();
        wanted.height = Height();
        wanted.color = [](int x, int y) {
            return MakeColor(static_cast<unsigned>(x * 50 % 256), static_cast<unsigned>(y), 7);
        };
        return host_.Make(wanted);
    }

    std::string ByteString() const {
        const auto pixels = static_cast<std::size_t>(Width() * Height() * 3);
        std::string bytes = "PPIC";
        for (const std::size_t number : {40 + pixels, std::size_t(Width()), std::size_t(Height()), std::size_t{32},
                                         std::size_t{40}, std::size_t{}, std::size_t{}, std::size_t{}, std::size_t{}})
            for (const unsigned shift : {24u, 16u, 8u, 0u})
                bytes.push_back(static_cast<char>(number >> shift & 255));
        return bytes + std::string(pixels, '\x42');
    }

    Value Argument(const Parameter &parameter) {
        const bool isObject =
            parameter.type == Type::Picture || parameter.type == Type::MemoryBlock || parameter.type == Type::String;
        if (situation_.nilArguments && isObject)
            return nullptr;
        if (situation_.nilArguments && parameter.byref)
            return NoVariable{};
        switch (parameter.type) {
        case Type::Picture:
            return MakePicture();
        case Type::MemoryBlock:
            return host_.MakeBlock(1024);
        case Type::String:
            return host_.MakeString(ByteString());
        case Type::Boolean:
            return situation_.pictures.form != Form::GraphicsWorld || parameter.name != "wrap";
        case Type::Double:
            return 1.5;
        default:
            break;
        }
        const struct {
            std::string_view name;
            int value;
        } kMeaningful[] = {{"width", Width()}, {"height", Height()}, {"outlinewidth", 2}, {"bits", 8}};
        for (const auto &known : kMeaningful)
            if (SameName(parameter.name, known.name))
                return known.value;
        return 1;
    }

    void MayChange(const Ref &object) {
        host_.MayChange(object);
        changing_.push_back(object);
        outcome_.changed.push_back({Text(Value(object)), {}});
    }

    void CallMethod(const std::vector<RegisteredMethod> &methods, const Value &receiver) {
        const RegisteredMethod *method = Find(methods, routine_.text);
        if (!method)
            return;
        const Declaration &declaration = method->declaration;
        std::vector<Value> arguments;
        for (const Parameter &parameter : declaration.parameters)
            if (!situation_.omitsDefaults || !parameter.defaultText)
                arguments.push_back(Argument(parameter));
        const Value assigned = routine_.sets ? Argument({"value", declaration.result, false, {}}) : Value();

        const bool changesReceiver = routine_.sets || declaration.name.starts_with("Scroll");
        if (receiver.Is<Ref>() && receiver.AsRef().object()->kind == Kind::Picture) {
            const Ref mask = MakePicture();
            host_.AttachMask(receiver.AsRef(), mask);
            if (changesReceiver) {
                MayChange(receiver.AsRef());
                MayChange(mask);
            }
        }
        for (std::size_t i = 0; i < arguments.size(); ++i)
            if (arguments[i].Is<Ref>() && (declaration.parameters[i].byref || declaration.parameters[i].name == "dest"))
                MayChange(arguments[i].AsRef());

        const Result result = host_.CallRecord(*method, routine_.of == Routine::Global, receiver, arguments,
                                               routine_.sets ? &assigned : nullptr);
        outcome_.isThere = true;
        if (declaration.result == Type::Picture && result.value.Is<Ref>())
            CheckSize(result.picture());
        if (result.raised)
            outcome_.raised = fmt::format("{} \"{}\"", result.raised->className, result.raised->message);
        if (routine_.sets && declaration.result == Type::Double)
            outcome_.result = Text(host_.CallRecord(*method, false, receiver, arguments).value);
        else if (!routine_.sets)
            outcome_.result = declaration.result == Type::Nothing ? "" : Text(result.value);
        for (const auto &[name, value] : result.byref) {
            if (value.Is<std::int64_t>())
                outcome_.result += fmt::format(", {} {}", name, value.AsInteger());
            else if (situation_.nilArguments) // a block that was made here stays, whatever happens then
                outcome_.changed.push_back({value.IsNil() ? "nil" : Text(Value(host_.MakeBlock(1024))), Text(value)});
        }
        const bool canFail = routine_.of != Routine::Class || declaration.result == Type::Boolean;
        if (!routine_.sets && canFail)
            outcome_.failure = FailureOf(declaration, !situation_.nilArguments);
        for (std::size_t i = 0; i < changing_.size(); ++i)
            outcome_.changed[i].after = Text(Value(changing_[i]));
    }

    void CheckSize(const standin::Picture &picture) {
        if (picture.width != Width() || picture.height != Height())
            outcome_.problems.push_back("the result is " + picture.Describe());
    }

    void CallMethodOfInstance(const RegisteredClass &definition, const Ref &instance) {
        const Ref old = host_.Make({.width = 2, .height = 2});
        host_.Set(instance, "DestinationPicture", old);
        CallMethod(definition.methods, instance);
        const std::string made = Text(host_.Get(instance, "DestinationPicture"));
        outcome_.result += "; destination " + made;
        if (!outcome_.failure.empty()) // one class keeps what it has, the other lets go of it first
            outcome_.failure +=
                "; destination " + (definition.name == "PictureSepiaKVT" ? Text(Value(old)) : std::string("nil"));
    }

    void Call() {
        if (routine_.of == Routine::Global)
            return CallMethod(host_.GlobalMethods(), nullptr);
        if (routine_.of == Routine::Picture)
            return CallMethod(host_.PictureMethods(), situation_.nilReceiver ? Value() : Value(MakePicture()));
        const auto &classes = host_.Classes();
        const auto definition = std::find_if(classes.begin(), classes.end(), [&](const auto &candidate) {
            return candidate->name == routine_.className;
        });
        if (definition == classes.end())
            return;
        outcome_.isThere = true;
        const Ref instance = host_.New(routine_.className);
        if (!situation_.nilReceiver)
            host_.Set(instance, "SourcePicture", MakePicture());
        if (routine_.of == Routine::Class)
            return CallMethodOfInstance(**definition, instance);
        if (routine_.of == Routine::Property && routine_.sets) {
            const auto &properties = (*definition)->properties;
            const auto property =
                std::find_if(properties.begin(), properties.end(),
                             [&](const RegisteredProperty &candidate) { return candidate.name == routine_.text; });
            host_.Set(instance, routine_.text, Argument({"value", property->type, false, {}}));
        }
        for (const RegisteredProperty &property : (*definition)->properties)
            outcome_.result += fmt::format("{} {}; ", property.name, Text(host_.Get(instance, property.name)));
    }

    const Routine &routine_;
    const Situation &situation_;
    Outcome outcome_;
    Host host_;
    std::vector<Ref> changing_; ///< what the first of the outcome's changed objects are
};

} // namespace

std::string Routine::Describe() const {
    return fmt::format("{}{}{}", className.empty() ? "" : className + ".", text, sets ? " (assigned)" : "");
}

bool Routine::Meets(const Situation &situation) const {
    const auto has = [&](std::string_view part) { return text.find(part) != std::string::npos; };
    if (situation.nilArguments)
        return of != Life && (has("as picture") || has("as memoryblock") || has("as String"));
    if (situation.nilReceiver)
        return of != Global;
    return has(situation.needs);
}

std::vector<Routine> Routines() {
    const Host host;
    std::vector<Routine> routines;
    const auto add = [&](Routine::Of of, const std::string &className, const std::vector<RegisteredMethod> &methods) {
        for (const RegisteredMethod &method : methods) {
            routines.push_back({of, className, method.declaration.text});
            if (method.record.setter)
                routines.push_back({of, className, method.declaration.text, true});
        }
    };
    add(Routine::Picture, "", host.PictureMethods());
    add(Routine::Global, "", host.GlobalMethods());
    for (const auto &definition : host.Classes()) {
        routines.push_back({Routine::Life, definition->name, "constructor and destructor"});
        add(Routine::Class, definition->name, definition->methods);
        for (const RegisteredProperty &property : definition->properties)
            for (const bool sets : {false, true})
                routines.push_back({Routine::Property, definition->name, property.name, sets});
    }
    return routines;
}

const std::vector<Source> &Sources() {
    static const std::vector<Source> sources = [] {
        std::vector<Source> all;
        for (const EntryName &entry : EntryNames())
            all.push_back({Source::Entry, std::string(entry.name), entry.yieldsBoolean});
        for (const char *function : kvt::platform::FunctionNames())
            all.push_back({Source::Platform, function});
        all.push_back({Source::Heap, "the heap"});
        return all;
    }();
    return sources;
}

Outcome Try(const Routine &routine, const Situation &situation, HostDescription description, const Fault *fault,
            int level) {
    namespace platform = kvt::platform;
    platform::Reset();
    description.sealsPictures = true;
    description.keepsModule = kKeepsModule;
    description.newPicturePadding = 8;
    description.faults = situation.faults;
    const auto &sources = Sources();
    const auto source = std::find_if(sources.begin(), sources.end(),
                                     [&](const Source &candidate) { return fault && candidate.name == fault->entry; });
    if (fault && source->of == Source::Entry)
        description.faults.push_back(*fault);
    else if (fault && source->of == Source::Heap)
        description.refusedHeapRequest = fault->call;
    else if (fault && fault->what == Fault::Missing)
        platform::Fail(fault->entry.c_str());
    else if (fault)
        platform::Fail(fault->entry.c_str(), 1, fault->call - 1);

    GraphicsWorld world = {};
    platform::CurrentDrawingPort().port = &world;
    const platform::LivingObjects before = platform::CountLivingObjects();
    Outcome outcome = Trial(routine, situation, std::move(description)).Out(level);
    const platform::LivingObjects after = platform::CountLivingObjects();
    if (const char *misuse = platform::FirstMisuse())
        outcome.problems.emplace_back(misuse);
    if (after.urls != before.urls || after.bundles > before.bundles + 1)
        outcome.problems.push_back(fmt::format("{} URL(s) and {} bundle(s) were left behind", after.urls - before.urls,
                                               after.bundles - before.bundles));
    // What a function gives back that cannot be had stays, and a port that could not be asked for comes back as none.
    if (source != sources.end() && source->of == Source::Platform)
        return outcome;
    if (after.regions != before.regions)
        outcome.problems.push_back(fmt::format("{} region(s) were left behind", after.regions - before.regions));
    if (platform::CurrentDrawingPort().port != &world)
        outcome.problems.emplace_back("the drawing port did not come back");
    return outcome;
}

} // namespace sweep
