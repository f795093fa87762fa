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

double Milliseconds(std::chrono::nanoseconds time) { return static_cast<double>(time.count()) / 1e6; }

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
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        std::uint32_t group = 0;
        const std::size_t held = std::min<std::size_t>(3, bytes.size() - at);
        for (std::size_t i = 0; i < 3; ++i)
            group = group << 8 | (i < held ? bytes[at + i] : 0U);
        for (std::size_t digit = 0; digit < 4; ++digit)
            text += digit <= held ? kDigits[group >> (18 - 6 * digit) & 63] : '=';
    }
    return text;
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

using Counters = std::array<std::array<std::uint32_t, 256>, 3>;

Counters CountLevels(const Image &image) {
    Counters counters = {};
    for (std::size_t at = 0; at < image.pixels.size(); at += 4)
        for (std::size_t channel = 0; channel < 3; ++channel)
            ++counters[channel][image.pixels[at + channel]];
    return counters;
}

/// What each channel makes of the levels 0..255.
Json Curve(Host &host, const BoundCall &bound) {
    const Image ramp = Draw(256, 1, false, [](int level, int) { return Color{level, level, level, 255}; });
    Ref picture = MakePicture(host, ramp);
    RunCall(host, bound, picture);
    const Image image = ImageOf(picture.picture());
    Json curve = {Json::array(), Json::array(), Json::array()};
    for (int level = 0; level < image.width; ++level)
        for (std::size_t channel = 0; channel < 3; ++channel)
            curve[channel].push_back(image.At(level, 0)[channel]);
    return curve;
}

/// The whole number that a parameter or property has.
int NumberOf(const BoundCall &bound, std::string_view name, int otherwise) {
    for (const auto &[known, slot] : bound.arguments)
        if (known == name && slot && slot->Is<std::int64_t>())
            return static_cast<int>(slot->AsInteger());
    return otherwise;
}

/// The area that the call is limited to; nothing when it is the whole picture or empty.
std::optional<std::array<int, 4>> AreaOf(const BoundCall &bound, int width, int height) {
    const int left = NumberOf(bound, "left", NumberOf(bound, "MinX", 0));
    const int top = NumberOf(bound, "top", NumberOf(bound, "MinY", 0));
    const int right = std::min(width, NumberOf(bound, "MaxX", left + NumberOf(bound, "width", width)));
    const int bottom = std::min(height, NumberOf(bound, "MaxY", top + NumberOf(bound, "height", height)));
    const bool whole = left == 0 && top == 0 && right == width && bottom == height;
    if (whole || left >= right || top >= bottom)
        return std::nullopt;
    return std::array{left, top, right - left, bottom - top};
}

/// Makes one call, and tells of it in `exhibit`.
class Studio {
  public:
    Studio(Host &host, const Json &method, const Json &shot, Pictures &pictures, Folder &folder, Json &exhibit)
        : host_(host), method_(method), as_(shot.value("as", "")), shot_(shot), pictures_(pictures), folder_(folder),
          exhibit_(exhibit) {}

    /// What is saved, nothing when that is nothing.
    std::string Make() {
        const std::string path = InputOf(shot_);
        if (!path.empty())
            input_ = ReadImage(path);
        if (as_ == "masked")
            mask_ = ReadImage(kMask);
        bool hasPicture = input_.has_value();
        const BoundCall bound = BindLine(host_, shot_["call"].get_ref<const std::string &>(), hasPicture).at(0);
        exhibit_["script"] = ScriptFor(shot_, bound);
        ShowArguments(bound);
        const Result result = MakeCalls(bound);
        AddCharts(bound, result);
        if (!bound.YieldsString())
            return after_ ? "out.png" : "";
        const std::string output = VariableFor(path) + ".ppic";
        const auto bytes = AsBytes(result.value.AsRef().text().bytes());
        KeepBytes(bytes);
        folder_.Write(output, bytes);
        return output;
    }

  private:
    Ref MakeInput() {
        if (!input_)
            return {};
        if (as_ == "graphics world") // as the host keeps pictures for its older drawing
            return host_.Make({.width = input_->width,
                               .height = input_->height,
                               .form = standin::Form::GraphicsWorld,
                               .color = [&](int x, int y) {
                                   const unsigned char *pixel = input_->At(x, y);
                                   return MakeColor(pixel[0], pixel[1], pixel[2]);
                               }});
        input_->hasAlpha = input_->hasAlpha || as_ == "with alpha";
        Ref picture = MakePicture(host_, *input_);
        if (mask_)
            host_.AttachMask(picture, MakePicture(host_, *mask_));
        return picture;
    }

    void ShowOther(const std::string &name, const Image &image) {
        exhibit_["others"].push_back({{"name", name}, {"picture", pictures_.Add(image)}});
    }

    void ShowArguments(const BoundCall &bound) {
        std::vector<Argument> arguments = bound.call.arguments;
        if (bound.call.assigned)
            arguments.push_back(*bound.call.assigned);
        for (const Argument &argument : arguments) {
            if (argument.form == Argument::Form::FileBytes)
                KeepBytes(ReadBytes(argument.text));
            else if (IsPicturePath(argument.text))
                ShowOther(argument.text, other_.emplace(ReadImage(argument.text)));
            else if (EndingOf(argument.text) == ".wav")
                exhibit_["sound"] = {{"file", argument.text}, {"samples", NumberOf(bound, "SampleCount", 0)}};
        }
        if (mask_)
            ShowOther("the mask", *mask_);
        if (const auto area = input_ ? AreaOf(bound, input_->width, input_->height) : std::nullopt)
            exhibit_["frames"].push_back(*area);
    }

    void KeepBytes(std::span<const unsigned char> bytes) {
        const auto first = bytes.first(std::min<std::size_t>(bytes.size(), 64));
        exhibit_["bytes"] = std::vector<int>(first.begin(), first.end());
    }

    Result MakeCalls(const BoundCall &bound) {
        auto best = std::chrono::nanoseconds::max();
        Result result;
        Ref input;
        Ref picture;
        for (int run = 0; run < kRuns; ++run) {
            input = MakeInput();
            if (input && run == 0)
                before_ = ImageOf(input.picture());
            picture = input;
            result = RunCall(host_, bound, picture);
            best = std::min(best, result.time - result.timeInHost);
        }
        const bool changed = input && ImageOf(input.picture()).pixels != before_->pixels;
        if (before_)
            exhibit_["before"] = pictures_.Add(*before_);
        if (picture && (bound.YieldsPicture() || changed)) {
            after_ = ImageOf(picture.picture());
            exhibit_["after"] = pictures_.Add(*after_);
        }
        const Image &measured = after_ ? *after_ : *before_;
        exhibit_["ms"] = Milliseconds(best);
        exhibit_["ratio"] = Milliseconds(best) / TimeOfMemcpy(measured.pixels.size());
        if (!bound.YieldsPicture() && !result.value.IsNil())
            exhibit_["facts"].push_back({"result", Shown(result.value)});
        for (const auto &[name, value] : result.byref)
            if (!value.Is<Ref>()) // blocks are charts
                exhibit_["facts"].push_back({name, Shown(value)});
        // Where the other picture was found.
        if (result.value.Is<bool>() && result.value.AsBoolean() && result.byref.size() == 2 && other_)
            exhibit_["frames"].push_back({result.byref[0].second.AsInteger(), result.byref[1].second.AsInteger(),
                                          other_->width, other_->height});
        return result;
    }

    void AddCharts(const BoundCall &bound, const Result &result) {
        const Json charts = method_.value("charts", Json::array());
        const auto wants = [&](const char *chart) {
            return std::find(charts.begin(), charts.end(), chart) != charts.end();
        };
        const bool whole = !exhibit_.contains("frames");
        if (wants("curve") && whole)
            exhibit_["curve"] = Curve(host_, bound);
        if (!wants("histograms"))
            return;
        if (after_ && whole) {
            exhibit_["histograms"].push_back({"levels before", CountLevels(*before_)});
            exhibit_["histograms"].push_back({"levels after", CountLevels(*after_)});
        } else if (!after_) { // counted by the call itself, in blocks of 32-bit words for red, green and blue
            Counters counters = {};
            for (std::size_t channel = 0; channel < std::min<std::size_t>(result.byref.size(), 3); ++channel) {
                const auto bytes = AsBytes(result.byref[channel].second.AsRef().block());
                std::memcpy(&counters[channel], bytes.data(), std::min(bytes.size(), sizeof counters[channel]));
            }
            exhibit_["histograms"].push_back({"levels as counted", counters});
        }
    }

    Host &host_;
    const Json &method_;
    const std::string as_;
    const Json &shot_;
    Pictures &pictures_;
    Folder &folder_;
    Json &exhibit_;
    std::optional<Image> input_;
    std::optional<Image> mask_; ///< to be attached
    std::optional<Image> before_;
    std::optional<Image> after_;
    std::optional<Image> other_; ///< that the call was given last
};

} // namespace

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

std::string CommandFor(const Json &shot, const HostOptions &options, std::string_view output) {
    const std::string as = shot.value("as", "");
    if (as == "masked" || as == "graphics world")
        return {};
    const std::string input = InputOf(shot);
    const auto call = shot["call"].get<std::string>();
    const bool isWord = std::all_of(call.begin(), call.end(), [](unsigned char c) { return std::isalnum(c); });
    std::string command = input.empty() ? "kvt make" : "kvt apply " + input;
    const auto add = [&](std::string_view option, std::string_view value, std::string_view usual = {}) {
        if (value != usual)
            command += fmt::format(" {} {}", option, value);
    };
    command += fmt::format(fmt::runtime(isWord ? " {}" : " '{}'"), call) + (as == "with alpha" ? " --alpha" : "");
    const HostOptions usual;
    add("-o", output);
    add("--host", options.host, usual.host);
    add("--layout", options.layout, usual.layout);
    add("--host-version", options.version, usual.version);
    return command;
}

std::size_t Pictures::Add(const Image &image) {
    const auto [held, isNew] = numbers.emplace(AddressOf(image), list.size());
    if (isNew)
        list.push_back(
            {{"width", image.width}, {"height", image.height}, {"alpha", image.hasAlpha}, {"address", held->first}});
    return held->second;
}

Json Render(Host &host, const HostOptions &options, const Json &method, const Json &shot, Pictures &pictures,
            Folder &folder) {
    Json exhibit = Json::object();
    std::string failure;
    std::string output;
    try {
        output = Studio(host, method, shot, pictures, folder, exhibit).Make();
    } catch (const std::runtime_error &error) {
        failure = error.what();
    }
    for (const std::string &violation : host.TakeViolations()) {
        failure += fmt::format("{}violation: {}", failure.empty() ? "" : "\n", violation);
        exhibit["violated"] = true;
    }
    if (!failure.empty())
        exhibit["failure"] = failure;
    exhibit["command"] = CommandFor(shot, options, output);
    return exhibit;
}

double TimeOfMemcpy(std::size_t bytes) {
    const Bytes from(bytes, 1);
    Bytes to(bytes, 2);
    auto best = std::chrono::nanoseconds::max();
    for (int run = 0; run < kRuns; ++run) {
        to[bytes / 2] = 2;
        const auto start = std::chrono::steady_clock::now();
        std::memcpy(to.data(), from.data(), bytes);
        best = std::min<std::chrono::nanoseconds>(best, std::chrono::steady_clock::now() - start);
        if (to[bytes / 2] != 1) // which also keeps the compiler from leaving the copy out
            throw std::logic_error("memcpy did not copy");
    }
    return Milliseconds(best);
}

} // namespace tools::gallery
