#!/usr/bin/env bash
# Builds the library and ovrun, then runs ovrun's bundled tour of the library.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
"$root/tools/bootstrap.sh"
# Paths relative to the tree, so that ccache serves a fresh clone from earlier builds.
export CCACHE_BASEDIR="$root"
cmake -S "$root" -B "$root/build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DOV_WERROR=ON >/dev/null
ninja -C "$root/build" ovrun ov200std64 >/dev/null
exec "$root/build/ovrun" "$@"
