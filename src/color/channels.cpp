#include "color/methods.h"
#include "pixels/open.h"
#include "support/exceptions.h"

namespace kvt {

// Channels as host colors.
constexpr std::uint32_t kRed = 0xFF0000;
constexpr std::uint32_t kGreen = 0x00FF00;
constexpr std::uint32_t kBlue = 0x0000FF;

} // namespace kvt

#define KVT_KERNELS "color/channels_kernel.h"
#include "kernels/each_level.h"

namespace kvt {
namespace {

/// A new picture of the first source's size, of which the kernel makes every pixel of the sources'.
template <class Kernel, class... Sources>
REALpictureStruct *MapTogether(Kernel kernel, const OpenReader &first, const Sources &...others) {
    OpenWriter result{*first, NewPicture::SameSize};
    if (!result)
        return nullptr;
    kernel(JobOf(*result, AreaOf(*first, kWholePicture), *first, *others...));
    return result.Render();
}

/// `bits` is a host color with all bits of the channel.
REALpictureStruct *ReplaceChannel(REALpictureStruct *picture, REALpictureStruct *channel, std::uint32_t bits) {
    if (!channel) {
        RaiseNilObject("The channel picture is nil.");
        return nullptr;
    }
    const OpenReader receiver{picture};
    const OpenReader replacement{receiver ? channel : nullptr};
    if (!replacement || replacement->height < receiver->height || replacement->width < receiver->width)
        return nullptr;
    const auto replace = [bits](const MapJob &job) { KVT_SELECT(ReplaceBits)(job, bits); };
    return MapTogether(replace, receiver, replacement);
}

} // namespace

REALpictureStruct *ReplaceRedChannel(REALpictureStruct *picture, REALpictureStruct *channel) {
    return ReplaceChannel(picture, channel, kRed);
}
REALpictureStruct *ReplaceGreenChannel(REALpictureStruct *picture, REALpictureStruct *channel) {
    return ReplaceChannel(picture, channel, kGreen);
}
REALpictureStruct *ReplaceBlueChannel(REALpictureStruct *picture, REALpictureStruct *channel) {
    return ReplaceChannel(picture, channel, kBlue);
}

REALpictureStruct *CombinePicturesKVT(REALpictureStruct *red, REALpictureStruct *blue, REALpictureStruct *green) {
    const OpenReader reds{red};
    const OpenReader greens{reds ? green : nullptr};
    const OpenReader blues{greens ? blue : nullptr};
    if (!blues || !SameSize(*reds, *greens) || !SameSize(*reds, *blues))
        return nullptr;
    return MapTogether(KVT_SELECT(Combine), reds, greens, blues);
}

REALpictureStruct *MergePicture(REALpictureStruct *source1, REALpictureStruct *source2) {
    const OpenReader first{source2 ? source1 : nullptr};
    const OpenReader second{first ? source2 : nullptr};
    if (!second || !SameSize(*first, *second))
        return nullptr;
    return MapTogether(KVT_SELECT(Merge), first, second);
}

} // namespace kvt
