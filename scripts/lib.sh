# Shared by the scripts beside it.

# What every build needs: the tools, the 32-bit side of the compiler, the libraries of the stand-ins and tests, and those
# that read and write picture files.
BUILD_PACKAGES=(cmake ninja-build g++ g++-multilib libgtest-dev libcli11-dev libstb-dev libfmt-dev nlohmann-json3-dev
    libspng-dev libjpeg-dev libwebp-dev libtiff-dev)

# Installs those of the named packages that are missing; asks for nothing when none is. Options go to apt-get install.
NeedPackages() {
    local options=() missing=() package
    for package in "$@"; do
        [[ $package != -* ]] || { options+=("$package") && continue; }
        [ "$(dpkg-query -W -f '${Status}' "$package" 2>/dev/null)" = "install ok installed" ] || missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    echo "installing: ${missing[*]}"
    local run=()
    [ "$(id -u)" = 0 ] || run=(sudo)
    # Another package manager may be at work. apt waits for it when it installs, but not when it reads its lists.
    local said try
    for try in {1..60}; do
        ! said=$("${run[@]}" apt-get update -qq 2>&1) || break
        [[ $try -lt 60 && $said == *"Could not get lock"* ]] || { echo "$said" >&2 && return 1; }
        sleep 5
    done
    DEBIAN_FRONTEND=noninteractive "${run[@]}" apt-get install -qq -y -o DPkg::Lock::Timeout=300 "${options[@]}" \
        "${missing[@]}" >/dev/null
}

EMULATED_32_BITS=/proc/sys/fs/binfmt_misc/qemu-i386

# Sees to it that 32-bit programs run. Where the kernel refuses them, as some virtual machines' kernels do, they are
# handed to an emulator from then on, which has every instruction set but AVX-512.
NeedThirtyTwoBits() {
    # The loader is a 32-bit program itself.
    ! /lib/ld-linux.so.2 --version >/dev/null 2>&1 || return 0
    NeedPackages qemu-user-static # linked statically, so that what its variables tell the loader is meant for the program
    local run=(bash) magic mask
    [ "$(id -u)" = 0 ] || run=(sudo bash)
    # Files of 32 bits, programs or shared objects, of the processor i386.
    magic='\x7fELF\x01\x01\x01\x00\x00\x00\x00\x00\x00\x00\x00\x00\x02\x00\x03\x00'
    mask='\xff\xff\xff\xff\xff\xff\xff\x00\xff\xff\xff\xff\xff\xff\xff\xff\xfe\xff\xff\xff'
    "${run[@]}" -c "mountpoint -q ${EMULATED_32_BITS%/*} || mount -t binfmt_misc binfmt_misc ${EMULATED_32_BITS%/*}
        printf %s ':qemu-i386:M::$magic:$mask:/usr/bin/qemu-i386-static:F' >${EMULATED_32_BITS%/*}/register"
    /lib/ld-linux.so.2 --version >/dev/null || exit 2
    echo "this kernel runs no 32-bit programs: an emulator does"
}

# Whether they run in an emulator, whose times tell nothing.
EmulatesThirtyTwoBits() { [ -e "$EMULATED_32_BITS" ]; }

# Sets how the address sanitizer works in a preset's programs. It tells where undefined behaviour ended the program. Its
# search for leaks stops the program from outside, which does not end in the emulator; and of the four gigabytes that
# the emulator offers, it knows not quite three.
SetSanitizerOptions() { # PRESET
    export ASAN_OPTIONS=handle_sigill=1:detect_leaks=1:malloc_context_size=5 # 30 frames take a fifth of the tests' time
    unset QEMU_RESERVED_VA
    if [[ $1 == x86-* ]] && EmulatesThirtyTwoBits; then
        ASAN_OPTIONS+=:detect_leaks=0
        export QEMU_RESERVED_VA=0xbf000000
    fi
}

# Runs a command without a word, or shows the end of what it said and leaves the script.
Quietly() { # LOG COMMAND...
    local log=$1
    shift
    "$@" >>"$log" 2>&1 || { tail -n 40 "$log" && exit 2; }
}

# Configures and builds, on a terminal with a line that tells how far it is, elsewhere without a word.
BuildTargets() { # PRESET TARGET...
    local preset=$1 log=build/$1-targets.log
    shift
    [[ $preset != x86* ]] || NeedThirtyTwoBits
    mkdir -p build
    rm -f "$log"
    Quietly "$log" cmake --preset "$preset"
    if [ -t 1 ]; then
        cmake --build --preset "$preset" --target "$@"
    else
        Quietly "$log" cmake --build --preset "$preset" --target "$@"
    fi
}
