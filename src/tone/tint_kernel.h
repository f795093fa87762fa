namespace kvt::KVT_LEVEL {

/// The weighted gray of a pixel, spread over the channels by a tint: weights and tints are shares of 1. Everything in
/// doubles, first red and green, then blue added; truncated toward zero and limited to 255 in the end.
struct TintedGray {
    double weightRed;
    double weightGreen;
    double weightBlue;
    double red;
    double green;
    double blue;

    TintedGray(Rgb weight, Rgb tint)
        : weightRed(weight.red / 255.0), weightGreen(weight.green / 255.0), weightBlue(weight.blue / 255.0),
          red(tint.red / 255.0), green(tint.green / 255.0), blue(tint.blue / 255.0) {}
    KVT_INLINE Rgb operator()(Rgb pixel) const {
        const double gray = pixel.red * weightRed + pixel.green * weightGreen + pixel.blue * weightBlue;
        return {ToByte(red * gray), ToByte(green * gray), ToByte(blue * gray)};
    }
};

inline void Tint(const MapJob &job, Rgb weight, Rgb tint) {
    Map(job, EachPixel<TintedGray>{{}, {weight, tint}, job.target.layout});
}

} // namespace kvt::KVT_LEVEL
