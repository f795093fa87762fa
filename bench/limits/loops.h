#pragma once

#include <cstddef>

/// What the machine's memory and caches allow an operation: bare loops that move as many bytes as it does, with the
/// widest vectors of a level, and compute nothing. They share no code with the module.
namespace bench {

enum class Loop { Read, MapOne, MapTwo, MapThree, Update, Pack, Unpack };
inline constexpr const char *kLoopNames[] = {
    "read one",
    "read one, write one",
    "read two, write one",
    "read three, write one",
    "read one, change another",
    "read 4 bytes a pixel, write 3",
    "read 3 bytes a pixel, write 4",
};

/// Sources and target lie at multiples of 64 bytes; `bytes`, of a picture, is a multiple of kLoopBlock.
inline constexpr std::size_t kLoopBlock = 1024;
/// A large picture is fetched ahead, and what is written beside it stored past the caches.
using LoopFunction = void(const unsigned char *const *sources, std::size_t bytes, unsigned char *target);

LoopFunction *LoopsSse2(Loop loop, bool large);
LoopFunction *LoopsAvx2(Loop loop, bool large);
LoopFunction *LoopsAvx512(Loop loop, bool large);

} // namespace bench
