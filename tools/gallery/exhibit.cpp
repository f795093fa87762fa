#include "tools/gallery/exhibit.h"

#include "tools/call_parser.h"
#include "tools/gallery/lines.h"
#include "tools/run_call.h"

#include <algorithm>
#include <cstring>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <optional>

namespace tools::gallery {
namespace {

using standin::Ref;
using standin::Result;
using standin::Type;
using standin::Value;

constexpr int kRuns = 7;
constexpr const char *kMask = "oval.png"; ///< what gets attached

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
Json Curve(standin::Host &host, const BoundCall &bound) {
    Image ramp = MakeImage(256, 1);
    for (int level = 0; level < ramp.width; ++level)
        std::fill_n(ramp.At(level, 0), 3, static_cast<unsigned char>(level));
    Ref picture = MakePicture(host, ramp);
    RunCall(host, bound, picture);
    const Image image = ImageOf(picture.picture());
    Json curve = {Json::array(), Json::array(), Json::array()};
    for (int level = 0; level < image.width; ++level)
        for (std::size_t channel = 0; channel < 3; ++channel)
            curve[channel].push_back(image.At(level, 0)[channel]);
    return curve;
}

/// The whole numbers that were written for parameters and properties, by their names in small letters.
std::map<std::string, int> WrittenNumbers(const Call &call, const BoundCall &bound) {
    std::map<std::string, int> numbers;
    const auto keep = [&](std::string name, const Slot &slot) {
        const Value *value = std::get_if<Value>(&slot);
        std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
        if (value && value->Is<std::int64_t>())
            numbers[name] = static_cast<int>(value->AsInteger());
    };
    for (const auto &[name, slot] : bound.properties)
        keep(name, slot);
    for (std::size_t i = 0; i < std::min(call.arguments.size(), bound.arguments.size()); ++i)
        keep(bound.method->declaration.parameters[i].name, bound.arguments[i]);
    return numbers;
}

/// The area that the call is limited to; nothing when it is the whole picture or empty.
std::optional<std::array<int, 4>> AreaOf(const std::map<std::string, int> &numbers, int width, int height) {
    const auto written = [&](const char *name, int otherwise) {
        const auto found = numbers.find(name);
        return found == numbers.end() ? otherwise : found->second;
    };
    const bool isRectangle = numbers.contains("left");
    const int left = isRectangle ? written("left", 0) : written("minx", 0);
    const int top = isRectangle ? written("top", 0) : written("miny", 0);
    const int right = std::min(width, isRectangle ? left + written("width", width) : written("maxx", width));
    const int bottom = std::min(height, isRectangle ? top + written("height", height) : written("maxy", height));
    const bool whole = left == 0 && top == 0 && right == width && bottom == height;
    if (whole || left >= right || top >= bottom)
        return std::nullopt;
    return std::array{left, top, right - left, bottom - top};
}

/// Makes one call.
class Studio {
  public:
    Studio(standin::Host &host, const Json &method, const Json &shot, Pictures &pictures, Folder &folder)
        : host_(host), method_(method), as_(shot.value("as", "")), shot_(shot),
          call_(ParseCall(shot["call"].get<std::string>())), pictures_(pictures), folder_(folder) {}

    /// What is saved, nothing when that is nothing.
    std::string Make(Json &exhibit) {
        const std::string path = InputOf(shot_);
        if (!path.empty())
            input_ = ReadImage(path);
        const BoundCall bound = Bind(host_, call_, input_.has_value());
        exhibit["script"] = ScriptFor(shot_, call_, bound);
        ShowArguments(exhibit, bound);
        const std::string output = MakeCalls(exhibit, bound);
        AddCharts(exhibit, bound);
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
                                   return standin::MakeColor(pixel[0], pixel[1], pixel[2]);
                               }});
        Image image = *input_;
        image.hasAlpha = image.hasAlpha || as_ == "with alpha";
        Ref picture = MakePicture(host_, image);
        if (as_ == "masked")
            host_.AttachMask(picture, MakePicture(host_, ReadImage(kMask)));
        return picture;
    }

    void ShowArguments(Json &exhibit, const BoundCall &bound) {
        std::vector<Argument> arguments = call_.arguments;
        if (call_.assigned)
            arguments.push_back(*call_.assigned);
        const auto show = [&](const std::string &name, const std::string &path) {
            const Image image = ReadImage(path);
            exhibit["others"].push_back({{"name", name}, {"picture", pictures_.Add(image)}});
            other_ = image;
        };
        const std::map<std::string, int> numbers = WrittenNumbers(call_, bound);
        for (const Argument &argument : arguments) {
            if (argument.form == Argument::Form::FileBytes)
                KeepBytes(exhibit, ReadBytes(argument.text));
            else if (IsPicturePath(argument.text))
                show(argument.text, argument.text);
            else if (EndingOf(argument.text) == ".wav")
                exhibit["sound"] = {{"file", argument.text}, {"samples", numbers.at("samplecount")}};
        }
        if (as_ == "masked")
            show("the mask", kMask);
        if (const auto area = input_ ? AreaOf(numbers, input_->width, input_->height) : std::nullopt)
            exhibit["frames"].push_back(*area);
    }

    static void KeepBytes(Json &exhibit, std::span<const unsigned char> bytes) {
        const auto first = bytes.first(std::min<std::size_t>(bytes.size(), 64));
        exhibit["bytes"] = std::vector<int>(first.begin(), first.end());
    }

    std::string MakeCalls(Json &exhibit, const BoundCall &bound) {
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
            exhibit["before"] = pictures_.Add(*before_);
        if (picture && (bound.YieldsPicture() || changed)) {
            after_ = ImageOf(picture.picture());
            exhibit["after"] = pictures_.Add(*after_);
        }
        const Milliseconds time = best;
        const standin::Picture &measured = (picture ? picture : input).picture();
        exhibit["ms"] = time.count();
        exhibit["ratio"] = time / TimeOfMemcpy(4 * static_cast<std::size_t>(measured.width) *
                                               static_cast<std::size_t>(measured.height));
        if (!bound.YieldsPicture() && !result.value.IsNil())
            exhibit["facts"].push_back({"result", Shown(result.value)});
        for (const auto &[name, value] : result.byref)
            if (!value.Is<Ref>()) // blocks are charts
                exhibit["facts"].push_back({name, Shown(value)});
        // Where the other picture was found.
        if (result.value.Is<bool>() && result.value.AsBoolean() && result.byref.size() == 2 && other_)
            exhibit["frames"].push_back({result.byref[0].second.AsInteger(), result.byref[1].second.AsInteger(),
                                         other_->width, other_->height});
        if (!bound.YieldsString())
            return after_ ? "out.png" : "";
        const std::string output = VariableFor(InputOf(shot_)) + ".ppic";
        const auto bytes = AsBytes(result.value.AsRef().text().bytes());
        KeepBytes(exhibit, bytes);
        folder_.Write(output, bytes);
        return output;
    }

    void AddCharts(Json &exhibit, const BoundCall &bound) {
        const Json charts = method_.value("charts", Json::array());
        const auto wants = [&](const char *chart) {
            return std::find(charts.begin(), charts.end(), chart) != charts.end();
        };
        const bool whole = !exhibit.contains("frames");
        if (wants("curve") && whole)
            exhibit["curve"] = Curve(host_, bound);
        if (!wants("histograms"))
            return;
        if (after_ && whole) {
            exhibit["histograms"].push_back({"levels before", CountLevels(*before_)});
            exhibit["histograms"].push_back({"levels after", CountLevels(*after_)});
        } else if (!after_) { // counted by the call itself, in blocks of 32-bit words for red, green and blue
            Ref picture = MakeInput();
            Counters counters = {};
            const auto blocks = RunCall(host_, bound, picture).byref;
            for (std::size_t channel = 0; channel < std::min<std::size_t>(blocks.size(), 3); ++channel) {
                const auto bytes = AsBytes(blocks[channel].second.AsRef().block());
                std::memcpy(&counters[channel], bytes.data(), std::min(bytes.size(), sizeof counters[channel]));
            }
            exhibit["histograms"].push_back({"levels as counted", counters});
        }
    }

    standin::Host &host_;
    const Json &method_;
    const std::string as_;
    const Json &shot_;
    const Call call_;
    Pictures &pictures_;
    Folder &folder_;
    std::optional<Image> input_;
    std::optional<Image> before_;
    std::optional<Image> after_;
    std::optional<Image> other_; ///< that the call was given last
};

} // namespace

std::size_t Pictures::Add(const Image &image) {
    const auto [held, isNew] = numbers_.emplace(AddressOf(image), list_.size());
    if (isNew)
        list_.push_back(
            {{"width", image.width}, {"height", image.height}, {"alpha", image.hasAlpha}, {"address", held->first}});
    return held->second;
}

Json Pictures::List() const { return list_; }

Json Render(standin::Host &host, const HostOptions &options, const Json &method, const Json &shot, Pictures &pictures,
            Folder &folder) {
    Json exhibit = Json::object();
    std::string failure;
    std::string output;
    try {
        output = Studio(host, method, shot, pictures, folder).Make(exhibit);
    } catch (const UserError &error) {
        failure = error.what();
    } catch (const CallFailed &error) {
        failure = error.what();
    } catch (const standin::WrongCall &error) {
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

Milliseconds TimeOfMemcpy(std::size_t bytes) {
    const Bytes from(bytes, 1);
    Bytes to(bytes, 2);
    auto best = Milliseconds::max();
    for (int run = 0; run < kRuns; ++run) {
        to[bytes / 2] = 2;
        const auto start = std::chrono::steady_clock::now();
        std::memcpy(to.data(), from.data(), bytes);
        best = std::min<Milliseconds>(best, std::chrono::steady_clock::now() - start);
        if (to[bytes / 2] != 1) // which also keeps the compiler from leaving the copy out
            throw std::runtime_error("memcpy did not copy");
    }
    return best;
}

} // namespace tools::gallery
