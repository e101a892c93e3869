#!/usr/bin/env bash
# Installs the Debian packages the build and the tests need, when they are missing.
set -euo pipefail
packages=(g++ clang cmake ninja-build libgtest-dev libgmock-dev libbenchmark-dev ccache python3 ncompress lhasa jlha-utils zlib1g-dev xdelta3 bsdiff libcrypto++-dev sharutils)
missing=()
for p in "${packages[@]}"; do
  dpkg -s "$p" >/dev/null 2>&1 || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}"
fi
