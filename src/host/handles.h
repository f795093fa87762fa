#pragma once

/// Opaque handles to the host's objects. The module never looks inside one; it hands them back through the entries of
/// entries.h. Everything but strings and classes is an object to the host, so those handles convert to
/// `REALobjectStruct *`. Where a comment says that a handle carries a reference, its receiver drops it with
/// REALUnlockObject (REALUnlockString for strings).
struct REALobjectStruct {};
struct REALpictureStruct : REALobjectStruct {};
struct REALgraphicsStruct : REALobjectStruct {};
struct REALmemoryBlockStruct : REALobjectStruct {};
struct REALstringStruct {};
struct REALclassStruct {};
