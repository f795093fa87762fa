#pragma once

#include "host/handles.h"
#include "host/records.h"

#include <cstdint>

namespace kvt {

/// A read-only view of the bytes of a host string or memory block, which lives on the stack of one operation. It holds
/// at most one host reference and one copy, and its destructor gives both back. An empty view has `data` null and
/// `length` 0.
struct rbData {
    /// The string's bytes as stored. Empty for a null string and when the bytes cannot be had. Hosts before 2013.0 are
    /// read in place, through their string record.
    explicit rbData(REALstringStruct *viewed);

    /// `viewedLength` bytes of the block from byte `offset` on; 0 stands for the whole block's size. The range is the
    /// caller's to check. A block without an address gives an empty view (which still holds its reference).
    rbData(REALmemoryBlockStruct *viewed, std::uint32_t offset, std::uint32_t viewedLength);

    ~rbData();
    rbData(const rbData &) = delete;
    rbData &operator=(const rbData &) = delete;

    REALstringStruct *string = nullptr;     ///< the string that is viewed in place (older hosts)
    REALmemoryBlockStruct *block = nullptr; ///< the block that is viewed
    REALstringData stringData = {};         ///< a copy of the string's bytes (newer hosts)
    unsigned char ownsStringData = 0;       ///< `stringData` must be given back
    const unsigned char *data = nullptr;
    std::uint32_t length = 0;
};

} // namespace kvt
