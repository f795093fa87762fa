#pragma once

#include "standin/host.h"

#include <gtest/gtest.h>

/// A stand-in host whose findings fail the test. Objects that a test holds are declared after it, so that they are gone
/// when it audits for the last time.
struct TestHost : standin::Host {
    explicit TestHost(standin::HostDescription description = {}) : Host(std::move(description)) {}
    ~TestHost() {
        Finish();
        for (const std::string &violation : TakeViolations())
            ADD_FAILURE() << violation;
    }
};
