#!/usr/bin/env bash
# Shows the tool at work: first on good documents, then on broken ones. Called by `./dev demo` with the tool's path.
set -u
tool=$(realpath "$1")
cd "$(dirname "${BASH_SOURCE[0]}")/data" || exit 2

# Shows a command and what it prints, cut to a screen's worth.
show() {
    printf '\n$ velmora %s\n' "$*"
    "$tool" "$@" 2>&1 | head -n 12
    local status=${PIPESTATUS[0]}
    [ "$status" -eq 0 ] || printf '(exit status %s)\n' "$status"
}

echo "== What users have"
show check settings.xml catalog.xml catalog.json catalog.yaml app.project.xml feed.xml map.osm messages.xlf
show walk settings.xml
show walk catalog.json

echo
echo "== The same records in five forms"
for form in json yaml xml; do
    show convert catalog.xml --to "$form" --compact
done
show convert catalog.xml --to html --rows book
show convert catalog.xml --to csv --rows book --header

echo
echo "== There and back"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
from=catalog.xml
for form in json yaml xml; do
    "$tool" convert "$from" --to "$form" --compact -o "$work/catalog.$form" || exit
    printf '%-13s -> catalog.%-4s %5s bytes\n' "$(basename "$from")" "$form" "$(stat -c %s "$work/catalog.$form")"
    from=$work/catalog.$form
done
"$tool" convert catalog.xml --to xml --compact | cmp - "$work/catalog.xml" && echo "the last is the first"

echo
echo "== A document of several megabytes"
large=$work/large.xml
python3 make_records.py 8 "$large"
printf '\n$ velmora check records.xml   # %s bytes\n' "$(stat -c %s "$large")"
"$tool" check "$large" | sed 's|^.*: |records.xml: |'

echo
echo "== What goes wrong, and where"
for document in broken/*; do
    show check "$document"
done
show check no-such-file.xml
show convert broken/escapes.json --to xml --compact --raw-escapes

echo
echo "== The same in other languages"
for language in ger fra spa rus jpn; do
    show --lang "$language" check broken/unclosed.xml
done

echo
echo "== Folders and logs"
show ls . --dirs --sort size
show ls 'cat*' --csv --header
printf '10:00\tINFO\tstarted\n10:01\tWARN\tlow on paper\\\n  in tray 2\n' >"$work/log"
show tail "$work/log" --once --fields 3 --only 2,3

echo
echo "== Dictionaries"
show lng keys
show lng check --reference ../../lang/velmora.eng.xlf "$(dirname "$tool")/lang/velmora.ger.lng"
exit 0
