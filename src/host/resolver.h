#pragma once

#include <type_traits>

namespace kvt {

/// The host resolver: yields the address of the host function of that name, or null when the host has none.
using HostResolver = void *(*)(const char *name);

/// Written once by REALPluginMain before anything else runs, never changed afterwards.
inline HostResolver gResolver = nullptr;

/// The host's version, 0.0 until (and unless) the host reports one at start-up. Always compared with "at least".
inline double rbversion_rbversion = 0.0;

inline void *FindInHost(const char *name) { return gResolver(name); }

/// A function that is looked up by its name when it is first called. Its address is kept as long as the module is
/// loaded. While it is missing, a call does nothing and yields null, 0 or false, and the next one asks again, so that
/// what the host installs late is still found. Of a boolean only the low 8 bits count.
template <class Signature, void *(*Find)(const char *) = FindInHost> struct LateBound;

template <class Result, class... Arguments, void *(*Find)(const char *)> struct LateBound<Result(Arguments...), Find> {
    using Function = std::conditional_t<std::is_same_v<Result, bool>, unsigned char, Result>(Arguments...);
    const char *name;
    Function *address = nullptr;

    bool Found() {
        if (!address)
            address = reinterpret_cast<Function *>(Find(name));
        return address != nullptr;
    }
    Result operator()(Arguments... arguments) {
        return Found() ? static_cast<Result>(address(arguments...)) : Result();
    }
};

} // namespace kvt
