#include "plugin/interface.h"

#include "plugin/console_flags.h"
#include "tone/inversion.h"

#include <cstdint>
#include <iterator>

namespace kvt {
namespace {

// Tables are filled by casts in their initialisers, so that they are data and no code runs when the module is loaded.
using Entry = REALroutine;

constexpr std::uint32_t kInterfaceVersion = 9;
constexpr std::uint32_t kConsoleClass = 4; // the host's own flag

// clang-format off

REALmethodDefinition gPictureMethods[] = {
    {Entry(InvertPicture),      nullptr, "InvertKVT(left as integer,top as integer,width as integer,height as integer) as picture",     kConsoleSafe},
    {Entry(InvertPicture2),     nullptr, "InvertKVT as picture",                                                                        kConsoleSafe},
    {Entry(InvertGrayPicture),  nullptr, "InvertGrayKVT(left as integer,top as integer,width as integer,height as integer) as picture", kConsoleSafe},
    {Entry(InvertGrayPicture2), nullptr, "InvertGrayKVT as picture",                                                                    kConsoleSafe},
};

// clang-format on

} // namespace

REALclassDefinition gPictureExtension = {
    .version = kInterfaceVersion,
    .name = "Picture",
    .methods = gPictureMethods,
    .methodCount = std::size(gPictureMethods),
    .flags = kConsoleClass,
};

} // namespace kvt
