#pragma once

#include "platform/QuickDraw.h"
#include "platform/export.h"

#include <set>
#include <string>

/// What the parts of the stand-in platform share.
namespace kvt::platform {

/// Counts a call of the function; false when it is to fail.
KVT_PLATFORM bool Works(const char *function);

/// As above, for a function of a bundle that is being looked up: nothing is counted.
bool CanBeFound(const char *function);

/// Keeps the sentence if it is the first.
KVT_PLATFORM void ReportMisuse(const std::string &sentence);

std::string FrameworksFolder();
int LivingUrls();
int LivingBundles();
int ConstantStrings();

KVT_PLATFORM std::set<RgnHandle> &LivingRegions();

} // namespace kvt::platform
