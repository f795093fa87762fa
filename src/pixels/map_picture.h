#pragma once

#include "pixels/open.h"
#include "pixels/walk.h"

namespace kvt {

/// The shape of most operations: a new picture of the source's size, with op(pixel) written for every pixel of the
/// area, opaque, and nothing written elsewhere. `area` is a Rectangle or Bounds. The picture goes to keep(picture),
/// with one reference, before the source is closed; what that yields is the result. Null, with nothing raised and
/// nothing held, when the source cannot be read or no picture can be made.
template <class AreaRule, class Op, class Keep>
REALpictureStruct *MapPicture(REALpictureStruct *picture, NewPicture kind, AreaRule area, Op op, Keep keep) {
    const OpenReader source{picture};
    if (!source)
        return nullptr;
    OpenWriter result{*source, kind};
    if (!result)
        return nullptr;
    Map(*source, *result, AreaOf(*source, area), op);
    return keep(result.Render());
}

/// The same for a picture that is the caller's.
template <class AreaRule, class Op>
REALpictureStruct *MapPicture(REALpictureStruct *picture, NewPicture kind, AreaRule area, Op op) {
    return MapPicture(picture, kind, area, op, [](REALpictureStruct *made) { return made; });
}

} // namespace kvt
