#pragma once

#include "tools/files.h"

namespace tools {

/// The samples of one channel.
struct Sound {
    int bits = 8; ///< as waveforms' declarations call them: 8 for unsigned bytes, 15 for signed words, low bytes first
    Bytes samples;
    std::string loss = {}; ///< what the file promises and does not hold; empty: nothing
};

/// The first channel of a file of uncompressed 8-bit or 16-bit samples. A file that was cut off gives the samples that
/// it holds, and tells of the loss. Throws UserError, with `name` before the reason.
Sound ReadWav(std::span<const unsigned char> file, std::string_view name);

} // namespace tools
