#!/usr/bin/env bash
# Installs what is missing, builds, and runs the whole test suite.
set -euo pipefail
top="$(cd "$(dirname "$0")/.." && pwd)"
"$top/scripts/build.sh"
cd "$top/build"
# The suites mostly wait on the pace of a serial line, not on the processor:
# two at a time per core keeps the processor busy without slowing any of them.
ctest --output-on-failure -j"$(( $(nproc) * 2 ))" --timeout 600
