#include "pixels/picture_lock.h"

#include "host/entries.h"
#include "host/resolver.h"

namespace kvt {

bool REALLockPictureDescriptionX(REALpictureStruct *picture, REALpictureDescription *description, std::uint32_t type) {
    if (REALLockPictureDescription(picture, description, static_cast<std::int32_t>(type)))
        return true;
    if (!(rbversion_rbversion >= 2012.0))
        REALUnlockPictureDescription(picture);
    return false;
}

} // namespace kvt
