#include "tools/gallery/gallery.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace tools::gallery {
namespace {

using namespace standin;

constexpr int kRuns = 7;

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

/// What the page must know of a call's declaration to write it as a script does.
Json FormOf(const BoundCall &bound) {
    Json byref = Json::object();
    const Declaration &declaration = bound.method->declaration;
    for (std::size_t i = 0; i < declaration.parameters.size(); ++i)
        if (declaration.parameters[i].byref)
            byref[std::to_string(i)] = declaration.parameters[i].name;
    return {{"onPicture", bound.target == BoundCall::Target::PictureMethod},
            {"hasResult", !bound.assigned && declaration.result != Type::Nothing},
            {"byref", byref}};
}

/// Makes a call, and tells of it in its data.
struct Studio {
    Host &host;
    const Json &method;
    Json &shot;
    Json &pictures;
    const std::string as = shot.value("as", "");
    std::optional<Image> input = {};
    std::optional<Image> mask = {}; ///< to be attached
    std::optional<Image> before = {};
    std::optional<Image> after = {};
    std::optional<Image> other = {}; ///< that the call was given last

    void Make() {
        const std::string path = InputOf(shot);
        if (!path.empty())
            input = ReadImage(path);
        if (as == "masked")
            mask = ReadImage("oval.png");
        bool hasPicture = input.has_value();
        const BoundCall bound = BindLine(host, shot["call"].get_ref<const std::string &>(), hasPicture).at(0);
        shot["form"] = FormOf(bound);
        ShowArguments(bound);
        const Result result = MakeCalls(bound);
        AddCharts(bound, result);
        if (after)
            shot["output"] = "out.png";
        if (!bound.YieldsString())
            return;
        const auto bytes = AsBytes(result.value.AsRef().text().bytes());
        const std::string output = std::filesystem::path(path).replace_extension(".ppic").string();
        shot["output"] = output;
        KeepBytes(bytes);
        WriteBytes(output, bytes);
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

void Render(Host &host, const Json &method, Json &shot, Json &pictures) {
    std::string failure;
    try {
        Studio{host, method, shot, pictures}.Make();
    } catch (const std::runtime_error &error) {
        failure = error.what();
    }
    for (const std::string &violation : host.TakeViolations()) {
        failure += fmt::format("{}violation: {}", failure.empty() ? "" : "\n", violation);
        shot["violated"] = true;
    }
    if (!failure.empty())
        shot["failure"] = failure;
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
