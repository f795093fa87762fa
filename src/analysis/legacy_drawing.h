#pragma once

#include "platform/CoreServices.h"
#include "platform/QuickDraw.h"

#include <cstdint>

/// The platform's QuickDraw functions, found at run time in a framework bundle and never linked. Bundle and functions
/// are looked up at the first call and kept as long as the module is loaded; what was not found is looked up again at
/// the next call, and until then calling it does nothing. Arguments and results pass unchanged.
namespace kvt {

void GetGWorld(CGrafPtr *port, GDHandle *device); ///< missing: the variables keep what they hold
void SetGWorld(CGrafPtr port, GDHandle device);
RgnHandle NewRgn(); ///< null when missing; given back with DisposeRgn
void DisposeRgn(RgnHandle region);
void ScrollRect(const Rect *rect, std::int16_t dh, std::int16_t dv, RgnHandle updateRegion);

/// The module's own.
void SetRect(Rect *rect, std::int16_t left, std::int16_t top, std::int16_t right, std::int16_t bottom);

/// The bundle of that name in the frameworks folder of the domain, with its code loaded; the caller owns it. Null, with
/// nothing held, when it is not there or does not load.
CFBundleRef LoadFrameworkBundle(std::int16_t domain, const char *name);
CFBundleRef LoadFrameworkBundle(const char *name); ///< on the disk that serves best

} // namespace kvt
