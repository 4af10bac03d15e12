#!/usr/bin/env bash
# Installs what is missing, builds, starts a virtual MicroPython board with
# the files of a new board, and launches Morvex on a settings store of the
# demo's own (tools/demo/setup.py), in which the connection popup offers the
# virtual board and the PC pane opens at an example project.
set -euo pipefail
top="$(cd "$(dirname "$0")/.." && pwd)"
"$top/scripts/setup.sh"
if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
    echo "No display to show Morvex on; run it under a virtual one: xvfb-run -a $0"
    exit 1
fi
"$top/scripts/build.sh"

work="$(mktemp -d)"
board=""
trap '[ -n "$board" ] && kill $board 2>/dev/null && wait $board 2>/dev/null; rm -rf "$work"' EXIT
family="${MORVEX_BOARD_FAMILY:-stm32}"
python3 "$top/tools/demo/setup.py" "$work" --family "$family" --port "$work/ttyMC0" --desktop-settings
python3 "$top/tools/virtual_board.py" --fs "$work/fs" --link "$work/ttyMC0" --family "$family" \
    >"$work/board.out" 2>"$work/board.err" &
board=$!

for _ in $(seq 100); do
    [ -s "$work/board.out" ] && break
    sleep 0.1
done
port="$(head -n1 "$work/board.out")"
if [ -z "$port" ]; then
    echo "The virtual board did not start:" >&2
    cat "$work/board.err" >&2
    exit 1
fi
echo "Virtual board on $port: press Connect, then the tick"
echo "Example project in $work/project"
XDG_CONFIG_HOME="$work/config" MORVEX_EXTRA_PORTS="$port${MORVEX_EXTRA_PORTS:+:$MORVEX_EXTRA_PORTS}" \
    "$top/build/morvex" "$@"
