#pragma once

#include "host/handles.h"
#include "host/records.h"

#include <cstdint>

/// One wrapper per host entry, with the host's meaning. Where the host lacks the entry, a wrapper does nothing and
/// yields null, 0 or false. Of a boolean result only the low 8 bits count. The entries that read strings are looked up
/// in support/strings.cpp, where it depends on their presence what is done instead.
namespace kvt {

// Start-up.

void RegisterPluginVersion(std::int32_t interfaceVersion);
double REALGetRBVersion(); ///< the host's version

// Registration.

void REALRegisterClass(REALclassDefinition *definition); ///< the host fills `dataOffset` of the record
void REALRegisterClassExtension(REALclassDefinition *definition);
void REALRegisterMethod(REALmethodDefinition *definition);

// References. An object or string dies when its last reference is dropped.
void REALLockObject(REALobjectStruct *object);
void REALUnlockObject(REALobjectStruct *object);
void REALLockString(REALstringStruct *string);
void REALUnlockString(REALstringStruct *string);

// Classes, methods and properties.

/// The class of that name in the running application, or null.
REALclassStruct *REALGetClassRef(const char *className);
/// A new instance carrying one reference, or null; its script-level constructor has not run.
REALobjectStruct *REALnewInstance(const char *className);
/// The object's method with exactly that declaration, or null. The function takes the object, then the arguments.
void *REALLoadObjectMethod(REALobjectStruct *object, const char *declaration);
bool REALGetPropValueInt32(REALobjectStruct *object, const char *property, std::int32_t *value);
bool REALSetPropValueInt32(REALobjectStruct *object, const char *property, std::int32_t value);
bool REALGetPropValueUInt8(REALobjectStruct *object, const char *property, unsigned char *value);
bool REALSetPropValueUInt32(REALobjectStruct *object, const char *property, std::uint32_t value);
bool REALSetPropValueString(REALobjectStruct *object, const char *property, REALstringStruct *value);

/// Makes the object the pending script exception and returns; the script sees it once the module has returned.
void REALRaiseException(REALobjectStruct *exception);

// Pictures.

/// Locks the picture's pixels and describes them in the requested type (8 or 10); false when it cannot be done.
bool REALLockPictureDescription(REALpictureStruct *picture, REALpictureDescription *description, std::int32_t type);
/// Locks the pixels and describes them in the picture's own form.
void REALLockPictureDescription(REALpictureStruct *picture, REALpictureDescription *description);
void REALUnlockPictureDescription(REALpictureStruct *picture);
/// Makes the host forget what it cached from the pixels.
void REALPictureClearCache(REALpictureStruct *picture);
/// A new blank picture carrying one reference, or null. The module always asks for depth 32.
REALpictureStruct *REALNewPicture(std::int32_t width, std::int32_t height, std::int32_t depth);
/// The picture's drawing surface carrying one reference, or null.
REALgraphicsStruct *REALGetPictureGraphics(REALpictureStruct *picture);
/// The picture's mask carrying one reference, or null; `create` 0 asks the host not to make one.
REALpictureStruct *REALGetPictureMask(REALpictureStruct *picture, signed char create);
/// Draws with the surface's pen.
void GraphicsDrawLine(REALgraphicsStruct *graphics, std::int32_t x1, std::int32_t y1, std::int32_t x2, std::int32_t y2);

// Memory blocks.

/// A new block of `size` bytes carrying one reference, or null.
REALmemoryBlockStruct *REALNewMemoryBlock(std::int32_t size);
void *REALMemoryBlockGetPtr(REALmemoryBlockStruct *block);
std::int32_t REALMemoryBlockGetSize(REALmemoryBlockStruct *block);

// Strings. Encoding codes stand in support/strings.h.

std::uint32_t REALGetStringEncoding(REALstringStruct *string);
/// A new string carrying one reference with the text in that encoding, or null.
REALstringStruct *REALConvertString(REALstringStruct *string, std::uint32_t encoding);
/// Declares the encoding; the bytes stay as they are.
void REALSetStringEncoding(REALstringStruct *string, std::uint32_t encoding);
/// A new string of those bytes carrying one reference, or null.
REALstringStruct *originalREALBuildString(const char *bytes, std::int32_t length);

} // namespace kvt
