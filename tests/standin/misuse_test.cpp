#include "support/bad_host.h"

#include <csignal>
#include <sys/wait.h>

/// What the host must not let pass, each with the sentence that it finds for it.
namespace {

using namespace standin;

/// One argument for each parameter.
std::vector<Value> ArgumentsFor(Host &host, const Declaration &declaration) {
    std::vector<Value> arguments;
    for (const Parameter &parameter : declaration.parameters) {
        if (parameter.type == Type::MemoryBlock)
            arguments.emplace_back(host.MakeBlock(4));
        else if (parameter.type == Type::String)
            arguments.emplace_back(host.MakeString("text"));
    }
    return arguments;
}

const Declaration &DeclarationOf(const Host &host, std::string_view name) {
    for (const RegisteredMethod &method : host.PictureMethods())
        if (method.declaration.name == name)
            return method.declaration;
    throw std::logic_error("no such method: " + std::string(name));
}

constexpr struct {
    const char *method;
    const char *sentence; ///< the first that the host finds
} kMisuses[] = {
    {"DoubleUnlock", "unlockPictureDescription: picture #1 (5 x 3, console) is not locked"},
    {"LeaveLocked", "picture #1 (5 x 3, console) was left locked 1 time(s)"},
    {"LeakReference", "picture #1 (5 x 3, console) has 1 reference(s) too many"},
    {"DropTooOften",
     "REALUnlockObject: the last reference to picture #1 (5 x 3, console) that is not the module's to drop"},
    {"LeakPicture", "picture #2 (5 x 3, console) has 1 reference(s) too many"},
    {"DropLocked", "picture #2 (5 x 3, console) dies with its pixels locked"},
    {"UseAfterDeath", "REALPictureClearCache: picture #2 (5 x 3, console) is dead"},
    {"WrongKind", "REALPictureClearCache: memory block #2 (4 bytes) is the wrong kind of object"},
    {"StringAsObject", "REALLockObject: string #2 (4 bytes) is a string, not an object"},
    {"PictureAsString", "REALLockString: picture #1 (5 x 3, console) is the wrong kind of object"},
    {"NullObject", "REALLockObject: null is no object of this host"},
    {"ForeignObject", "REALLockObject: the handle is no object of this host"},
    {"WritePastRow", "unlockPictureDescription: the rows of picture #1 (5 x 3, console) were written past their end"},
    {"ChangeRowTable", "unlockPictureDescription: the row table of picture #1 (5 x 3, console) was changed"},
    {"ChangePicture", "picture #1 (5 x 3, console) was changed"},
    {"ChangeBlock", "memory block #2 (4 bytes) was changed"},
    {"ChangeString", "string #2 (4 bytes) was changed"},
    {"RaiseTwice", "RuntimeRaiseException: an exception is pending already"},
    {"KeepCopy", "1 copies of string bytes remain where 0 could not be given back"},
    {"GiveBackTwice", "PluginDisposeStringData: no copy of this host's, or given back already"},
    {"GiveBackOwnBytes", "PluginDisposeStringData: no copy of this host's, or given back already"},
    {"AskForNonsense", "the resolver was asked for \"REALMakeCoffee\", which no host has"},
    {"CreateMask", "REALGetPictureMask: asked to create a mask"},
    {"AskForEightBits", "newPicture: asked for 5 x 3 with 8 bits"},
    {"LoadNonsense", "REALLoadObjectMethod: picture #1 (5 x 3, console) has no method \"Paint(x as integer)\""},
    {"YieldDead", "the result is no living object of its type"},
    {"YieldForeign", "the result is no living object of its type"},
    {"YieldBlock", "the result is no living object of its type"},
    {"YieldUncounted", "picture #1 (5 x 3, console) has 1 reference(s) too few"},
    {"Overwrite", "a byref variable that held an object was given another one"},
};

TEST(Misuse, IsCaughtWithTheEntryAndTheObjectNamed) {
    for (const auto &row : kMisuses) {
        SCOPED_TRACE(row.method);
        BadHost host({.application = Application::Console});
        const Ref picture = host.Make(kFiveByThree);
        const Declaration &declaration = DeclarationOf(host, row.method);
        host.CallWith(picture, row.method, ArgumentsFor(host, declaration));
        const std::vector<std::string> violations = host.TakeViolations();
        ASSERT_FALSE(violations.empty());
        EXPECT_EQ(violations.front(), row.sentence + std::string("; in ") + declaration.text);
        host.Call(picture, "TakeAndDrop"); // one misuse is not held against what follows
        EXPECT_EQ(host.TakeViolations(), std::vector<std::string>());
    }
}

TEST(Misuse, OfObjectsThatMayChangeIsNone) {
    BadHost host({.application = Application::Console});
    const Ref picture = host.Make(kFiveByThree);
    host.MayChange(picture);
    host.Call(picture, "ChangePicture");
    EXPECT_EQ(host.TakeViolations(), std::vector<std::string>());
    host.Call(picture, "ChangePicture");
    EXPECT_EQ(host.TakeViolations().size(), 1u) << "once allowed is allowed once";
}

TEST(Misuse, AtRegistrationAndInConstructorsIsCaught) {
    Host host({.module = BadModule()});
    const std::vector<std::string> expected = {
        "the record of class Bad has a data offset already; in REALPluginMain",
        "the record of class Bad has another version or words that are not zero; in REALPluginMain",
        "the record of property Wrong has words that are not zero; in REALPluginMain",
        "not a declaration: expected a known type at character 13 of \"property as Oddity\"; in REALPluginMain",
        "not a declaration: expected a known type at character 13 of \"Broken(x as nothing)\"; in REALPluginMain",
    };
    EXPECT_EQ(host.TakeViolations(), expected);
    const Ref bad = host.New("Bad");
    EXPECT_EQ(host.TakeViolations(),
              std::vector<std::string>{"picture #2 (5 x 3, first byte skipped) has 1 reference(s) too many; in the "
                                       "constructor of Bad"});
}

TEST(Misuse, OfAnObjectThatAScriptStillHoldsAtTheEndIsCaught) {
    BadHost host;
    const Ref picture = host.Make(kFiveByThree);
    host.Finish();
    EXPECT_EQ(host.TakeViolations(),
              std::vector<std::string>{"picture #1 (5 x 3, first byte skipped) outlives the host"});
}

constexpr struct {
    const char *method;
    Guard guard;
    bool seals;
} kDeadly[] = {
    {"ReadPastEnd", Guard::After, false},       {"ReadBeforeStart", Guard::Before, false},
    {"WritePastEnd", Guard::After, false},      {"ReadPastCopy", Guard::After, false},
    {"ReadCopyGivenBack", Guard::After, false}, {"ReadUnlocked", Guard::After, true},
    {"ReadUnlockedResult", Guard::After, true}, {"ReadHandle", Guard::After, false},
};

bool IsMemoryFault(int status) {
#ifdef __SANITIZE_ADDRESS__
    return WIFEXITED(status) && WEXITSTATUS(status) != 0; // the sanitizer catches the signal
#else
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGSEGV;
#endif
}

TEST(MisuseDeathTest, OfMemoryEndsTheProcess) {
    for (const auto &row : kDeadly) {
        SCOPED_TRACE(row.method);
        BadHost host({.application = Application::Console, .guard = row.guard, .sealsPictures = row.seals});
        const Ref picture = host.Make(kFiveByThree);
        std::vector<Value> arguments = ArgumentsFor(host, DeclarationOf(host, row.method));
        EXPECT_EXIT(host.CallWith(picture, row.method, std::move(arguments)), IsMemoryFault, "");
    }
}

TEST(Misuse, OfPixelsThatNobodySealsIsNone) {
    BadHost host({.application = Application::Console});
    const Ref picture = host.Make({.width = 1, .height = 1, .word = [](int, int) { return 7u; }});
    EXPECT_EQ(host.Call(picture, "ReadUnlocked").value.AsInteger(), 7);
    EXPECT_EQ(host.TakeViolations(), std::vector<std::string>());
}

// Faults, and what the audit then demands.

constexpr std::optional<double> kNone;

const struct {
    const char *what;
    std::optional<double> version;
    std::vector<Fault> faults;
    bool lockable;
    const char *method;
    bool argument;
    const char *violation; ///< without the routine; null: none
} kBalances[] = {
    {"an untaken reference is dropped all the same", 2019.0, {{"REALLockObject"}}, true, "TakeAndDrop", true, nullptr},
    {"and must be",
     2019.0,
     {{"REALLockObject"}},
     true,
     "TakeAndDrop",
     false,
     "0 reference(s) remain where 0 could not be dropped and 1 could not be taken"},
    {"a reference that cannot be dropped stays", 2019.0, {{"REALUnlockObject"}}, true, "TakeAndDrop", true, nullptr},
    {"but the attempt must be made",
     2019.0,
     {{"REALUnlockObject"}},
     true,
     "TakeAndDrop",
     false,
     "picture #1 (5 x 3, first byte skipped) has 1 reference(s) too many"},
    {"a failing entry counts like a missing one",
     2019.0,
     {{"REALLockObject", Fault::Fails, 1}},
     true,
     "TakeAndDrop",
     true,
     nullptr},
    {"one that drops, too", 2019.0, {{"REALUnlockObject", Fault::Fails, 1}}, true, "TakeAndDrop", true, nullptr},
    {"a lock that cannot be given back stays",
     2019.0,
     {{"unlockPictureDescription"}},
     true,
     "LockAndUnlock",
     true,
     nullptr},
    {"but the attempt must be made",
     2019.0,
     {{"unlockPictureDescription"}},
     true,
     "LockAndUnlock",
     false,
     "picture #1 (5 x 3, first byte skipped) was left locked 1 time(s)"},
    {"hosts before 2012 leave a lock behind when they fail", 2011.99, {}, false, "LockAndUnlock", true, nullptr},
    {"which must be taken back",
     2011.99,
     {},
     false,
     "LockAndUnlock",
     false,
     "picture #1 (5 x 3, first byte skipped) was left locked 1 time(s)"},
    {"hosts of unknown version do, too", kNone, {}, false, "LockAndUnlock", true, nullptr},
    {"and when the lock fails or is missing",
     kNone,
     {{"REALLockPictureDescription"}},
     true,
     "LockAndUnlock",
     true,
     nullptr},
    {"those from 2012 on do not",
     2012.0,
     {},
     false,
     "LockAndUnlock",
     true,
     "unlockPictureDescription: picture #1 (5 x 3, first byte skipped) is not locked"},
    {"a failed lock is none",
     2012.0,
     {{"REALLockPictureDescription", Fault::WideFalse}},
     true,
     "LockAndUnlock",
     false,
     nullptr},
};

TEST(Faults, AreBalancedByTheAttempts) {
    for (const auto &row : kBalances) {
        SCOPED_TRACE(std::string(row.what) + ", " + row.method);
        BadHost host({.version = row.version, .faults = row.faults});
        const Ref picture = host.Make({.width = 5, .height = 3, .lockable = row.lockable});
        host.Call(picture, row.method, row.argument);
        const std::vector<std::string> violations = host.TakeViolations();
        ASSERT_EQ(violations.size(), row.violation ? 1u : 0u) << testing::PrintToString(violations);
        if (row.violation) {
            EXPECT_TRUE(violations.front().starts_with(row.violation)) << violations.front();
        }
    }
}

const struct {
    const char *what;
    std::vector<Fault> faults;
    std::vector<bool> answers; ///< of calls in a row
    int requests, calls;       ///< what the host counted
} kAnswers[] = {
    {"no fault", {}, {true, true}, 2, 2},
    {"missing", {{"REALGetPropValueInt", Fault::Missing}}, {false, false}, 2, 0},
    {"late", {{"REALGetPropValueInt", Fault::Late}}, {false, true, true}, 3, 2},
    {"the first call fails", {{"REALGetPropValueInt", Fault::Fails, 1}}, {false, true}, 2, 2},
    {"the third call fails", {{"REALGetPropValueInt", Fault::Fails, 3}}, {true, true, false, true}, 4, 4},
    {"false in the low 8 bits alone", {{"REALGetPropValueInt", Fault::WideFalse}}, {false, false}, 2, 2},
    {"another entry's", {{"REALGetPropValueBool", Fault::Missing}}, {true}, 1, 1},
};

TEST(Faults, AreThoseThatWereAskedFor) {
    for (const auto &row : kAnswers) {
        SCOPED_TRACE(row.what);
        BadHost host({.faults = row.faults});
        const Ref picture = host.Make(kFiveByThree);
        for (const bool answer : row.answers)
            EXPECT_EQ(host.Call(picture, "HasWidth").value.AsBoolean(), answer);
        EXPECT_EQ(host.RequestsFor("REALGetPropValueInt"), row.requests);
        EXPECT_EQ(host.CallsOf("REALGetPropValueInt"), row.calls);
        EXPECT_EQ(host.TakeViolations(), std::vector<std::string>());
    }
}

} // namespace
