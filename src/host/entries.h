#pragma once

#include "host/handles.h"
#include "host/records.h"
#include "host/resolver.h"

#include <cstdint>

/// The host's entries, each with the host's meaning. Those that read strings stand in support/strings.cpp, where it
/// depends on their presence what is done instead.
namespace kvt {

// Start-up.

inline LateBound<void(std::int32_t interfaceVersion)> RegisterPluginVersion{"RegisterPluginVersion"};
inline LateBound<double()> REALGetRBVersion{"REALGetRBVersion"}; ///< the host's version

// Registration.

inline LateBound<void(REALclassDefinition *)> REALRegisterClass{"PluginRegisterClass"}; ///< fills `dataOffset`
inline LateBound<void(REALclassDefinition *)> REALRegisterClassExtension{"PluginRegisterClassExtension"};
inline LateBound<void(REALmethodDefinition *)> REALRegisterMethod{"PluginRegisterMethod"};

// References. An object or string dies when its last reference is dropped.

inline LateBound<void(REALobjectStruct *)> REALLockObject{"REALLockObject"};
inline LateBound<void(REALobjectStruct *)> REALUnlockObject{"REALUnlockObject"};
inline LateBound<void(REALstringStruct *)> REALLockString{"REALLockString"};
inline LateBound<void(REALstringStruct *)> REALUnlockString{"REALUnlockString"};

// Classes, methods and properties.

/// The class of that name in the running application, or null.
inline LateBound<REALclassStruct *(const char *className)> REALGetClassRef{"pluginObjectType"};
/// A new instance carrying one reference, or null; its script-level constructor has not run.
inline LateBound<REALobjectStruct *(const char *className)> REALnewInstance{"PluginNewInstance"};
/// The object's method with exactly that declaration, or null. The function takes the object, then the arguments.
inline LateBound<void *(REALobjectStruct *, const char *declaration)> REALLoadObjectMethod{"REALLoadObjectMethod"};

/// Access to a property of that type: whether the host knows it, and took or gave the value.
template <class Value> using PropertyAccess = LateBound<bool(REALobjectStruct *, const char *property, Value)>;
inline PropertyAccess<std::int32_t *> REALGetPropValueInt32{"REALGetPropValueInt"};
inline PropertyAccess<std::int32_t> REALSetPropValueInt32{"REALSetPropValueInt"};
inline PropertyAccess<unsigned char *> REALGetPropValueUInt8{"REALGetPropValueBool"};
inline PropertyAccess<std::uint32_t> REALSetPropValueUInt32{"REALSetPropValueUInt32"};
inline PropertyAccess<REALstringStruct *> REALSetPropValueString{"REALSetPropValueString"};

/// Makes the object the pending script exception and returns; the script sees it once the module has returned.
inline LateBound<void(REALobjectStruct *exception)> REALRaiseException{"RuntimeRaiseException"};

// Pictures.

/// Locks the picture's pixels and describes them in the requested type (8 or 10); false when it cannot be done.
inline LateBound<bool(REALpictureStruct *, REALpictureDescription *, std::int32_t type)> REALLockPictureDescription{
    "REALLockPictureDescription"};
/// Locks the pixels and describes them in the picture's own form.
inline LateBound<void(REALpictureStruct *, REALpictureDescription *)> LockPictureDescriptionUntyped{
    "lockPictureDescription"};
inline LateBound<void(REALpictureStruct *)> REALUnlockPictureDescription{"unlockPictureDescription"};
/// Makes the host forget what it cached from the pixels.
inline LateBound<void(REALpictureStruct *)> REALPictureClearCache{"REALPictureClearCache"};
/// A new blank picture carrying one reference, or null. The module always asks for depth 32.
inline LateBound<REALpictureStruct *(std::int32_t width, std::int32_t height, std::int32_t depth)> REALNewPicture{
    "newPicture"};
/// The picture's drawing surface carrying one reference, or null.
inline LateBound<REALgraphicsStruct *(REALpictureStruct *)> REALGetPictureGraphics{"pluginPictureGraphicsGetter"};
/// The picture's mask carrying one reference, or null; `create` 0 asks the host not to make one.
inline LateBound<REALpictureStruct *(REALpictureStruct *, signed char create)> REALGetPictureMask{"REALGetPictureMask"};
/// Draws with the surface's pen.
inline LateBound<void(REALgraphicsStruct *, std::int32_t x1, std::int32_t y1, std::int32_t x2, std::int32_t y2)>
    GraphicsDrawLine{"RuntimeGraphicsDrawLine"};

// Memory blocks.

/// A new block of `size` bytes carrying one reference, or null.
inline LateBound<REALmemoryBlockStruct *(std::int32_t size)> REALNewMemoryBlock{"newMemoryBlock"};
inline LateBound<void *(REALmemoryBlockStruct *)> REALMemoryBlockGetPtr{"memoryBlockGetPtr"};
inline LateBound<std::int32_t(REALmemoryBlockStruct *)> REALMemoryBlockGetSize{"memoryBlockGetSize"};

// Strings. Encoding codes stand in support/strings.h.

inline LateBound<std::uint32_t(REALstringStruct *)> REALGetStringEncoding{"REALGetStringEncoding"};
/// A new string carrying one reference with the text in that encoding, or null.
inline LateBound<REALstringStruct *(REALstringStruct *, std::uint32_t encoding)> REALConvertString{"REALConvertString"};
/// Declares the encoding; the bytes stay as they are.
inline LateBound<void(REALstringStruct *, std::uint32_t encoding)> REALSetStringEncoding{"REALSetStringEncoding"};
/// A new string of those bytes carrying one reference, or null.
inline LateBound<REALstringStruct *(const char *bytes, std::int32_t length)> originalREALBuildString{"REALBuildString"};

} // namespace kvt
