#include "color/channels.h"

#include "pixels/open.h"
#include "pixels/walk.h"
#include "support/exceptions.h"

namespace kvt {
namespace {

template <class Op> REALpictureStruct *ReplaceChannel(REALpictureStruct *picture, REALpictureStruct *channel, Op op) {
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
    Combine(*result, AreaOf(*receiver, kWholePicture), op, *receiver, *replacement);
    return result.Render();
}

struct TakeRed {
    KVT_INLINE Rgb operator()(Rgb kept, Rgb channel) const { return {channel.red, kept.green, kept.blue}; }
};

struct TakeGreen {
    KVT_INLINE Rgb operator()(Rgb kept, Rgb channel) const { return {kept.red, channel.green, kept.blue}; }
};

struct TakeBlue {
    KVT_INLINE Rgb operator()(Rgb kept, Rgb channel) const { return {kept.red, kept.green, channel.blue}; }
};

struct OneChannelEach {
    KVT_INLINE Rgb operator()(Rgb reds, Rgb greens, Rgb blues) const { return {reds.red, greens.green, blues.blue}; }
};

} // namespace

REALpictureStruct *ReplaceRedChannel(REALpictureStruct *picture, REALpictureStruct *channel) {
    return ReplaceChannel(picture, channel, TakeRed{});
}

REALpictureStruct *ReplaceGreenChannel(REALpictureStruct *picture, REALpictureStruct *channel) {
    return ReplaceChannel(picture, channel, TakeGreen{});
}

REALpictureStruct *ReplaceBlueChannel(REALpictureStruct *picture, REALpictureStruct *channel) {
    return ReplaceChannel(picture, channel, TakeBlue{});
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
    Combine(*result, AreaOf(*reds, kWholePicture), OneChannelEach{}, *reds, *greens, *blues);
    return result.Render();
}

} // namespace kvt
