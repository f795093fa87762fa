#include "tools/formats/formats.h"

#include <algorithm>
#include <fmt/format.h>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <new>
#include <thread>
#include <turbojpeg.h>

namespace tools::formats {
namespace {

using standin::Layout;
using Handle = std::unique_ptr<void, int (*)(tjhandle)>;

constexpr double kMostPixelsAByte = 8 * 64; ///< a bit for a block of 8 x 8
constexpr std::string_view kProfileHeading("ICC_PROFILE\0", 12);
constexpr std::size_t kHeadingOfChunk = kProfileHeading.size() + 2; ///< and its number, and how many there are
constexpr std::size_t kMostInSegment = 65533;
constexpr std::size_t kFirstSegment = 2;    ///< where the JFIF segment lies in what is written
constexpr std::size_t kBehindJfif = 2 + 18; ///< and what follows it
constexpr int kPerInch = 1;

struct Heading {
    Info info;
    int components = 0;
    bool isInverted = false; ///< its CMYK, as one program writes them and the others read them
};

/// What stands before the first scan.
Heading ReadHeading(File file) {
    Heading heading;
    Info &info = heading.info;
    std::map<int, File> profile; // its chunks by their numbers
    for (std::size_t at = kFirstSegment; at + 4 <= file.size();) {
        const int marker = file[at + 1];
        if (file[at] != 0xFF || marker == 0xFF) { // padding
            ++at;
            continue;
        }
        const std::size_t length = BigEndian(file, at + 2, 2);
        if (length < 2 || length > file.size() - at - 2 || marker == 0xDA)
            break;
        const File segment = file.subspan(at + 4, length - 2);
        const auto word = [&](std::size_t place) { return static_cast<int>(BigEndian(segment, place, 2)); };
        const std::string_view text = AsText(segment);
        if (marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC &&
            segment.size() >= 6) {
            info.height = word(1);
            info.width = word(3);
            heading.components = segment[5];
        } else if (marker == 0xE0 && text.starts_with("JFIF") && segment.size() >= 12) {
            TakeResolution(word(8), word(10), segment[7] + 1, info.tags);
        } else if (marker == 0xE1 && text.starts_with("Exif")) {
            ReadExif(segment, info);
        } else if (marker == 0xE2 && text.starts_with(kProfileHeading) && segment.size() >= kHeadingOfChunk) {
            profile[segment[kProfileHeading.size()]] = segment.subspan(kHeadingOfChunk);
        } else if (marker == 0xEE && text.starts_with("Adobe")) {
            heading.isInverted = true;
        }
        at += length + 2;
    }
    for (const auto &[number, chunk] : profile)
        info.tags.profile.insert(info.tags.profile.end(), chunk.begin(), chunk.end());
    return heading;
}

int FormatOf(Layout layout) {
    return layout == Layout::AlphaHigh ? TJPF_RGBA : layout == Layout::AlphaLow ? TJPF_ARGB : TJPF_BGRA;
}

Handle Made(tjhandle made) {
    if (!made)
        throw std::bad_alloc();
    return {made, &tjDestroy};
}

/// Bytes that follow the picture before its end are no loss: some cameras leave theirs there.
bool IsHarmless(std::string_view message) {
    return message.find("extraneous bytes before marker 0xd9") != message.npos;
}

} // namespace

void ReadJpeg(File file, const MakePixels &make) {
    Heading heading = ReadHeading(file);
    Info &info = heading.info;
    CheckedSize(info.width, info.height, file.size(), kMostPixelsAByte);
    const bool isCmyk = heading.components == 4;
    if (isCmyk) {
        info.losses.emplace_back(kCmykLoss);
        info.tags.profile.clear();
    }
    const Pixels pixels = make(info);
    const Handle handle = Made(tjInitDecompress());
    const int format = isCmyk ? TJPF_CMYK : FormatOf(pixels.form.layout);
    if (tjDecompress2(handle.get(), file.data(), file.size(), pixels.first, pixels.width,
                      static_cast<int>(pixels.pitch), pixels.height, format, TJFLAG_LIMITSCANS) != 0)
        if (const char *message = tjGetErrorStr2(handle.get()); !IsHarmless(message))
            throw UserError(fmt::format("is damaged: {}", message));
    // The fourth byte is there already, but for one that is 0 where pictures are opaque.
    if (!isCmyk && pixels.form.layout != Layout::RowTable)
        return;
    for (int y = 0; y < pixels.height; ++y) {
        unsigned char *row = pixels.Row(y);
        if (isCmyk) {
            FromCmyk(row, pixels.width, heading.isInverted);
            ToForm(row, pixels.width, pixels.form);
        } else {
            for (int x = 0; x < pixels.width; ++x)
                row[4 * x + 3] = 0;
        }
    }
}

namespace {

void SetWord(Bytes &file, std::size_t at, unsigned word) {
    file[at] = static_cast<unsigned char>(word >> 8);
    file[at + 1] = static_cast<unsigned char>(word);
}

/// A JPEG file of some rows.
Bytes WriteRows(const Pixels &pixels, int top, int rows, int quality) {
    const Handle handle = Made(tjInitCompress());
    unsigned char *written = nullptr;
    unsigned long size = 0;
    const int failed =
        tjCompress2(handle.get(), pixels.Row(top), pixels.width, static_cast<int>(pixels.pitch), rows,
                    FormatOf(pixels.form.layout), &written, &size, TJSAMP_420, quality, TJFLAG_ACCURATEDCT);
    const std::unique_ptr<unsigned char, void (*)(unsigned char *)> owned(written, &tjFree);
    if (failed)
        throw UserError(tjGetErrorStr2(handle.get()));
    return {written, written + size};
}

/// The file of all rows, in bands that are written side by side. A restart marker joins each to the next: what follows
/// one refers to nothing before it, so that the picture is that of a file written in one go.
Bytes WriteBands(const Pixels &pixels, int quality) {
    constexpr int kBlock = 16; // pixels on a side of what is coded at a time
    constexpr int kWorthwhile = 1 << 20;
    const int blocks = (pixels.width + kBlock - 1) / kBlock;
    const int blockRows = (pixels.height + kBlock - 1) / kBlock;
    const int processors = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
    const int bands = pixels.width * pixels.height < kWorthwhile ? 1 : std::min(processors, 8);
    const int rowsOfBand =
        std::min((blockRows + bands - 1) / bands, 65535 / blocks); // the marker's interval has 16 bits
    if (bands == 1 || rowsOfBand < 1 || rowsOfBand >= blockRows)
        return WriteRows(pixels, 0, pixels.height, quality);
    std::vector<std::future<Bytes>> written;
    for (int top = 0; top < pixels.height; top += rowsOfBand * kBlock)
        written.push_back(std::async(std::launch::async, WriteRows, std::cref(pixels), top,
                                     std::min(rowsOfBand * kBlock, pixels.height - top), quality));
    Bytes file;
    for (std::size_t i = 0; i < written.size(); ++i) {
        const Bytes band = written[i].get();
        std::size_t at = kFirstSegment;
        for (; band[at + 1] != 0xDA; at += 2 + BigEndian(band, at + 2, 2))
            if (band[at + 1] == 0xC0 && i == 0)
                break;
        if (i == 0) { // the whole height, and what tells the interval before it
            file.assign(band.begin(), band.end());
            SetWord(file, at + 5, static_cast<unsigned>(pixels.height));
            file.insert(file.begin() + static_cast<std::ptrdiff_t>(at), {0xFF, 0xDD, 0, 4, 0, 0});
            SetWord(file, at + 4, static_cast<unsigned>(rowsOfBand * blocks));
        } else {
            at += 2 + BigEndian(band, at + 2, 2);
            file.back() = static_cast<unsigned char>(0xD0 + (i - 1) % 8); // in the place of the end
            file.insert(file.end(), band.begin() + static_cast<std::ptrdiff_t>(at), band.end());
        }
    }
    return file;
}

} // namespace

Bytes WriteJpeg(const Pixels &pixels, const Tags &tags, int quality) {
    Bytes written = WriteBands(pixels, quality);
    if (const double perInchX = tags.perMeterX * kInch + 0.5, perInchY = tags.perMeterY * kInch + 0.5;
        perInchX >= 1 && perInchY >= 1 && perInchX < 65536 && perInchY < 65536) {
        written[kFirstSegment + 11] = kPerInch;
        SetWord(written, kFirstSegment + 12, static_cast<unsigned>(perInchX));
        SetWord(written, kFirstSegment + 14, static_cast<unsigned>(perInchY));
    }
    if (tags.profile.empty())
        return written;
    const auto behindJfif = written.begin() + static_cast<std::ptrdiff_t>(kBehindJfif);
    Bytes file(written.begin(), behindJfif);
    constexpr std::size_t kMostInChunk = kMostInSegment - kHeadingOfChunk;
    const std::size_t chunks = (tags.profile.size() + kMostInChunk - 1) / kMostInChunk;
    if (chunks > 255)
        throw UserError("a JPEG file holds no profile of more than 16 MB");
    for (std::size_t i = 0; i < chunks; ++i) {
        const auto chunk = File(tags.profile).subspan(i * kMostInChunk);
        const std::size_t bytes = std::min(chunk.size(), kMostInChunk);
        file.insert(file.end(), {0xFF, 0xE2, 0, 0});
        SetWord(file, file.size() - 2, static_cast<unsigned>(bytes + kHeadingOfChunk + 2));
        file.insert(file.end(), kProfileHeading.begin(), kProfileHeading.end());
        file.insert(file.end(), {static_cast<unsigned char>(i + 1), static_cast<unsigned char>(chunks)});
        file.insert(file.end(), chunk.begin(), chunk.begin() + static_cast<std::ptrdiff_t>(bytes));
    }
    file.insert(file.end(), behindJfif, written.end());
    return file;
}

} // namespace tools::formats
