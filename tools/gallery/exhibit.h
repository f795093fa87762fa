#pragma once

#include "standin/host.h"
#include "tools/gallery/charts.h"
#include "tools/gallery/entries.h"
#include "tools/host_options.h"
#include "tools/picture_files.h"

#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tools::gallery {

using Milliseconds = std::chrono::duration<double, std::milli>;

/// A rectangle to be framed, inside the picture.
struct Frame {
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 0;
};

struct Material {
    std::string name;
    Image image;
};

/// What came of one shot.
struct Exhibit {
    std::string script;
    std::string command;   ///< empty when there is none
    std::string failure;   ///< what went wrong; empty when nothing did
    bool violated = false; ///< the module broke the host's rules, as `failure` says
    std::optional<Image> before;
    std::optional<Image> after;
    std::vector<Material> others;                           ///< further pictures that the call was given
    std::vector<std::pair<std::string, std::string>> facts; ///< what is no picture, by its name
    std::vector<Frame> frames;                              ///< in both pictures
    std::vector<Chart> charts;
    std::optional<Chart> samples; ///< of the sound that the call was given
    std::string bytes;            ///< the first of the string that came or went, as a dump
    Milliseconds time = {};       ///< the best of a few calls, without the time inside host entries
    double ratio = 0;             ///< of that to a memcpy of the picture's bytes
    int level = 0;                ///< the instruction set
};

/// Makes the shot's call a few times, on a fresh picture each, in the folder of the materials. A string that comes back
/// is saved as the shot's command would. Throws nothing that says that the call failed: the exhibit does.
Exhibit Render(standin::Host &host, const HostOptions &options, const Entry &entry, const Shot &shot);

/// The best of a few runs into memory that was written before.
Milliseconds TimeOfMemcpy(std::size_t bytes);

/// "sse2", "avx2", "avx512"
std::string_view LevelName(int level);

} // namespace tools::gallery
