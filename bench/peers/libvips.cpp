#include "peer.h"

#include <vips/vips.h>

namespace {

constexpr const char *kFresh = "into memory got in the call";

/// `image` is a reference, since the call that makes `failed` fills it in.
VipsImage *Checked(int failed, VipsImage *&image) {
    if (failed)
        throw std::runtime_error(vips_error_buffer());
    return image;
}

/// Computes all pixels, as a user who wants them in memory does.
void Finish(VipsImage *image) {
    std::size_t bytes = 0;
    void *pixels = vips_image_write_to_memory(image, &bytes);
    if (!pixels)
        throw std::runtime_error(vips_error_buffer());
    g_free(pixels);
    g_object_unref(image);
}

VipsImage *View(const peer::Pixels &pixels, int width, int height) {
    VipsImage *image = vips_image_new_from_memory(pixels.data(), pixels.size(), width, height, 4, VIPS_FORMAT_UCHAR);
    return Checked(!image, image);
}

void Run(int argc, char **argv) {
    if (vips_init(argv[0]) != 0)
        throw std::runtime_error(vips_error_buffer());
    vips_concurrency_set(1);
    vips_cache_set_max(0); // or the second run would be free
    const peer::Pictures pictures = peer::FromArguments(argc, argv);
    VipsImage *photo = View(pictures.photo, pictures.width, pictures.height);
    VipsImage *second = View(pictures.second, pictures.width, pictures.height);
    std::vector<std::uint8_t> table(256);
    for (int level = 0; level < 256; ++level)
        table[static_cast<std::size_t>(level)] = peer::TableValue(level);
    VipsImage *lookup = vips_image_new_from_memory(table.data(), table.size(), 256, 1, 1, VIPS_FORMAT_UCHAR);
    peer::Timer timer("libvips", pictures.photo.size());
    VipsImage *out = nullptr;
    const std::string fresh(kFresh);

    timer.Time("InvertKVT", "invert", ("inverts alpha, too, " + fresh).c_str(),
               [&] { Finish(Checked(vips_invert(photo, &out, nullptr), out)); });
    timer.Time("TransformColorsKVT", "maplut", ("alpha, too, " + fresh).c_str(),
               [&] { Finish(Checked(vips_maplut(photo, &out, lookup, nullptr), out)); });
    timer.Time("ChangeContrastBrightnessLinearKVT", "linear", ("single precision, alpha, too, " + fresh).c_str(),
               [&] { Finish(Checked(vips_linear1(photo, &out, 1.1, 5, "uchar", TRUE, nullptr), out)); });
    timer.Time("CountColorsKVT (a photo)", "hist_find", "counts alpha, too",
               [&] { Finish(Checked(vips_hist_find(photo, &out, nullptr), out)); });
    timer.Time("ScrollVerticalKVT (wrap-around)", "wrap", ("same pixels, " + fresh).c_str(),
               [&] { Finish(Checked(vips_wrap(photo, &out, "x", 0, "y", 7, nullptr), out)); });
    timer.Time("MergePictureKVT", "bandrank", ("the larger alpha, too, " + fresh).c_str(), [&] {
        VipsImage *both[] = {photo, second};
        Finish(Checked(vips_bandrank(both, &out, 2, "index", 1, nullptr), out));
    });
    g_object_unref(lookup);
    g_object_unref(second);
    g_object_unref(photo);
    vips_shutdown();
}

} // namespace

int main(int argc, char **argv) {
    return peer::Main([&] { Run(argc, argv); });
}
