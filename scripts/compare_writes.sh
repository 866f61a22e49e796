#!/usr/bin/env bash
# Checks that two builds of the flio tool write the same bytes: the demo (plain and
# compressed) and `flio roundtrip` of every SWF file under a corpus folder. Used to
# show that a change to the library leaves its output as it was.
#   scripts/compare_writes.sh OLD_FLIO NEW_FLIO [CORPUS_DIR] [-- ROUNDTRIP_OPTIONS...]
# The options go to both tools' roundtrip; OLD_OPTIONS and NEW_OPTIONS in the
# environment add options for one side only (say, NEW_OPTIONS=--classic).
# Prints one line per difference and a summary; exits 1 when anything differs.
set -uo pipefail
old=$1 new=$2
shift 2
corpus=$(cd "$(dirname "$0")/.." && pwd)/../shared/corpus
if [ $# -gt 0 ] && [ "$1" != "--" ]; then corpus=$1; shift; fi
[ "${1:-}" = "--" ] && shift
options=("$@")

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

same=0 differ=0
compare() {  # name, then the two files
  if cmp -s "$2" "$3"; then same=$((same + 1)); else differ=$((differ + 1)); echo "differs: $1"; fi
}

for c in "" --compress; do
  "$old" demo "$work/old.swf" $c >/dev/null 2>&1
  "$new" demo "$work/new.swf" $c >/dev/null 2>&1
  compare "demo $c" "$work/old.swf" "$work/new.swf"
done

while IFS= read -r -d '' f; do
  rm -f "$work/old.swf" "$work/new.swf"
  "$old" roundtrip "$f" "$work/old.swf" "${options[@]}" ${OLD_OPTIONS:-} >/dev/null 2>&1; a=$?
  "$new" roundtrip "$f" "$work/new.swf" "${options[@]}" ${NEW_OPTIONS:-} >/dev/null 2>&1; b=$?
  if [ $a -ne $b ]; then differ=$((differ + 1)); echo "exit status $a vs $b: $f"; continue; fi
  [ -f "$work/old.swf" ] || [ -f "$work/new.swf" ] || { same=$((same + 1)); continue; }
  compare "$f" "$work/old.swf" "$work/new.swf"
done < <(find "$corpus" -name '*.swf' -print0 | sort -z)

echo "compare_writes: $same identical, $differ different"
[ $differ -eq 0 ]
