#pragma once

#include "host/handles.h"
#include "host/records.h"

#include <cstddef>
#include <cstdint>

namespace kvt {

/// Instance data of PictureSepiaKVT. The host reads and writes all but the weights itself, at these offsets. It hands
/// out zeros: nil pictures, bounds that stand for the whole picture, no offsets.
struct PictureSepiaData {
    double redWeight;
    double greenWeight;
    double blueWeight;
    REALpictureStruct *sourcePicture;      ///< set by the script
    REALpictureStruct *destinationPicture; ///< owned by the instance
    std::int32_t minX;
    std::int32_t minY;
    std::int32_t maxX;
    std::int32_t maxY;
    std::int32_t sepiaRed; ///< added to the gray, as the next two
    std::int32_t sepiaGreen;
    std::int32_t sepiaBlue;
    std::uint32_t unused;
};

#if __SIZEOF_POINTER__ == 4
static_assert(sizeof(PictureSepiaData) == 64 && offsetof(PictureSepiaData, sourcePicture) == 24 &&
              offsetof(PictureSepiaData, minX) == 32 && offsetof(PictureSepiaData, sepiaRed) == 48);
#endif

/// The class's record, which stands with the rest of the interface. The routines below find their data through it.
extern REALclassDefinition gPictureSepiaClass;

void PictureSepiaClassConstructor(REALobjectStruct *instance);
/// Also the method Close: drops both pictures; the instance stays usable.
void PictureSepiaClassDestructor(REALobjectStruct *instance);

/// Tones the bounds of SourcePicture into a new DestinationPicture, which replaces the old one. 0 (false), with
/// DestinationPicture as it was, when there is no source, it cannot be read, or no picture can be made.
unsigned char PictureSepiaRun(REALobjectStruct *instance);

// Accessors of FactorRed, FactorBlue and FactorGreen, in this order. Scripts know the weight of green as FactorBlue and
// the weight of blue as FactorGreen; programs rely on that.
double GetFactorR(REALobjectStruct *instance, std::int32_t param); ///< weight of red
double GetFactorG(REALobjectStruct *instance, std::int32_t param); ///< weight of green
double GetFactorB(REALobjectStruct *instance, std::int32_t param); ///< weight of blue
void SetFactorR(REALobjectStruct *instance, std::int32_t param, double value);
void SetFactorG(REALobjectStruct *instance, std::int32_t param, double value);
void SetFactorB(REALobjectStruct *instance, std::int32_t param, double value);

} // namespace kvt
