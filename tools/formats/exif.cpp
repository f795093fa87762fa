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
    const auto number = [&](std::size_t at, std::size_t bytes) { // what lies outside is 0
        std::uint32_t value = 0;
        for (std::size_t i = 0; at < exif.size() && bytes <= exif.size() - at && i < bytes; ++i)
            value = value << 8 | exif[at + (bigEndian ? i : bytes - 1 - i)];
        return value;
    };
    const auto ratio = [&](std::size_t at) {
        const std::uint32_t below = number(at + 4, 4);
        return below == 0 ? 0 : static_cast<double>(number(at, 4)) / below;
    };
    double across = 0;
    double down = 0;
    int unit = 2;
    const std::size_t directory = number(4, 4);
    const std::uint32_t entries = number(directory, 2);
    for (std::size_t at = directory + 2; at < directory + 2 + 12 * std::size_t{entries}; at += 12) {
        const std::uint32_t value = number(at + 8, 2);
        switch (number(at, 2)) {
        case 0x112:
            info.orientation = value >= 1 && value <= 8 ? static_cast<int>(value) : 1;
            break;
        case 0x11A:
            across = ratio(number(at + 8, 4));
            break;
        case 0x11B:
            down = ratio(number(at + 8, 4));
            break;
        case 0x128:
            unit = static_cast<int>(value);
            break;
        default:
            break;
        }
    }
    if (info.tags.perMeterX == 0)
        TakeResolution(across, down, unit, info.tags);
}

} // namespace tools::formats
