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

/// A star stands for the picture that the method is called on, a plus for the second object.
std::string Sentence(std::string text, const std::string &first, const std::string &second) {
    for (const auto &[mark, name] : {std::pair('*', first), std::pair('+', second)})
        if (const std::size_t at = text.find(mark); at != std::string::npos)
            text.replace(at, 1, name);
    return text;
}

constexpr struct {
    const char *method;
    const char *sentence; ///< the first that the host finds
    const char *second = "picture #2 (5 x 3, console)";
} kMisuses[] = {
    {"DoubleUnlock", "unlockPictureDescription: * is not locked"},
    {"LeaveLocked", "* was left locked 1 time(s)"},
    {"LeakReference", "* has 1 reference(s) too many"},
    {"DropTooOften", "REALUnlockObject: the last reference to * that is not the module's to drop"},
    {"LeakPicture", "+ has 1 reference(s) too many"},
    {"DropLocked", "+ dies with its pixels locked"},
    {"UseAfterDeath", "REALPictureClearCache: + is dead"},
    {"WrongKind", "REALPictureClearCache: + is the wrong kind of object", "memory block #2 (4 bytes)"},
    {"StringAsObject", "REALLockObject: + is a string, not an object", "string #2 (4 bytes)"},
    {"PictureAsString", "REALLockString: * is the wrong kind of object"},
    {"NullObject", "REALLockObject: null is no object of this host"},
    {"ForeignObject", "REALLockObject: the handle is no object of this host"},
    {"WritePastRow", "unlockPictureDescription: the rows of * were written past their end"},
    {"ChangeRowTable", "unlockPictureDescription: the row table of * was changed"},
    {"ChangePicture", "* was changed"},
    {"ChangeBlock", "+ was changed", "memory block #2 (4 bytes)"},
    {"ChangeString", "+ was changed", "string #2 (4 bytes)"},
    {"RaiseTwice", "RuntimeRaiseException: an exception is pending already"},
    {"KeepCopy", "1 copies of string bytes remain where 0 could not be given back"},
    {"GiveBackTwice", "PluginDisposeStringData: no copy of this host's, or given back already"},
    {"GiveBackOwnBytes", "PluginDisposeStringData: no copy of this host's, or given back already"},
    {"KeepHeapBlock", "1 block(s) of the heap were not freed"},
    {"FreeHeapBlockTwice", "free: no block of the heap, or freed already"},
    {"AskForNonsense", "the resolver was asked for \"REALMakeCoffee\", which no host has"},
    {"CreateMask", "REALGetPictureMask: asked to create a mask"},
    {"AskForEightBits", "newPicture: asked for 5 x 3 with 8 bits"},
    {"LoadNonsense", "REALLoadObjectMethod: * has no method \"Paint(x as integer)\""},
    {"YieldDead", "the result is no living object of its type"},
    {"YieldForeign", "the result is no living object of its type"},
    {"YieldBlock", "the result is no living object of its type"},
    {"YieldUncounted", "* has 1 reference(s) too few"},
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
        EXPECT_EQ(violations.front(),
                  Sentence(row.sentence, "picture #1 (5 x 3, console)", row.second) + "; in " + declaration.text);
        host.Call(picture, "TakeAndDrop"); // one misuse is not held against what follows
        EXPECT_EQ(host.TakeViolations(), std::vector<std::string>());
    }
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
#ifdef KVT_SANITIZE
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

TEST(Misuse, OfPixelsThatNobodySealsOrWatchesIsNone) {
    BadHost host({.application = Application::Console});
    const Ref picture = host.Make({.width = 1, .height = 1, .word = [](int, int) { return 7u; }});
    EXPECT_EQ(host.Call(picture, "ReadUnlocked").value.AsInteger(), 7);
    host.MayChange(picture);
    host.Call(picture, "ChangePicture");
    EXPECT_EQ(host.TakeViolations(), std::vector<std::string>());
    host.Call(picture, "ChangePicture");
    EXPECT_EQ(host.TakeViolations().size(), 1u) << "once allowed is allowed once";
}

// Faults, and what the audit then demands.

const Fault kFailingLock = {"REALLockObject", Fault::Fails, 1};
const Fault kFailingUnlock = {"REALUnlockObject", Fault::Fails, 1};
const Fault kWideLock = {"REALLockPictureDescription", Fault::WideFalse};
constexpr const char *kUntaken = "0 reference(s) remain where 0 could not be dropped and 1 could not be taken";
constexpr const char *kLocked = "* was left locked 1 time(s)";
constexpr const char *kNotLocked = "unlockPictureDescription: * is not locked";

enum Ends { Balanced, Unbalanced }; ///< with or without the routine's second half

const struct {
    const char *what;
    const char *method;
    Ends ends;
    std::optional<double> version;
    bool lockable;
    std::vector<Fault> faults;
    const char *violation; ///< null: none
} kBalances[] = {
    {"an untaken reference is dropped", "TakeAndDrop", Balanced, 2019.0, true, {{"REALLockObject"}}, nullptr},
    {"and must be", "TakeAndDrop", Unbalanced, 2019.0, true, {{"REALLockObject"}}, kUntaken},
    {"one that cannot be dropped stays", "TakeAndDrop", Balanced, 2019.0, true, {{"REALUnlockObject"}}, nullptr},
    {"but is tried", "TakeAndDrop", Unbalanced, 2019.0, true, {{"REALUnlockObject"}}, "* has 1 reference(s) too many"},
    {"failing is like missing", "TakeAndDrop", Balanced, 2019.0, true, {kFailingLock}, nullptr},
    {"when dropping, too", "TakeAndDrop", Balanced, 2019.0, true, {kFailingUnlock}, nullptr},
    {"a lock for ever", "LockAndUnlock", Balanced, 2019.0, true, {{"unlockPictureDescription"}}, nullptr},
    {"but it is tried", "LockAndUnlock", Unbalanced, 2019.0, true, {{"unlockPictureDescription"}}, kLocked},
    {"hosts before 2012 leave a lock when they fail", "LockAndUnlock", Balanced, 2011.99, false, {}, nullptr},
    {"which must be taken back", "LockAndUnlock", Unbalanced, 2011.99, false, {}, kLocked},
    {"hosts of unknown version do, too", "LockAndUnlock", Balanced, {}, false, {}, nullptr},
    {"and without the lock", "LockAndUnlock", Balanced, {}, true, {{"REALLockPictureDescription"}}, nullptr},
    {"those from 2012 on do not", "LockAndUnlock", Balanced, 2012.0, false, {}, kNotLocked},
    {"a failed lock is none", "LockAndUnlock", Unbalanced, 2012.0, true, {kWideLock}, nullptr},
};

TEST(Faults, AreBalancedByTheAttempts) {
    for (const auto &row : kBalances) {
        SCOPED_TRACE(std::string(row.what) + ", " + row.method);
        BadHost host({.version = row.version, .faults = row.faults});
        const Ref picture = host.Make({.width = 5, .height = 3, .lockable = row.lockable});
        host.Call(picture, row.method, row.ends == Balanced);
        const std::vector<std::string> violations = host.TakeViolations();
        ASSERT_EQ(violations.size(), row.violation ? 1u : 0u) << testing::PrintToString(violations);
        if (row.violation) {
            EXPECT_TRUE(
                violations.front().starts_with(Sentence(row.violation, "picture #1 (5 x 3, first byte skipped)", "")))
                << violations.front();
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
