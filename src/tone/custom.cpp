#include "tone/custom.h"

#include "tone/adjustment.h"

namespace kvt {

REALpictureStruct *TransformPicture(REALpictureStruct *picture, double a, double b) {
    return AdjustPicture(picture, {.scale = a, .offset = b});
}

} // namespace kvt
