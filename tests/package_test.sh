#!/usr/bin/env bash
# Unpacks the packages into an empty folder and runs what is in them from there, with nothing of the build in reach of
# their run paths.
# usage: package_test.sh FOLDER_OF_PACKAGES VERSION
set -euo pipefail
packages=$(realpath "$1")
version=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
failed=0
Fail() {
    echo "FAILED: $*"
    failed=1
}

mkdir tar deb work
tar -xzf "$packages"/kvtpicture-"$version"-*.tar.gz --strip-components=1 -C tar
dpkg-deb -x "$packages"/kvtpicture_"$version"_*.deb deb
[ "$(dpkg-deb -f "$packages"/kvtpicture_"$version"_*.deb Version)" = "$version" ] || Fail "version of the package"
dpkg-deb -f "$packages"/kvtpicture_"$version"_*.deb Depends | grep -q 'libc6 (>= ' || Fail "needed libraries lack versions"
for library in libspng libjpeg libwebp libtiff; do
    dpkg-deb -f "$packages"/kvtpicture_"$version"_*.deb Depends | grep -q "$library" || Fail "the package needs no $library"
done
changes=$(sed -n 's/^## \[\(.*\)\].*/\1/p;T;q' tar/share/doc/kvtpicture/CHANGELOG.md)
[ "$changes" = "$version" ] || Fail "the changelog begins with \"$changes\", the version is $version"

for prefix in "$folder/tar" "$folder/deb/usr"; do
    for program in kvt kvt32; do
        Kvt() { (cd work && env -i "$prefix/bin/$program" "$@"); }
        where="$program in $prefix"
        [ "$(Kvt --version)" = "kvt $version" ] || Fail "$where: version"
        Kvt list >out
        grep -q '^  InvertKVT as picture' out || Fail "$where: list"
        Kvt sample s.bmp --size 40x30 || Fail "$where: sample"
        Kvt apply s.bmp InvertKVT 'ScrollHorizontalKVT(3, false, false)' -o out.bmp >out
        [ "$(cat out)" = "ScrollHorizontalKVT = true" ] || Fail "$where: apply" # scrolling loads the bundle, too
        Kvt completion bash | cmp -s - "$prefix/share/bash-completion/completions/kvt" || Fail "$where: completion"
    done
    for module in "$prefix"/lib/kvtpicture/*/kvtpicture.so; do
        [ "$(env -i /usr/bin/ldd "$module" | awk '/kvtplatform/ { print $3 }')" = "$(dirname "$module")/libkvtplatform.so" ] ||
            Fail "$module loads the platform stand-in from elsewhere"
    done
    bash -c '. "$1" && complete -p kvt kvt32 >/dev/null' bash "$prefix/share/bash-completion/completions/kvt32" ||
        Fail "bash completion in $prefix"
    ! command -v mandoc >/dev/null || mandoc -T lint -W warning "$prefix/share/man/man1/kvt.1" || Fail "manual in $prefix"
    ! command -v zsh >/dev/null || zsh -n "$prefix/share/zsh/site-functions/_kvt" || Fail "zsh completion in $prefix"
done
[ "$failed" = 0 ] && echo "the packages of version $version run from where they were unpacked"
exit $failed
