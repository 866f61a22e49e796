#!/usr/bin/env bash
# Compares faithful round trips in the independent player: the fixed sample of
# corpus files (tests/data/render_sample.txt) and the hand-built movies, at frame 1
# and at later frames (scripts/render_check.py). Skipped when the player is absent.
#   scripts/render_sample.sh [BUILD_DIR]   (default: build, as scripts/test.sh makes it)
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
render=../shared/tools/render/render.sh
if [ ! -x "$render" ]; then
  echo "render_sample: no player at $render; skipped"
  exit 0
fi
cmake --build "$build" -j"$(nproc)" --target flio_cli handmade_movies >/dev/null
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/handmade"
"$build/tests/handmade_movies" "$work/handmade" >"$work/handmade.txt"
cat tests/data/render_sample.txt "$work/handmade.txt" >"$work/list.txt"
python3 scripts/render_check.py --flio "$build/tools/flio/flio" --list "$work/list.txt" --jobs "$(nproc)"
