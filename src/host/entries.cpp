#include "host/entries.h"

#include "host/resolver.h"

namespace kvt {

void RegisterPluginVersion(std::int32_t interfaceVersion) {
    static void (*pRegisterPluginVersion)(std::int32_t);
    if (Found(pRegisterPluginVersion, "RegisterPluginVersion"))
        pRegisterPluginVersion(interfaceVersion);
}

double REALGetRBVersion() {
    static double (*pGetRBVersion)();
    return Found(pGetRBVersion, "REALGetRBVersion") ? pGetRBVersion() : 0.0;
}

void REALRegisterClass(REALclassDefinition *definition) {
    static void (*pRegisterClass)(REALclassDefinition *);
    if (Found(pRegisterClass, "PluginRegisterClass"))
        pRegisterClass(definition);
}

void REALRegisterClassExtension(REALclassDefinition *definition) {
    static void (*pRegisterClassExtension)(REALclassDefinition *);
    if (Found(pRegisterClassExtension, "PluginRegisterClassExtension"))
        pRegisterClassExtension(definition);
}

void REALRegisterMethod(REALmethodDefinition *definition) {
    static void (*pRuntimeRegisterMethod)(REALmethodDefinition *);
    if (Found(pRuntimeRegisterMethod, "PluginRegisterMethod"))
        pRuntimeRegisterMethod(definition);
}

void REALLockObject(REALobjectStruct *object) {
    static void (*pLockObject)(REALobjectStruct *);
    if (Found(pLockObject, "REALLockObject"))
        pLockObject(object);
}

void REALUnlockObject(REALobjectStruct *object) {
    static void (*pUnlockObject)(REALobjectStruct *);
    if (Found(pUnlockObject, "REALUnlockObject"))
        pUnlockObject(object);
}

void REALLockString(REALstringStruct *string) {
    static void (*pLockString)(REALstringStruct *);
    if (Found(pLockString, "REALLockString"))
        pLockString(string);
}

void REALUnlockString(REALstringStruct *string) {
    static void (*pUnlockString)(REALstringStruct *);
    if (Found(pUnlockString, "REALUnlockString"))
        pUnlockString(string);
}

REALclassStruct *REALGetClassRef(const char *className) {
    static REALclassStruct *(*pGetClassRef)(const char *);
    return Found(pGetClassRef, "pluginObjectType") ? pGetClassRef(className) : nullptr;
}

REALobjectStruct *REALnewInstance(const char *className) {
    static REALobjectStruct *(*pnewInstance)(const char *);
    return Found(pnewInstance, "PluginNewInstance") ? pnewInstance(className) : nullptr;
}

void *REALLoadObjectMethod(REALobjectStruct *object, const char *declaration) {
    static void *(*pLoadObjectMethod)(REALobjectStruct *, const char *);
    return Found(pLoadObjectMethod, "REALLoadObjectMethod") ? pLoadObjectMethod(object, declaration) : nullptr;
}

bool REALGetPropValueInt32(REALobjectStruct *object, const char *property, std::int32_t *value) {
    static unsigned char (*pGetPropValueInt)(REALobjectStruct *, const char *, std::int32_t *);
    return Found(pGetPropValueInt, "REALGetPropValueInt") && pGetPropValueInt(object, property, value);
}

bool REALSetPropValueInt32(REALobjectStruct *object, const char *property, std::int32_t value) {
    static unsigned char (*pSetPropValueInt)(REALobjectStruct *, const char *, std::int32_t);
    return Found(pSetPropValueInt, "REALSetPropValueInt") && pSetPropValueInt(object, property, value);
}

bool REALGetPropValueUInt8(REALobjectStruct *object, const char *property, unsigned char *value) {
    static unsigned char (*pGetPropValueBool)(REALobjectStruct *, const char *, unsigned char *);
    return Found(pGetPropValueBool, "REALGetPropValueBool") && pGetPropValueBool(object, property, value);
}

bool REALSetPropValueUInt32(REALobjectStruct *object, const char *property, std::uint32_t value) {
    static unsigned char (*pSetPropValueUInt32)(REALobjectStruct *, const char *, std::uint32_t);
    return Found(pSetPropValueUInt32, "REALSetPropValueUInt32") && pSetPropValueUInt32(object, property, value);
}

bool REALSetPropValueString(REALobjectStruct *object, const char *property, REALstringStruct *value) {
    static unsigned char (*pSetPropValueString)(REALobjectStruct *, const char *, REALstringStruct *);
    return Found(pSetPropValueString, "REALSetPropValueString") && pSetPropValueString(object, property, value);
}

void REALRaiseException(REALobjectStruct *exception) {
    static void (*pRaiseException)(REALobjectStruct *);
    if (Found(pRaiseException, "RuntimeRaiseException"))
        pRaiseException(exception);
}

bool REALLockPictureDescription(REALpictureStruct *picture, REALpictureDescription *description, std::int32_t type) {
    static unsigned char (*pLockPictureDescription)(REALpictureStruct *, REALpictureDescription *, std::int32_t);
    return Found(pLockPictureDescription, "REALLockPictureDescription") &&
           pLockPictureDescription(picture, description, type);
}

void REALLockPictureDescription(REALpictureStruct *picture, REALpictureDescription *description) {
    static void (*plockPictureDescription)(REALpictureStruct *, REALpictureDescription *);
    if (Found(plockPictureDescription, "lockPictureDescription"))
        plockPictureDescription(picture, description);
}

void REALUnlockPictureDescription(REALpictureStruct *picture) {
    static void (*punlockPictureDescription)(REALpictureStruct *);
    if (Found(punlockPictureDescription, "unlockPictureDescription"))
        punlockPictureDescription(picture);
}

void REALPictureClearCache(REALpictureStruct *picture) {
    static void (*pPictureClearCache)(REALpictureStruct *);
    if (Found(pPictureClearCache, "REALPictureClearCache"))
        pPictureClearCache(picture);
}

REALpictureStruct *REALNewPicture(std::int32_t width, std::int32_t height, std::int32_t depth) {
    static REALpictureStruct *(*pNewPicture)(std::int32_t, std::int32_t, std::int32_t);
    return Found(pNewPicture, "newPicture") ? pNewPicture(width, height, depth) : nullptr;
}

REALgraphicsStruct *REALGetPictureGraphics(REALpictureStruct *picture) {
    static REALgraphicsStruct *(*pPictureGraphicsGetter)(REALpictureStruct *);
    return Found(pPictureGraphicsGetter, "pluginPictureGraphicsGetter") ? pPictureGraphicsGetter(picture) : nullptr;
}

REALpictureStruct *REALGetPictureMask(REALpictureStruct *picture, signed char create) {
    static REALpictureStruct *(*pGetPictureMask)(REALpictureStruct *, signed char);
    return Found(pGetPictureMask, "REALGetPictureMask") ? pGetPictureMask(picture, create) : nullptr;
}

void GraphicsDrawLine(REALgraphicsStruct *graphics, std::int32_t x1, std::int32_t y1, std::int32_t x2,
                      std::int32_t y2) {
    static void (*pGraphicsDrawLine)(REALgraphicsStruct *, std::int32_t, std::int32_t, std::int32_t, std::int32_t);
    if (Found(pGraphicsDrawLine, "RuntimeGraphicsDrawLine"))
        pGraphicsDrawLine(graphics, x1, y1, x2, y2);
}

REALmemoryBlockStruct *REALNewMemoryBlock(std::int32_t size) {
    static REALmemoryBlockStruct *(*pNewMemoryBlock)(std::int32_t);
    return Found(pNewMemoryBlock, "newMemoryBlock") ? pNewMemoryBlock(size) : nullptr;
}

void *REALMemoryBlockGetPtr(REALmemoryBlockStruct *block) {
    static void *(*pMemoryBlockGetPtr)(REALmemoryBlockStruct *);
    return Found(pMemoryBlockGetPtr, "memoryBlockGetPtr") ? pMemoryBlockGetPtr(block) : nullptr;
}

std::int32_t REALMemoryBlockGetSize(REALmemoryBlockStruct *block) {
    static std::int32_t (*pMemoryBlockGetSize)(REALmemoryBlockStruct *);
    return Found(pMemoryBlockGetSize, "memoryBlockGetSize") ? pMemoryBlockGetSize(block) : 0;
}

std::uint32_t REALGetStringEncoding(REALstringStruct *string) {
    static std::uint32_t (*pGetStringEncoding)(REALstringStruct *);
    return Found(pGetStringEncoding, "REALGetStringEncoding") ? pGetStringEncoding(string) : 0;
}

REALstringStruct *REALConvertString(REALstringStruct *string, std::uint32_t encoding) {
    static REALstringStruct *(*pConvertString)(REALstringStruct *, std::uint32_t);
    return Found(pConvertString, "REALConvertString") ? pConvertString(string, encoding) : nullptr;
}

void REALSetStringEncoding(REALstringStruct *string, std::uint32_t encoding) {
    static void (*pSetStringEncoding)(REALstringStruct *, std::uint32_t);
    if (Found(pSetStringEncoding, "REALSetStringEncoding"))
        pSetStringEncoding(string, encoding);
}

REALstringStruct *originalREALBuildString(const char *bytes, std::int32_t length) {
    static REALstringStruct *(*pBuildString)(const char *, std::int32_t);
    return Found(pBuildString, "REALBuildString") ? pBuildString(bytes, length) : nullptr;
}

} // namespace kvt
