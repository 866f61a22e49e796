#!/usr/bin/env bash
# Builds the library and the flio tool, writes the built-in demo movie to
# out/demo.swf and prints what it holds. Installs missing Debian packages when run
# as root.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/deps.sh
flio_need_packages cmake g++ make zlib1g-dev libdeflate-dev
cmake -S . -B build-demo -DCMAKE_BUILD_TYPE=RelWithDebInfo -DFLIO_BUILD_TESTS=OFF -DFLIO_BUILD_BENCH=OFF >/dev/null
cmake --build build-demo -j"$(nproc)" --target flio_cli
mkdir -p out
./build-demo/tools/flio/flio demo out/demo.swf --compress
./build-demo/tools/flio/flio info out/demo.swf
