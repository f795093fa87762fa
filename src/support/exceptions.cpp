#include "support/exceptions.h"

#include "host/entries.h"
#include "support/strings.h"

#include <cstring>

namespace kvt {

void RaiseException(const char *className, const char *message, std::uint32_t) {
    REALstringStruct *text =
        message ? REALBuildUnicodeString(message, static_cast<std::int32_t>(std::strlen(message)), kEncodingAscii)
                : nullptr;
    REALobjectStruct *exception = REALnewInstance(className);
    if (!exception)
        exception = REALnewInstance("RuntimeException");
    if (exception) {
        REALSetPropValueString(exception, "Message", text);
        REALRaiseException(exception);
        REALUnlockObject(exception);
    }
    if (text)
        REALUnlockString(text);
}

void RaiseNilObject(const char *message) { RaiseException("NilObjectException", message, kEncodingAscii); }

} // namespace kvt
