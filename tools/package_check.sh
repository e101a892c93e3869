#!/usr/bin/env bash
# Makes the Debian package from a built tree, unpacks it into a scratch root and runs the installed
# ovrun against the installed library, with no option and nothing from the build tree in reach.
# Usage: tools/package_check.sh <build folder>
set -euo pipefail
build="$(cd "$1" && pwd)"
scratch="$(mktemp -d "${TMPDIR:-/tmp}/ov200std64-package.XXXXXX")"
trap 'rm -rf "$scratch"' EXIT
(cd "$build" && cpack -G DEB -B "$scratch/out" >/dev/null)
deb=$(ls "$scratch"/out/*.deb)
dpkg-deb --info "$deb" >/dev/null
dpkg-deb -x "$deb" "$scratch/root"
ovrun="$scratch/root/usr/bin/ovrun"
test -x "$ovrun"
for f in usr/share/man/man1/ovrun.1 usr/share/doc/ov200std64/reference.md usr/include/ov200/component/interfaces/machine.h; do
  test -f "$scratch/root/$f" || { echo "package lacks $f"; exit 1; }
done
ls "$scratch"/root/usr/lib*/ov200/ov200std64.so "$scratch"/root/usr/lib*/ov200/libovmachine.so >/dev/null
ls "$scratch"/root/usr/lib*/pkgconfig/ov200std64.pc "$scratch"/root/usr/lib*/cmake/ov200std64/ov200std64Config.cmake >/dev/null
result=$(env -u OV200STD64 -u LD_LIBRARY_PATH "$ovrun" -e 'EstPair(4)')
if [ "$result" != "Vrai" ]; then
  echo "installed ovrun answered '$result' for EstPair(4)"
  exit 1
fi
echo "package: $(basename "$deb") installs and runs"
