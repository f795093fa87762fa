#pragma once

#include "platform/export.h"

#include <cstdint>

/// Folders, URLs and loadable bundles of the platform, as far as this project needs them. What a function with "Create"
/// in its name yields is the caller's, who gives it back with CFRelease; null stands for failure. On a real platform
/// its own frameworks offer these functions under the same names.

struct CFString;
struct CFURL;
struct CFBundle;
using CFTypeRef = const void *;
using CFAllocatorRef = const void *; ///< null: the system's default
using CFStringRef = const CFString *;
using CFURLRef = const CFURL *;
using CFBundleRef = CFBundle *;

/// What identifies a folder. Opaque; a folder found fills all of it.
struct FSRef {
    unsigned char opaque[80];
};

inline constexpr std::int16_t kOnAppropriateDisk = -32767;         ///< a domain: the disk that serves best
inline constexpr std::uint32_t kFrameworksFolderType = 0x6672616D; ///< 'fram'

extern "C" {
/// 0 when the folder of that type was found in the domain, else an error number; `create` other than 0 allows making a
/// missing one.
KVT_PLATFORM std::int16_t FSFindFolder(std::int16_t domain, std::uint32_t folderType, unsigned char create,
                                       FSRef *found);

KVT_PLATFORM CFURLRef CFURLCreateFromFSRef(CFAllocatorRef allocator, const FSRef *folder);
KVT_PLATFORM CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef allocator, CFURLRef url,
                                                            CFStringRef component, unsigned char isDirectory);

/// The bundle in the folder of that URL; its code is not loaded yet.
KVT_PLATFORM CFBundleRef CFBundleCreate(CFAllocatorRef allocator, CFURLRef url);
/// 1 when the code is loaded. It stays so as long as the bundle lives.
KVT_PLATFORM unsigned char CFBundleLoadExecutable(CFBundleRef bundle);
/// The address of a function of the loaded code, or null.
KVT_PLATFORM void *CFBundleGetFunctionPointerForName(CFBundleRef bundle, CFStringRef name);

KVT_PLATFORM void CFRelease(CFTypeRef object); ///< `object` is not null

/// The one string of that text, which lives as long as the process; nobody has to give it back.
KVT_PLATFORM CFStringRef __CFStringMakeConstantString(const char *text);
}
