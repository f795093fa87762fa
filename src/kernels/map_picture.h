#pragma once

#include "kernels/job.h"
#include "pixels/open.h"

namespace kvt {

/// The shape of most operations: a new picture of the source's size, with the kernel's result for every pixel of the
/// area, opaque, and nothing written elsewhere. `area` is a Rectangle or Bounds; the kernel takes the parameters behind
/// its job. The result carries one reference for the caller; null, with nothing raised and nothing held, when the
/// source cannot be read or no picture can be made.
template <class AreaRule, class... Kernel, class... Parameters>
REALpictureStruct *MapPicture(REALpictureStruct *picture, NewPicture kind, AreaRule area,
                              void (*kernel)(const MapJob &, Kernel...), const Parameters &...parameters) {
    const OpenReader source{picture};
    if (!source)
        return nullptr;
    OpenWriter result{*source, kind};
    if (!result)
        return nullptr;
    kernel(JobOf(*result, AreaOf(*source, area), *source), parameters...);
    return result.Render();
}

} // namespace kvt
