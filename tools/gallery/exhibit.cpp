#include "tools/gallery/gallery.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace tools::gallery {
namespace {

using namespace standin;

constexpr int kRuns = 7;
constexpr const char *kMask = "oval.png"; ///< what gets attached

/// The least of the times that a few runs tell, in milliseconds.
template <class Run> double BestOf(Run run) {
    auto best = std::chrono::nanoseconds::max();
    for (int i = 0; i < kRuns; ++i)
        best = std::min<std::chrono::nanoseconds>(best, run());
    return static_cast<double>(best.count()) / 1e6;
}

/// The picture that a call of methods.json runs on; empty: it needs none.
std::string InputOf(const Json &shot) {
    const auto on = shot.find("on");
    return on == shot.end() ? "photo.png" : on->is_null() ? "" : on->get<std::string>();
}

/// The variable that stands for a file in a script: its name up to the dot.
std::string VariableFor(std::string_view path) { return std::string(path.substr(0, path.find('.'))); }

std::string ValueFor(const Parameter &parameter, const Argument &argument, const std::string &current) {
    if (parameter.byref)
        return parameter.name;
    if (SameName(argument.text, "me"))
        return current;
    if (argument.form == Argument::Form::FileBytes)
        return VariableFor(argument.text) + "Bytes";
    if ((parameter.type == Type::Picture || parameter.type == Type::MemoryBlock) && !SameName(argument.text, "nil"))
        return VariableFor(argument.text);
    return argument.form == Argument::Form::Quoted ? fmt::format("\"{}\"", argument.text) : argument.text;
}

std::string Base64(const Bytes &bytes) {
    constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve(bytes.size() / 3 * 4 + 4);
    for (std::size_t bit = 0; bit < 8 * bytes.size(); bit += 6) {
        const std::size_t at = bit / 8;
        const unsigned pair = 256U * bytes[at] + (at + 1 < bytes.size() ? bytes[at + 1] : 0U);
        text += kDigits[pair >> (10 - bit % 8) & 63];
    }
    return text.append((3 - bytes.size() % 3) % 3, '=');
}

/// Drawn pictures are small without loss; photos are not.
std::string AddressOf(const Image &image) {
    std::size_t repeated = 0;
    for (std::size_t at = 4; at < image.pixels.size(); at += 4)
        if (std::memcmp(&image.pixels[at], &image.pixels[at - 4], 4) == 0)
            ++repeated;
    const bool exact = image.hasAlpha || repeated > image.pixels.size() / 4 * 4 / 5;
    return fmt::format("data:image/{};base64,{}", exact ? "png" : "jpeg",
                       Base64(FileOf(exact ? "a.png" : "a.jpg", image)));
}

/// The number of a picture of the page, which holds each once however often it is shown.
std::size_t NumberOf(const Image &image, Json &pictures) {
    Json picture = {
        {"width", image.width}, {"height", image.height}, {"alpha", image.hasAlpha}, {"address", AddressOf(image)}};
    const auto number =
        static_cast<std::size_t>(std::find(pictures.begin(), pictures.end(), picture) - pictures.begin());
    if (number == pictures.size())
        pictures.push_back(std::move(picture));
    return number;
}

/// Of each level, in red, green and blue.
using Counters = std::array<std::array<std::uint32_t, 256>, 3>;

Counters CountLevels(const Image &image) {
    Counters counters = {};
    for (std::size_t at = 0; at < image.pixels.size(); at += 4)
        for (std::size_t channel = 0; channel < 3; ++channel)
            ++counters[channel][image.pixels[at + channel]];
    return counters;
}

/// What each channel makes of the levels 0..255.
Counters Curve(Host &host, const BoundCall &bound) {
    Ref picture = MakePicture(host, Draw(256, 1, false, [](int level, int) {
                                  return Color{level, level, level, 255};
                              }));
    RunCall(host, bound, picture);
    const Image image = ImageOf(picture.picture());
    Counters curve = {};
    for (std::size_t level = 0; level < 256; ++level)
        for (std::size_t channel = 0; channel < 3; ++channel)
            curve[channel][level] = image.pixels[4 * level + channel];
    return curve;
}

/// A call of methods.json as a script has it, of a class the lines that make an instance and run it. Pictures, blocks
/// and strings from files are variables; what comes back is `result`, and variables of `byref` parameters bear their
/// names.
std::string ScriptFor(const Json &shot, const BoundCall &bound) {
    const Call &call = bound.call;
    const std::string current = VariableFor(InputOf(shot));
    const Declaration &declaration = bound.method->declaration;
    if (bound.target == BoundCall::Target::Class) {
        std::string script = fmt::format("dim tool as new {}\ntool.SourcePicture = {}\n", bound.name, current);
        for (const Argument &argument : call.arguments)
            script += argument.name.empty()
                          ? fmt::format("// and what {} holds into tool.Table(r, g, b, channel)\n", argument.text)
                          : fmt::format("tool.{} = {}\n", argument.name, argument.text);
        return script + fmt::format("if tool.{} then result = tool.DestinationPicture", declaration.name);
    }
    std::vector<std::string> values;
    for (std::size_t i = 0; i < call.arguments.size(); ++i)
        values.push_back(ValueFor(declaration.parameters[i], call.arguments[i], current));
    return fmt::format("{}{}{}{}{}", !call.assigned && declaration.result != Type::Nothing ? "result = " : "",
                       bound.target == BoundCall::Target::PictureMethod ? current + "." : "", declaration.name,
                       values.empty() ? "" : fmt::format("({})", fmt::join(values, ", ")),
                       call.assigned ? " = " + VariableFor(call.assigned->text) : "");
}

/// The same for the shell, to be run where the materials lie. Empty when no file can hold such a picture. `output`
/// names what is saved, nothing when it is empty.
std::string CommandFor(const Json &shot, const HostOptions &options, const std::string &output) {
    const std::string as = shot.value("as", "");
    if (as == "masked" || as == "graphics world")
        return {};
    const std::string input = InputOf(shot);
    const auto call = shot["call"].get<std::string>();
    const bool isWord = std::all_of(call.begin(), call.end(), [](unsigned char c) { return std::isalnum(c); });
    std::string command = input.empty() ? "kvt make" : "kvt apply " + input;
    command += fmt::format(fmt::runtime(isWord ? " {}" : " '{}'"), call) + (as == "with alpha" ? " --alpha" : "");
    const HostOptions usual;
    const std::tuple<const char *, std::string, std::string> added[] = {
        {"-o", output, ""},
        {"--host", options.host, usual.host},
        {"--layout", options.layout, usual.layout},
        {"--host-version", options.version, usual.version}};
    for (const auto &[option, value, usually] : added)
        if (value != usually)
            command += fmt::format(" {} {}", option, value);
    return command;
}

/// Makes a call, and tells of it in its data.
struct Studio {
    Host &host;
    const Json &method;
    Json &shot;
    Json &pictures;
    Folder &folder;
    const std::string as = shot.value("as", "");
    std::optional<Image> input = {};
    std::optional<Image> mask = {}; ///< to be attached
    std::optional<Image> before = {};
    std::optional<Image> after = {};
    std::optional<Image> other = {}; ///< that the call was given last

    /// What is saved, nothing when that is nothing.
    std::string Make() {
        const std::string path = InputOf(shot);
        if (!path.empty())
            input = ReadImage(path);
        if (as == "masked")
            mask = ReadImage(kMask);
        bool hasPicture = input.has_value();
        const BoundCall bound = BindLine(host, shot["call"].get_ref<const std::string &>(), hasPicture).at(0);
        shot["script"] = ScriptFor(shot, bound);
        ShowArguments(bound);
        const Result result = MakeCalls(bound);
        AddCharts(bound, result);
        if (!bound.YieldsString())
            return after ? "out.png" : "";
        std::string output = VariableFor(path) + ".ppic";
        const auto bytes = AsBytes(result.value.AsRef().text().bytes());
        KeepBytes(bytes);
        folder.Write(output, bytes);
        return output;
    }

    Ref MakeInput() {
        if (!input)
            return {};
        if (as == "graphics world") // as the host keeps pictures for its older drawing
            return host.Make({.width = input->width,
                              .height = input->height,
                              .form = standin::Form::GraphicsWorld,
                              .color = [&](int x, int y) {
                                  const unsigned char *pixel = input->At(x, y);
                                  return MakeColor(pixel[0], pixel[1], pixel[2]);
                              }});
        input->hasAlpha = input->hasAlpha || as == "with alpha";
        Ref picture = MakePicture(host, *input);
        if (mask)
            host.AttachMask(picture, MakePicture(host, *mask));
        return picture;
    }

    void ShowOther(const std::string &name, const Image &image) {
        shot["others"].push_back({{"name", name}, {"picture", NumberOf(image, pictures)}});
    }

    void ShowArguments(const BoundCall &bound) {
        std::vector<Argument> arguments = bound.call.arguments;
        if (bound.call.assigned)
            arguments.push_back(*bound.call.assigned);
        for (const Argument &argument : arguments) {
            if (argument.form == Argument::Form::FileBytes)
                KeepBytes(ReadBytes(argument.text));
            else if (IsPicturePath(argument.text))
                ShowOther(argument.text, other.emplace(ReadImage(argument.text)));
        }
        if (mask)
            ShowOther("the mask", *mask);
    }

    void KeepBytes(std::span<const unsigned char> bytes) {
        shot["bytes"] = Json(Bytes(bytes.begin(), bytes.begin() + std::min<std::ptrdiff_t>(std::ssize(bytes), 64)));
    }

    Result MakeCalls(const BoundCall &bound) {
        Result result;
        Ref given;
        Ref picture;
        const double time = BestOf([&] {
            picture = given = MakeInput();
            if (given && !before)
                before = ImageOf(given.picture());
            result = RunCall(host, bound, picture);
            return result.time - result.timeInHost;
        });
        const bool changed = given && ImageOf(given.picture()).pixels != before->pixels;
        if (before)
            shot["before"] = NumberOf(*before, pictures);
        if (picture && (bound.YieldsPicture() || changed))
            shot["after"] = NumberOf(after.emplace(ImageOf(picture.picture())), pictures);
        shot["ms"] = time;
        shot["ratio"] = time / TimeOfMemcpy((after ? *after : *before).pixels.size());
        if (!bound.YieldsPicture() && !result.value.IsNil())
            shot["facts"].push_back({"result", Shown(Told("result", bound.method->declaration.result, result.value))});
        for (const auto &[name, value] : result.byref)
            if (!value.Is<Ref>()) // blocks are charts
                shot["facts"].push_back({name, Shown(Told(name, Type::Integer, value))});
        // Where the other picture was found.
        if (result.value.Is<bool>() && result.value.AsBoolean() && result.byref.size() == 2 && other)
            shot["frames"].push_back(
                {result.byref[0].second.AsInteger(), result.byref[1].second.AsInteger(), other->width, other->height});
        return result;
    }

    void AddCharts(const BoundCall &bound, const Result &result) {
        const auto charts = method.value("charts", std::string());
        const bool whole = !shot.contains("frames");
        if (whole && charts.find("curve") != charts.npos)
            shot["curve"] = Curve(host, bound);
        if (charts.find("histograms") == charts.npos)
            return;
        if (after && whole) {
            shot["histograms"].push_back({"levels before", CountLevels(*before)});
            shot["histograms"].push_back({"levels after", CountLevels(*after)});
        } else if (!after) { // counted by the call itself, in blocks of 32-bit words for red, green and blue
            Counters counters = {};
            for (std::size_t channel = 0; channel < std::min<std::size_t>(result.byref.size(), 3); ++channel) {
                const auto bytes = AsBytes(result.byref[channel].second.AsRef().block());
                std::memcpy(&counters[channel], bytes.data(), std::min(bytes.size(), sizeof counters[channel]));
            }
            shot["histograms"].push_back({"levels as counted", counters});
        }
    }
};

} // namespace

void Render(Host &host, const HostOptions &options, const Json &method, Json &shot, Json &pictures, Folder &folder) {
    std::string failure;
    std::string output;
    try {
        output = Studio{host, method, shot, pictures, folder}.Make();
    } catch (const std::runtime_error &error) {
        failure = error.what();
    }
    for (const std::string &violation : host.TakeViolations()) {
        failure += fmt::format("{}violation: {}", failure.empty() ? "" : "\n", violation);
        shot["violated"] = true;
    }
    if (!failure.empty())
        shot["failure"] = failure;
    shot["command"] = CommandFor(shot, options, output);
}

double TimeOfMemcpy(std::size_t bytes) {
    const Bytes from(bytes, 1);
    Bytes to(bytes, 2);
    return BestOf([&] {
        to[bytes / 2] = 2;
        const auto start = std::chrono::steady_clock::now();
        std::memcpy(to.data(), from.data(), bytes);
        const auto end = std::chrono::steady_clock::now();
        if (to[bytes / 2] != 1) // which also keeps the compiler from leaving the copy out
            throw std::logic_error("memcpy did not copy");
        return end - start;
    });
}

} // namespace tools::gallery
