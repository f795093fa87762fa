#include "platform/QuickDraw.h"

#include "platform/controls.h"
#include "platform/internal.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

using kvt::platform::CountCall;
using kvt::platform::CurrentDrawingPort;
using kvt::platform::LivingRegions;

namespace {

Rect Intersection(const Rect &a, const Rect &b) {
    return {std::max(a.top, b.top), std::max(a.left, b.left), std::min(a.bottom, b.bottom), std::min(a.right, b.right)};
}

unsigned char *PixelAt(const GraphicsWorld &world, int x, int y) {
    return world.pixels + std::ptrdiff_t{y - world.bounds.top} * world.rowBytes +
           std::ptrdiff_t{x - world.bounds.left} * 4;
}

void FillWithBackground(const GraphicsWorld &world, int y, int left, int right) {
    for (int x = left; x < right; ++x)
        std::memcpy(PixelAt(world, x, y), &world.background, 4);
}

void Scroll(const GraphicsWorld &world, const Rect &rect, int dh, int dv) {
    const int left = std::clamp(rect.left + dh, int{rect.left}, int{rect.right});
    const int right = std::clamp(rect.right + dh, int{rect.left}, int{rect.right});
    for (int i = 0; i < rect.bottom - rect.top; ++i) {
        const int y = dv > 0 ? rect.bottom - 1 - i : rect.top + i; // a row is read before it is overwritten
        const int source = y - dv;
        if (source < rect.top || source >= rect.bottom || left >= right) {
            FillWithBackground(world, y, rect.left, rect.right);
            continue;
        }
        std::memmove(PixelAt(world, left, y), PixelAt(world, left - dh, source),
                     static_cast<std::size_t>(right - left) * 4);
        FillWithBackground(world, y, rect.left, left);
        FillWithBackground(world, y, right, rect.right);
    }
}

} // namespace

extern "C" {

KVT_PLATFORM void GetGWorld(CGrafPtr *port, GDHandle *device) {
    CountCall(__func__);
    *port = CurrentDrawingPort().port;
    *device = CurrentDrawingPort().device;
}

KVT_PLATFORM void SetGWorld(CGrafPtr port, GDHandle device) {
    CountCall(__func__);
    CurrentDrawingPort() = {port, device};
}

KVT_PLATFORM RgnHandle NewRgn() {
    CountCall(__func__);
    return *LivingRegions().insert(new Region *()).first;
}

KVT_PLATFORM void DisposeRgn(RgnHandle region) {
    CountCall(__func__);
    if (!region)
        return;
    if (LivingRegions().erase(region))
        delete region;
    else
        kvt::platform::ReportMisuse("DisposeRgn was given a region that is not alive");
}

KVT_PLATFORM void ScrollRect(const Rect *rect, std::int16_t dh, std::int16_t dv, RgnHandle updateRegion) {
    CountCall(__func__);
    const GraphicsWorld *world = CurrentDrawingPort().port;
    const Rect inside = world ? Intersection(*rect, world->bounds) : Rect{};
    if (inside.top < inside.bottom && inside.left < inside.right)
        Scroll(*world, inside, dh, dv);
    if (updateRegion && !LivingRegions().count(updateRegion))
        kvt::platform::ReportMisuse("ScrollRect was given a region that is not alive");
}
}
