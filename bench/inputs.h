#pragma once

#include "bench/size.h"
#include "standin/host.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string_view>

namespace bench {

/// What operations work on: pictures of one size and what goes with them. Each is made when it is first asked for and
/// kept until the next Trim, so that large sizes need not have all of them in memory at once.
class Inputs {
  public:
    /// `alphaInfo` is that of the pictures' bitmaps; 0: as the host makes them.
    Inputs(standin::Host &host, Size size, std::uint32_t alphaInfo);

    const standin::Ref &Photo();     ///< a scene with a fine grain
    const standin::Ref &Second();    ///< another one
    const standin::Ref &Scratch();   ///< the photo, for operations that work in place
    const standin::Ref &Noise();     ///< random colors, which no branch predictor follows
    const standin::Ref &TwoColors(); ///< random pixels of two colors
    const standin::Ref &White();
    const standin::Ref &Black();
    const standin::Ref &Specks(); ///< white with a speck wherever the white needle would just have fitted

    // What marks a picture for the mask of colored rectangles.
    const standin::Ref &SparseMarks(); ///< the photo in gray, with a colored pixel here and there
    const standin::Ref &AllMarked();
    const standin::Ref &SingleMarks(); ///< a checkerboard, as many boxes as can be
    const standin::Ref &Stripes();     ///< columns of two colors in turn
    const standin::Ref &LyingPairs();  ///< pairs of pixels beside each other, packed corner to corner
    const standin::Ref &StandingPairs();

    // What is looked for.
    const standin::Ref &LateNeedle();   ///< occurs in the photo, near its end alone
    const standin::Ref &WhiteNeedle();  ///< fits nowhere between the specks
    const standin::Ref &AlmostSingle(); ///< of the checkerboard, but for its last pixel
    /// A quarter of the stripes, but for two of its last pixels, which a hash of a known base does not see.
    const standin::Ref &CancellingNeedle();
    const standin::Ref &TwoColorsNeedle(); ///< 9 x 2 pixels of the same two colors in turn, the last one of a third

    const standin::Ref &Table();      ///< memory block: a lookup table
    const standin::Ref &Sound();      ///< memory block: 8-bit samples of a low tone, as many as the picture has pixels
    const standin::Ref &LoudNoise();  ///< the same of noise
    const standin::Ref &ByteString(); ///< of the photo
    const standin::Ref &Sepia();      ///< an instance of the class, the photo its source
    const standin::Ref &Lut();
    const standin::Ref &LutOfNoise();
    const standin::Ref &LutWithInfinity(); ///< whose table has an infinite entry

    Size size() const { return size_; }
    int Width() const { return size_.width; }
    int Height() const { return size_.height; }

    /// Lets go of everything when it may have come to more than `bytes`: none is larger than a picture's pixels.
    void Trim(std::size_t bytes);

  private:
    template <class Make> const standin::Ref &Kept(std::string_view name, Make make);
    template <class Color> const standin::Ref &Picture(std::string_view name, Size size, Color color);
    template <class Sample> const standin::Ref &Samples(std::string_view name, Sample sample);
    standin::Ref NewLut(const standin::Ref &source);

    standin::Host &host_;
    Size size_;
    std::uint32_t alphaInfo_;
    std::map<std::string_view, standin::Ref> kept_;
};

} // namespace bench
