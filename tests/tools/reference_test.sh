#!/usr/bin/env bash
# Whether the reference holds every registered declaration word for word and none besides, and the README's table every
# name with its meaning; and whether a page that drifted is told from one that did not.
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

"$root/scripts/reference" --check "$kvt" >out 2>&1 || Fail "docs/reference.md or README.md differs from the interface; scripts/reference mends it"

# Drifts EDIT DIFFERENCE...: pages edited by sed so are refused, with just these differences.
Drifts() {
    local edit=$1
    shift
    sed "$edit" "$root/docs/reference.md" >page.md
    sed "$edit" "$root/README.md" >readme.md
    cmp -s page.md "$root/docs/reference.md" && cmp -s readme.md "$root/README.md" && Fail "$edit: edits nothing"
    "$root/scripts/reference" --check "$kvt" "$folder/page.md" "$folder/readme.md" >out 2>&1 && Fail "$edit: not noticed"
    printf '%s\n' "$@" | LC_ALL=C sort | cmp -s - <(LC_ALL=C sort out) || Fail "$edit: found"
}
amount="ChangeSaturationKVT(Amount as integer) as picture"
Drifts 's/^\(ChangeSaturationKVT(Amount as\) integer/\1 double/' "registered and not in the reference: $amount" \
    "in the reference and not registered: ${amount/integer/double}"
Drifts '/^FactorBlue as Double$/d' "registered and not in the reference: Class PictureSepiaKVT: FactorBlue as Double"
Drifts 's/^InvertGrayKVT as picture$/&\n&s/' "in the reference and not registered: InvertGrayKVT as pictures"
Drifts '/^## HasMaskKVT$/,/^# /{/^# /!d}' "registered and not in the reference: HasMaskKVT as boolean" \
    "the reference has no place #hasmaskkvt"
Drifts 's/^## HasMaskKVT$/## BlurKVT/' "registered and not in the reference: HasMaskKVT as boolean" \
    "in the reference and not registered: HasMaskKVT as boolean" "has an entry and is not registered: BlurKVT" \
    "the reference has no place #hasmaskkvt"
Drifts '/^## ColornessKVT$/,/The part/s/^\*Not console.\* //' "ColornessKVT lacks the words *Not console.*"
Drifts 's/^The photographic negative/*Not console.* &/' "InvertKVT has the words *Not console.*"
negative='| [`InvertKVT`](docs/reference.md#invertkvt) | Photographic negative |'
Drifts '/^| \[`InvertKVT`/d' "differs in the table: $negative"
Drifts 's/Photographic negative |$/Negative |/' "differs in the table: $negative" \
    "differs in the table: ${negative/Photographic n/N}"
Drifts '/^<a id="iswhitekvt">/d' "the reference has no place #isblackkvt" "the reference has no place #iswhitekvt"

# What drifted is put back, and the hand-written rest stays.
sed '/^```declarations$/,/^```$/s/integer/double/' "$root/docs/reference.md" >page.md
sed '/^| \[`/s/color/hue/g' "$root/README.md" >readme.md
"$root/scripts/reference" "$kvt" "$folder/page.md" "$folder/readme.md" >out 2>&1 || Fail "not rewritten"
cmp page.md "$root/docs/reference.md" >out || Fail "rewritten to something else"
cmp readme.md "$root/README.md" >out || Fail "rewritten to something else"
exit $failed
