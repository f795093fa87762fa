#include "tools/formats/formats.h"

namespace tools::formats {

void TakeResolution(double across, double down, int unit, Tags &tags) {
    const double unitsPerMeter = unit == 2 ? 1 / kInch : unit == 3 ? 100 : 0;
    if (across > 0 && down > 0) {
        tags.perMeterX = across * unitsPerMeter;
        tags.perMeterY = down * unitsPerMeter;
    }
}

void ReadExif(File exif, Info &info) {
    constexpr std::string_view kHeading("Exif\0\0", 6);
    if (AsText(exif).starts_with(kHeading))
        exif = exif.subspan(kHeading.size());
    const bool bigEndian = AsText(exif).starts_with("MM");
    const auto number = [&](std::size_t at, std::size_t bytes) -> std::uint32_t { // what lies outside is 0
        if (at > exif.size() || bytes > exif.size() - at)
            return 0;
        return bigEndian ? BigEndian(exif, at, bytes) : LittleEndian(exif, at, bytes);
    };
    const auto ratio = [&](std::size_t at) {
        const double below = number(at + 4, 4);
        return below == 0 ? 0 : number(at, 4) / below;
    };
    double resolution[2] = {}; // across and down
    std::uint32_t unit = 2;
    const std::size_t entries = number(4, 4) + std::size_t{2};
    const std::size_t end = entries + std::size_t{12} * number(entries - 2, 2);
    for (std::size_t at = entries; at < end; at += 12) {
        const std::uint32_t tag = number(at, 2);
        const std::uint32_t value = number(at + 8, 2);
        if (tag == 0x112 && value >= 1 && value <= 8)
            info.orientation = static_cast<int>(value);
        else if (tag == 0x11A || tag == 0x11B)
            resolution[tag - 0x11A] = ratio(number(at + 8, 4));
        else if (tag == 0x128)
            unit = value;
    }
    if (info.tags.perMeterX == 0)
        TakeResolution(resolution[0], resolution[1], static_cast<int>(unit), info.tags);
}

} // namespace tools::formats
