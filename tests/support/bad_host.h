#pragma once

#include "support/test_host.h"

#include <filesystem>

inline const standin::PictureDescription kFiveByThree = {.width = 5, .height = 3};

inline std::string BadModule() {
    return (std::filesystem::path(standin::ModuleBesideProgram()).parent_path() / "bad_module.so").string();
}

/// A host of the badly behaving module. What went wrong when it registered itself is forgotten.
struct BadHost : standin::Host {
    explicit BadHost(standin::HostDescription description = {}) : Host(WithModule(std::move(description))) {
        TakeViolations();
    }

  private:
    static standin::HostDescription WithModule(standin::HostDescription description) {
        description.module = BadModule();
        return description;
    }
};
