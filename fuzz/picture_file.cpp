#include "standin/guarded_memory.h"
#include "tools/formats/formats.h"

namespace {

constexpr std::int64_t kMostPixels = 1 << 18; ///< more take time and show nothing new

} // namespace

/// The input is a picture file of one kind: only the documented exception leaves its reader, which asks for pixels once
/// at the most, of a sane size, writes nothing outside them, and tells an orientation that there is.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    standin::GuardedMemory memory; // between pages that cannot be touched: the libraries are not instrumented
    bool asked = false;
    try {
        KVT_READER({data, size}, [&](tools::formats::Info &info) {
            const std::int64_t pixels = std::int64_t{info.width} * info.height;
            if (asked || info.width < 1 || info.height < 1 || info.width > tools::formats::kMostSide ||
                info.height > tools::formats::kMostSide || info.orientation < 1 || info.orientation > 8)
                __builtin_trap();
            asked = true;
            if (pixels > kMostPixels)
                throw tools::UserError("too large to try");
            memory = standin::GuardedMemory(static_cast<std::size_t>(pixels) * 4, standin::Guard::After);
            const tools::formats::PixelForm form = {standin::Layout::AlphaLow, info.hasAlpha, true};
            return tools::formats::Pixels{info.width, info.height, memory.data(), std::ptrdiff_t{4} * info.width, form};
        });
    } catch (const tools::UserError &) {
    }
    return 0;
}
