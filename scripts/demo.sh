#!/usr/bin/env bash
# Builds the library and the flio tool, writes the built-in demo movie and prints
# what it holds.
set -euo pipefail
cd "$(dirname "$0")/.."
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j"$(nproc)" --target flio_cli
mkdir -p out
./build/tools/flio/flio demo out/demo.swf --compress
./build/tools/flio/flio info out/demo.swf
