#!/usr/bin/env bash
# Whether the reference holds every registered declaration word for word and none besides; and whether a page that
# drifted is told from one that did not.
# usage: reference_test.sh KVT
set -uo pipefail
kvt=$(realpath "$1")
root=$(realpath "$(dirname "$0")/../..")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 1
failed=0

Fail() { # WHAT
    echo "$1"
    cat out
    failed=1
}

"$root/scripts/reference" --check "$kvt" >out 2>&1 || Fail "docs/reference.md differs from the interface; scripts/reference mends declarations"

# Drifts EDIT DIFFERENCE...: a page edited by sed so is refused, with just these differences.
Drifts() {
    local edit=$1
    shift
    sed "$edit" "$root/docs/reference.md" >page.md
    cmp -s page.md "$root/docs/reference.md" && Fail "$edit: edits nothing"
    "$root/scripts/reference" --check "$kvt" "$folder/page.md" >out 2>&1 && Fail "$edit: not noticed"
    printf '%s\n' "$@" | LC_ALL=C sort | cmp -s - <(LC_ALL=C sort out) || Fail "$edit: found"
}
amount="ChangeSaturationKVT(Amount as integer) as picture"
Drifts 's/^\(ChangeSaturationKVT(Amount as\) integer/\1 double/' "registered and not in the reference: $amount" \
    "in the reference and not registered: ${amount/integer/double}"
Drifts '/^FactorBlue as Double$/d' "registered and not in the reference: Class PictureSepiaKVT: FactorBlue as Double"
Drifts 's/^InvertGrayKVT as picture$/&\n&s/' "in the reference and not registered: InvertGrayKVT as pictures"
Drifts '/^## HasMaskKVT$/,/^# /{/^# /!d}' "registered and not in the reference: HasMaskKVT as boolean"
Drifts 's/^## HasMaskKVT$/## BlurKVT/' "registered and not in the reference: HasMaskKVT as boolean" \
    "in the reference and not registered: HasMaskKVT as boolean" "has an entry and is not registered: BlurKVT"
Drifts '/^## ColornessKVT$/,/The part/s/^\*Not console.\* //' "ColornessKVT lacks the words *Not console.*"
Drifts 's/^The photographic negative/*Not console.* &/' "InvertKVT has the words *Not console.*"

# What drifted is put back, and the hand-written rest stays.
sed '/^```declarations$/,/^```$/s/integer/double/' "$root/docs/reference.md" >page.md
"$root/scripts/reference" "$kvt" "$folder/page.md" >out 2>&1 || Fail "not rewritten"
cmp page.md "$root/docs/reference.md" >out || Fail "rewritten to something else"
exit $failed
