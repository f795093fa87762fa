#pragma once

#include <cstdint>

/// Types of the platform's QuickDraw. Its functions are never linked: they stand in the executable of the bundle
/// "ApplicationServices.framework" and are found there by name, with these types:
///
///     void GetGWorld(CGrafPtr *port, GDHandle *device);       // what is drawn into
///     void SetGWorld(CGrafPtr port, GDHandle device);
///     RgnHandle NewRgn();                                     // an empty region, to be given back with DisposeRgn
///     void DisposeRgn(RgnHandle region);
///     void ScrollRect(const Rect *rect, std::int16_t dh, std::int16_t dv, RgnHandle updateRegion);
///
/// ScrollRect moves the pixels of the current graphics world inside the rectangle by dh to the right and dv down; what
/// leaves the rectangle is lost, and what is uncovered is filled with the background and becomes the region.

struct Rect {
    std::int16_t top;
    std::int16_t left;
    std::int16_t bottom; ///< the first row below
    std::int16_t right;  ///< the first column behind
};

/// An offscreen drawing surface with 32-bit pixels. In this stand-in a plain record that its maker lays out and owns;
/// on a real platform opaque.
struct GraphicsWorld {
    unsigned char *pixels;    ///< the pixel in the top left corner of `bounds`
    std::int32_t rowBytes;    ///< from row to row, padding included
    Rect bounds;              ///< the world's coordinates
    std::uint32_t background; ///< the pixel word that fills what is uncovered
};
using CGrafPtr = GraphicsWorld *;

struct GraphicsDevice;
using GDHandle = GraphicsDevice **;

struct Region; ///< which in this stand-in remembers nothing
using RgnHandle = Region **;
