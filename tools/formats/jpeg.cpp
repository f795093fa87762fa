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
constexpr std::size_t kFirstSegment = 2; ///< where the JFIF segment lies in what is written
constexpr int kBehindJfif = 2 + 18;      ///< and what follows it
constexpr int kPerInch = 1;

struct Heading : Info {
    int components = 0;
    bool isInverted = false; ///< its CMYK, as one program writes them and the others read them
};

/// What stands before the first scan.
Heading ReadHeading(File file) {
    Heading heading;
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
            heading.height = word(1);
            heading.width = word(3);
            heading.components = segment[5];
        } else if (marker == 0xE0 && text.starts_with("JFIF") && segment.size() >= 12) {
            TakeResolution(word(8), word(10), segment[7] + 1, heading.tags);
        } else if (marker == 0xE1 && text.starts_with("Exif")) {
            ReadExif(segment, heading);
        } else if (marker == 0xE2 && text.starts_with(kProfileHeading) && segment.size() >= kHeadingOfChunk) {
            profile[segment[kProfileHeading.size()]] = segment.subspan(kHeadingOfChunk);
        } else if (marker == 0xEE && text.starts_with("Adobe")) {
            heading.isInverted = true;
        }
        at += length + 2;
    }
    for (const auto &[number, chunk] : profile)
        heading.tags.profile.insert(heading.tags.profile.end(), chunk.begin(), chunk.end());
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
    CheckedSize(heading.width, heading.height, file.size(), kMostPixelsAByte);
    const bool isCmyk = heading.components == 4;
    if (isCmyk) {
        heading.losses.emplace_back(kCmykLoss);
        heading.tags.profile.clear();
    }
    const Pixels pixels = make(heading);
    const Handle handle = Made(tjInitDecompress());
    // libjpeg-turbo writes the fourth byte of an opaque picture, but for the one that is 0.
    const bool isFormed = !isCmyk && pixels.form.layout != Layout::RowTable;
    const int format = isCmyk ? TJPF_CMYK : FormatOf(isFormed ? pixels.form.layout : Layout::AlphaHigh);
    if (tjDecompress2(handle.get(), file.data(), file.size(), pixels.first, pixels.width,
                      static_cast<int>(pixels.pitch), pixels.height, format, TJFLAG_LIMITSCANS) != 0)
        if (const char *message = tjGetErrorStr2(handle.get()); !IsHarmless(message))
            Refuse("is damaged: {}", message);
    for (int y = 0; y < pixels.height && !isFormed; ++y) {
        if (isCmyk)
            FromCmyk(pixels.Row(y), pixels.width, heading.isInverted);
        ToForm(pixels.Row(y), pixels.width, pixels.form);
    }
}

namespace {

void SetWord(Bytes &file, std::size_t at, std::size_t word) {
    file[at] = static_cast<unsigned char>(word >> 8);
    file[at + 1] = static_cast<unsigned char>(word);
}

/// Where the segment of that kind begins in what was written.
std::size_t SegmentAt(const Bytes &file, int marker) {
    std::size_t at = kFirstSegment;
    while (file[at + 1] != marker)
        at += 2 + BigEndian(file, at + 2, 2);
    return at;
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
    Bytes file = written[0].get();
    for (std::size_t i = 1; i < written.size(); ++i) {
        const Bytes band = written[i].get();
        const std::size_t scan = SegmentAt(band, 0xDA);
        file.back() = static_cast<unsigned char>(0xD0 + (i - 1) % 8); // in the place of the end
        file.insert(file.end(), band.data() + scan + 2 + BigEndian(band, scan + 2, 2), band.data() + band.size());
    }
    const std::size_t frame = SegmentAt(file, 0xC0); // tells the height, and what stands before it the interval
    SetWord(file, frame + 5, static_cast<std::size_t>(pixels.height));
    file.insert(file.begin() + static_cast<std::ptrdiff_t>(frame), {0xFF, 0xDD, 0, 4, 0, 0});
    SetWord(file, frame + 4, static_cast<unsigned>(rowsOfBand * blocks));
    return file;
}

} // namespace

Bytes WriteJpeg(const Pixels &pixels, const Tags &tags, int quality) {
    constexpr std::size_t kMostInChunk = kMostInSegment - kHeadingOfChunk;
    const std::size_t chunks = (tags.profile.size() + kMostInChunk - 1) / kMostInChunk;
    RefuseIf(chunks > 255, "a JPEG file holds no profile of more than 16 MB");
    Bytes file = WriteBands(pixels, quality);
    if (const double perInchX = tags.perMeterX * kInch + 0.5, perInchY = tags.perMeterY * kInch + 0.5;
        perInchX >= 1 && perInchY >= 1 && perInchX < 65536 && perInchY < 65536) {
        file[kFirstSegment + 11] = kPerInch;
        SetWord(file, kFirstSegment + 12, static_cast<std::size_t>(perInchX));
        SetWord(file, kFirstSegment + 14, static_cast<std::size_t>(perInchY));
    }
    Bytes profile; // in segments
    for (std::size_t i = 0; i < chunks; ++i) {
        const File rest = File(tags.profile).subspan(i * kMostInChunk);
        const File chunk = rest.first(std::min(rest.size(), kMostInChunk));
        profile.insert(profile.end(), {0xFF, 0xE2, 0, 0});
        SetWord(profile, profile.size() - 2, chunk.size() + kHeadingOfChunk + 2);
        profile.insert(profile.end(), kProfileHeading.begin(), kProfileHeading.end());
        profile.insert(profile.end(), {static_cast<unsigned char>(i + 1), static_cast<unsigned char>(chunks)});
        profile.insert(profile.end(), chunk.begin(), chunk.end());
    }
    file.insert(file.begin() + kBehindJfif, profile.begin(), profile.end());
    return file;
}

} // namespace tools::formats
