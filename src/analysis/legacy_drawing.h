#pragma once

#include "host/resolver.h"
#include "platform/CoreServices.h"
#include "platform/QuickDraw.h"

#include <cstdint>

/// The platform's QuickDraw functions, found at run time in a framework bundle and never linked.
namespace kvt {

/// The function of that name in the framework's bundle, which is loaded at the first call that finds it and kept.
void *FindInFramework(const char *name);

template <class Signature> using FrameworkFunction = LateBound<Signature, FindInFramework>;
inline FrameworkFunction<void(CGrafPtr *port, GDHandle *device)> GetGWorld{"GetGWorld"};
inline FrameworkFunction<void(CGrafPtr port, GDHandle device)> SetGWorld{"SetGWorld"};
inline FrameworkFunction<RgnHandle()> NewRgn{"NewRgn"}; ///< given back with DisposeRgn
inline FrameworkFunction<void(RgnHandle)> DisposeRgn{"DisposeRgn"};
inline FrameworkFunction<void(const Rect *, std::int16_t dh, std::int16_t dv, RgnHandle updateRegion)> ScrollRect{
    "ScrollRect"};

/// The module's own.
void SetRect(Rect *rect, std::int16_t left, std::int16_t top, std::int16_t right, std::int16_t bottom);

/// The bundle of that name in the frameworks folder of the domain, with its code loaded; the caller owns it. Null, with
/// nothing held, when it is not there or does not load.
CFBundleRef LoadFrameworkBundle(std::int16_t domain, const char *name);
CFBundleRef LoadFrameworkBundle(const char *name); ///< on the disk that serves best

} // namespace kvt
