#include "bench/inputs.h"

#include "tools/samples.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace bench {
namespace {

using standin::ColorValue;
using standin::Host;
using standin::MakeColor;
using standin::Ref;

constexpr int kNeedle = 64;
constexpr Size kTwoColorsNeedleSize = {9, 2};
constexpr ColorValue kGray = 0x808080;
constexpr ColorValue kMark = 0xFF8000;

// The first, 950706376 times, and the second make the same number modulo 2^31 - 1: in a hash of that base, a pixel that
// is larger by the one and the pixel below it that is smaller by the other do not show.
constexpr ColorValue kCancelling = 0x00003D;
constexpr ColorValue kCancelled = 0xA84FC3;
constexpr ColorValue kStripe = kCancelled;

class Random {
  public:
    explicit Random(std::uint32_t seed) : state_(seed) {}
    std::uint32_t Next() {
        state_ = state_ * 1664525u + 1013904223u;
        return state_;
    }

  private:
    std::uint32_t state_;
};

/// A fine grain over the scene, as cameras add it; without it, skies are runs of one color.
void AddGrain(tools::Image &image) {
    Random random(1);
    for (unsigned char &byte : image.pixels)
        byte = static_cast<unsigned char>(std::clamp<int>(byte + static_cast<int>(random.Next() >> 30) - 1, 0, 255));
}

/// The last size's scene stays: it takes longer to make than to copy.
const tools::Image &Scene(Size size) {
    static tools::Image scene;
    if (Size{scene.width, scene.height} != size) {
        scene = {};
        scene = tools::SamplePicture(size.width, size.height, false);
        AddGrain(scene);
    }
    return scene;
}

ColorValue ColorIn(const tools::Image &scene, int x, int y) {
    const unsigned char *pixel = scene.At(x, y);
    return MakeColor(pixel[0], pixel[1], pixel[2]);
}

Size TenthOf(Size size) { return {std::max(1, size.width / 10), std::max(1, size.height / 10)}; }

/// A warm film look: no output depends on one input alone, and every tetrahedron occurs.
void FillTable(Host &host, const Ref &lut) {
    for (int r = 0; r < 16; ++r)
        for (int g = 0; g < 16; ++g)
            for (int b = 0; b < 16; ++b) {
                const double out[3] = {14.0 * r + 2.0 * g + 1.0 * b, 1.0 * r + 15.0 * g + 1.0 * b,
                                       0.5 * r + 2.5 * g + 13.0 * b};
                for (int x = 0; x < 3; ++x)
                    host.Assign(lut, "Table", {r, g, b, x}, out[x]);
            }
}

} // namespace

Inputs::Inputs(Host &host, Size size, std::uint32_t alphaInfo) : host_(host), size_(size), alphaInfo_(alphaInfo) {}

template <class Make> const Ref &Inputs::Kept(std::string_view name, Make make) {
    const auto found = kept_.find(name);
    return found != kept_.end() ? found->second : kept_.emplace(name, make()).first->second;
}

template <class Color> const Ref &Inputs::Picture(std::string_view name, Size size, Color color) {
    return Kept(name, [&] {
        return host_.Make({.width = size.width, .height = size.height, .alphaInfo = alphaInfo_, .color = color});
    });
}

template <class Sample> const Ref &Inputs::Samples(std::string_view name, Sample sample) {
    return Kept(name, [&] {
        Ref sound = host_.MakeBlock(size_.Pixels());
        for (std::size_t i = 0; i < size_.Pixels(); ++i)
            sound.block().memory.data()[i] = static_cast<unsigned char>(sample(i));
        return sound;
    });
}

const Ref &Inputs::Photo() {
    return Picture("photo", size_, [scene = &Scene(size_)](int x, int y) { return ColorIn(*scene, x, y); });
}

const Ref &Inputs::Scratch() {
    return Picture("scratch", size_, [scene = &Scene(size_)](int x, int y) { return ColorIn(*scene, x, y); });
}

const Ref &Inputs::Second() {
    return Picture("second", size_, [scene = &Scene(size_), right = size_.width - 1](int x, int y) -> ColorValue {
        const unsigned char *pixel = scene->At(right - x, y);
        return MakeColor(pixel[1], pixel[2], pixel[0]);
    });
}

const Ref &Inputs::Noise() {
    return Picture("noise", size_, [random = Random(1)](int, int) mutable -> ColorValue {
        const std::uint32_t bits = random.Next();
        return (bits >> 8 ^ bits << 12) & 0xFFFFFFu;
    });
}

const Ref &Inputs::TwoColors() {
    return Picture("two colors", size_, [random = Random(2)](int, int) mutable -> ColorValue {
        return random.Next() >> 31 ? kMark : kGray;
    });
}

const Ref &Inputs::White() {
    return Picture("white", size_, [](int, int) -> ColorValue { return 0xFFFFFF; });
}

const Ref &Inputs::Black() {
    return Picture("black", size_, [](int, int) -> ColorValue { return 0; });
}

const Ref &Inputs::Specks() {
    const Size gap = {std::max(1, TenthOf(size_).width - 1), std::max(1, TenthOf(size_).height - 1)};
    return Picture("specks", size_, [gap](int x, int y) -> ColorValue {
        return x % gap.width == 0 && y % gap.height == 0 ? kMark : 0xFFFFFF;
    });
}

const Ref &Inputs::SparseMarks() {
    return Picture("sparse marks", size_, [scene = &Scene(size_)](int x, int y) -> ColorValue {
        const unsigned level = scene->At(x, y)[1];
        return x % 97 == 5 && y % 89 == 7 ? kMark : MakeColor(level, level, level);
    });
}

const Ref &Inputs::AllMarked() {
    return Picture("all marked", size_, [](int, int) -> ColorValue { return kMark; });
}

const Ref &Inputs::SingleMarks() {
    return Picture("single marks", size_, [](int x, int y) -> ColorValue { return (x + y) % 2 ? kGray : kMark; });
}

const Ref &Inputs::Stripes() {
    return Picture("stripes", size_, [](int x, int) -> ColorValue { return x % 2 ? kGray : kStripe; });
}

const Ref &Inputs::LyingPairs() {
    return Picture("lying pairs", size_, [](int x, int y) -> ColorValue { return (x / 2 + y) % 2 ? kGray : kMark; });
}

const Ref &Inputs::StandingPairs() {
    return Picture("standing pairs", size_, [](int x, int y) -> ColorValue { return (x + y / 2) % 2 ? kGray : kMark; });
}

const Ref &Inputs::LateNeedle() {
    const Size size = {std::min(size_.width, kNeedle), std::min(size_.height, kNeedle)};
    const int left = size_.width - size.width;
    const int top = size_.height - size.height;
    return Picture("late needle", size,
                   [=, scene = &Scene(size_)](int x, int y) { return ColorIn(*scene, left + x, top + y); });
}

const Ref &Inputs::WhiteNeedle() {
    return Picture("white needle", TenthOf(size_), [](int, int) -> ColorValue { return 0xFFFFFF; });
}

const Ref &Inputs::AlmostSingle() {
    const Size size = TenthOf(size_);
    return Picture("almost single", size, [size](int x, int y) -> ColorValue {
        const bool last = x == size.width - 1 && y == size.height - 1;
        return ((x + y) % 2 != 0) != last ? kGray : kMark;
    });
}

const Ref &Inputs::TwoColorsNeedle() {
    const Size size = {std::min(size_.width, kTwoColorsNeedleSize.width),
                       std::min(size_.height, kTwoColorsNeedleSize.height)};
    return Picture("two colors needle", size, [size](int x, int y) -> ColorValue {
        const bool last = x == size.width - 1 && y == size.height - 1;
        return last ? 0x102030 : (x + y * size.width) % 2 ? kMark : kGray;
    });
}

const Ref &Inputs::CancellingNeedle() {
    const Size size = {std::max(2, size_.width / 2), std::max(2, size_.height / 2)};
    const int lastStripe = (size.width - 1) / 2 * 2;
    return Picture("cancelling needle", size, [=](int x, int y) -> ColorValue {
        if (x == lastStripe && y >= size.height - 2)
            return y == size.height - 2 ? kStripe + kCancelling : kStripe - kCancelled;
        return x % 2 ? kGray : kStripe;
    });
}

const Ref &Inputs::Table() {
    return Kept("table", [&] {
        std::vector<unsigned char> table(256);
        for (std::size_t i = 0; i < table.size(); ++i)
            table[i] = static_cast<unsigned char>(i * i / 255);
        return host_.MakeBlock(table.size(), table);
    });
}

const Ref &Inputs::Sound() {
    constexpr double kFullTurn = 2 * 3.14159265358979323846;
    const double step = kFullTurn / (3.0 * size_.height); // a column shows a third of a period, whatever the size
    return Samples("sound", [=](std::size_t i) { return 128 + 100 * std::sin(step * static_cast<double>(i)); });
}

const Ref &Inputs::LoudNoise() {
    return Samples("loud noise", [random = Random(4)](std::size_t) mutable { return random.Next() >> 24; });
}

const Ref &Inputs::ByteString() {
    return Kept("byte string", [&] { return host_.CallGlobal("PicturetoBinaryStringKVT", Photo()).value.AsRef(); });
}

const Ref &Inputs::Sepia() {
    return Kept("sepia", [&] {
        Ref sepia = host_.New("PictureSepiaKVT");
        host_.Set(sepia, "SourcePicture", Photo());
        host_.Set(sepia, "SepiaRed", 40);
        host_.Set(sepia, "SepiaBlue", -20);
        return sepia;
    });
}

Ref Inputs::NewLut(const Ref &source) {
    Ref lut = host_.New("PictureLut3DKVT");
    host_.Set(lut, "SourcePicture", source);
    FillTable(host_, lut);
    return lut;
}

const Ref &Inputs::Lut() {
    return Kept("lut", [&] { return NewLut(Photo()); });
}

const Ref &Inputs::LutOfNoise() {
    return Kept("lut of noise", [&] { return NewLut(Noise()); });
}

const Ref &Inputs::LutWithInfinity() {
    return Kept("lut with infinity", [&] {
        Ref lut = NewLut(Photo());
        host_.Assign(lut, "Table", {15, 0, 15, 1}, std::numeric_limits<double>::infinity());
        return lut;
    });
}

void Inputs::Trim(std::size_t bytes) {
    if (kept_.size() * size_.Bytes() > bytes)
        kept_.clear();
}

} // namespace bench
