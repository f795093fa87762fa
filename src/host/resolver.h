#pragma once

namespace kvt {

/// The host resolver: yields the address of the host function of that name, or null when the host has none.
using HostResolver = void *(*)(const char *name);

/// Written once by REALPluginMain before anything else runs, never changed afterwards.
extern HostResolver gResolver;

/// The host's version, 0.0 until (and unless) the host reports one at start-up. Always compared with "at least".
extern double rbversion_rbversion;

/// True once `slot` holds the host's entry `name`. A missing entry is asked for again at every call, so one that the
/// host installs late is still found.
template <class Function> bool Found(Function *&slot, const char *name) {
    if (!slot)
        slot = reinterpret_cast<Function *>(gResolver(name));
    return slot != nullptr;
}

} // namespace kvt
