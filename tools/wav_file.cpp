#include "tools/wav_file.h"

#include <algorithm>
#include <fmt/format.h>

namespace tools {
namespace {

constexpr std::size_t kRiffHeader = 12;
constexpr std::uint32_t kChunkHeader = 8;
constexpr std::uint32_t kFormatBytes = 16;
constexpr std::size_t kSubformatAt = 24; ///< in the longer form of the format chunk
constexpr std::uint32_t kPcm = 1;
constexpr std::uint32_t kExtensible = 0xFFFE;

bool HasTag(std::span<const unsigned char> bytes, std::size_t at, std::string_view tag) {
    return at + tag.size() <= bytes.size() && AsText(bytes.subspan(at, tag.size())) == tag;
}

/// What lies in the first chunk of that tag, as far as the file goes; empty when there is none.
std::span<const unsigned char> Chunk(std::span<const unsigned char> file, std::string_view tag) {
    std::size_t at = kRiffHeader;
    while (file.size() - at >= kChunkHeader) {
        const std::size_t content = at + kChunkHeader;
        const std::size_t held = std::min<std::size_t>(LittleEndian(file, at + 4, 4), file.size() - content);
        if (HasTag(file, at, tag))
            return file.subspan(content, held);
        at = content + std::min(held + held % 2, file.size() - content);
    }
    return {};
}

} // namespace

Sound ReadWav(std::span<const unsigned char> file, std::string_view name) {
    RefuseIf(!HasTag(file, 0, "RIFF") || !HasTag(file, 8, "WAVE"),
             "{0}: is no WAV file; @\"{0}\" stands for the bytes of any file", name);
    const auto format = Chunk(file, "fmt ");
    RefuseIf(format.size() < kFormatBytes, "{}: the WAV file does not say how its samples are stored", name);
    std::uint32_t coding = LittleEndian(format, 0, 2);
    if (coding == kExtensible && format.size() >= kSubformatAt + 2)
        coding = LittleEndian(format, kSubformatAt, 2);
    const std::uint32_t channels = LittleEndian(format, 2, 2);
    const std::uint32_t frameBytes = LittleEndian(format, 12, 2);
    const std::uint32_t bits = LittleEndian(format, 14, 2);
    const std::uint32_t sampleBytes = bits / 8;
    RefuseIf(coding != kPcm || (bits != 8 && bits != 16) || channels == 0 || frameBytes != channels * sampleBytes,
             "{}: expected uncompressed samples of 8 or 16 bits, found coding {} (channels {}, bits {}, bytes {})",
             name, coding, channels, bits, frameBytes);
    const auto data = Chunk(file, "data");
    RefuseIf(data.size() < frameBytes, "{}: the WAV file holds no samples", name);
    Sound sound{bits == 8 ? 8 : 15, {}};
    const std::uint32_t promised = LittleEndian({data.data() - 4, 4}, 0, 4);
    constexpr std::uint32_t kUntold = 0xFFFFFFFF; // what programs write that send sound through a pipe
    if (promised > data.size() && promised != kUntold)
        sound.loss = fmt::format("is cut off: {} of {} bytes of samples are there", data.size(), promised);
    sound.samples.reserve(data.size() / channels);
    for (std::size_t at = 0; at + frameBytes <= data.size(); at += frameBytes)
        sound.samples.insert(sound.samples.end(), &data[at], &data[at] + sampleBytes);
    return sound;
}

} // namespace tools
