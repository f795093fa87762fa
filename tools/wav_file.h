#pragma once

#include "tools/files.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace tools {

/// The samples of one channel.
struct Sound {
    int bitsPerSample = 8;  ///< 8: unsigned bytes; 16: signed, little-endian
    std::uint32_t rate = 0; ///< samples a second
    Bytes samples;
    std::string loss = {}; ///< what the file promises and does not hold; empty: nothing

    /// What a waveform's declaration calls this kind of sample: 8 for unsigned bytes, 15 for signed words.
    int Bits() const { return bitsPerSample == 8 ? 8 : 15; }
};

bool IsWav(std::span<const unsigned char> file);

/// The first channel of a file of uncompressed 8-bit or 16-bit samples. A file that was cut off gives the samples that
/// it holds, and tells of the loss. Throws UserError, with `name` before the reason.
Sound ReadWav(std::span<const unsigned char> file, std::string_view name);

/// A file with that one channel.
Bytes WavOf(const Sound &sound);

} // namespace tools
