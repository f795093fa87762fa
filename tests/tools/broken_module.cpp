#include "host/records.h"

#include <csignal>

/// A module that breaks the host's rules, to show that such a breach reaches the user: one method of Picture hands the
/// receiver back without the reference that a result carries, one takes the whole process with it.
namespace {

void *ReturnBorrowed(void *picture) { return picture; }

void *Die(void *picture) {
    static_cast<void>(std::raise(SIGKILL));
    return picture;
}

REALmethodDefinition gMethods[] = {
    {reinterpret_cast<REALroutine>(ReturnBorrowed), nullptr, "BorrowKVT as picture", 0},
    {reinterpret_cast<REALroutine>(Die), nullptr, "DieKVT as picture", 0},
};
REALclassDefinition gPicture = {.version = 9, .name = "Picture", .methods = gMethods, .methodCount = 2};

} // namespace

extern "C" __attribute__((visibility("default"))) void REALPluginMain(REALroutine (*resolver)(const char *)) {
    reinterpret_cast<void (*)(int)>(resolver("RegisterPluginVersion"))(9);
    reinterpret_cast<void (*)(REALclassDefinition *)>(resolver("PluginRegisterClassExtension"))(&gPicture);
}
