#include "color/channels.h"

#include "pixels/open.h"
#include "support/exceptions.h"

#define KVT_KERNELS "color/channels_kernel.h"
#include "kernels/each_level.h"

namespace kvt {

REALpictureStruct *ReplaceChannel(REALpictureStruct *picture, REALpictureStruct *channel, std::uint32_t bits) {
    if (!channel) {
        RaiseNilObject("The channel picture is nil.");
        return nullptr;
    }
    const OpenReader receiver{picture};
    const OpenReader replacement{receiver ? channel : nullptr};
    if (!replacement || replacement->height < receiver->height || replacement->width < receiver->width)
        return nullptr;
    OpenWriter result{*receiver, NewPicture::SameSize};
    if (!result)
        return nullptr;
    KVT_SELECT(ReplaceBits)(JobOf(*result, AreaOf(*receiver, kWholePicture), *receiver, *replacement), bits);
    return result.Render();
}

REALpictureStruct *CombinePicturesKVT(REALpictureStruct *red, REALpictureStruct *blue, REALpictureStruct *green) {
    const OpenReader reds{red};
    const OpenReader greens{reds ? green : nullptr};
    const OpenReader blues{greens ? blue : nullptr};
    if (!blues || !SameSize(*reds, *greens) || !SameSize(*reds, *blues))
        return nullptr;
    OpenWriter result{*reds, NewPicture::SameSize};
    if (!result)
        return nullptr;
    KVT_SELECT(Combine)(JobOf(*result, AreaOf(*reds, kWholePicture), *reds, *greens, *blues));
    return result.Render();
}

REALpictureStruct *MergePicture(REALpictureStruct *source1, REALpictureStruct *source2) {
    const OpenReader first{source2 ? source1 : nullptr};
    const OpenReader second{first ? source2 : nullptr};
    if (!second || !SameSize(*first, *second))
        return nullptr;
    OpenWriter result{*first, NewPicture::SameSize};
    if (!result)
        return nullptr;
    KVT_SELECT(Merge)(JobOf(*result, AreaOf(*first, kWholePicture), *first, *second));
    return result.Render();
}

} // namespace kvt
