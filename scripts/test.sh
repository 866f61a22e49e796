#!/usr/bin/env bash
# Builds the library, the tool, the example, the tests and the benchmarks, then runs
# every test. Installs missing Debian packages when run as root. The checks against
# the independent SWF parser run when node is present (nodejs and npm) and are
# skipped otherwise.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/deps.sh
flio_need_packages cmake g++ make zlib1g-dev libdeflate-dev libgtest-dev libbenchmark-dev
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DFLIO_WERROR="${FLIO_WERROR:-OFF}" >/dev/null
cmake --build build -j"$(nproc)"
ctest --test-dir build -j"$(nproc)" --output-on-failure
