#!/usr/bin/env bash
# Renders the gallery, opens its page in a headless browser, wide and narrow, light and dark, and runs each of its shell
# lines. Status 77: there is no browser, and nothing was tested.
# usage: gallery_page_test.sh KVT
set -euo pipefail
kvt=$(realpath "$1")
script=$(realpath "$(dirname "$0")/gallery_page_test.js")
browser=$(command -v chromium || command -v chromium-browser || command -v google-chrome || true)
if [ -z "$browser" ]; then
    echo "skipped: the page is tested in Chromium, which is not installed"
    exit 77
fi
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
failed=0

"$kvt" gallery -o .
cd kvt-gallery
size=$(wc -c <index.html)
[ "$size" -lt 15000000 ] || { echo "FAILED: the page has $size bytes" && failed=1; }

# The checks go into a copy: first what notes errors from the start on, last what looks at the page and works it.
awk -v script="$script" '
    /<meta charset/ {
        print
        print "<script>window.problems = [];"
        print "const note = (event) => window.problems.push(event.message || event.violatedDirective ||"
        print "    String(event.reason || event.target.outerHTML).slice(0, 200));"
        print "for (const type of [\"error\", \"unhandledrejection\", \"securitypolicyviolation\"])"
        print "    window.addEventListener(type, note, true);</script>"
        next
    }
    /<\/body>/ { print "<script>"; while ((getline line <script) > 0) print line; print "</script>" }
    { print }' index.html >tested.html
Look() { # SCHEME    0: dark, 1: light. In frames, for the browser's own window has a least width.
    local light outcome
    light=$([ "$1" = 0 ] && echo dark || echo light)
    cat >frames.html <<'END'
<!doctype html><html><iframe src="tested.html" style="width:1280px;height:900px;border:0"></iframe>
<iframe src="tested.html" style="width:390px;height:844px;border:0"></iframe><script>
addEventListener('load', () => {
    document.documentElement.dataset.outcome =
        [frames[0], frames[1]].map((frame) => frame.document.documentElement.dataset.outcome).join('; ');
    document.documentElement.dataset.commands = frames[0].document.documentElement.dataset.commands;
});</script></html>
END
    timeout 120 "$browser" --headless --no-sandbox --disable-gpu --user-data-dir="$folder/profile" \
        --allow-file-access-from-files --blink-settings=preferredColorScheme="$1" --window-size=1400,1000 \
        --dump-dom "file://$PWD/frames.html" >dom.html 2>browser.log || true
    outcome=$(sed -n 's/.*<html[^>]* data-outcome="\([^"]*\)".*/\1/p' dom.html)
    echo "${outcome:-the browser gave no outcome: $(tail -n 3 browser.log)}"
    case $outcome in
    "0 failed of "*" at 1280 pixels, $light: ; 0 failed of "*" at 390 pixels, $light: ") ;;
    *) failed=1 ;;
    esac
}
Look 1
Look 0

# What the page says to copy works in its folder.
kvt() { "$kvt" "$@"; }
lines=0
while IFS= read -r line; do
    lines=$((lines + 1))
    eval "$line" >out 2>&1 || { echo "FAILED: $line" && sed 's/^/  /' out && failed=1; }
done < <(python3 -c 'import html, re
print(html.unescape(re.search("data-commands=\"([^\"]*)\"", open("dom.html").read())[1]))')
echo "$lines shell lines"
[ "$lines" -gt 70 ] || failed=1
[ "$failed" = 0 ]
