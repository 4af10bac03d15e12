#!/usr/bin/env bash
# Builds Morvex, its suites and its fuzz targets with clang, AddressSanitizer
# and UndefinedBehaviorSanitizer into build-check/, and runs the suites there
# with leak detection on. With --unit only the suites that need no board and
# no timing are built and run. Other arguments go to ctest.
set -euo pipefail
top="$(cd "$(dirname "$0")/.." && pwd)"
# shellcheck source=scripts/checkbuild.sh
source "$top/scripts/checkbuild.sh"

unit=0
if [ "${1:-}" = "--unit" ]; then
    unit=1
    shift
fi

configure_check_build
if [ "$unit" -eq 1 ]; then
    # The suites are named after their executables; a fuzz corpus test after its fuzzer.
    mapfile -t targets < <(cd "$check_build" && ctest -N -L unit | sed -n 's/^ *Test *#[0-9]*: //p' \
                           | sed 's/^\(fuzz_.*\)_corpus$/\1/')
    cmake --build "$check_build" -j2 --target "${targets[@]}" -- --no-print-directory
    set -- -L unit "$@"
else
    cmake --build "$check_build" -j2 -- --no-print-directory
fi
cd "$check_build"
ctest --output-on-failure -j2 --timeout 1500 "$@"
