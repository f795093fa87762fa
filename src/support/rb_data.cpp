#include "support/rb_data.h"

#include "host/entries.h"
#include "host/resolver.h"
#include "support/memory.h"
#include "support/strings.h"

#include <algorithm>

namespace kvt {

rbData::rbData(REALstringStruct *viewed) {
    if (!viewed)
        return;
    const char *bytes = nullptr;
    std::int32_t byteCount = 0;
    if (rbversion_rbversion >= 2013.0) {
        ownsStringData = REALGetStringData(viewed, kEncodingNone, &stringData);
        if (ownsStringData) {
            bytes = stringData.bytes;
            byteCount = stringData.length;
        }
    } else {
        string = viewed;
        REALLockString(string);
        const auto *record = reinterpret_cast<const REALolderString *>(viewed);
        bytes = record->storage ? record->storage + 1 : nullptr;
        byteCount = record->length;
    }
    if (bytes && byteCount >= 0) {
        data = reinterpret_cast<const unsigned char *>(bytes);
        length = static_cast<std::uint32_t>(byteCount);
    }
}

rbData::rbData(REALmemoryBlockStruct *viewed, std::uint32_t offset, std::uint32_t viewedLength) : block(viewed) {
    if (!block)
        return;
    REALLockObject(block);
    const auto *bytes = static_cast<const unsigned char *>(REALMemoryBlockGetPtr(block));
    if (!bytes)
        return;
    data = bytes + offset;
    length = viewedLength ? viewedLength : static_cast<std::uint32_t>(std::max(REALMemoryBlockGetSize(block), 0));
}

rbData::~rbData() {
    if (string)
        REALUnlockString(string);
    if (block)
        REALUnlockObject(block);
    if (ownsStringData)
        REALDisposeStringData(&stringData);
    ClearMemory(static_cast<void *>(this), sizeof *this);
}

} // namespace kvt
