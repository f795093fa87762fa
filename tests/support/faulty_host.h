#pragma once

#include "support/test_host.h"

#include <cstdlib>
#include <filesystem>
#include <string>

inline std::string FaultyModule() {
    return (std::filesystem::path(standin::ModuleBesideProgram()).parent_path() / "faulty_module.so").string();
}

/// What the faulty module does wrong while this lives; see there.
class Faults {
  public:
    explicit Faults(const char *names) { setenv("KVT_FAULT", names, 1); }
    ~Faults() { unsetenv("KVT_FAULT"); }
    Faults(const Faults &) = delete;
    Faults &operator=(const Faults &) = delete;
};
