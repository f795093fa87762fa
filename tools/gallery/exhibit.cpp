#include "tools/gallery/exhibit.h"

#include "tools/call_parser.h"
#include "tools/gallery/lines.h"
#include "tools/run_call.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <fmt/format.h>

namespace tools::gallery {
namespace {

using standin::Ref;
using standin::Result;
using standin::SameName;
using standin::Type;
using standin::Value;
using Form = Argument::Form;

constexpr int kRuns = 7;
constexpr const char *kMask = "oval.png"; ///< what gets attached
constexpr std::size_t kDumpedBytes = 64;
constexpr std::size_t kBytesALine = 8;

/// "50 50 49 43 ...  PPIC", a line each.
std::string Dump(std::span<const unsigned char> bytes) {
    std::string dump;
    const auto shown = bytes.first(std::min(bytes.size(), kDumpedBytes));
    for (std::size_t at = 0; at < shown.size(); at += kBytesALine) {
        std::string text;
        for (std::size_t i = at; i < std::min(at + kBytesALine, shown.size()); ++i) {
            dump += fmt::format("{:02x} ", shown[i]);
            text += std::isprint(shown[i]) ? static_cast<char>(shown[i]) : '.';
        }
        dump += fmt::format("{:>{}}{}\n", "", 3 * (kBytesALine - text.size()) + 1, text);
    }
    return dump;
}

/// A row of all grays.
Image Ramp() {
    Image ramp = MakeImage(256, 1);
    for (int level = 0; level < ramp.width; ++level)
        std::fill_n(ramp.At(level, 0), 3, static_cast<unsigned char>(level));
    return ramp;
}

/// Makes one shot.
class Studio {
  public:
    Studio(standin::Host &host, const HostOptions &options, const Entry &entry, const Shot &shot)
        : host_(host), options_(options), entry_(entry), shot_(shot), call_(ParseCall(shot.call)) {}

    Exhibit Make() {
        try {
            if (!shot_.input.empty())
                input_ = ReadImage(std::string(shot_.input));
            const BoundCall bound = Bind(host_, call_, input_.has_value());
            exhibit_.script = ScriptFor(shot_, call_, bound);
            ShowArguments(bound);
            MakeCalls(bound);
            AddCharts(bound);
        } catch (const UserError &error) {
            exhibit_.failure = error.what();
        } catch (const CallFailed &error) {
            exhibit_.failure = error.what();
        } catch (const standin::WrongCall &error) {
            exhibit_.failure = error.what();
        }
        for (const std::string &violation : host_.TakeViolations()) {
            exhibit_.failure += fmt::format("{}violation: {}", exhibit_.failure.empty() ? "" : "\n", violation);
            exhibit_.violated = true;
        }
        if (exhibit_.command.empty())
            exhibit_.command = CommandFor(shot_, options_, {});
        return std::move(exhibit_);
    }

  private:
    Ref MakeInput() {
        if (!input_)
            return {};
        if (shot_.setting == Setting::InGraphicsWorld)
            return host_.Make({.width = input_->width,
                               .height = input_->height,
                               .form = standin::Form::GraphicsWorld,
                               .color = [&](int x, int y) {
                                   const unsigned char *pixel = input_->At(x, y);
                                   return standin::MakeColor(pixel[0], pixel[1], pixel[2]);
                               }});
        Image image = *input_;
        image.hasAlpha = image.hasAlpha || shot_.setting == Setting::WithAlpha;
        Ref picture = MakePicture(host_, image);
        if (shot_.setting == Setting::WithMask)
            host_.AttachMask(picture, MakePicture(host_, ReadImage(kMask)));
        return picture;
    }

    void ShowArguments(const BoundCall &bound) {
        std::vector<Argument> arguments = call_.arguments;
        if (call_.assigned)
            arguments.push_back(*call_.assigned);
        for (const Argument &argument : arguments) {
            if (argument.form == Form::FileBytes)
                exhibit_.bytes = Dump(ReadBytes(argument.text));
            else if (IsPicturePath(argument.text))
                exhibit_.others.push_back({argument.text, ReadImage(argument.text)});
            else if (EndingOf(argument.text) == ".wav")
                exhibit_.samples = SamplesChart(argument.text, ReadWav(ReadBytes(argument.text), argument.text),
                                                Written(bound, "SampleCount").value_or(0));
        }
        if (shot_.setting == Setting::WithMask)
            exhibit_.others.push_back({"the mask", ReadImage(kMask)});
        AddFrame(bound);
    }

    /// The whole number that was written for a parameter or property.
    std::optional<int> Written(const BoundCall &bound, std::string_view name) const {
        const auto number = [](const Slot &slot) { return static_cast<int>(std::get<Value>(slot).AsInteger()); };
        for (const auto &[property, slot] : bound.properties)
            if (SameName(property, name))
                return number(slot);
        if (bound.target == BoundCall::Target::Class)
            return std::nullopt;
        for (std::size_t i = 0; i < call_.arguments.size(); ++i)
            if (i < bound.arguments.size() && SameName(bound.method->declaration.parameters[i].name, name))
                return number(bound.arguments[i]);
        return std::nullopt;
    }

    /// The area that the call is limited to, when it is.
    void AddFrame(const BoundCall &bound) {
        if (!input_)
            return;
        int left = 0;
        int top = 0;
        int right = input_->width;
        int bottom = input_->height;
        if (bound.target == BoundCall::Target::Class) {
            left = Written(bound, "MinX").value_or(left);
            top = Written(bound, "MinY").value_or(top);
            right = std::min(right, Written(bound, "MaxX").value_or(right));
            bottom = std::min(bottom, Written(bound, "MaxY").value_or(bottom));
        } else if (Written(bound, "left") && Written(bound, "height")) {
            left = *Written(bound, "left");
            top = *Written(bound, "top");
            right = std::min(right, left + *Written(bound, "width"));
            bottom = std::min(bottom, top + *Written(bound, "height"));
        }
        const bool whole = left == 0 && top == 0 && right == input_->width && bottom == input_->height;
        if (!whole && left < right && top < bottom)
            exhibit_.frames.push_back({left, top, right - left, bottom - top});
    }

    void MakeCalls(const BoundCall &bound) {
        auto best = std::chrono::nanoseconds::max();
        Result result;
        Ref input;
        Ref picture;
        for (int run = 0; run < kRuns; ++run) {
            input = MakeInput();
            if (input)
                exhibit_.before = ImageOf(input.picture());
            picture = input;
            result = RunCall(host_, bound, picture);
            best = std::min(best, result.time - result.timeInHost);
        }
        const bool changed = input && ImageOf(input.picture()).pixels != exhibit_.before->pixels;
        if (picture && (bound.YieldsPicture() || changed))
            exhibit_.after = ImageOf(picture.picture());
        KeepResult(bound, result);

        const standin::Picture &measured = (picture ? picture : input).picture();
        exhibit_.time = best;
        exhibit_.level = host_.ActiveLevel();
        const std::size_t bytes =
            4 * static_cast<std::size_t>(measured.width) * static_cast<std::size_t>(measured.height);
        exhibit_.ratio = exhibit_.time / TimeOfMemcpy(bytes);
    }

    void KeepResult(const BoundCall &bound, const Result &result) {
        std::string output = exhibit_.after ? "out.png" : "";
        if (bound.YieldsString()) {
            output = VariableFor(shot_.input) + ".ppic";
            const auto bytes = AsBytes(result.value.AsRef().text().bytes());
            exhibit_.bytes = Dump(bytes);
            WriteBytes(output, bytes);
        }
        exhibit_.command = CommandFor(shot_, options_, output);
        if (!bound.YieldsPicture() && !result.value.IsNil())
            exhibit_.facts.emplace_back("result", Shown(result.value));
        for (const auto &[name, value] : result.byref)
            if (!value.Is<Ref>()) // blocks are charts
                exhibit_.facts.emplace_back(name, Shown(value));
        FrameHit(bound, result);
    }

    /// Where the other picture was found.
    void FrameHit(const BoundCall &bound, const Result &result) {
        if (bound.method->declaration.result != Type::Boolean || result.byref.size() != 2 || exhibit_.others.empty() ||
            !result.value.AsBoolean())
            return;
        const Image &needle = exhibit_.others[0].image;
        exhibit_.frames.push_back({static_cast<int>(result.byref[0].second.AsInteger()),
                                   static_cast<int>(result.byref[1].second.AsInteger()), needle.width, needle.height});
    }

    void AddCharts(const BoundCall &bound) {
        const Illustration wanted = entry_.illustration;
        if ((wanted == Illustration::Curve || wanted == Illustration::CurveAndHistograms) && exhibit_.frames.empty()) {
            Ref picture = MakePicture(host_, Ramp());
            RunCall(host_, bound, picture);
            exhibit_.charts.push_back(CurveChart(ImageOf(picture.picture())));
        }
        if (wanted != Illustration::Histograms && wanted != Illustration::CurveAndHistograms)
            return;
        if (exhibit_.after && exhibit_.frames.empty()) {
            exhibit_.charts.push_back(HistogramChart("levels before", HistogramOf(*exhibit_.before)));
            exhibit_.charts.push_back(HistogramChart("levels after", HistogramOf(*exhibit_.after)));
        } else if (!exhibit_.after) {
            Ref picture = MakeInput();
            const auto blocks = RunCall(host_, bound, picture).byref; // counters of red, green and blue
            const auto counters = [&](std::size_t i) { return CountersIn(AsBytes(blocks[i].second.AsRef().block())); };
            if (blocks.size() >= 3)
                exhibit_.charts.push_back(HistogramChart("levels as counted", {counters(0), counters(1), counters(2)}));
        }
    }

    standin::Host &host_;
    const HostOptions &options_;
    const Entry &entry_;
    const Shot &shot_;
    const Call call_;
    std::optional<Image> input_;
    Exhibit exhibit_;
};

} // namespace

Exhibit Render(standin::Host &host, const HostOptions &options, const Entry &entry, const Shot &shot) {
    return Studio(host, options, entry, shot).Make();
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

std::string_view LevelName(int level) {
    constexpr std::string_view kNames[] = {"sse2", "avx2", "avx512"};
    return level >= 0 && level < 3 ? kNames[level] : "unknown";
}

} // namespace tools::gallery
