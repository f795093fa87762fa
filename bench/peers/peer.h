#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

/// What the programs that time other libraries share. Each reads the benchmark's pictures, times its library's
/// functions on them as multiples of its own memcpy, and prints a JSON object a line.
namespace peer {

using Pixels = std::vector<std::uint8_t>; ///< red, green, blue, alpha

/// The pictures that `kvt-bench --write-pictures` leaves in a folder.
struct Pictures {
    Pictures(const std::string &folder, int width_, int height_)
        : width(width_), height(height_), photo(Read(folder + "/photo.rgba")), second(Read(folder + "/second.rgba")),
          white(photo.size(), 255), needle(Read(folder + "/needle.rgba")) {}

    int width;
    int height;
    Pixels photo;
    Pixels second;
    Pixels white;
    Pixels needle; ///< 64 x 64

  private:
    static Pixels Read(const std::string &file) {
        std::ifstream in(file, std::ios::binary | std::ios::ate);
        Pixels pixels(static_cast<std::size_t>(std::max<std::streamoff>(in.tellg(), 0)));
        in.seekg(0);
        if (!in.read(reinterpret_cast<char *>(pixels.data()), static_cast<std::streamsize>(pixels.size())))
            throw std::runtime_error(file + " cannot be read");
        return pixels;
    }
};

/// FOLDER WIDTH HEIGHT
inline Pictures FromArguments(int argc, char **argv) {
    if (argc != 4)
        throw std::runtime_error("usage: FOLDER WIDTH HEIGHT");
    return {argv[1], std::atoi(argv[2]), std::atoi(argv[3])};
}

/// Lookup values as the benchmark's table has them.
inline std::uint8_t TableValue(int level) { return static_cast<std::uint8_t>(level * level / 255); }

class Timer {
  public:
    Timer(const char *library, std::size_t bytes) : library_(library), from_(bytes, 1), to_(bytes, 2) {}

    /// Times `call` in turn with memcpy, the best of some runs each. `prepare` goes before every call, untimed.
    /// `operation` is the name of the line that it is held against, `note` says what differs.
    template <class Call, class Prepare>
    void Time(const char *operation, const char *function, const char *note, Call call, Prepare prepare, int runs = 7) {
        double best = 1e30;
        double copy = 1e30;
        for (int run = 0; run < runs; ++run) {
            prepare();
            best = std::min(best, Milliseconds(call));
            copy = std::min(copy, Milliseconds([&] { std::memcpy(to_.data(), from_.data(), to_.size()); }));
            if (to_[to_.size() / 2] != 1)
                throw std::runtime_error("memcpy did not copy");
        }
        const nlohmann::ordered_json object = {{"operation", operation},
                                               {"peer", std::string(library_) + " " + function},
                                               {"milliseconds", best},
                                               {"memcpy_milliseconds", copy},
                                               {"note", note}};
        std::cout << object << std::endl;
    }
    template <class Call> void Time(const char *operation, const char *function, const char *note, Call call) {
        Time(operation, function, note, call, [] {});
    }

  private:
    template <class Call> static double Milliseconds(Call call) {
        const auto start = std::chrono::steady_clock::now();
        call();
        return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    }

    const char *library_;
    Pixels from_;
    Pixels to_;
};

template <class Body> int Main(Body body) {
    try {
        body();
        return 0;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
}

} // namespace peer
