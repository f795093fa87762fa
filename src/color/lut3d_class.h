#pragma once

#include "host/handles.h"
#include "host/records.h"

#include <cstddef>
#include <cstdint>

namespace kvt {

/// Grid points an axis that are stored; the first 16 stand for the levels 0, 17, ... 255 and are the ones that count.
inline constexpr std::uint32_t kGridPoints = 18;
inline constexpr std::int32_t kGridLevels = 16;
inline constexpr std::int32_t kGridSpacing = 17;
inline constexpr std::uint32_t kGridChannels = 3;

/// Outputs by red, green, blue and output channel, on the scale 0..255. Any double will do.
using ColorGrid = double[kGridPoints][kGridPoints][kGridPoints][kGridChannels];

/// Instance data of PictureLut3DKVT. The host reads and writes all but the table itself, at these offsets. It hands out
/// zeros: nil pictures, bounds that stand for the whole picture, a black table.
struct Lut3DClassData {
    REALpictureStruct *sourcePicture;      ///< set by the script
    REALpictureStruct *destinationPicture; ///< owned by the instance
    std::int32_t minX;
    std::int32_t minY;
    std::int32_t maxX;
    std::int32_t maxY;
    ColorGrid table;
};

#if __SIZEOF_POINTER__ == 4
static_assert(sizeof(Lut3DClassData) == 139992 && offsetof(Lut3DClassData, minX) == 8 &&
              offsetof(Lut3DClassData, table) == 24);
#endif

/// The class's record, which stands with the rest of the interface. The routines below find their data through it.
extern REALclassDefinition gPictureLut3DClass;

void Lut3DClassConstructor(REALobjectStruct *instance);
/// Also the method Close: drops both pictures; the instance stays usable.
void Lut3DClassDestructor(REALobjectStruct *instance);

/// Maps the bounds of SourcePicture through the table, interpolated in tetrahedra, into a new DestinationPicture. The
/// old one is dropped first, whatever happens then. 0 (false) when there is no source, it cannot be read, or no picture
/// can be made.
unsigned char Lut3DRun(REALobjectStruct *instance);

/// Table entries by grid indices (each below 18) and channel (below 3). Outside: 0.0 is read, nothing is stored.
double GetPMX(REALobjectStruct *instance, std::uint32_t r, std::uint32_t g, std::uint32_t b, std::uint32_t x);
void SetPMX(REALobjectStruct *instance, std::uint32_t r, std::uint32_t g, std::uint32_t b, std::uint32_t x,
            double value);

} // namespace kvt
