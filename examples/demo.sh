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
show check settings.xml app.project.xml feed.xml map.osm messages.xlf
show walk settings.xml

echo
echo "== A document of several megabytes"
large=$(mktemp)
trap 'rm -f "$large"' EXIT
python3 make_records.py 8 "$large"
printf '\n$ velmora check records.xml   # %s bytes\n' "$(stat -c %s "$large")"
"$tool" check "$large" | sed 's|^.*: |records.xml: |'

echo
echo "== What goes wrong, and where"
for document in broken/*; do
    show check "$document"
done
show check no-such-file.xml

echo
echo "== The same in another language"
show --lang ger check broken/unclosed.xml

echo
echo "== Dictionaries"
show lng keys
show lng check --reference ../../lang/velmora.eng.xlf "$(dirname "$tool")/lang/velmora.ger.lng"
exit 0
