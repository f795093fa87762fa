#include "host/records.h"

#include <csignal>

/// A module that breaks the host's rules, to show that such a breach reaches the user: its method of Picture hands the
/// receiver back without the reference that a result carries or, built so, takes the whole process with it.
namespace {

[[maybe_unused]] void *ReturnBorrowed(void *picture) { return picture; }

[[maybe_unused]] void *Die(void *picture) {
    static_cast<void>(std::raise(SIGKILL));
    return picture;
}

#ifdef KVT_DIES
REALmethodDefinition gMethods[] = {{reinterpret_cast<REALroutine>(Die), nullptr, "DieKVT as picture", 0}};
#else
REALmethodDefinition gMethods[] = {{reinterpret_cast<REALroutine>(ReturnBorrowed), nullptr, "BorrowKVT as picture", 0}};
#endif
REALclassDefinition gPicture = {.version = 9, .name = "Picture", .methods = gMethods, .methodCount = 1};

} // namespace

extern "C" __attribute__((visibility("default"))) void REALPluginMain(REALroutine (*resolver)(const char *)) {
    reinterpret_cast<void (*)(int)>(resolver("RegisterPluginVersion"))(9);
    reinterpret_cast<void (*)(REALclassDefinition *)>(resolver("PluginRegisterClassExtension"))(&gPicture);
}
