# Shared by the scripts beside it.

# What every build needs: the tools, the 32-bit side of the compiler, and the libraries of the stand-ins and tests.
BUILD_PACKAGES=(cmake ninja-build g++ g++-multilib googletest libcli11-dev libstb-dev libfmt-dev)

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
    "${run[@]}" apt-get update -qq
    DEBIAN_FRONTEND=noninteractive "${run[@]}" apt-get install -qq -y "${options[@]}" "${missing[@]}" >/dev/null
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
    mkdir -p build
    rm -f "$log"
    Quietly "$log" cmake --preset "$preset"
    if [ -t 1 ]; then
        cmake --build --preset "$preset" --target "$@"
    else
        Quietly "$log" cmake --build --preset "$preset" --target "$@"
    fi
}
