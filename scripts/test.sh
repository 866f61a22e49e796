#!/usr/bin/env bash
# Builds the library, the tool, the tests and the benchmarks, then runs every test.
set -euo pipefail
cd "$(dirname "$0")/.."
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DFLIO_WERROR="${FLIO_WERROR:-OFF}" >/dev/null
cmake --build build -j"$(nproc)"
ctest --test-dir build -j"$(nproc)" --output-on-failure
