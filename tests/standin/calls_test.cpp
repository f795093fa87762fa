#include "support/faulty_host.h"

/// How scripts call what was registered, and how a module is loaded.
namespace {

using namespace standin;

/// A host of the faulty module, with some of its methods.
class Calls : public testing::Test {
  protected:
    const Faults faults{"Which Store Stored DoubleUnlock WrongKind"};
    TestHost host{{.module = FaultyModule()}};
    const Ref picture = host.Make({.width = 5, .height = 3});
};

template <class Body> std::string MessageOf(Body body) {
    try {
        body();
    } catch (const std::exception &problem) {
        return problem.what();
    }
    return "nothing was wrong";
}

TEST_F(Calls, LeaveToTheHostWhatAScriptStillHoldsAtTheEnd) {
    host.Finish();
    EXPECT_EQ(host.TakeViolations(),
              std::vector<std::string>{"picture #1 (5 x 3, first byte skipped) outlives the host"});
}

constexpr struct {
    const char *text;
    const char *message;
} kNoDeclarations[] = {
    {"", "expected a name at character 1 of \"\""},
    {"F(", "expected a parameter's name at character 3 of \"F(\""},
    {"F(a)", "expected \"as\" at character 4 of \"F(a)\""},
    {"F(a as int)", "expected a known type at character 8 of \"F(a as int)\""},
    {"F(a as integer b as integer)", "expected \",\" or \")\" at character 16 of \"F(a as integer b as integer)\""},
    {"F as picture twice", "expected the end at character 14 of \"F as picture twice\""},
};

TEST(Declarations, SayWhatIsWrongAndWhere) {
    for (const auto &row : kNoDeclarations)
        EXPECT_EQ(MessageOf([&] { ParseDeclaration(row.text); }), std::string("not a declaration: ") + row.message);
}

TEST(Numbers, AreReadInEveryNotation) {
    constexpr struct {
        const char *text;
        std::optional<double> value;
    } kNumbers[] = {{"10", 10.0},    {"-10000", -10000.0}, {"0.5", 0.5},  {"&c203F4E", 0x203F4E},
                    {"&hFF", 255.0}, {"&c", {}},           {"&cGG", {}},  {"1x", {}},
                    {"", {}},        {" 1", {}},           {"&c12x", {}}, {"&c123456789", {}},
                    {"nil", {}}};
    for (const auto &row : kNumbers)
        EXPECT_EQ(ParseNumber(row.text), row.value) << row.text;
}

TEST_F(Calls, ChooseTheFirstOverloadThatFits) {
    EXPECT_EQ(host.Call(picture, "Which", 7).value.AsInteger(), 1);
    EXPECT_EQ(host.Call(picture, "which", 7.5).value.AsInteger(), 2);
    EXPECT_EQ(host.Call(picture, "WHICH", 7, false).value.AsInteger(), 2);
    EXPECT_EQ(host.Call(picture, "Which", std::int64_t{1} << 31).value.AsInteger(), 2);
}

TEST_F(Calls, GiveVariablesBackAndTakeAssignments) {
    const Result result = host.Call(picture, "Store", -5, 100, 0.0, true);
    ASSERT_EQ(result.byref.size(), 3u);
    EXPECT_EQ(result.byref[0].first, "i");
    EXPECT_EQ(result.byref[0].second.AsInteger(), 95);
    EXPECT_EQ(result.byref[1].second.AsDouble(), -2.5);
    EXPECT_FALSE(result.byref[2].second.AsBoolean());
    host.Assign(picture, "Stored", {3}, 0xFFFFFFFFu);
    EXPECT_EQ(host.Call(picture, "Stored", 2).value.AsInteger(), 0xFFFFFFFE) << "unsigned, and the index is left out";
    EXPECT_EQ(host.Call(picture, "Stored").value.AsInteger(), 0xFFFFFFFC);
}

TEST_F(Calls, ThatDoNotFitSayWhy) {
    const Ref block = host.MakeBlock(4);
    const struct {
        const char *method;
        std::vector<Value> arguments;
        const char *message; ///< for the last overload
    } kWrong[] = {
        {"Nothing", {}, "no method is called \"Nothing\""},
        {"Which", {}, "1 to 2 argument(s) expected, 0 given"},
        {"DoubleUnlock", {1}, "0 argument(s) expected, 1 given"},
        {"Which", {nullptr}, "a is Double, not nil"},
        {"Which", {true}, "a is Double, not a boolean"},
        {"Which", {1.5, 1}, "b is Boolean, not a number"},
        {"Stored", {1.5}, "index is UInt32, not a double"},
        {"Stored", {std::int64_t{1} << 32}, "index is UInt32, not 4294967296, which has too many bits"},
        {"WrongKind", {5}, "b is MemoryBlock, not a number"},
        {"WrongKind", {NoVariable{}}, "b is MemoryBlock, not a variable"},
        {"Store", {1, block, 0.0, true}, "i is Integer, not memory block #2 (4 bytes)"},
    };
    for (const auto &row : kWrong) {
        const std::string message = MessageOf([&] { host.CallWith(picture, row.method, row.arguments); });
        EXPECT_TRUE(message.ends_with(row.message)) << message;
    }
    EXPECT_EQ(MessageOf([&] { host.Assign(picture, "Which", {1}, 1); }), "Which cannot be assigned to");
    EXPECT_EQ(MessageOf([&] { host.Assign(picture, "Stored", {1}, -1); }),
              "the assigned value is Color, not -1, which has too many bits");
    EXPECT_EQ(MessageOf([&] { host.New("Nowhere"); }), "no class is called \"Nowhere\"");
}

TEST(Modules, ThatCannotPlayTheirPartAreRefused) {
    const auto load = [](std::string file) { return MessageOf([&] { Host host({.module = std::move(file)}); }); };
    EXPECT_TRUE(load("/nowhere.so").starts_with("the module cannot be loaded: "));
    const std::string beside = std::filesystem::path(FaultyModule()).parent_path().string();
    EXPECT_TRUE(load(beside + "/Frameworks/ApplicationServices.framework/ApplicationServices")
                    .ends_with("exports no REALPluginMain"));
    const TestHost host({.module = FaultyModule()});
    EXPECT_EQ(load(""), "one host lives at a time");
    EXPECT_TRUE(
        MessageOf([] { ModuleFile{FaultyModule()}; }).ends_with(" is still loaded, so it would not start afresh"));
}

} // namespace
