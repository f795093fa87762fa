#pragma once

#include "host/entries.h"
#include "kernels/map_picture.h"

#include <cstddef>
#include <cstdint>

/// What the module's classes share: each maps a part of its source picture into a new destination picture.
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

/// The part of the instance data that the host reads and writes itself. It hands out zeros: nil pictures, and bounds
/// that stand for the whole picture.
struct PictureFields {
    REALpictureStruct *source;      ///< set by the script
    REALpictureStruct *destination; ///< owned by the instance
    Bounds bounds;
};

/// Drops both pictures; the instance stays usable.
inline void Release(PictureFields &fields) {
    ReleasePicture(fields.source);
    ReleasePicture(fields.destination);
}

// clang-format off

/// The record of a property that the host reads and writes itself at its place in the instance data, `Data`. The
/// accessors are literals: an expression there would have the table built by an initialiser.
#define KVT_STANDARD_PROPERTY(name, type, flags, field) \
    {0, name, type, flags, REALroutine(UINTPTR_MAX), REALroutine(UINTPTR_MAX), offsetof(Data, field), {}}

/// Those of a member `pictures`.
#define KVT_PICTURE_PROPERTIES(flags) \
    KVT_STANDARD_PROPERTY("SourcePicture",      "Picture", flags, pictures.source), \
    KVT_STANDARD_PROPERTY("DestinationPicture", "Picture", flags, pictures.destination), \
    KVT_STANDARD_PROPERTY("MaxX",               "Integer", flags, pictures.bounds.maxX), \
    KVT_STANDARD_PROPERTY("MinX",               "Integer", flags, pictures.bounds.minX), \
    KVT_STANDARD_PROPERTY("MaxY",               "Integer", flags, pictures.bounds.maxY), \
    KVT_STANDARD_PROPERTY("MinY",               "Integer", flags, pictures.bounds.minY)

// clang-format on

} // namespace kvt
