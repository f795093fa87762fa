#pragma once

#include "platform/QuickDraw.h"
#include "platform/export.h"

#include <set>
#include <string>

/// What the parts of the stand-in platform share.
namespace kvt::platform {

KVT_PLATFORM void CountCall(const char *function);

/// Counts a call; false when it is to fail.
bool Works(const char *function);

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
