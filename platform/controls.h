#pragma once

#include "platform/QuickDraw.h"
#include "platform/export.h"

#include <span>

/// What tests see of the stand-in platform, and how they disturb it. Functions are named as the platform names them,
/// those of the QuickDraw bundle too; a name that the stand-in does not have ends the process with a message.
namespace kvt::platform {

KVT_PLATFORM std::span<const char *const> FunctionNames();

inline constexpr int kAlways = -1;

/// Lets the function's next `times` calls fail, once `before` more have worked: null, 0, or error -43 from
/// FSFindFolder; CFRelease never does. A QuickDraw function fails by not being found in its bundle: its look-ups fail
/// so, and one that was found before still works.
KVT_PLATFORM void Fail(const char *function, int times = kAlways, int before = 0);

/// How often the function was called since the last Reset.
KVT_PLATFORM int Calls(const char *function);

/// Where the frameworks folder lies; null for `Frameworks` beside the platform's library file.
KVT_PLATFORM void SetFrameworksFolder(const char *path);

/// Objects that were made and not given back. Constant strings live forever, one for every text.
struct LivingObjects {
    int urls;
    int bundles;
    int regions;
    int constantStrings;
};
KVT_PLATFORM LivingObjects CountLivingObjects();

/// What QuickDraw draws into; a caller that changes it owes the old one back.
struct DrawingPort {
    CGrafPtr port;
    GDHandle device;
};
KVT_PLATFORM DrawingPort &CurrentDrawingPort();

/// A sentence about the first object since the last Reset that was used or given back though it was not alive; null
/// when there was none.
KVT_PLATFORM const char *FirstMisuse();

/// Everything works, nothing was called, the folder and the drawing port are as at the start. Objects live on.
KVT_PLATFORM void Reset();

} // namespace kvt::platform
