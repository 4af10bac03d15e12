#!/usr/bin/env bash
# Builds Morvex's Debian package: installs what is missing, builds the program
# in build/ (or $MORVEX_BUILD_DIR), and leaves morvex_<version>_<arch>.deb in
# the folder given as the first argument (build/package by default).
set -euo pipefail
top="$(cd "$(dirname "$0")/.." && pwd)"
build="${MORVEX_BUILD_DIR:-$top/build}"
out="$(mkdir -p "${1:-$build/package}" && cd "${1:-$build/package}" && pwd)"

"$top/scripts/setup.sh"
# A configured build folder keeps its own settings; a new one gets ours.
if [ ! -f "$build/CMakeCache.txt" ]; then
    cmake -S "$top" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
fi
cmake --build "$build" -j"$(nproc)" --target morvex packaging
cpack --config "$build/CPackConfig.cmake" -G DEB -B "$out" >/dev/null
rm -rf "$out/_CPack_Packages"
ls "$out"/morvex_*.deb
