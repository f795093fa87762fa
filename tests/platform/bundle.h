#pragma once

#include "platform/CoreServices.h"
#include "platform/controls.h"

#include <gtest/gtest.h>

/// Begins every test with a platform where everything works, and ends it with nothing left behind.
class Platform : public testing::Test {
  protected:
    void SetUp() override { kvt::platform::Reset(); }
    void TearDown() override {
        EXPECT_EQ(kvt::platform::FirstMisuse(), nullptr);
        const kvt::platform::LivingObjects living = kvt::platform::CountLivingObjects();
        EXPECT_EQ(living.urls, 0);
        EXPECT_EQ(living.bundles, 0);
        EXPECT_EQ(living.regions, 0);
    }
};

/// The loaded QuickDraw bundle, or null; the caller releases it.
inline CFBundleRef LoadBundle(const char *name = "ApplicationServices.framework") {
    FSRef folder;
    if (FSFindFolder(kOnAppropriateDisk, kFrameworksFolderType, 1, &folder) != 0)
        return nullptr;
    CFURLRef frameworks = CFURLCreateFromFSRef(nullptr, &folder);
    if (!frameworks)
        return nullptr;
    CFURLRef url = CFURLCreateCopyAppendingPathComponent(nullptr, frameworks, __CFStringMakeConstantString(name), 0);
    CFRelease(frameworks);
    if (!url)
        return nullptr;
    CFBundleRef bundle = CFBundleCreate(nullptr, url);
    CFRelease(url);
    if (bundle && !CFBundleLoadExecutable(bundle)) {
        CFRelease(bundle);
        bundle = nullptr;
    }
    return bundle;
}

template <class Function> Function *FunctionOf(CFBundleRef bundle, const char *name) {
    return reinterpret_cast<Function *>(CFBundleGetFunctionPointerForName(bundle, __CFStringMakeConstantString(name)));
}
