#!/usr/bin/env bash
# What a built module file must look like from outside: its width, its one exported function, what it needs.
# usage: check_module_file.sh MODULE 32|64
set -uo pipefail
module=$1
bits=$2
failed=0
Expect() { # WHAT EXPECTED ACTUAL
    if [ "$2" != "$3" ]; then
        printf '%s\n  expected: %s\n  found:    %s\n' "$1" "$2" "$3"
        failed=1
    fi
}

Expect "width of the file" "ELF $bits-bit LSB shared object" "$(file -b "$module" | cut -d, -f1)"
Expect "defined dynamic symbols" REALPluginMain "$(nm -D --defined-only "$module" | awk '{print $3}' | tr '\n' ' ' | sed 's/ $//')"

needed=$(readelf -d "$module" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | grep -vE '^(libc\.so\.6|libm\.so\.6|ld-linux.*|libkvtplatform\.so)$')
Expect "needed libraries beyond libc, libm, the loader and the platform stand-in" "" "$needed"
Expect "binding at load time" "" "$(readelf -d "$module" | grep -E 'BIND_NOW|FLAGS_1.*NOW')"
Expect "run path" '$ORIGIN' "$(readelf -d "$module" | sed -n 's/.*(R.*PATH).*\[\(.*\)\]/\1/p')"

runtime=$(nm -D --undefined-only "$module" | awk '{print $2}' | grep -E '^(_Z|__cxa_|__gxx|_Unwind|__dynamic_cast)' | grep -v '^__cxa_finalize')
Expect "undefined C++ run-time symbols" "" "$runtime"

# One pointer, the C run-time's own: no initialiser of the module's runs when it is loaded.
size=$(readelf -SW "$module" | sed -n 's/.*\.init_array *INIT_ARRAY *[0-9a-f]* [0-9a-f]* \([0-9a-f]*\).*/\1/p')
Expect "bytes of .init_array" $((bits / 8)) $((16#${size:-0}))
exit $failed
