#include "tools/wav_file.h"

#include <gtest/gtest.h>
#include <string>

namespace tools {
namespace {

std::string Little(std::uint32_t number, int bytes) {
    return bytes == 0 ? "" : static_cast<char>(number & 255) + Little(number >> 8, bytes - 1);
}

std::string Chunk(std::string_view tag, std::string_view content) {
    return std::string(tag) + Little(static_cast<std::uint32_t>(content.size()), 4) + std::string(content) +
           (content.size() % 2 == 0 ? "" : std::string(1, '\0'));
}

std::string Format(unsigned coding, unsigned channels, unsigned bits) {
    const unsigned frame = channels * bits / 8;
    return Chunk("fmt ", Little(coding, 2) + Little(channels, 2) + Little(8000, 4) + Little(8000 * frame, 4) +
                             Little(frame, 2) + Little(bits, 2));
}

std::string Wav(const std::string &chunks) { return "RIFF" + Little(0, 4) + "WAVE" + chunks; }

Sound Read(std::string_view file) {
    // A copy of just that size, so that a sanitizer sees any byte read beyond it.
    const Bytes exact(file.begin(), file.end());
    return ReadWav(exact, "f.wav");
}

TEST(WavFile, TakesTheFirstChannel) {
    EXPECT_EQ(AsText(Read(Wav(Format(1, 1, 8) + Chunk("data", "abc"))).samples), "abc");
    const Sound stereo = Read(Wav(Format(1, 2, 16) + Chunk("data", "ABxyCDxy")));
    EXPECT_EQ(stereo.bits, 15);
    EXPECT_EQ(AsText(stereo.samples), "ABCD");
}

TEST(WavFile, SkipsOtherChunksAndReadsTheLongFormat) {
    const std::string extensible = Chunk("fmt ", Little(0xFFFE, 2) + Little(1, 2) + Little(8000, 4) + Little(8000, 4) +
                                                     Little(1, 2) + Little(8, 2) + Little(22, 2) + Little(8, 2) +
                                                     Little(4, 4) + Little(1, 2) + std::string(14, 'g'));
    const Sound sound = Read(Wav(Chunk("LIST", "odd") + extensible + Chunk("cue ", "") + Chunk("data", "abcd")));
    EXPECT_EQ(sound.bits, 8);
    EXPECT_EQ(AsText(sound.samples), "abcd");
}

TEST(WavFile, ACutFileGivesItsWholeFrames) {
    const auto cut = [](std::uint32_t promised) {
        return Read(Wav(Format(1, 2, 16) + "data" + Little(promised, 4) + "ABxyCDxyEF"));
    };
    EXPECT_EQ(AsText(cut(12).samples), "ABCD");
    EXPECT_EQ(cut(12).loss, "is cut off: 10 of 12 bytes of samples are there");
    EXPECT_EQ(cut(0xFFFFFFFF).loss, ""); // from a pipe, whose end was not known
    EXPECT_EQ(cut(10).loss, "");
}

TEST(WavFile, RefusesWhatItCannotUse) {
    const std::string samples = Chunk("data", "abc");
    const std::pair<std::string, std::string> kRefused[] = {
        {"RIFF....AVI ", "is no WAV file; @\"f.wav\" stands for the bytes of any file"},
        {Wav(""), "the WAV file does not say how its samples are stored"},
        {Wav("fmt \x10"), "the WAV file does not say how its samples are stored"},
        {Wav("junk" + Little(0xFFFFFFFF, 4) + Format(1, 1, 8)), "the WAV file does not say how its samples are stored"},
        {Wav(Format(3, 1, 16) + samples),
         "expected uncompressed samples of 8 or 16 bits, found coding 3 (channels 1, bits 16, bytes 2)"},
        {Wav(Format(1, 1, 24) + samples),
         "expected uncompressed samples of 8 or 16 bits, found coding 1 (channels 1, bits 24, bytes 3)"},
        {Wav(Format(1, 0, 8) + samples),
         "expected uncompressed samples of 8 or 16 bits, found coding 1 (channels 0, bits 8, bytes 0)"},
        {Wav(Format(1, 1, 8)), "the WAV file holds no samples"},
    };
    for (const auto &[file, expected] : kRefused) {
        std::string told;
        try {
            Read(file);
        } catch (const UserError &error) {
            told = error.what();
        }
        EXPECT_EQ(told, "f.wav: " + expected);
    }
}

} // namespace
} // namespace tools
