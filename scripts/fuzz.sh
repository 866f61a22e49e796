#!/usr/bin/env bash
# Fuzzes the movie importer for SECONDS (default 60): builds the libFuzzer target
# with clang in build-fuzz, seeds build-fuzz/corpus from the shared SWF corpus
# (compressed files inflated, since the buffer importer takes only "FWS"), and
# runs it. Crash inputs go to fuzz/artifacts; the script fails on a crash.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds="${1:-60}"

cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo \
      -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
      -DFLIO_BUILD_FUZZ=ON -DFLIO_BUILD_TESTS=OFF -DFLIO_BUILD_TOOLS=OFF -DFLIO_BUILD_BENCH=OFF >/dev/null
cmake --build build-fuzz -j2 --target fuzz_import

mkdir -p build-fuzz/corpus fuzz/artifacts
python3 - ../shared/corpus build-fuzz/corpus <<'PY'
import hashlib, os, sys, zlib
src, dst = sys.argv[1], sys.argv[2]
for root, _, files in os.walk(src):
    for name in files:
        if not name.endswith(".swf"):
            continue
        data = open(os.path.join(root, name), "rb").read()
        if data[:3] == b"CWS":
            try:
                data = b"FWS" + data[3:8] + zlib.decompress(data[8:])
            except zlib.error:
                continue
        elif data[:3] != b"FWS":
            continue  # LZMA ("ZWS") and anything else
        out = os.path.join(dst, hashlib.sha1(data).hexdigest())
        if not os.path.exists(out):
            open(out, "wb").write(data)
PY
# Earlier findings seed the corpus too.
if [ -d tests/data/fuzz ]; then cp -n tests/data/fuzz/* build-fuzz/corpus/ 2>/dev/null || true; fi

ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
  ./build-fuzz/fuzz/fuzz_import build-fuzz/corpus \
    -max_total_time="$seconds" -max_len=65536 -rss_limit_mb=6144 -timeout=10 \
    -artifact_prefix=fuzz/artifacts/ -print_final_stats=1
