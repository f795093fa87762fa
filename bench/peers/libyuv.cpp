#include "peer.h"

#include <libyuv.h>

namespace {

/// The library's "ARGB" is blue, green, red, alpha in memory; to it, these pictures have red and blue exchanged, which
/// changes the time of nothing.
void Run(int argc, char **argv) {
    const peer::Pictures pictures = peer::FromArguments(argc, argv);
    const int width = pictures.width;
    const int height = pictures.height;
    const int pitch = 4 * width;
    peer::Pixels result = pictures.photo;
    peer::Pixels packed(result.size() / 4 * 3, 1);
    peer::Timer timer("libyuv", result.size());
    const auto restore = [&] { result = pictures.photo; };
    const std::uint8_t *photo = pictures.photo.data();

    std::uint8_t table[4 * 256];
    for (int level = 0; level < 256; ++level) {
        std::fill_n(table + 4 * level, 3, peer::TableValue(level));
        table[4 * level + 3] = static_cast<std::uint8_t>(level);
    }
    timer.Time(
        "TransformColorsKVT", "RGBColorTable", "same result, in place, keeps alpha",
        [&] { libyuv::RGBColorTable(result.data(), pitch, table, 0, 0, width, height); }, restore);
    const std::int8_t saturation[16] = {77, -9, -5, 0, -2, 70, -5, 0, -2, -9, 74, 0, 0, 0, 0, 64};
    timer.Time("ChangeSaturationKVT", "ARGBColorMatrix", "7-bit weights, truncates otherwise",
               [&] { libyuv::ARGBColorMatrix(photo, pitch, result.data(), pitch, saturation, width, height); });
    const std::int8_t tint[16] = {5, 26, 13, 0, 6, 33, 17, 0, 7, 38, 19, 0, 0, 0, 0, 64};
    timer.Time("TintPictureKVT (general colors)", "ARGBColorMatrix", "7-bit weights, truncates otherwise",
               [&] { libyuv::ARGBColorMatrix(photo, pitch, result.data(), pitch, tint, width, height); });
    timer.Time("TintPictureKVT (general colors)", "ARGBGrayTo, ARGBShade", "fixed gray, 8-bit products", [&] {
        libyuv::ARGBGrayTo(photo, pitch, result.data(), pitch, width, height);
        libyuv::ARGBShade(result.data(), pitch, result.data(), pitch, width, height, 0xFFFFE0B3u);
    });
    timer.Time(
        "PictureSepiaKVT.Run", "ARGBSepia", "fixed 7-bit weights, in place",
        [&] { libyuv::ARGBSepia(result.data(), pitch, 0, 0, width, height); }, restore);
    const float polynomial[16] = {5, 5, 5, 0, 1.1f, 1.1f, 1.1f, 1, 0, 0, 0, 0, 0, 0, 0, 0};
    timer.Time("ChangeContrastBrightnessLinearKVT", "ARGBPolynomial", "single precision",
               [&] { libyuv::ARGBPolynomial(photo, pitch, result.data(), pitch, polynomial, width, height); });
    timer.Time("PicturetoBinaryStringKVT", "ARGBToRGB24", "same bytes without a head, into old memory",
               [&] { libyuv::ARGBToRGB24(photo, pitch, packed.data(), 3 * width, width, height); });
    timer.Time("BinaryStringtoPictureKVT", "RGB24ToARGB", "same pixels",
               [&] { libyuv::RGB24ToARGB(packed.data(), 3 * width, result.data(), pitch, width, height); });
}

} // namespace

int main(int argc, char **argv) {
    return peer::Main([&] { Run(argc, argv); });
}
