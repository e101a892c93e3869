#!/usr/bin/env bash
# The library exports exactly the entry points of its version script and needs nothing beyond the
# C and C++ runtimes.
set -euo pipefail
lib="$1"
map="$2"
expected=$(sed -n 's/^ *\([A-Za-z_][A-Za-z0-9_]*\);$/\1/p' "$map" | sort)
actual=$(nm -D --defined-only "$lib" | awk '{print $3}' | sed 's/@.*//' | sort)
if [ "$expected" != "$actual" ]; then
  echo "exported symbols differ from $map:"
  diff <(echo "$expected") <(echo "$actual") || true
  exit 1
fi
# Undefined symbols must come versioned from glibc, libstdc++ or libgcc, or be weak.
bad=$(nm -D --undefined-only "$lib" | awk '$1 == "U" {print $2}' | grep -v -E '@(GLIBC|GLIBCXX|CXXABI|GCC)_' || true)
if [ -n "$bad" ]; then
  echo "undefined symbols outside the C and C++ runtimes:"
  echo "$bad"
  exit 1
fi
echo "exports: $(echo "$actual" | wc -l) entry points, runtime-only imports"
