#include "bench/picture_export.h"

#include "bench/measuring.h"

#include <fstream>
#include <stdexcept>

namespace bench {
namespace {

void Write(const std::string &file, const standin::Picture &picture) {
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    for (int y = 0; y < picture.height; ++y)
        out.write(reinterpret_cast<const char *>(picture.Row(y)), std::streamsize{4} * picture.width);
    if (!out.flush())
        throw std::runtime_error(file + " cannot be written");
}

} // namespace

void WritePictures(const std::string &folder, Size size) {
    standin::Host host;
    Inputs inputs(host, size, kPairs->sourceAlphaInfo);
    Write(folder + "/photo.rgba", inputs.Photo().picture());
    Write(folder + "/second.rgba", inputs.Second().picture());
    Write(folder + "/needle.rgba", inputs.LateNeedle().picture());
}

} // namespace bench
