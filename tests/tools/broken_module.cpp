#include "host/records.h"

/// A module that breaks the host's rules, to show that such a breach reaches the user: its method of Picture hands the
/// receiver back without the reference that a result carries.
namespace {

void *ReturnBorrowed(void *picture) { return picture; }

REALmethodDefinition gMethods[] = {{reinterpret_cast<REALroutine>(ReturnBorrowed), nullptr, "BorrowKVT as picture", 0}};
REALclassDefinition gPicture = {.version = 9, .name = "Picture", .methods = gMethods, .methodCount = 1};

} // namespace

extern "C" __attribute__((visibility("default"))) void REALPluginMain(REALroutine (*resolver)(const char *)) {
    reinterpret_cast<void (*)(int)>(resolver("RegisterPluginVersion"))(9);
    reinterpret_cast<void (*)(REALclassDefinition *)>(resolver("PluginRegisterClassExtension"))(&gPicture);
}
