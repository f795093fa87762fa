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
