#!/usr/bin/env bash
# Checks that an installed flio is usable: installs the build in BUILD_DIR (default
# build) into a temporary prefix, then builds and runs the host example against it
# twice, once with CMake's find_package(flio) and once with pkg-config.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
work=$(mktemp -d /tmp/flio-install.XXXXXX)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/prefix" >/dev/null
echo "install-check: installed into $work/prefix"

cmake -S examples -B "$work/cmake-consumer" -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/cmake-consumer" >/dev/null
"$work/cmake-consumer/host_example" "$work/cmake.swf" >/dev/null
echo "install-check: find_package(flio) consumer built and ran"

pcdir=$(dirname "$(find "$work/prefix" -name flio.pc | head -n 1)")
flags=$(PKG_CONFIG_PATH="$pcdir" pkg-config --cflags --libs flio)
${CXX:-c++} -std=c++17 examples/host_example.cpp $flags -o "$work/pc-consumer"
"$work/pc-consumer" "$work/pkgconfig.swf" >/dev/null
echo "install-check: pkg-config consumer built and ran"

for f in "$work/cmake.swf" "$work/pkgconfig.swf"; do
  case $(head -c 3 "$f") in
    FWS|CWS) ;;
    *) echo "install-check: $f is not an SWF file" >&2; exit 1 ;;
  esac
done
echo "install-check: ok"
