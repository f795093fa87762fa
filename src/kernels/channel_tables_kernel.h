namespace kvt::KVT_LEVEL {

struct ThroughTables {
    const ChannelTables *tables;
    KVT_INLINE Rgb operator()(Rgb pixel) const {
        return {tables->red.levels[pixel.red], tables->green.levels[pixel.green], tables->blue.levels[pixel.blue]};
    }
};

inline void LookUp(const MapJob &job, const ChannelTables &tables) {
    Map(job, EachPixel<ThroughTables>{{}, {&tables}, job.target.layout});
}

} // namespace kvt::KVT_LEVEL
