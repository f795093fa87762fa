#pragma once

#include "host/entries.h"

namespace kvt {

/// The class's own data inside an instance. The host decides at registration where it lies.
template <class Data> Data &InstanceData(REALobjectStruct *instance, const REALclassDefinition &definition) {
    return *reinterpret_cast<Data *>(reinterpret_cast<unsigned char *>(instance) + definition.dataOffset);
}

/// Drops the reference that a picture field owns, then leaves the field nil: while the host drops it, the field still
/// names the picture.
inline void ReleasePicture(REALpictureStruct *&field) {
    if (field)
        REALUnlockObject(field);
    field = nullptr;
}

} // namespace kvt
