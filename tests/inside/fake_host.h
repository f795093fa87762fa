#pragma once

#include "host/handles.h"
#include "host/records.h"
#include "host/resolver.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#ifdef KVT_COVERAGE
extern "C" void __gcov_dump(); // what the counters hold so far, which a process that ends at once does not tell
#endif

/// A handful of host entries for services that no script reaches. Strings are plain heap objects; `log` keeps what was
/// asked of the host, in order.
namespace fake {

struct String : REALstringStruct {
    REALolderString record = {}; // first, so that the handle is also the record of an older host
    std::string bytes;
    std::uint32_t encoding = 0;
    int references = 1;
};

inline std::map<std::string, void *> entries;
inline std::vector<std::string> log;

/// An entry that is a lambda without captures.
template <class Lambda> void Offer(const char *name, Lambda entry) { entries[name] = reinterpret_cast<void *>(+entry); }

inline void *Resolve(const char *name) {
    const auto found = entries.find(name);
    return found == entries.end() ? nullptr : found->second;
}

inline String &Of(REALstringStruct *handle) { return *static_cast<String *>(handle); }

inline REALstringStruct *NewString(const std::string &bytes, std::uint32_t encoding = 0x0600) {
    auto *made = new String;
    made->bytes = bytes;
    made->encoding = encoding;
    return made;
}

/// Runs `body` in a process of its own: the module's slots and flags live as long as the process.
inline void InFreshProcess(const std::function<void()> &body) {
    std::fflush(nullptr);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        kvt::gResolver = Resolve;
        kvt::rbversion_rbversion = 0.0;
        body();
        std::fflush(nullptr);
#ifdef KVT_COVERAGE
        __gcov_dump();
#endif
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the process of this case failed, see above";
}

} // namespace fake
