#pragma once

#include "host/entries.h"

#include <utility>

namespace kvt {

/// The class's own data inside an instance. The host decides at registration where it lies.
template <class Data> Data &InstanceData(REALobjectStruct *instance, const REALclassDefinition &definition) {
    return *reinterpret_cast<Data *>(reinterpret_cast<unsigned char *>(instance) + definition.dataOffset);
}

/// Drops the reference that a picture field owns, and leaves the field nil: at once, since what the last reference
/// takes along may come back to the instance.
inline void ReleasePicture(REALpictureStruct *&field) {
    if (REALpictureStruct *held = std::exchange(field, nullptr))
        REALUnlockObject(held);
}

} // namespace kvt
