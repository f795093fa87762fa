#pragma once

#include "platform/QuickDraw.h"
#include "platform/export.h"

#include <set>
#include <string>

/// What the parts of the stand-in platform share.
namespace kvt::platform {

struct FunctionState {
    int calls;
    int failures; ///< still to come; kAlways for all
    int before;   ///< calls that work until then
};

/// Of a function that the stand-in has; it stays at its place. Another name ends the process.
FunctionState &StateOf(const char *function);

KVT_PLATFORM void CountCall(const char *function);

/// Counts a call; false when it is to fail.
bool Works(FunctionState &function);
inline bool Works(const char *function) { return Works(StateOf(function)); }

/// Whether a bundle's function that is being looked up is not made to fail. Functions without controls always are
/// found.
bool CanBeFound(const char *function);

/// Keeps the sentence if it is the first.
KVT_PLATFORM void ReportMisuse(const std::string &sentence);

std::string FrameworksFolder();
int LivingUrls();
int LivingBundles();
int ConstantStrings();

KVT_PLATFORM std::set<RgnHandle> &LivingRegions();

} // namespace kvt::platform
