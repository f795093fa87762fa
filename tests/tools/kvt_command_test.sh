#!/usr/bin/env bash
# Drives the command-line program as a user does.
# usage: kvt_command_test.sh KVT FAULTY_MODULE, with KVT_CODECS in the environment ON or OFF
set -uo pipefail
kvt=$(realpath "$1")
faulty=$(realpath "$2")
export KVT_FAULT=YieldUncounted # what the faulty module does wrong
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 1
checks=0
failed=0

to=out # where standard output goes

Fail() { # WHAT
    printf 'FAILED: %s\n  call: kvt %s\n' "$1" "$call"
    sed 's/^/  out: /' out
    sed 's/^/  err: /' err
    failed=$((failed + 1))
}
Run() { # STATUS ARGUMENT...: runs kvt, whose status must be STATUS
    local expected=$1 status
    shift
    call="$*"
    "$kvt" "$@" >"$to" 2>err
    status=$?
    checks=$((checks + 1))
    [ "$status" = "$expected" ] || Fail "status $status instead of $expected"
    [ "$status" != 0 ] || [ -n "${told+x}" ] || [ ! -s err ] || Fail "a message in spite of status 0"
}
Prints() { # LINE: whole, on standard output
    checks=$((checks + 1))
    grep -qxF -- "$1" out || Fail "expected the line \"$1\""
}
Says() { # TEXT: within a line of the messages
    checks=$((checks + 1))
    grep -qF -- "$1" err || Fail "expected the message \"$1\""
}
Table() { # rows on standard input: STATUS ~ WORDS, as the shell takes them ~ MESSAGE ~ ...; of status 0, no other one
    local row status words message told
    while read -r row; do
        status=${row%% ~ *} row=${row#* ~ } words=${row%% ~ *} told=0
        eval "Run $status $words"
        while [[ $row == *' ~ '* ]]; do
            row=${row#* ~ } message=${row%% ~ *} told=$((told + 1))
            Says "$message"
        done
        [ "$status" != 0 ] || Equal "messages" "$told" "$(grep -c '^kvt: ' err)"
    done
}
Same() { # FILE FILE
    checks=$((checks + 1))
    cmp -s "$1" "$2" || Fail "$1 and $2 differ"
}
Equal() { # WHAT EXPECTED ACTUAL
    checks=$((checks + 1))
    [ "$2" = "$3" ] || Fail "$1: expected $2, found $3"
}
Results() { sed 's/.* = //' out | tr '\n' ' ' | sed 's/ $//'; }        # what the calls returned, on one line
Numbers() { od -An -v -w4 -tu4 "$1" | tr -d ' '; }                 # 32-bit words of a file, one a line
Pixels() { tail -c +55 "$1" | od -An -v -w1 -tu1 | tr -d ' '; }    # bytes behind a bitmap file's header, one a line

Run 0 sample s.bmp --opaque --size 40x25
Run 0 sample alpha.bmp --size 40x25
Run 0 sample small.bmp --size 5x4
Run 0 sample voice.wav
Run 0 sample film.cube

# What is listed is what was registered.
Run 0 list
counts=
for heading in "Global methods" "Methods of Picture"; do
    count=$(sed -n "/^$heading (/,/^$/p" out | grep -c '^  [^ ]')
    Prints "$heading ($count)"
    counts+="$count "
done
counts+=$(grep -c '^Class ' out)
Prints "  InvertKVT as picture  [console]"
Prints "  EmbeddedMaskKVT(swap as boolean) as picture  [console, assignable]"
Prints "  CombinePicturesKVT(red as picture, blue as picture, green as picture) as picture  [console]"
Prints "  FactorRed as Double  [own accessors]"
Prints "Class PictureLut3DKVT (140000 bytes of instance data)  [console]"
Run 0 list --host-version none invertkvt
Prints "  InvertKVT as picture"
Equal "forms of InvertKVT, each with what it is" "2 2" "$(grep -c '^  InvertKVT.* as picture$' out) $(grep -c '^      Photographic negative$' out)"
Prints "  InvertKVT(100, 100, 300, 200)"
Prints "Ranges, formats and what surprises: docs/reference.md#invertkvt"
Run 0 list picturesepiakvt
Prints "      Toning by weights and offsets"
Prints "Ranges, formats and what surprises: docs/reference.md#class-picturesepiakvt"
Run 0 list Close
Equal "what is told beside members of classes" 2 "$(grep -c '^      ' out)"
Run 2 list InvertsKVT
Says 'nothing in the interface has "InvertsKVT" in its name or meaning; did you mean "InvertKVT"?'
Run 0 list negative
Prints "  InvertGrayKVT as picture  [console]"
Equal "forms of methods that have to do with negatives" 5 "$(grep -c '^  [^ ]' out)"

# Results.
Run 0 apply s.bmp InvertKVT -o inverted.bmp
Equal "bytes that are 255 minus the original" 3000 \
    "$(paste <(Pixels s.bmp) <(Pixels inverted.bmp) | awk '$1 + $2 == 255' | wc -l)"
Run 0 apply s.bmp InvertKVT InvertKVT -o twice.bmp
Same s.bmp twice.bmp
Run 0 apply s.bmp 'InvertKVT(10, 5, 7, 3)' 'isWhiteKVT(0, 0, 40, 5)' 'isWhiteKVT(10, 5, 7, 3)'
Equal "new pictures are white, but for the area" "true false" "$(Results)"
for host in "--layout "{alpha-high,{premultiplied,straight}-{first,last}} "--host console --layout row-table" \
    "--host-version 2010.02"; do
    # shellcheck disable=SC2086 # several words
    Run 0 apply s.bmp 'CountColorKVT(&cFF0000)' InvertKVT -o other.bmp $host
    Prints "CountColorKVT = 10"
    Same inverted.bmp other.bmp
done

Run 0 apply s.bmp isWhiteKVT 'isGrayKVT(0, 0, 21, 40, 2)' 'CountColorKVT(&cFF0000)' HasMaskKVT
Prints "isWhiteKVT = false"
Prints "isGrayKVT = true"
Prints "CountColorKVT = 10"
Run 0 apply s.bmp 'FindPicture("s.bmp", -1, -1)'
Prints "FindPicture = true"
Prints "x = 0"
Run 0 apply s.bmp 'ScrollKVT(3, 0, true, false)' 'ScrollKVT(-3, 0, true, false)' -o scrolled.bmp
Prints "ScrollKVT = true"
Same s.bmp scrolled.bmp

Run 0 apply s.bmp 'CountColorsKVT(nil, nil, nil, 0)' --save-block red=red.bin --save-block Blue=blue.bin
Prints "red = memory block of 1024 bytes"
Run 0 apply s.bmp CountColorsKVT 'FindPicture(s.bmp)'
Prints "count = 1000"
Prints "y = 0"
Prints "count = 1000"
Equal "pixels in the saved histogram" 1000 "$(Numbers red.bin | awk '{ sum += $1 } END { print sum }')"
Run 0 apply s.bmp 'CountColorsKVT(red.bin, nil, nil, 0)' --save-block red=red.bin # counters go on
Equal "pixels in the saved histogram" 2000 "$(Numbers red.bin | awk '{ sum += $1 } END { print sum }')"

# Global methods, declared defaults, strings and sounds.
Run 0 apply s.bmp 'MergePictureKVT(me, me)' -o merged.bmp
Run 0 apply s.bmp 'PicturetoBinaryStringKVT(me)'
Prints "PicturetoBinaryStringKVT = string of 3040 bytes"
Run 0 apply s.bmp 'PicturetoBinaryStringKVT(me)' -o s.ppic
Equal "bytes of the saved string" 3040 "$(wc -c <s.ppic)"
Run 0 make 'BinaryStringtoPictureKVT(@s.ppic)' -o back.bmp
Same s.bmp back.bmp
head -c 3000 s.ppic >short.ppic

# Classes. A table that exchanges red and blue shows which index is which.
Run 0 apply s.bmp 'PictureSepiaKVT(SepiaRed=40, SepiaGreen=20, SepiaBlue=-20).Run' 'CountColorKVT(&c007460)' -o sepia.bmp
Run 0 apply s.bmp 'PictureSepiaKVT(FactorRed=1, FactorBlue=0, FactorGreen=0).Run' 'isGrayKVT(0)' 'CountColorKVT(&cFFFFFF)'
Prints "isGrayKVT = true"
printf 'LUT_3D_SIZE 2\n%s\n' "0 0 0
0 0 1
0 1 0
0 1 1
1 0 0
1 0 1
1 1 0
1 1 1" >exchange.cube
Run 0 apply s.bmp 'CountColorKVT(&cFF8000)' 'PictureLut3DKVT("exchange.cube").Run' 'CountColorKVT(&cFF0000)' \
    'CountColorKVT(&c0080FF)' 'CountColorKVT(&cFF8000)'
Equal "pixels of four colors" "10 10 10 0" "$(Results)"
Run 0 apply s.bmp 'PictureLut3DKVT(Table=film.cube, MaxX=20).Run' -o film.bmp
Run 0 apply s.bmp 'PictureLut3DKVT( MaxX = 20,Table = "film.cube" ).Run' -o other.bmp
Same film.bmp other.bmp
printf 'LUT_3D_SIZE 2\n0 0 x\n' >broken.cube

# Alpha: what a mask wrote is read back, colors stay, and results are opaque.
for host in desktop console; do
    Run 0 apply alpha.bmp 'EmbeddedMaskKVT(false)' -o mask.bmp --host $host
    Run 0 apply s.bmp 'EmbeddedMaskKVT(false) = mask.bmp' --alpha -o cut.bmp --host $host
    Run 0 apply cut.bmp 'EmbeddedMaskKVT(false)' -o mask2.bmp --host $host
    Same mask.bmp mask2.bmp
    Run 0 apply cut.bmp InvertKVT 'EmbeddedMaskKVT(false)' 'ColornessKVT(0)' --host $host
    Prints "ColornessKVT = 0"
done
Run 0 apply alpha.bmp 'EmbeddedMaskKVT(false)' 'isWhiteKVT(0, 0, 20, 25)' isWhiteKVT
Equal "white left half, white mask" "true false" "$(Results)"

if [ "$KVT_CODECS" = ON ]; then # the gallery: a page for a small picture, and one on which every call but isWhiteKVT failed
OnPage() { grep -o "\"$1\":" "$2/kvt-gallery/index.html" | wc -l; } # MEMBER FOLDER: of the page's data
mkdir own && echo mine >own/photo.png
Run 0 gallery s.bmp -o own
Equal "calls on the page" "$(sed -n 's/ calls, 0 failed: .*//p' out)" "$(OnPage shows own)"
Equal "failures on the page" 0 "$(OnPage failure own)"
Equal "the user's file" mine "$(cat own/photo.png)"
Run 0 gallery s.bmp -o own --host console --layout row-table --host-version none # replaces the first
Equal "options of a host of another kind" 1 \
    "$(grep -cF '"options":" --host console --layout row-table --host-version none"' own/kvt-gallery/index.html)"
Run 1 gallery s.bmp -o failing --module "$faulty"
Says 'kvt: InvertKVT: there is no method or class "InvertKVT"'
Equal "failures on the page" $(($(OnPage shows failing) - 1)) "$(OnPage failure failing)"
Run 2 gallery missing.bmp -o none
Says 'missing.bmp: cannot be opened'
Run 2 gallery s.bmp -o s.bmp/inside
Says 's.bmp/inside/kvt-gallery: cannot be made'
    # What is lost is told, and once; nothing comes of half a picture.
    Run 0 sample whole.png --size 40x25
    for bytes in 20 500; do head -c $bytes whole.png >cut$bytes.png; done
    cp whole.png huge.png # which says that it is 2^24 pixels and more wide
    printf '\x01' | dd of=huge.png bs=1 seek=16 conv=notrunc 2>dd
    before=$(ls)
    Table <<'ROWS'
2 ~ apply cut20.png InvertKVT -o never.png ~ cut20.png: is damaged: 
2 ~ apply cut500.png InvertKVT -o never.png ~ cut500.png: is damaged: 
2 ~ apply huge.png InvertKVT -o never.png ~ huge.png: its picture of 16777256 x 25 is larger than the 32767 on a side
2 ~ apply whole.png InvertKVT -o never.tif ~ never.tif: TIFF files are read and not written
2 ~ apply whole.png InvertKVT -o never.jpg --quality 101 ~ 
ROWS
    Equal "files after what was refused" "$before" "$(ls)"
    Table <<'ROWS'
0 ~ apply alpha.bmp -o flat.jpg ~ kvt: flat.jpg: the picture's alpha is lost, which a JPEG file does not hold
0 ~ apply alpha.bmp -o flat.jpg --quiet
0 ~ apply s.bmp 'EmbeddedMaskKVT(false) = alpha.bmp' -o flat.jpg ~ kvt: flat.jpg: the picture's alpha is lost
ROWS
    Run 0 apply s.bmp 'ExtractColorKVT(&c123456, &c000000, &c000000)' -o clear.bmp
    Run 0 apply s.bmp 'EmbeddedMaskKVT(false) = clear.bmp' -o flat.jpg -q
    Run 0 apply flat.jpg isWhiteKVT
    Prints "isWhiteKVT = true"
    "$kvt" apply alpha.bmp -o flat.jpg --json --quiet >out
    Equal "notes" 1 "$(python3 -c 'import json, sys; print(len(json.load(sys.stdin)[0]["notes"]))' <out)"
else
    Run 2 gallery s.bmp -o none
    Says 'the gallery is made of PNG and JPEG files'
    Run 2 sample none.png
    Says 'none.png: this kvt, built without picture codecs, writes BMP alone'
    printf '\xFF\xD8\xFF' >foreign.jpg
    Run 2 apply foreign.jpg InvertKVT
    Says 'foreign.jpg: is a JPEG file, and this kvt'
    Says '  kvt apply foreign.jpg -o FILE.bmp'
fi

# Calls: colors in all their forms, variables, chains with dots, arguments by name.
Run 0 apply s.bmp 'CountColorKVT(&cFF0000)' 'CountColorKVT(&hff0000)' 'CountColorKVT(0xFF0000)' 'CountColorKVT(#ff0000)'
Equal "pixels of one color" "10 10 10 10" "$(Results)"
for call in me.InvertKVT 'result = p.InvertKVT' 'x = InvertKVT()' ' InvertKVT ' \
    'p.InvertKVT().InvertKVT.InvertKVT' 'InvertKVT (0,0 , 40, 25)' 'InvertKVT(left=0)'; do
    Run 0 apply s.bmp -o dotted.bmp -- "$call"
    Same inverted.bmp dotted.bmp
done
python3 -c 'import sys; sys.stdout.buffer.write(bytes(range(256)))' >same.bin
for call in 'same.bin, "same.bin", same.bin' '@same.bin, @"same.bin", @same.bin' 'green=same.bin, red=same.bin, blue=@same.bin'; do
    Run 0 apply s.bmp "TransformColorsKVT($call)" -o mapped.bmp
    Same s.bmp mapped.bmp
done
Run 0 make 'RenderSamplesKVT(voice.wav, 0, 1, 80, 20, 1, &c88B5C4, &c274C5A, &c203F4E, 15)' -o wave.bmp
for call in 'voice.wav, 0, 1, 80, 20, 1' 'voice.wav, Width=80, height=20, outlinewidth=1' '"voice.wav", Height=20, Bits=15, outlinewidth=1, Width=80'; do
    Run 0 make "RenderSamplesKVT($call)" -o named.bmp
    Same wave.bmp named.bmp
done

# Inputs that are no plain files.
Run 0 apply <(cat s.bmp) InvertKVT -o dotted.bmp
Same inverted.bmp dotted.bmp
Run 0 apply /dev/stdin InvertKVT -o dotted.bmp <s.bmp
Same inverted.bmp dotted.bmp
mkfifo fifo
cat s.bmp >fifo &
Run 0 apply s.bmp alpha.bmp 'FindPicture(fifo, -1, -1)' # all processes see the same
Equal "finds" "s.bmp: FindPicture = true,alpha.bmp: FindPicture = false," "$(grep FindPicture out | tr '\n' ,)"

# Answers for scripts.
Run 0 apply s.bmp 'FindPicture(s.bmp, 5, 5)' ColornessKVT InvertKVT --value -q
Equal "bare results" "true 0 0 0.895" "$(tr '\n' ' ' <out | sed 's/ $//')"
Run 1 apply s.bmp isWhiteKVT --value --exit-status
Prints false
Equal "messages" "" "$(cat err)"
Run 0 apply s.bmp 'isGrayKVT(0, 0, 21, 40, 2)' --exit-status
Run 1 apply s.bmp isWhiteKVT -o saved.bmp --exit-status --json
Equal "what is saved in spite of a false result" "saved.bmp 1" "$(python3 -c '
import json, sys
report, = json.load(sys.stdin)
print(report["output"], report["status"])' <out)"

# What cannot be written is no success.
echo old >locked.bmp
chmod 400 locked.bmp
to=/dev/full Table <<'ROWS'
1 ~ apply s.bmp ColornessKVT ~ kvt: standard output cannot be written: No space left on device
1 ~ apply s.bmp ColornessKVT --json ~ No space left on device
1 ~ apply s.bmp alpha.bmp ColornessKVT ~ No space left on device
1 ~ apply s.bmp InvertKVT -o - ~ No space left on device
1 ~ list ~ No space left on device
1 ~ list InvertKVT ~ No space left on device
1 ~ check --list ~ No space left on device
1 ~ --help ~ No space left on device
1 ~ manual ~ No space left on device
ROWS
call="apply with a limit of 1 kB"
(ulimit -f 1 && exec "$kvt" apply s.bmp InvertKVT -o limited.bmp >out 2>err)
Equal "status" 1 $?
Says 'kvt: limited.bmp: cannot be written: File too large'
Equal "files" "" "$(ls | grep limited)"

# Wrong calls say what was expected and where, the likeliest of them with the line that works; nothing is written.
printf junk >junk.wav
: >empty.wav
head -c 1000 voice.wav >cut.wav
mkdir folder
ln -s loop loop
ln -s nowhere dangling.bmp
printf '\1\2' >bytes.png
printf '<?xml?><svg>' >drawing.png
printf 8BPS >layers.png
printf BM >start.bmp
long=$(printf 'x%.0s' {1..300}).bmp
before=$(ls)
Table <<'ROWS'
2 ~ apply s.bmp InvertKVT 'InvertKVT(10, 5 200)' -o none.bmp ~   InvertKVT(10, 5 200) ~                   ^^^ ~   InvertKVT(left as integer,top as integer,width as integer,height as integer) as picture
2 ~ apply s.bmp InvertKVTT -o none.bmp ~ there is no method or class "InvertKVTT", and no file "InvertKVTT"; did you mean "InvertKVT"?
2 ~ apply s.bmp InvertKVT 'InvertKVT(10' ~ expected "," or ")" at the end ~               ^
2 ~ apply s.bmp 'InvertKVT(1,,2)' ~ expected a value, not "," ~               ^
2 ~ apply s.bmp 'InvertKVT("open)' ~ a string has no closing double quote ~             ^^^^^^
2 ~ apply s.bmp 'InvertKVT(@)' ~ expected a value, not ")" ~              ^
2 ~ apply s.bmp 'InvertKVT(1) x' ~ expected the end, not "x" ~                ^
2 ~ apply s.bmp 'InvertKVT(1).' ~ expected the name of a member at the end ~                ^
2 ~ apply s.bmp 'EmbeddedMaskKVT(false) = a b' ~ expected the end, not "b"
2 ~ apply s.bmp '' ~ expected the name of a method or class at the end
2 ~ apply s.bmp 'ReplaceRedChannelKVT("nil")' ~ kvt: nil: cannot be opened
2 ~ apply s.bmp 'ReplaceRedChannelKVT("say ""a, b)=c"".bmp")' ~ kvt: say "a, b)=c".bmp: cannot be opened
2 ~ apply s.bmp Channel ~ ; did you mean "ReplaceRedChannelKVT" or "ReplaceBlueChannelKVT" or "ReplaceGreenChannelKVT"?
2 ~ apply s.bmp hasMusqKvt ~ ; did you mean "HasMaskKVT"?
2 ~ apply s.bmp In ~ ; did you mean "InvertKVT" or "InvertGrayKVT"?
2 ~ apply s.bmp VT ~ no file "VT"; kvt list shows
2 ~ apply s.bmp Blur ~ no file "Blur"; kvt list shows
2 ~ apply s.bmp InvertKVT -o '{name' ~ {name: expected {name}, {dir} or {ext} in braces
2 ~ apply s.bmp me.InvertKV -o none.bmp ~ there is no method or class "InvertKV" ~ did you mean "InvertKVT" ~   me.InvertKV ~      ^^^^^^^^
2 ~ apply s.bmp 'InvertKVT.Saturation(60)' -o none.bmp ~ expected the end, not "("
2 ~ apply s.bmp InvertKVT.Saturate -o none.bmp ~ there is no method "Saturate" to go on with behind InvertKVT
2 ~ apply s.bmp isWhiteKVT.InvertKVT -o none.bmp ~ only a picture can be called on
2 ~ apply s.bmp 'Saturation(60)' -o none.bmp ~ there is no method or class "Saturation"; did you mean "ChangeSaturationKVT"?
2 ~ apply s.bmp 'InvertKVT(1, 2)' -o none.bmp ~ no InvertKVT takes 2 arguments; missing: width, height ~   ^^^^^^^^^ ~   InvertKVT(left as integer,top as integer,width as integer,height as integer) as picture
2 ~ apply s.bmp 'InvertKVT(1, 2, 3.5, 4)' -o none.bmp ~ width as Integer: expected a whole number of 32 bits, not 3.5
2 ~ apply s.bmp 'InvertKVT(widht=3)' -o none.bmp ~ InvertKVT has no parameter "widht"; did you mean "width"?
2 ~ apply s.bmp 'InvertKVT(1, left=3)' -o none.bmp ~ this is given twice
2 ~ apply s.bmp 'PictureSepiaKVT(SepiaRed=4, sepiared=5).Run' -o none.bmp ~ this is given twice
2 ~ apply s.bmp 'PictureLut3DKVT(film.cube, Table=film.cube).Run' -o none.bmp ~ this is given twice
2 ~ apply s.bmp 'InvertKVT(left=1, 2)' -o none.bmp ~ what has no name comes before what has one
2 ~ apply s.bmp 'TintPictureKVT(me, SepiaBase=&cFFF0C0)' -o none.bmp ~ no TintPictureKVT takes 2 arguments; missing: GreyBase
2 ~ apply s.bmp 'ChangeSaturationKVT("60")' -o none.bmp ~ Amount as Integer: expected a whole number of 32 bits, not "60"
2 ~ apply s.bmp 'ReplaceRedChannelKVT(@s.bmp)' -o none.bmp ~ RedChannel as Picture: expected nil, me or a picture file, without @, not @s.bmp
2 ~ apply s.bmp 'TintPictureKVT(me, &cGG, &c0)' -o none.bmp ~ GreyBase as Color: expected a color
2 ~ apply s.bmp 'CountColorKVT(&cFFF)' ~ col as Color: expected a color of six digits such as &cFF8000, not &cFFF
2 ~ apply s.bmp 'CountColorKVT(&cFF800)' ~ expected a color of six digits
2 ~ apply s.bmp 'CountColorKVT(&c0FF8000)' ~ expected a color of six digits
2 ~ apply s.bmp 'CountColorKVT(#FF8000FF)' ~ expected a color of six digits
2 ~ apply s.bmp 'EmbeddedMaskKVT(0)' -o none.bmp ~ swap as Boolean: expected true or false, not 0
2 ~ apply s.bmp 'InvertKVT = s.bmp' -o none.bmp ~ InvertKVT cannot be assigned to
2 ~ apply s.bmp 'PictureSepiaKVT(SepiaRod=4).Run' -o none.bmp ~ PictureSepiaKVT has no property "SepiaRod"; did you mean "SepiaRed"?
2 ~ apply s.bmp 'PictureSepiaKVT(SepiaRed=4)' -o none.bmp ~ expected ".Run"
2 ~ apply s.bmp PictureLut3DKVT.Run -o none.bmp ~ PictureLut3DKVT needs a table, without which all becomes black: PictureLut3DKVT("film.cube").Run
2 ~ apply s.bmp 'PictureLut3DKVT("broken.cube").Run' -o none.bmp ~ broken.cube, line 2: expected three numbers or a known keyword, not "0 0 x"
2 ~ apply s.bmp 'PictureLut3DKVT(missing.cube).Run' -o none.bmp ~                   ^^^^^^^^^^^^
2 ~ make 'InvertKVT' -o none.bmp ~ there is no picture yet
2 ~ make s.bmp InvertKVT -o none.bmp ~ "s.bmp" is no call; make takes calls alone, apply takes pictures: kvt apply s.bmp CALL...
2 ~ make 'RenderSamplesKVT(voice.wav, 0, 1, 80, 20, 1, Bits=8)' -o none.bmp ~ the samples of this sound file need Bits=15, not 8
2 ~ make 'RenderSamplesKVT(junk.wav, 0, 1, 80, 20, 1)' -o none.bmp ~ junk.wav: is no WAV file
2 ~ make 'RenderSamplesKVT(empty.wav, 0, 1, 80, 20, 1)' -o none.bmp ~ empty.wav: is no WAV file
2 ~ make 'RenderSamplesKVT(s.bmp, 0, 1, 80, 20, 1)' -o none.bmp ~ s.bmp: is no WAV file; @"s.bmp" stands for the bytes
2 ~ apply s.bmp 'TransformColorsKVT(s.bmp, s.bmp, s.bmp)' -o none.bmp ~ s.bmp: cannot be taken for a block of bytes, for it is BMP
2 ~ apply s.bmp 'TransformColorsKVT(voice.wav, same.bin, same.bin)' -o none.bmp ~ voice.wav: cannot be taken for a block of bytes, for it is WAV
2 ~ apply s.bmp 'TransformColorsKVT(film.cube, same.bin, same.bin)' -o none.bmp ~ film.cube: cannot be taken for a block of bytes, for it is text
2 ~ make 'RenderSamplesKVT(same.bin, 0, 1, 80, 20, 1)' -o none.bmp ~ same.bin: is no WAV file; @
0 ~ make 'RenderSamplesKVT(cut.wav, 0, 1, 80, 20, 1)' 'CountColorKVT(&c88B5C4)' ~ kvt: cut.wav: is cut off: 956 of 
2 ~ apply s.bmp 'ReplaceRedChannelKVT(missing.bmp)' -o none.bmp ~ missing.bmp: cannot be opened ~                        ^^^^^^^^^^^ ~   ReplaceRedChannelKVT(RedChannel as picture) as picture
2 ~ apply s.bmp ReplaceRedChannelKVT -o none.bmp ~ no ReplaceRedChannelKVT takes 0 arguments; missing: RedChannel
2 ~ apply s.bmp 'ChangeSaturationKVT(1, 2)' -o none.bmp ~ no ChangeSaturationKVT takes 2 arguments
2 ~ apply s.bmp InvertKVT -o none.ppic ~ none.ppic: pictures are saved as
2 ~ apply s.bmp InvertKVT -o none ~ or into a folder, as in none/
2 ~ apply voice.wav InvertKVT -o none.bmp ~ voice.wav: is a file of the kind WAV, which is not read
2 ~ apply s.bmp 'PicturetoBinaryStringKVT(me)' -o none.bmp ~ PicturetoBinaryStringKVT returns a string and no picture ~ -o none.ppic
2 ~ apply s.bmp InvertKVT -o '' ~ -o: expected a file, a folder or -
2 ~ apply s.bmp InvertKVT -o '*.bmp' ~ -o *.bmp: a pattern is no file's name; {name} stands for that of the input
2 ~ apply s.bmp InvertKVT -o . --format bmp ~ -o .: the result would replace s.bmp
2 ~ apply s.bmp InvertKVT -o locked.bmp ~ locked.bmp: is write-protected
2 ~ make 'BinaryStringtoPictureKVT(@s.ppic)' -o folder/ ~ -o folder/: is a folder, and there is no input
2 ~ apply s.bmp ~ s.bmp: nothing is to be done ~   kvt apply s.bmp InvertKVT -o out.
2 ~ apply s.bmp 'CountColorsKVT(nil, nil, nil, 0)' --save-block cyan=none.bin ~ no call has a byref memory block "cyan"
2 ~ apply s.bmp InvertKVT -o none.bmp --host console --layout alpha-high ~ --layout alpha-high: a console host has row-table, a desktop host any other
2 ~ apply s.bmp InvertKVT -o none.bmp --layout row-table ~ --layout row-table: a console host has row-table
2 ~ apply s.bmp InvertKVT -o none.bmp --host web ~ --host: web not in {desktop,console}
2 ~ apply s.bmp InvertKVT -o none.bmp --format gif ~ --format: gif not in {png,jpg,webp,bmp}
2 ~ apply s.bmp InvertKVT -o none.bmp --module missing.so ~ missing.so
2 ~ apply s.bmp InvertKVT -o s.bmp/none.bmp ~ s.bmp/none.bmp: 
2 ~ apply s.bmp InvertKVT -o dangling.bmp ~ dangling.bmp: 
2 ~ apply empty.wav InvertKVT ~ empty.wav: is empty
2 ~ apply bytes.png InvertKVT ~ bytes.png: is no picture
2 ~ apply drawing.png InvertKVT ~ drawing.png: is a text and no picture
2 ~ apply layers.png InvertKVT ~ Photoshop
2 ~ apply start.bmp InvertKVT ~ start.bmp: is damaged
2 ~ sample none.bmp --size 640 ~ --size: 2 required WxH missing
2 ~ sample none.bmp --size 640x480x2 ~ --size: At Most 2 required
2 ~ sample none.bmp --size 9x32768 ~ --size: Value 32768 not in range 1 to 32767
2 ~ sample none.bmp --size '640 x 480' ~ --size: Value 640
2 ~ apply InvertKVT -o none.bmp ~ "InvertKVT" is read as a call, for there is no such file
2 ~ apply s.bmp 'InvertKVT(1, 1, 2, 2)' none.bmp ~ pictures come first, and -o tells where the result goes
2 ~ apply s.bmp a.gif alpha.bmp InvertKVT -o none.bmp ~ "alpha.bmp" stands behind "a.gif", which is read as a call; pictures come first
2 ~ apply folder InvertKVT -o none.bmp ~ "folder" is a folder; its pictures may be folder/*.png
2 ~ apply s.bmp folder -o none.bmp ~ there is no method or class "folder"; "folder" is a folder
2 ~ apply "$long" InvertKVT -o none.bmp ~ cannot be opened: File name too long
2 ~ apply loop/s.bmp alpha.bmp InvertKVT -o 'loop/{name}.bmp' ~ Too many levels of symbolic links
2 ~ apply s.bmp alpha.bmp InvertKVT 'CountColorKVT(&cGG)' -o 'none{name}.bmp' ~ kvt: col as Color
2 ~ apply s.bmp --json -o - InvertKVT ~ --json: 
2 ~ apply s.bmp --json --value ColornessKVT ~ --json
2 ~ aply s.bmp ~ "aply" cannot be used here; did you mean "apply"?
2 ~ help aply ~ "aply" cannot be used here; did you mean "apply"?
2 ~ apply s.bmp InvertKVT --outptu none.bmp ~ "--outptu" cannot be used here; did you mean "--output"?
2 ~ sample none.bmp other.bmp ~ "other.bmp" cannot be used here; kvt sample --help shows
1 ~ apply s.bmp InvertKVT 'TintPictureKVT(nil, &c555555, &cFFF0C0)' -o none.bmp ~ TintPictureKVT returned nil ~   source is nil
1 ~ apply s.bmp 'MergePictureKVT(me, mask.bmp)' 'MergePictureKVT(me, small.bmp)' -o none.bmp ~ MergePictureKVT returned nil ~   sizes differ: source1 is 40 x 25, source2 is 5 x 4
1 ~ apply s.bmp 'ReplaceRedChannelKVT(small.bmp)' -o none.bmp ~   sizes differ: the picture is 40 x 25, RedChannel is 5 x 4
1 ~ apply s.bmp 'TransformColorsKVT(same.bin, @junk.wav, same.bin)' -o none.bmp ~   blue holds 4 bytes, and a table 256
1 ~ make 'BinaryStringtoPictureKVT("s.ppic")' -o none.bmp ~ BinaryStringtoPictureKVT returned nil ~   the 6 bytes are no picture string ~ @"s.ppic" stands for its bytes
1 ~ make 'BinaryStringtoPictureKVT(@s.bmp)' -o none.bmp ~   the 3054 bytes are no picture string, which begins with PPIC
1 ~ make 'BinaryStringtoPictureKVT(@short.ppic)' -o none.bmp ~   the picture string tells of 3040 bytes and 40 x 25 pixels, and has 3000 bytes
1 ~ make 'RenderSamplesKVT(@same.bin, 0, 1, 80, 20, 1, Bits=9)' -o none.bmp ~   Bits is 9: 7, 8, 15 and 16 are known
1 ~ apply s.bmp 'PictureSepiaKVT(SourcePicture=nil).Run' -o none.bmp ~ PictureSepiaKVT.Run returned false ~   SourcePicture is nil
1 ~ apply s.bmp 'ReplaceRedChannelKVT(nil)' -o none.bmp ~ ReplaceRedChannelKVT raised NilObjectException: The channel picture is nil.
3 ~ apply s.bmp YieldUncounted -o none.bmp --module "$faulty" ~ violation: 
ROWS
Equal "files after all that failed" "$before" "$(ls)"
Run 2 apply s.bmp alpha.bmp InvertKVT 'CountColorKVT(&cGG)' -o 'none{name}.bmp' # once, before anything runs
Equal "messages" 1 "$(grep -c '^kvt:' err)"

# Losses are told, a line each, and not when nothing is to be told.
Table <<'ROWS'
0 ~ apply alpha.bmp InvertKVT -o opaque.bmp ~ kvt: InvertKVT: its picture is opaque; the alpha of the one before is lost
0 ~ apply alpha.bmp InvertKVT -o opaque.bmp --quiet
0 ~ apply alpha.bmp InvertKVT InvertKVT ColornessKVT
0 ~ apply alpha.bmp 'EmbeddedMaskKVT(false)' -o mask.bmp
0 ~ apply alpha.bmp 'ScrollKVT(1, 1, true, false)' -o scrolled.bmp
0 ~ apply s.bmp 'EmbeddedMaskKVT(false) = mask.bmp' -o masked.bmp
0 ~ apply s.bmp 'EmbeddedMaskKVT(false) = mask.bmp' InvertKVT -o opaque.bmp ~ kvt: InvertKVT: its picture is opaque
0 ~ apply s.bmp isWhiteKVT InvertKVT ~ kvt: the last call made a picture of 40 x 25, which is not saved; -o FILE saves it
0 ~ apply s.bmp isWhiteKVT InvertKVT -q
0 ~ apply s.bmp InvertKVT --json
0 ~ apply s.bmp InvertKVT isWhiteKVT
0 ~ apply alpha.bmp 'EmbeddedMaskKVT(false) = s.bmp' ~ kvt: the last call made a picture of 40 x 25, which is not saved; -o FILE saves it
0 ~ apply s.bmp alpha.bmp InvertKVT ~ kvt: the last call made pictures, which are not saved; -o FOLDER/ saves them
ROWS
Run 0 apply s.bmp 'EmbeddedMaskKVT(false) = mask.bmp' --alpha -o cut.bmp
Same cut.bmp masked.bmp

# What a module promises its hosts.
module=$(dirname "$kvt")/kvtpicture.so
Run 0 check --only start --only records
Prints "kept    start            starts under any host: without a resolver, without entries, without any one of them"
Equal "summary" "2 rules: 2 kept, 0 broken" "$(sed -n 's/;.*//; $p' out)"
Run 0 check --list
Equal "rules without a sentence" "" "$(grep -vE '^[a-z-]+ +[a-z]+ .* ' out)"
Prints "reload           goes from memory when it is unloaded, and starts afresh when it is loaded again"
cp "$module" copy.so
cp "$(dirname "$module")/libkvtplatform.so" .
Run 0 check copy.so --only order --json
Prints '  "module": "copy.so",'
Equal "summary" '"summary":{"rules":1,"kept":1,"broken":0}' "$(tr -d ' \n' <out | grep -o '"summary":{[^}]*}')"
Run 1 check "$faulty" --only references --only inputs --json
Equal "rules kept and not" "false true" "$(sed -n 's/.*"kept": \([a-z]*\),.*/\1/p' out | tr '\n' ' ' | sed 's/ $//')"
Run 1 check "$faulty" --only references
Equal "findings below the rule" 1 "$(grep -c '^          YieldUncounted as picture; .* has 1 reference(s) too few$' out)"
other=$(($(od -An -tu1 -j4 -N1 "$module") ^ 3)) # the byte that tells the width: 1 or 2
printf "\\$other" | dd of=copy.so bs=1 seek=4 conv=notrunc 2>dd
Run 1 check copy.so --only file --only order
Equal "what is said of another width" 1 "$(grep -c 'the file is for hosts of [0-9]* bits, this program has [0-9]*: use the kvt beside it$' out)"
head -c 5000 "$module" >short.so
Run 1 check short.so --only file
Prints "          the module's file ends before its tables do"
Run 0 help apply
Prints "Usage: kvt apply [OPTION...] PICTURE... [CALL...]"
Run 2 check --only reference
Says '--only: reference not in {file,start,'
Run 2 check s.bmp
Says 's.bmp: is no module'
Run 2 check missing.so
Says 'missing.so: cannot be opened'
Run 2 check --time-limit 0
Run 2 check "$module" "$faulty"

# Standard streams: a picture in, a picture or a string out, answers apart from it.
for flags in "--format bmp" ""; do
    # shellcheck disable=SC2086 # several words or none
    "$kvt" apply - InvertKVT 'CountColorKVT(&cFFFFFF)' -o - $flags <s.bmp >piped 2>answers
    Run 0 apply piped InvertKVT -o piped.bmp
    Same s.bmp piped.bmp
    Equal "answer beside a picture on standard output" "CountColorKVT = 2" "$(cat answers)"
done
[ "$KVT_CODECS" = OFF ] || Equal "what --format gave, and what comes without it" "PNG" "$(head -c 4 piped | tail -c 3)"
"$kvt" apply s.bmp 'PicturetoBinaryStringKVT(me)' -o - 2>answers | "$kvt" make 'BinaryStringtoPictureKVT(@-)' -o back.bmp
Same s.bmp back.bmp
"$kvt" apply - - 'MergePictureKVT(me, -)' -o 'merged{name}.bmp' <s.bmp 2>err >out # one place for two results
Equal "status" 2 $?
"$kvt" apply s.bmp alpha.bmp 'FindPicture(-, -1, -1)' <s.bmp >out # all processes see the same
Equal "finds" "s.bmp: FindPicture = true,alpha.bmp: FindPicture = false," "$(grep FindPicture out | tr '\n' ,)"

# Many pictures: answers in their order, one that fails does not keep the others, and the worst status counts.
mkdir -p in/deep
for i in 1 2 3 4 5 6 7; do "$kvt" sample "in/$i.bmp" --opaque --size "${i}x10"; done
cp s.bmp in/deep/8.bmp
echo "no picture" >in/4.bmp
Run 2 apply in/*.bmp in/deep/8.bmp InvertKVT 'CountColorKVT(&cFFFFFF)' -j 3 -o '{dir}/out/{ext}-{name}.bmp'
Says 'kvt: in/4.bmp: is a text and no picture; '
Says 'kvt: 1 of 8 pictures failed'
Equal "answers" "in/1.bmp in/2.bmp in/3.bmp in/5.bmp in/6.bmp in/7.bmp in/deep/8.bmp" \
    "$(sed 's/: .*//' out | tr '\n' ' ' | sed 's/ $//')"
Equal "results" "bmp-1.bmp bmp-2.bmp bmp-3.bmp bmp-5.bmp bmp-6.bmp bmp-7.bmp bmp-8.bmp" \
    "$(find in -name '*-*.bmp' -printf '%f\n' | sort | tr '\n' ' ' | sed 's/ $//')"
Same inverted.bmp in/deep/out/bmp-8.bmp
Run 0 apply in/1.bmp in/deep/8.bmp InvertKVT -o into/ --format bmp
Same inverted.bmp into/8.bmp
KVT_FAULT=Die Run 3 apply in/1.bmp in/2.bmp Die --module "$faulty"
Says 'kvt: in/2.bmp: ended by signal 9'
before=$(ls)
Table <<'ROWS'
2 ~ apply in/1.bmp in/2.bmp InvertKVT -o same.bmp ~ the results of in/1.bmp and in/2.bmp would both go there
2 ~ apply in/1.bmp in/2.bmp InvertKVT -o - ~ would both go there
2 ~ apply in/1.bmp in/../in/1.bmp InvertKVT -o '{dir}/{name}-new.bmp' ~ would both go there
2 ~ apply in/1.bmp in/2.bmp CountColorsKVT --save-block red=red2.bin ~ would both go there
2 ~ apply in/1.bmp CountColorsKVT InvertKVT --save-block red=x.bmp -o x.bmp ~ x.bmp: 
2 ~ apply in/1.bmp in/2.bmp InvertKVT -o '{dir}/2.bmp' ~ the result of in/1.bmp would replace this input
2 ~ apply in/1.bmp in/2.bmp InvertKVT -o 'in/{nmae}.bmp' ~ in/{nmae}.bmp: expected {name}, {dir} or {ext} in braces; {{ and }} stand for braces
0 ~ apply in/1.bmp in/1.bmp isGrayKVT
ROWS
Equal "files after what was refused" "$before" "$(ls)"
Run 0 apply in/1.bmp in/2.bmp InvertKVT -o '{dir}/{name}.{ext}' # each over its own input
Run 0 apply - s.bmp InvertKVT -o '{dir}/{{new-{{{name}}}.bmp' <in/deep/8.bmp
Same inverted.bmp '{new-{stdin}.bmp'
Same inverted.bmp '{new-{s}.bmp'

# Links and modes stay, and new files have those of the process.
chmod 700 other.bmp
ln -s other.bmp link.bmp
Run 0 apply s.bmp InvertKVT -o link.bmp
Same inverted.bmp other.bmp
Equal "what the link is, and the mode" "symbolic link 700" "$(stat -c %F link.bmp) $(stat -c %a other.bmp)"
umask 027
Run 0 apply s.bmp InvertKVT -o new/deep/a.bmp
Equal "mode" 640 "$(stat -c %a new/deep/a.bmp)"

# One document, whatever the number of pictures and however they end.
Run 2 apply in/3.bmp in/4.bmp 'FindPicture(in/3.bmp, 0, 0)' ColornessKVT --json
Equal "input, status and typed values" \
    "in/3.bmp 0 True 0 Integer 0.9 Double | in/4.bmp 2 is a text and no picture" "$(python3 -c '
import json, re, sys
first, second = json.load(sys.stdin)
find, colorness = first["calls"]
print(first["input"], first["status"], find["result"]["value"], find["byref"][0]["value"], find["byref"][0]["type"],
      colorness["result"]["value"], colorness["result"]["type"], "|", second["input"], second["status"],
      re.search("is a [^;]*", second["error"]).group())' <out)"
Run 1 apply s.bmp 'ReplaceRedChannelKVT(nil)' -o none.bmp --json
Equal "exception, and no output" "NilObjectException None" "$(python3 -c '
import json, sys
report, = json.load(sys.stdin)
print(report["raised"]["class"], report["output"])' <out)"
Run 0 list --json
Equal "listed" "$counts" "$(python3 -c '
import json, sys
print(*(len(part) for part in json.load(sys.stdin).values()))' <out)"

# A signal ends the processes too, and leaves no half-written file; on a terminal a bar shows how far it is.
python3 -c '
import struct, sys
width = height = 3000
header = struct.pack("<2sIHHI IiiHHIIiiII", b"BM", 54 + 3 * width * height, 0, 0, 54,
                     40, width, height, 1, 24, 0, 0, 0, 0, 0, 0)
sys.stdout.buffer.write(header + bytes(3 * width * height))' >large.bmp
for i in 1 2 3 4; do cp large.bmp "in/large$i.bmp"; done
"$kvt" apply in/large*.bmp InvertKVT -j 4 -o 'late/{name}.bmp' &
sleep 0.3
kill -TERM $!
wait $!
Equal "status after a signal" 143 $?
Equal "files that are not whole" "" "$(find . -name '*.bmp.??????' -o -path './late/*' ! -size +26000k)"

# On a terminal, a bar shows how far it is, and messages have colors; no picture goes there.
Shows() { # COUNT TEXT WORDS...: how many lines with that text a terminal shows
    local count=$1 text=$2
    shift 2
    call=$*
    script -qec "$kvt $call" /dev/null >out
    Equal "lines with $text" "$count" "$(grep -cF -- "$text" out)"
}
export TERM=xterm
Shows 1 "[####################....................] 1/2" apply in/1.bmp in/2.bmp isGrayKVT -j 1
Shows 1 $'\e[31m' apply s.bmp "'InvertKVT(1'"
NO_COLOR=1 Shows 0 $'\e[' apply s.bmp "'InvertKVT(1'"
TERM=dumb Shows 0 $'\e[' apply s.bmp "'InvertKVT(1'"
Shows 1 $'\e[32mkept' check --only start
Shows 1 "standard output is a terminal" apply s.bmp InvertKVT -o -
Shows 1 "standard output is a terminal" sample -

# An existing result stays until there is a new one.
cp inverted.bmp kept.bmp
Run 1 apply s.bmp 'TintPictureKVT(nil, &c555555, &cFFF0C0)' -o kept.bmp
Same inverted.bmp kept.bmp

echo "$checks checks, $failed failed"
[ "$failed" = 0 ]
