#pragma once

#include "kernels/job.h"
#include "pixels/open.h"

namespace kvt {

/// The shape of most operations: a new picture of the source's size, with the kernel's result for every pixel of the
/// area, opaque, and nothing written elsewhere. `area` is a Rectangle or Bounds; the kernel takes the parameters behind
/// its job. The picture goes to keep(picture), with one reference, before the source is closed; what that yields is the
/// result. Null, with nothing raised, nothing held and nothing kept, when the source cannot be read or no picture can
/// be made.
template <class Keep, class AreaRule, class... Kernel, class... Parameters>
REALpictureStruct *MapPictureAndKeep(Keep keep, REALpictureStruct *picture, NewPicture kind, AreaRule area,
                                     MapKernel<Kernel...> *kernel, const Parameters &...parameters) {
    const OpenReader source{picture};
    if (!source)
        return nullptr;
    OpenWriter result{*source, kind};
    if (!result)
        return nullptr;
    kernel(JobOf(*result, AreaOf(*source, area), *source), parameters...);
    return keep(result.Render());
}

/// The same for a picture that is the caller's.
template <class AreaRule, class... Kernel, class... Parameters>
REALpictureStruct *MapPicture(REALpictureStruct *picture, NewPicture kind, AreaRule area, MapKernel<Kernel...> *kernel,
                              const Parameters &...parameters) {
    return MapPictureAndKeep([](REALpictureStruct *made) { return made; }, picture, kind, area, kernel, parameters...);
}

} // namespace kvt
