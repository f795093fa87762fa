#!/usr/bin/env bash
# What is offered when a user presses the tabulator key, in bash and, where it is installed, in zsh; and whether the
# manual page reads without warnings, where mandoc is installed.
# usage: completion_test.sh KVT
set -uo pipefail
kvt=$(realpath "$1")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 1
failed=0
touch photo.png "two words.png" notes.txt

"$kvt" completion bash >kvt.bash || exit 1
# shellcheck source=/dev/null
. ./kvt.bash
Offers() { # EXPECTED WORD...: what completes the last word, sorted and joined
    local expected=$1 found
    shift
    COMP_WORDS=("$@")
    COMP_CWORD=$(($# - 1))
    COMP_WORDS[0]=$kvt
    _kvt "$kvt"
    found=$(printf '%s\n' "${COMPREPLY[@]}" | LC_ALL=C sort | tr '\n' ' ' | sed 's/ *$//')
    if [ "$found" != "$expected" ]; then
        printf 'bash: %s\n  expected: %s\n  found:    %s\n' "$*" "$expected" "$found"
        failed=1
    fi
}
Offers "apply" kvt ap
Offers "--help --version" kvt --
Offers "photo.png" kvt apply ph
Offers "two words.png" kvt apply two
Offers "InvertGrayKVT InvertKVT" kvt apply photo.png Inv
Offers "InvertGrayKVT InvertKVT" kvt apply photo.png "'Inv"
Offers "" kvt apply Inv
Offers "photo.png" kvt apply photo.png ph
Offers "" kvt apply photo.png InvertKVT ph
Offers "PictureLut3DKVT PictureSepiaKVT PicturetoBinaryStringKVT" kvt apply -o photo.png photo.png InvertKVT Picture
Offers "PictureLut3DKVT PictureSepiaKVT PicturetoBinaryStringKVT" kvt make Picture
Offers "straight-first straight-last" kvt apply photo.png --layout str
Offers "console" kvt apply photo.png --host = c
Offers "desktop" kvt apply photo.png --host d
Offers "notes.txt" kvt apply photo.png --module n
Offers "--save-block" kvt make --s
Offers "bash" kvt completion b
Offers "InvertGrayKVT InvertKVT" kvt apply photo.png inv # capitals do not count
Offers "isBlackKVT isGrayKVT isWhiteKVT" kvt make IS
Offers "PictureSepiaKVT.Close PictureSepiaKVT.Run" kvt make PictureSepiaKVT.
Offers "PictureSepiaKVT(MinX=3).Run" kvt make "'PictureSepiaKVT(MinX=3).r"
Offers "PictureSepiaKVT(MinX=3, SepiaBlue= PictureSepiaKVT(MinX=3, SepiaGreen= PictureSepiaKVT(MinX=3, SepiaRed=" \
    kvt make "'PictureSepiaKVT(MinX=3, sep"
Offers "references" kvt check --only ref
Offers "" kvt check --only photo
mkdir sub
Offers "sub" kvt gallery -o s

# Every method and class of the interface, and every command of the help.
COMP_WORDS=("$kvt" make "") COMP_CWORD=2
_kvt "$kvt"
"$kvt" manual >kvt.1 || failed=1
wanted=$("$kvt" list | sed -n 's/^  \([A-Za-z0-9]*KVT\|FindPicture\).*/\1/p; s/^Class \([A-Za-z0-9]*\) .*/\1/p' | sort -u)
[ "$wanted" = "$(printf '%s\n' "${COMPREPLY[@]}" | sort -u)" ] || { echo "bash: methods differ from kvt list"; failed=1; }
COMP_WORDS=("$kvt" "") COMP_CWORD=1
_kvt "$kvt"
for command in $("$kvt" --help | sed -n '/^Commands:/,/^$/s/^  \([a-z]*\) .*/\1/p'); do
    [[ " ${COMPREPLY[*]} " == *" $command "* ]] || { echo "bash: no command $command"; failed=1; }
    "$kvt" "$command" --help >help
    grep -q '^  kvt ' help || { echo "kvt $command --help has no examples"; failed=1; }
    grep -q "^.SS kvt $command" kvt.1 || { echo "the manual has no command $command"; failed=1; }
done

if command -v zsh >/dev/null; then
    mkdir functions
    "$kvt" completion zsh >functions/_kvt
    cat >drive.zsh <<'EOF'
# Types each line into a shell, asks for its completion, and waits for the text that is wanted, twenty seconds at the
# most. Tells which did not appear, and what did. usage: drive.zsh LINE WANTED...
setopt extendedglob
zmodload zsh/zpty
zpty shell zsh -f -i
WaitFor() { # TEXT
    local shown part
    for _ in {1..400}; do
        while zpty -r -t shell part 2>/dev/null; do shown+=${part//$'\e['[0-9;?]#[a-zA-Z]/}; done
        [[ $shown == *"$1"* ]] && return
        sleep 0.05
    done
    print -r -- "zsh: nothing completes to $1, but: ${(V)shown}"
}
Settle() { # waits until the shell has answered all that was typed before
    zpty -w shell 'print set$((1 - 1))tled'
    WaitFor set0tled
}
zpty -w shell "PS1= ; fpath=($PWD/functions \$fpath); autoload -U compinit; compinit -u -d $PWD/dump; zstyle ':completion:*' list-colors ''"
Settle
for line wanted in "$@"; do
    zpty -w -n shell "$line"$'\t'
    WaitFor "$wanted"
    zpty -w -n shell $'\C-u'
    Settle
done
EOF
    missing=$(PATH=${kvt%/*}:$PATH zsh -f drive.zsh 'kvt ap' 'kvt apply ' 'kvt apply photo.png InvertG' InvertGrayKVT 'kvt apply photo.png invertg' GrayKVT "kvt apply photo.png 'InvertG" InvertGrayKVT \
        'kvt check --only refe' references \
        'kvt apply photo.png --layout row' row-table 'kvt apply pho' photo.png 'kvt completion ba' 'completion bash' 2>&1)
    [ -z "$missing" ] || { echo "$missing"; failed=1; }
fi

if command -v mandoc >/dev/null; then
    mandoc -T lint -W warning kvt.1 || failed=1
fi
exit $failed
