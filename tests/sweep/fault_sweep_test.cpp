#include "standin/host.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <unistd.h>

/// Every registered routine against every entry of the host missing, late or failing. The cases come from what the
/// module registers, so a new routine is swept as soon as it stands in its table. A fault in an entry that the routine
/// does not reach leaves the run as it is without faults, and those are left out unless KVT_SWEEP=full asks for them.
namespace {

using namespace standin;

constexpr int kWidth = 5;
constexpr int kHeight = 3;

/// What the routine is called with.
struct Situation {
    const char *what;
    PictureDescription pictures = {}; ///< their size and colors are filled in
    bool nilReceiver = false;
    bool nilArguments = false;
    bool omitsDefaults = false;
    std::vector<Fault> faults = {}; ///< beside the one that is swept
    const char *needs = "";         ///< what a declaration has for which this makes a difference
};

std::vector<Situation> Situations() {
    return {
        {.what = "valid arguments"},
        {.what = "pictures with an alpha channel", .pictures = {.hasAlphaChannel = true}},
        {.what = "pictures that cannot be locked", .pictures = {.lockable = false}},
        {.what = "pictures that are refused", .pictures = {.bitsPerPixel = 24}},
        {.what = "graphics worlds", .pictures = {.form = Form::GraphicsWorld}},
        {.what = "copies of console pictures",
         .pictures = {.form = Form::Console},
         .faults = {{"pluginObjectType"}, {"Graphics.DrawPicture"}}},
        {.what = "a nil receiver", .nilReceiver = true},
        {.what = "nil arguments", .nilArguments = true},
        {.what = "omitted defaults", .omitsDefaults = true, .needs = "="},
        {.what = "no copies of strings", .faults = {{"PluginGetStringData"}}, .needs = "as String"},
    };
}

struct Routine {
    enum Of { Picture, Global, Class, Life, Property } of;
    std::string className; ///< of the last three
    std::string text;      ///< the declaration, or the property's name
    bool sets = false;     ///< the setter, not the function or getter

    std::string Describe() const {
        return fmt::format("{}{}{}", className.empty() ? "" : className + ".", text, sets ? " (assigned)" : "");
    }
};

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

const RegisteredMethod *Find(const std::vector<RegisteredMethod> &methods, const std::string &text) {
    const auto found = std::find_if(methods.begin(), methods.end(),
                                    [&](const RegisteredMethod &method) { return method.declaration.text == text; });
    return found == methods.end() ? nullptr : &*found;
}

std::string ByteString() {
    const unsigned char header[40] = {'P', 'P', 'I', 'C',    0, 0, 0, 40 + kWidth * kHeight * 3,
                                      0,   0,   0,   kWidth, 0, 0, 0, kHeight,
                                      0,   0,   0,   32,     0, 0, 0, 40};
    std::string bytes(std::begin(header), std::end(header));
    return bytes + std::string(kWidth * kHeight * 3, '\x42');
}

struct Outcome {
    bool isThere = false; ///< the host got to know the routine
    bool raised = false;
    std::vector<int> requests; ///< by entry
    std::vector<int> calls;
    std::vector<std::string> problems;
};

class Trial {
  public:
    Trial(const Routine &routine, const Situation &situation, HostDescription description)
        : routine_(routine), situation_(situation), host_(std::move(description)) {}

    Outcome Out() {
        try {
            Call();
        } catch (const std::exception &problem) {
            outcome_.problems.emplace_back(problem.what());
        }
        host_.Finish();
        for (std::string &violation : host_.TakeViolations())
            outcome_.problems.push_back(std::move(violation));
        for (const EntryName &entry : EntryNames()) {
            outcome_.requests.push_back(host_.RequestsFor(entry.name));
            outcome_.calls.push_back(host_.CallsOf(entry.name));
        }
        return outcome_;
    }

  private:
    Ref MakePicture() {
        PictureDescription wanted = situation_.pictures;
        wanted.width = kWidth;
        wanted.height = kHeight;
        wanted.color = [](int x, int y) {
            return MakeColor(static_cast<unsigned>(x * 50), static_cast<unsigned>(y), 7);
        };
        return host_.Make(wanted);
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
        constexpr struct {
            std::string_view name;
            int value;
        } kMeaningful[] = {{"width", kWidth}, {"height", kHeight}, {"outlinewidth", 2}, {"bits", 8}};
        for (const auto &known : kMeaningful)
            if (SameName(parameter.name, known.name))
                return known.value;
        return 1;
    }

    void CallMethod(const std::vector<RegisteredMethod> &methods, Value receiver) {
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
                host_.MayChange(receiver.AsRef());
                host_.MayChange(mask);
            }
        }
        for (std::size_t i = 0; i < arguments.size(); ++i)
            if (arguments[i].Is<Ref>() && (declaration.parameters[i].byref || declaration.parameters[i].name == "dest"))
                host_.MayChange(arguments[i].AsRef());

        const Result result = host_.CallRecord(*method, routine_.of == Routine::Global, receiver, std::move(arguments),
                                               routine_.sets ? &assigned : nullptr);
        outcome_.isThere = true;
        outcome_.raised = result.raised.has_value();
        if (declaration.result == Type::Picture && result.value.Is<Ref>())
            CheckSize(result.picture());
    }

    void CheckSize(const standin::Picture &picture) {
        if (picture.width != kWidth || picture.height != kHeight)
            outcome_.problems.push_back("the result is " + picture.Describe());
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
        if (routine_.of == Routine::Class) {
            CallMethod((*definition)->methods, instance);
            if (const Value made = host_.Get(instance, "DestinationPicture"); made.Is<Ref>())
                CheckSize(made.AsPicture());
        } else if (routine_.of == Routine::Property && routine_.sets) {
            const auto &properties = (*definition)->properties;
            const auto property =
                std::find_if(properties.begin(), properties.end(),
                             [&](const RegisteredProperty &candidate) { return candidate.name == routine_.text; });
            host_.Set(instance, routine_.text, Argument({"value", property->type, false, {}}));
        } else if (routine_.of == Routine::Property) {
            host_.Get(instance, routine_.text);
        }
    }

    const Routine &routine_;
    const Situation &situation_;
    Outcome outcome_;
    Host host_;
};

/// All faults that can be, of one entry.
std::vector<Fault> FaultsOf(const EntryName &entry) {
    std::vector<Fault> faults;
    const std::string name(entry.name);
    faults.push_back({name, Fault::Missing});
    faults.push_back({name, Fault::Late});
    for (int call = 1; call <= 4; ++call)
        faults.push_back({name, Fault::Fails, call});
    if (entry.yieldsBoolean)
        faults.push_back({name, Fault::WideFalse});
    return faults;
}

std::string Describe(const Fault &fault) {
    switch (fault.what) {
    case Fault::Missing:
        return fault.entry + " is missing";
    case Fault::Late:
        return fault.entry + " is late";
    case Fault::Fails:
        return fmt::format("{} fails on call {}", fault.entry, fault.call);
    case Fault::WideFalse:
        break;
    }
    return fault.entry + " yields a wide false";
}

bool Reaches(const Outcome &withoutFault, std::size_t entry, const Fault &fault) {
    switch (fault.what) {
    case Fault::Fails:
        return withoutFault.calls[entry] >= fault.call;
    case Fault::WideFalse:
        return withoutFault.calls[entry] > 0;
    default:
        return withoutFault.requests[entry] > 0;
    }
}

std::string gCase; ///< which one runs, for a crash

class FaultSweep : public testing::Test {
  protected:
    static void SetUpTestSuite() {
#ifndef __SANITIZE_ADDRESS__
        for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGABRT})
            std::signal(signal, [](int caught) {
                constexpr std::string_view kCrash = "the sweep crashed at ";
                for (const std::string_view part : {kCrash, std::string_view(gCase), std::string_view("\n")})
                    if (write(STDERR_FILENO, part.data(), part.size()) < 0)
                        break;
                std::signal(caught, SIG_DFL);
                std::raise(caught);
            });
#endif
    }

    Outcome Try(const Routine &routine, const Situation &situation, HostDescription description, const Fault *fault) {
        description.sealsPictures = true;
        description.newPicturePadding = 8;
        description.faults = situation.faults;
        if (fault)
            description.faults.push_back(*fault);
        const std::string version = description.version ? fmt::format("{}", *description.version) : "without version";
        gCase = fmt::format("{}, {}, {} host {}, {}", routine.Describe(), situation.what,
                            description.application == Application::Desktop ? "desktop" : "console", version,
                            fault ? Describe(*fault) : "no fault");
        ++cases_;
        Outcome outcome = Trial(routine, situation, std::move(description)).Out();
        for (const std::string &problem : outcome.problems)
            if (++problems_ <= 20)
                ADD_FAILURE() << gCase << ": " << problem;
        return outcome;
    }

    void Sweep(const Routine &routine, const Situation &situation, const HostDescription &description, bool all) {
        const Outcome plain = Try(routine, situation, description, nullptr);
        ASSERT_TRUE(plain.isThere) << gCase;
        const std::vector<EntryName> entries = EntryNames();
        for (std::size_t entry = 0; entry < entries.size(); ++entry)
            for (const Fault &fault : FaultsOf(entries[entry]))
                if (all || Reaches(plain, entry, fault)) {
                    reached_[entry] = reached_[entry] || Reaches(plain, entry, fault);
                    if (!all && ++possible_ % kEvery != 0)
                        continue;
                    const Outcome outcome = Try(routine, situation, description, &fault);
                    if (outcome.raised && !plain.raised)
                        ADD_FAILURE() << gCase << ": a fault of the host is no reason to raise an exception";
                }
    }

#ifdef __SANITIZE_ADDRESS__
    // Under the address sanitizer each load of the module keeps memory for good, and all cases take more than a 32-bit
    // process has.
    static constexpr int kEvery = 4;
#else
    static constexpr int kEvery = 1;
#endif
    int possible_ = 0;
    std::vector<bool> reached_ = std::vector<bool>(EntryNames().size());
    int cases_ = 0;
    int problems_ = 0;
};

/// Whether the routine's declaration has what the situation is about.
bool Matters(const Routine &routine, const Situation &situation) {
    const auto has = [&](std::string_view part) { return routine.text.find(part) != std::string::npos; };
    if (situation.nilArguments)
        return routine.of != Routine::Life && (has("as picture") || has("as memoryblock") || has("as String"));
    if (situation.nilReceiver)
        return routine.of != Routine::Global;
    return has(situation.needs);
}

TEST_F(FaultSweep, LeavesNothingBehindWhateverEntryIsAtFault) {
    const char *asked = std::getenv("KVT_SWEEP");
    const bool all = asked && std::string_view(asked) == "full";
    const std::vector<Routine> routines = Routines();
    ASSERT_GE(routines.size(), 45u);
    // To routines, a host without version is one before 2011.04, and only bitmaps tell these from newer ones.
    constexpr struct {
        Application application;
        std::optional<double> version;
        bool always;
    } kHosts[] = {
        {Application::Desktop, 2019.03, true}, {Application::Desktop, 2011.0, true},  {Application::Desktop, {}, false},
        {Application::Console, 2019.03, true}, {Application::Console, 2011.0, false}, {Application::Console, {}, false},
    };
    for (const auto &host : kHosts)
        for (const Situation &situation : Situations())
            for (const Routine &routine : routines)
                if ((all || host.always) && Matters(routine, situation))
                    Sweep(routine, situation, {.application = host.application, .version = host.version}, all);
    std::vector<std::string_view> unreached;
    const std::vector<EntryName> entries = EntryNames();
    for (std::size_t entry = 0; entry < entries.size(); ++entry)
        if (!reached_[entry])
            unreached.push_back(entries[entry].name);
    // Five belong to the start-up. The last two convert strings, and the routines take bytes as they are stored.
    EXPECT_EQ(unreached,
              (std::vector<std::string_view>{"RegisterPluginVersion", "REALGetRBVersion", "PluginRegisterClass",
                                             "PluginRegisterClassExtension", "PluginRegisterMethod",
                                             "REALGetStringEncoding", "REALConvertString"}));
    fmt::print("{} routines, {} cases\n", routines.size(), cases_);
}

} // namespace
