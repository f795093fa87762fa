namespace kvt::KVT_LEVEL {

/// A value a color byte, in the order of the bytes, which are next to each other.
inline Rgb ColorBytes(const Layout &layout, Rgb color) {
    return layout.red < layout.blue ? color : Rgb{color.blue, color.green, color.red};
}

/// The weighted gray of a pixel, spread over the channels by a tint. Everything in doubles, first red and green, then
/// blue added; truncated toward zero and limited to 255 in the end.
struct TintInDoubles : Reads<1> {
    ByteOfWords red;
    ByteOfWords green;
    ByteOfWords blue;
    Doubles weightRed;
    Doubles weightGreen;
    Doubles weightBlue;
    Doubles tints[3]; ///< in the order of the bytes
    OpaquePixels joined;

    TintInDoubles(const Layout &layout, Rgb weight, Rgb tint)
        : red(layout.red), green(layout.green), blue(layout.blue), weightRed(Doubles{} + weight.red / 255.0),
          weightGreen(Doubles{} + weight.green / 255.0), weightBlue(Doubles{} + weight.blue / 255.0), joined(layout) {
        const Rgb bytes = ColorBytes(layout, tint);
        tints[0] = Doubles{} + bytes.red / 255.0;
        tints[1] = Doubles{} + bytes.green / 255.0;
        tints[2] = Doubles{} + bytes.blue / 255.0;
    }
    KVT_INLINE V operator()(V v) const {
        const V reds = red(v);
        const V greens = green(v);
        const V blues = blue(v);
        const Doubles low = Gray(LowToDoubles(reds), LowToDoubles(greens), LowToDoubles(blues));
        const Doubles high = Gray(HighToDoubles(reds), HighToDoubles(greens), HighToDoubles(blues));
        return joined(Truncated(low * tints[0], high * tints[0]), Truncated(low * tints[1], high * tints[1]),
                      Truncated(low * tints[2], high * tints[2]));
    }
    KVT_INLINE Doubles Gray(Doubles reds, Doubles greens, Doubles blues) const {
        return reds * weightRed + greens * weightGreen + blues * weightBlue;
    }
};

/// The same for colors that seldom lead to whole numbers. With gray as a whole number of 255ths, a level is
/// tint * gray / 65025, truncated. The doubles' roundings are far smaller than a 65025th, so that they decide only
/// where the quotient is a whole number: such doubtful pixels are computed in doubles. In single precision, with a
/// factor that is rounded down, every other quotient up to 255 comes out between the right whole numbers, which takes a
/// look at all of them to see.
struct TintInSingles : Reads<1> {
    WeightedSum weighted;
    Singles factors[3]; ///< in the order of the bytes
    V inverse;          ///< of the period of doubtful grays, modulo 65536
    V multiples;        ///< of the period there are among the grays
    TintInDoubles inDoubles;
    OpaquePixels joined;

    TintInSingles(const Layout &layout, Rgb weight, Rgb tint, const DoubtfulGrays &doubtful)
        : weighted(layout.InByteOrder(weight.red, weight.green, weight.blue, 0)), inverse(All32(doubtful.inverse)),
          multiples(All32(doubtful.multiples)), inDoubles(layout, weight, tint), joined(layout) {
        const Rgb bytes = ColorBytes(layout, tint);
        factors[0] = Factor(bytes.red);
        factors[1] = Factor(bytes.green);
        factors[2] = Factor(bytes.blue);
    }
    static Singles Factor(std::int32_t tint) { return Singles{} + static_cast<float>(tint / 65025.0 * (1 - 0x1p-25)); }
    KVT_INLINE V operator()(V v) const {
        const V grays = weighted(v);
        // The product's lower half is the quotient where gray is a multiple, and another number as a rule where it is
        // none. Lowered by 1, so that 0, where doubles are exact too, is no multiple.
        const V quotients = Add16(MulLow16(grays, inverse), All32(0xFFFF));
        if (HighestBits(Less32(quotients, multiples))) [[unlikely]]
            return Again(v);
        const Singles gray = ToSingles(grays);
        return joined(Truncated(gray * factors[0]), Truncated(gray * factors[1]), Truncated(gray * factors[2]));
    }
    [[gnu::noinline]] V Again(V v) const { return inDoubles(v); }
};

inline void Tint(const MapJob &job, Rgb weight, Rgb tint, const DoubtfulGrays &doubtful) {
    const Layout &layout = job.target.layout;
    if (doubtful.seldom)
        Map(job, TintInSingles(layout, weight, tint, doubtful));
    else
        Map(job, TintInDoubles(layout, weight, tint));
}

} // namespace kvt::KVT_LEVEL
