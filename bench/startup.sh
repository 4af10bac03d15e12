#!/usr/bin/env bash
# Start-up figures of Morvex against a bare Qt 5 main window, under a private
# Xvfb: seconds from launch to the first drawn main window, and the resident
# memory of the process and its children 5 s later. Prints each run, then the
# medians and Morvex's excess over the bare window, and over the bare window
# without OpenGL ("bare-raster"), which Morvex does without too.
# Usage: bench/startup.sh [RUNS] (5 by default; CI runs 1). Morvex is taken
# from $MORVEX_BUILD_DIR (build/ by default) and built there if missing.
set -euo pipefail
top="$(cd "$(dirname "$0")/.." && pwd)"
runs="${1:-5}"
build="${MORVEX_BUILD_DIR:-$top/build}"
settle=5

"$top/scripts/setup.sh"
if [ ! -x "$build/morvex" ]; then
    "$top/scripts/build.sh"
fi

work="$(mktemp -d)"
xvfb=""
cleanup() {
    [ -n "$xvfb" ] && kill "$xvfb" 2>/dev/null && wait "$xvfb" 2>/dev/null
    rm -rf "$work"
}
trap cleanup EXIT

cc -O2 -Wall -Wextra -o "$work/firstpaint" "$top/bench/firstpaint.c" -lX11 -lXdamage
# shellcheck disable=SC2046
g++ -O2 -fPIC -o "$work/bare_window" "$top/bench/bare_window.cpp" $(pkg-config --cflags --libs Qt5Widgets)

# A display of our own, so that no other client or window manager takes part.
Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp >"$work/xvfb.log" 2>&1 3>"$work/display" &
xvfb=$!
for _ in $(seq 100); do
    [ -s "$work/display" ] && break
    sleep 0.1
done
if [ ! -s "$work/display" ]; then
    echo "Xvfb did not start:" >&2
    cat "$work/xvfb.log" >&2
    exit 1
fi
export DISPLAY=":$(head -n1 "$work/display")"
export XDG_RUNTIME_DIR="$work/runtime"
mkdir -m 0700 "$XDG_RUNTIME_DIR"

# Each run starts as a new user's first: an empty settings store of its own.
measure() { # name program...
    local name="$1"
    shift
    local config="$work/config-$name-$RANDOM"
    mkdir -p "$config"
    # A failed run prints nothing; the check at the end counts the runs.
    { XDG_CONFIG_HOME="$config" "$work/firstpaint" "$settle" "$@" </dev/null 2>>"$work/errors.log" || true; } \
        | awk -v name="$name" '{ printf "%s %s %s\n", name, $1, $2 }'
}

echo "load average: $(cut -d' ' -f1-3 /proc/loadavg)"
: >"$work/results"
for _ in $(seq "$runs"); do
    # Interleaved, so that a change of load falls on all alike.
    measure bare "$work/bare_window" | tee -a "$work/results"
    measure bare-raster "$work/bare_window" --raster | tee -a "$work/results"
    measure morvex "$build/morvex" | tee -a "$work/results"
done
echo "load average: $(cut -d' ' -f1-3 /proc/loadavg)"
if [ -s "$work/errors.log" ]; then
    sed 's/^/  /' "$work/errors.log" >&2
fi

median() { # name column
    awk -v name="$1" -v col="$2" '$1 == name { print $col }' "$work/results" | sort -g \
        | awk '{ v[NR] = $1 } END { if (NR == 0) print "nan"; else if (NR % 2) print v[(NR + 1) / 2]; else print (v[NR / 2] + v[NR / 2 + 1]) / 2 }'
}
for name in bare bare-raster morvex; do
    printf '%s %s %s\n' "$name" "$(median "$name" 2)" "$(median "$name" 3)"
done | awk -v n="$runs" '
    { t[$1] = $2; m[$1] = $3 }
    END {
        printf "medians of %d runs:\n", n
        printf "  %-12s %8s %10s\n", "", "window s", "memory MB"
        split("bare bare-raster morvex", names, " ")
        for (i = 1; i <= 3; ++i)
            printf "  %-12s %8.3f %10.1f\n", names[i], t[names[i]], m[names[i]] / 1024
        printf "  morvex - bare:        %+.3f s  %+.1f MB\n", t["morvex"] - t["bare"], (m["morvex"] - m["bare"]) / 1024
        printf "  morvex - bare-raster: %+.3f s  %+.1f MB\n", t["morvex"] - t["bare-raster"], (m["morvex"] - m["bare-raster"]) / 1024
    }'
for name in bare bare-raster morvex; do
    [ "$(awk -v name="$name" '$1 == name' "$work/results" | wc -l)" -eq "$runs" ] || { echo "$name: a run failed" >&2; exit 1; }
done
