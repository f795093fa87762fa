#include "color/channels.h"

#include "pixels/open.h"
#include "support/exceptions.h"

#include <cstdint>

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

REALpictureStruct *ReplaceChannel(REALpictureStruct *picture, REALpictureStruct *channel, std::uint32_t channelBits) {
    if (!channel) {
        RaiseNilObject("The channel picture is nil.");
        return nullptr;
    }
    const OpenReader receiver{picture};
    if (!receiver)
        return nullptr;
    const OpenReader replacement{channel};
    if (!replacement || replacement->height < receiver->height || replacement->width < receiver->width)
        return nullptr;
    OpenWriter result{*receiver, NewPicture::SameSize};
    if (!result)
        return nullptr;
    KVT_SELECT(ReplaceBits)(JobOf(*result, AreaOf(*receiver, kWholePicture), *receiver, *replacement), channelBits);
    return result.Render();
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
    if (!reds)
        return nullptr;
    const OpenReader greens{green};
    if (!greens)
        return nullptr;
    const OpenReader blues{blue};
    if (!blues || !SameSize(*reds, *greens) || !SameSize(*reds, *blues))
        return nullptr;
    OpenWriter result{*reds, NewPicture::SameSize};
    if (!result)
        return nullptr;
    KVT_SELECT(Combine)(JobOf(*result, AreaOf(*reds, kWholePicture), *reds, *greens, *blues));
    return result.Render();
}

} // namespace kvt
