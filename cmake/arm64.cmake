# Builds for AArch64 on another machine, and runs what is built there by an emulator: the proof that no code needs x86.
# Compiler and linker are those of the LLVM project: the distribution's g++ for AArch64 cannot be installed beside the
# one that builds for 32-bit x86.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(triple aarch64-linux-gnu)
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET ${triple})
set(CMAKE_CXX_COMPILER_TARGET ${triple})
foreach(kind EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT -fuse-ld=lld)
endforeach()
set(fmt_DIR /usr/lib/${CMAKE_HOST_SYSTEM_PROCESSOR}-linux-gnu/cmake/fmt) # its headers serve every processor
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L /usr/${triple})
