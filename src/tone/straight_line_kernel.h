namespace kvt::KVT_LEVEL {

/// A straight line a channel. The other byte has a line of its own, which is level and opaque.
struct AlongLines : Reads<1> {
    V mirror;
    V evenStarts;
    V oddStarts;
    V evenSlopes;
    V oddSlopes;
    V evenOffsets;
    V oddOffsets;
    V evenUnits;
    V oddUnits;

    AlongLines(const Layout &layout, const StraightLines &lines) {
        const auto each = [&](auto part, std::int32_t other) {
            return layout.InByteOrder<std::int32_t>(part(lines.red), part(lines.green), part(lines.blue), other);
        };
        const auto starts = each([](const StraightLine &line) { return line.start; }, 0);
        const auto slopes = each([](const StraightLine &line) { return line.slope; }, 0);
        const auto offsets = each([](const StraightLine &line) { return line.offset; }, 256 * layout.opaque);
        const auto units = each([](const StraightLine &line) { return 256 << line.exponent; }, 256);
        const auto level = [](const StraightLine &line) { return line.mirrored ? 255u : 0u; };
        mirror = All32(layout.Word(level(lines.red), level(lines.green), level(lines.blue), 0));
        evenStarts = EvenLanes(starts);
        oddStarts = OddLanes(starts);
        evenSlopes = EvenLanes(slopes);
        oddSlopes = OddLanes(slopes);
        evenOffsets = EvenLanes(offsets);
        oddOffsets = OddLanes(offsets);
        evenUnits = EvenLanes(units);
        oddUnits = OddLanes(units);
    }

    KVT_INLINE V operator()(V v) const {
        v = v ^ mirror;
        return Joined(Line(Left16<8>(v), evenStarts, evenSlopes, evenOffsets, evenUnits),
                      Line(v & All32(0xFF00FF00), oddStarts, oddSlopes, oddOffsets, oddUnits));
    }
    KVT_INLINE V Line(V from, V starts, V slopes, V offsets, V units) const {
        const V sum = AddSaturatedU16(MulHighU16(SubSaturatedU16(from, starts), slopes), offsets);
        return Min16(MulHighU16(sum, units), All16(255)); // 15 bits
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
    V differences = Zero();
    for (int level = 0; level < 256; level += kBytes / 4)
        differences = differences | (kernel(Load(grays[level])) ^ Load(wanted[level]));
    if (!IsZero(differences))
        return false;
    Map(job, kernel);
    return true;
}

} // namespace kvt::KVT_LEVEL
