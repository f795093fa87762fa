#include "tools/call_parser.h"

#include <gtest/gtest.h>

namespace tools {
namespace {

using Form = Argument::Form;

std::vector<Call> Parse(std::string_view line) {
    return ParseCalls(line, [](std::string_view name) { return std::string(name.ends_with("KVT") ? "declared" : ""); });
}

constexpr struct {
    const char *what;
    const char *call;
    Form form;
    const char *name;
    const char *text;
} kValues[] = {
    {"number", "M(-12.5)", Form::Bare, "", "-12.5"},
    {"bare path", "M(some/mask-2.png)", Form::Bare, "", "some/mask-2.png"},
    {"quoted path keeps spaces, commas and signs", "M(\"a, b)=c.png\")", Form::Quoted, "", "a, b)=c.png"},
    {"a quote inside is written twice", "M(\"say \"\"no\"\"\")", Form::Quoted, "", "say \"no\""},
    {"nil in quotes is text", "M(\"nil\")", Form::Quoted, "", "nil"},
    {"bytes of a file", "M(@in.ppic)", Form::FileBytes, "", "in.ppic"},
    {"bytes of a quoted file", "M(@\"my in.ppic\")", Form::FileBytes, "", "my in.ppic"},
    {"property", "M(SepiaRed=40)", Form::Bare, "SepiaRed", "40"},
    {"property with spaces", "M( Table = \"a=b.cube\" )", Form::Quoted, "Table", "a=b.cube"},
};

TEST(CallParser, ReadsValues) {
    for (const auto &row : kValues) {
        SCOPED_TRACE(row.what);
        const Call call = Parse(row.call).at(0);
        ASSERT_EQ(call.arguments.size(), 1u);
        EXPECT_EQ(call.arguments[0].form, row.form);
        EXPECT_EQ(call.arguments[0].name, row.name);
        EXPECT_EQ(call.arguments[0].text, row.text);
    }
}

TEST(CallParser, ReadsLinesOfScripts) {
    const struct {
        const char *line;
        const char *calls; ///< name, argument with the text at its place, member, assigned value; of each
    } kLines[] = {
        {" InvertKVT ", "InvertKVT,,,;"},
        {"InvertKVT()", "InvertKVT,,,;"},
        {"InvertKVT (10,20 , 200)", "InvertKVT,10 1020 20200 200,,;"},
        {"me.InvertKVT(10)", "InvertKVT,10 10,,;"},
        {"result = p.InvertKVT(10)", "InvertKVT,10 10,,;"},
        {"p.InvertKVT(1).TintKVT( 20 ).InvertKVT", "InvertKVT,1 1,,;TintKVT,20 20,,;InvertKVT,,,;"},
        {"PictureSepiaKVT(Red=4).Run", "PictureSepiaKVT,4 4,Run,;"},
        {"p.MaskKVT(a.png) = mask.png", "MaskKVT,a.png a.png,,mask.png;"},
        {"PictureSepiaKVT.Run", "PictureSepiaKVT,,Run,;"},
        {"MaskKVT = TintKVT.png", "MaskKVT,,,TintKVT.png;"},
        {"Unknown(3)", "Unknown,3 3,,;"},
        {"Dim result As Picture = p.InvertKVT", "InvertKVT,,,;"},
        {"var result = p.InvertKVT", "InvertKVT,,,;"},
    };
    for (const auto &row : kLines) {
        std::string read;
        for (const Call &call : Parse(row.line)) {
            read.append(call.name).append(",");
            for (const Argument &argument : call.arguments)
                read.append(argument.text).append(" ").append(argument.written);
            read.append(",").append(call.member).append(",");
            read.append(call.assigned ? call.assigned->text : "").append(";");
        }
        EXPECT_EQ(read, row.calls) << row.line;
    }
}

constexpr struct {
    const char *call;
    const char *error;
} kWrongCalls[] = {
    {"", "expected the name of a method or class at the end\n  \n  ^"},
    {"InvertKVT(10, 20 200)", "expected \",\" or \")\", not \"200\"\n  InvertKVT(10, 20 200)\n                   ^^^\n"
                              "declared"},
    {"M(10", "expected \",\" or \")\" at the end\n  M(10\n      ^"},
    {"M(1,,2)", "expected a value, not \",\"\n  M(1,,2)\n      ^"},
    {"M(\"open)", "a string has no closing double quote\n  M(\"open)\n    ^^^^^^"},
    {"M(@)", "expected a value, not \")\"\n  M(@)\n     ^"},
    {"M(1) x", "expected the end, not \"x\"\n  M(1) x\n       ^"},
    {"M(1).", "expected the name of a member at the end\n  M(1).\n       ^"},
    {"M(1) = a b", "expected the end, not \"b\"\n  M(1) = a b\n           ^"},
};

TEST(CallParser, SaysWhatWasExpectedAndWhere) {
    for (const auto &row : kWrongCalls) {
        SCOPED_TRACE(row.call);
        try {
            Parse(row.call);
            ADD_FAILURE() << "accepted";
        } catch (const CallError &error) {
            EXPECT_STREQ(error.what(), row.error);
        }
    }
}

} // namespace
} // namespace tools
