namespace kvt::KVT_LEVEL {

/// A straight line a channel. The other byte has a line of its own, which is level and opaque.
struct AlongLines : Reads<1> {
    V mirror;
    V starts;
    V slopes;
    V offsets;
    V units;

    AlongLines(const Layout &layout, const StraightLines &lines) {
        const auto lanes = [&](auto part, std::int32_t other) {
            return PixelLanes(
                layout.InByteOrder<std::int32_t>(part(lines.red), part(lines.green), part(lines.blue), other));
        };
        const auto level = [](const StraightLine &line) { return line.mirrored ? 255u : 0u; };
        mirror = All32(layout.Word(level(lines.red), level(lines.green), level(lines.blue), 0));
        starts = lanes([](const StraightLine &line) { return line.start; }, 0);
        slopes = lanes([](const StraightLine &line) { return line.slope; }, 0);
        offsets = lanes([](const StraightLine &line) { return line.offset; }, 256 * layout.opaque);
        units = lanes([](const StraightLine &line) { return 256 << line.exponent; }, 256);
    }

    KVT_INLINE V operator()(V v) const {
        v = v ^ mirror;
        return Pack16(Along(InterleaveLow8(Zero(), v)), Along(InterleaveHigh8(Zero(), v)));
    }
    /// At most 32767: shifts are by a bit at least.
    KVT_INLINE V Along(V x) const {
        return MulHighU16(AddSaturatedU16(MulHighU16(SubSaturatedU16(x, starts), slopes), offsets), units);
    }
};

/// False, and nothing written, unless the lines are the tables.
inline bool MapAlongLines(const MapJob &job, const StraightLines &lines, const ChannelTables &tables) {
    const AlongLines kernel(job.target.layout, lines);
    unsigned char grays[256][4];
    unsigned char wanted[256][4];
    for (std::uint32_t level = 0; level < 256; ++level) {
        StoreWord(grays[level], level * 0x01010101);
        StoreWord(wanted[level], Word(job.target.layout, {tables.red.levels[level], tables.green.levels[level],
                                                          tables.blue.levels[level]}));
    }
    for (int level = 0; level < 256; level += kBytes / 4)
        if (HighestBits(~Equal32(kernel(Load(grays[level])), Load(wanted[level]))))
            return false;
    Map(job, kernel);
    return true;
}

} // namespace kvt::KVT_LEVEL
