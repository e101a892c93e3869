#!/usr/bin/env bash
# Builds everything and runs every test: once as released, once under AddressSanitizer and
# UndefinedBehaviorSanitizer.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
"$root/tools/bootstrap.sh"
# Paths relative to the tree, so that ccache serves a fresh clone from earlier builds.
export CCACHE_BASEDIR="$root"
jobs=$(nproc)
# Tests that touch files work under a private TMPDIR, removed at the end whatever happens.
TMPDIR="$(mktemp -d "${TMPDIR:-/tmp}/ov200std64-tests.XXXXXX")"
# Readable by all: some tests check refusals from a child that runs as another user.
chmod 755 "$TMPDIR"
export TMPDIR
trap 'rm -rf "$TMPDIR"' EXIT

cmake -S "$root" -B "$root/build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DOV_WERROR=ON
ninja -C "$root/build" -j "$jobs"
ctest --test-dir "$root/build" -j "$jobs" --output-on-failure
"$root/tools/package_check.sh" "$root/build"

# The same sources build with clang too, warnings as errors (its tests are those above).
CXX=clang++ cmake -S "$root" -B "$root/build-clang" -G Ninja -DCMAKE_BUILD_TYPE=Release -DOV_WERROR=ON -DOV_BENCH=OFF
ninja -C "$root/build-clang" -j "$jobs"

cmake -S "$root" -B "$root/build-asan" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DOV_WERROR=ON -DOV_SANITIZE=ON -DOV_BENCH=OFF
ninja -C "$root/build-asan" -j "$jobs"
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  ctest --test-dir "$root/build-asan" -j "$jobs" --output-on-failure
